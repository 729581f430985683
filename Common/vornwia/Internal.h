/**
 * @file Internal.h
 * What the subjects of the library share: the session record, argument checks, the status mapping, property
 * access, and the process-wide state.
 */
#pragma once

#include <cstdint>

#include "Vornkrnx.h"
#include "com.h"
#include "platform.h"
#include "vornwia.h"

namespace vorn {

/** The source name that tracked allocations of this unit carry. */
inline constexpr const char* kUnitName = "vornwia";

}  // namespace vorn

/** The line and source name that every tracked call passes. */
#define VORN_HERE __LINE__, ::vorn::kUnitName

#pragma pack(push, 1)
/** A session. Every pointer carries one reference, or is null. */
struct WiaSession {
    uint32_t structSize;
    uint32_t wiaVersion;          ///< 1 or 2, for the whole life of the session
    IWiaDevMgr* deviceManager;    ///< generation 1 only
    IWiaItem* rootItem;           ///< generation 1 only; null while no device is selected
    IWiaVideo* videoPreview;      ///< either generation
    IWiaDevMgr2* deviceManager2;  ///< generation 2 only
    IWiaItem2* rootItem2;         ///< generation 2 only; null while no device is selected
    BSTR selectedDeviceId;        ///< null before the first selection
    uint32_t comInitialized;      ///< 1 when the session owes a CoUninitialize
};
#pragma pack(pop)
static_assert(sizeof(void*) != 8 || sizeof(WiaSession) == 60);

namespace vorn {

// ---- Status codes ------------------------------------------------------------------------------------

/** Turns a platform result, or a status code that travelled through the platform, into a status code. */
int32_t MapWiaResult(HRESULT result) noexcept;

/** SUCCESS for a plain success of the platform, else the mapped result. */
inline int32_t StatusOf(HRESULT result) noexcept
{
    return IsPlainSuccess(result) ? SUCCESS : MapWiaResult(result);
}

// ---- Sessions and handles ------------------------------------------------------------------------------

/** Creates the device manager of a generation; another version does nothing and succeeds. */
HRESULT CreateDeviceManager(uint32_t version, void** manager) noexcept;

/** True while the session holds the root item of its generation. */
bool HasSelectedDevice(const WiaSession& session) noexcept;

/** ERR_INVALID_ARGUMENT for a null session, ERR_NO_DEVICE_SELECTED for one without a device. */
int32_t CheckSelectedDevice(const WiaSession* session) noexcept;

inline IWiaItem* AsItem1(WiaItemHandle item) noexcept
{
    return reinterpret_cast<IWiaItem*>(item);
}
inline IWiaItem2* AsItem2(WiaItemHandle item) noexcept
{
    return reinterpret_cast<IWiaItem2*>(item);
}
/** Either generation's item begins with IUnknown. */
inline IUnknown* AsUnknown(WiaItemHandle item) noexcept
{
    return reinterpret_cast<IUnknown*>(item);
}

/** The device type that a root item states; as Vorn_WiaGetSelectedDeviceType. */
int32_t DeviceTypeOf(WiaSession* session, WiaItemHandle root, uint32_t* deviceType) noexcept;

/** The session's root item as a handle, without a reference of its own. */
WiaItemHandle RootItemOf(const WiaSession& session) noexcept;

/** The item's type bits; 0 when it does not tell. */
LONG ItemTypeOf(const WiaSession& session, WiaItemHandle item) noexcept;

// ---- Properties --------------------------------------------------------------------------------------

/** Holds one reference on an item's property storage. */
class PropertyStorageRef {
public:
    PropertyStorageRef() noexcept = default;

    /** Takes the storage of an item of either generation; the holder is empty when the item has none. */
    explicit PropertyStorageRef(WiaItemHandle item) noexcept
    {
        AsUnknown(item)->QueryInterface(IID_IWiaPropertyStorage, storage_.OutVoid());
    }

    IWiaPropertyStorage* Get() const noexcept { return storage_.Get(); }
    IWiaPropertyStorage* operator->() const noexcept { return storage_.Get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(storage_); }

private:
    ComPtr<IWiaPropertyStorage> storage_;
};

/** Specifies a property by name or, without one, by ID. The name is not copied. */
PROPSPEC SpecifyProperty(const WCHAR* name, uint32_t id) noexcept;

/** Reads an integer by ID from a storage at hand. 0 when the value was read; else it is left as it was. */
HRESULT ReadLongProperty(IWiaPropertyStorage* storage, uint32_t id, int32_t* value) noexcept;

// ---- Acquisition ---------------------------------------------------------------------------------------

/** The application's callback in either of its shapes. */
struct UserCallback {
    bool toFile = false;  ///< selects the shape
    AcquireCallback acquire = nullptr;
    AcquireToFileCallback file = nullptr;
    void* userData = nullptr;
};

/** Where the caller wants the output files listed; either may be null. */
struct FileListTarget {
    uint32_t* count = nullptr;
    WCHAR*** list = nullptr;

    /** No files: what the caller is left with unless a transfer or a dialog writes some. */
    void Clear() const noexcept
    {
        if (count)
            *count = 0;
        if (list)
            *list = nullptr;
    }
};

/** The items that an acquisition dialog chose. */
struct ItemList {
    IWiaItem** items = nullptr;
    LONG count = 0;
};

/**
 * Transfers items: those of `dialogItems` when given, else `item`, else the root's first child.
 * The caller's file count is 0 and the list null before.
 */
int32_t RunAcquisition(WiaSession* session, WiaItemHandle item, const AcquireOptions* options,
                       const ItemList* dialogItems, const FileListTarget& files,
                       const UserCallback& callback) noexcept;

/** What one page of a file transfer needs. */
struct PageTransfer {
    WiaSession* session = nullptr;
    const AcquireOptions* options = nullptr;
    IWiaDataTransfer* transfer1 = nullptr;  ///< borrowed; generation 1
    IWiaTransfer* transfer2 = nullptr;      ///< borrowed; generation 2
    WCHAR* workingName = nullptr;           ///< VORNWIA_NAME_CHARS; rewritten page by page
    WiaItemHandle item = nullptr;
    uint32_t tymed = 0;
    int32_t* transferredCount = nullptr;
    FileListTarget files;
    UserCallback callback;
};

/** Transfers one page through the temporary file into its output file. */
int32_t TransferPageToFile(const PageTransfer& page) noexcept;

// ---- Output files --------------------------------------------------------------------------------------

/** True when the options hold a file name, terminated. */
bool NamesFile(const AcquireOptions& options) noexcept;

/** True when a file of that name exists. */
bool FileExists(const WCHAR* name) noexcept;

/** Rewrites a name of VORNWIA_NAME_CHARS as the numbered name; ERR_INVALID_ARGUMENT when that does not fit.
 */
int32_t MakeNumberedFileName(WCHAR* name) noexcept;

/** Replaces a taken name by its first free numbered variant; ERR_INVALID_ARGUMENT when that does not fit. */
int32_t MakeUniqueFileName(WCHAR* name) noexcept;

/**
 * A kernel block of VORNWIA_NAME_CHARS characters that belongs to the caller; null without memory and for a name
 * that is null or does not fit.
 */
WCHAR* CopyNameForCaller(const WCHAR* name) noexcept;

/** A path in its parts. */
struct FileNameParts {
    WCHAR drive[5];
    WCHAR directory[VORNWIA_NAME_CHARS];
    WCHAR base[VORNWIA_NAME_CHARS];
    WCHAR extension[10];
};

/** Splits a path; false when a part does not fit its buffer. */
bool SplitFileName(const WCHAR* name, FileNameParts& parts) noexcept;

/** What becomes of a transferred file once it is saved: what goes may itself become the output file. */
enum class SourceFile { Stays, Goes };

/** Copies or appends a transferred file to its output file and lists it. The name may change to a free one.
 */
int32_t SaveTransferredFile(WCHAR* destination, const WCHAR* source, SourceFile then,
                            const AcquireOptions& options, int32_t* transferredCount,
                            const FileListTarget& files) noexcept;

// ---- Process-wide state --------------------------------------------------------------------------------

/** Everything of this unit that outlives a call. Unguarded: one acquisition at a time. */
struct ProcessState {
    WiaItemHandle* collectedItems =
        nullptr;                    ///< the root's children, while an acquisition chooses among them
    int32_t collectedSlots = 0;     ///< room for them; grows with what the device delivers
    int32_t collectedCount = 0;     ///< slots that hold one
    int32_t collectPosition = 0;    ///< the next slot to fill
    uint32_t savedFileCounter = 0;  ///< single-file copies since the acquisition started
};
extern ProcessState g_processState;

}  // namespace vorn
