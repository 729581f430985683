/**
 * The ANSI forms: each converts its texts, calls the wide form, and converts what comes back. None checks
 * anything else itself.
 */
#include <algorithm>
#include <iterator>
#include <memory>

#include "vornwia/Internal.h"

namespace vorn {
namespace {

// ---- Text in -------------------------------------------------------------------------------------------

/** Calls `operation` with the wide form of a text. */
template <class Operation>
int32_t WithText(const char* text, Operation operation) noexcept
{
    Vorn_A2W wide;
    return wide.Convert(text) ? operation(wide.Value()) : ERR_OUT_OF_MEMORY;
}

// ---- Text out ------------------------------------------------------------------------------------------

struct BlockEnd {
    void operator()(void* block) const noexcept { KrnFree(block, VORN_HERE); }
};

/** The size protocol of ANSI text: `text` to the caller, or the bytes it needs. */
int32_t GiveText(const WCHAR* text, char* buffer, uint64_t* size) noexcept
{
    uint64_t needed = 0;
    if (text[0] == 0) {
        if (buffer && *size > 0)
            buffer[0] = 0;
        return SUCCESS;
    }
    const int32_t status = KrnWideToAnsi(text, buffer, *size, &needed);
    if (!buffer || status != KRN_SUCCESS)
        *size = needed;
    return status == KRN_SUCCESS ? SUCCESS : ERR_BUFFER_TOO_SMALL;
}

/**
 * Reads a wide text whole and gives it to the caller.
 * @param capacity  characters to try first; every try asks the device again
 * @param read      the wide operation, called with a buffer and its size
 */
template <class Read>
int32_t ReadText(char* buffer, uint64_t* size, uint64_t capacity, Read read) noexcept
{
    for (;;) {
        const std::unique_ptr<WCHAR, BlockEnd> text{
            static_cast<WCHAR*>(KrnAlloc(capacity, sizeof(WCHAR), VORN_HERE))};
        if (!text)
            return ERR_OUT_OF_MEMORY;
        text.get()[0] = 0;
        uint64_t needed = capacity;
        const int32_t status = read(text.get(), &needed);
        if (status == SUCCESS)
            return GiveText(text.get(), buffer, size);
        if (status != ERR_BUFFER_TOO_SMALL || needed <= capacity)
            return status;
        capacity = needed;
    }
}

constexpr uint64_t kUsualTextChars = 1024;
/** As long as the platform's file names get, so that one picture is enough. */
constexpr uint64_t kLongestPathChars = 32768;

/** Fills a field of a record: the whole text, or as many whole characters of it as fit. */
template <size_t Capacity>
void FillField(const WCHAR (&text)[Capacity], char (&field)[Capacity]) noexcept
{
    WCHAR part[Capacity];
    std::copy(std::begin(text), std::end(text), part);
    size_t length = Capacity - 1;
    while (part[length] = 0, Vorn_W2A::Convert(part, field, Capacity) != KRN_SUCCESS) {
        --length;
        if (IsHighSurrogate(part[length - 1]))
            --length;
    }
}

// ---- Callbacks -----------------------------------------------------------------------------------------

/** The caller's callback and data, while a wide operation calls a bridge in its place. */
template <class AnsiCallback>
struct AnsiCallbackBridge {
    AnsiCallback callback;
    void* userData;

    /** What the wide operation gets as user data, and as callback: nothing without a callback. */
    void* Data() noexcept { return callback ? this : nullptr; }
    template <class WideCallback>
    WideCallback Or(WideCallback bridge) const noexcept
    {
        return callback ? bridge : nullptr;
    }
};

/** An ANSI copy of a wide text, for as long as a callback runs. */
class AnsiCopy {
public:
    explicit AnsiCopy(const WCHAR* text) noexcept : text_{KrnAllocAnsiCopy(text)} {}
    AnsiCopy(const AnsiCopy&) = delete;
    AnsiCopy& operator=(const AnsiCopy&) = delete;
    ~AnsiCopy() { KrnFreeAnsiCopy(text_); }

    const char* Get() const noexcept { return text_; }

private:
    char* text_;
};

int32_t EnumDevicesBridgeA(WiaSession* session, const WiaDeviceInfo* device, void* data)
{
    const auto& bridge = *static_cast<const AnsiCallbackBridge<EnumDevicesCallbackA>*>(data);
    const AnsiCopy id{device->deviceId};
    const AnsiCopy name{device->deviceName};
    const AnsiCopy description{device->deviceDescription};
    const WiaDeviceInfoA ansi{sizeof(WiaDeviceInfoA), id.Get(), name.Get(), description.Get()};
    return bridge.callback(session, &ansi, bridge.userData);
}

int32_t EnumCapabilitiesBridgeA(WiaSession* session, uint32_t count, const WiaCapability* capability,
                                void* data)
{
    const auto& bridge = *static_cast<const AnsiCallbackBridge<EnumCapabilitiesCallbackA>*>(data);
    if (!capability)
        return bridge.callback(session, count, nullptr, bridge.userData);
    WiaCapabilityA ansi{};
    ansi.structSize = capability->structSize;
    ansi.propertyId = capability->propertyId;
    FillField(capability->propertyName, ansi.propertyName);
    ansi.valueType = capability->valueType;
    ansi.accessFlags = capability->accessFlags;
    ansi.values = capability->values;
    return bridge.callback(session, count, &ansi, bridge.userData);
}

/** A file name for a callback: empty for none. */
class AnsiFileName {
public:
    explicit AnsiFileName(const WCHAR* name) noexcept { Vorn_W2A::Convert(name, text_, sizeof(text_)); }
    const char* Get() const noexcept { return text_; }

private:
    /** No code page takes more than four bytes a character. */
    char text_[VORNWIA_NAME_CHARS * 4] = {};
};

int32_t AcquireBridgeA(WiaSession* session, BitmapHandle* bitmap, const WCHAR* fileName, int32_t percent,
                       int32_t state, void* data)
{
    const auto& bridge = *static_cast<const AnsiCallbackBridge<AcquireCallbackA>*>(data);
    return bridge.callback(session, bitmap, AnsiFileName{fileName}.Get(), percent, state, bridge.userData);
}

int32_t AcquireToFileBridgeA(WiaSession* session, const WCHAR* fileName, int32_t percent, int32_t state,
                             void* data)
{
    const auto& bridge = *static_cast<const AnsiCallbackBridge<AcquireToFileCallbackA>*>(data);
    return bridge.callback(session, AnsiFileName{fileName}.Get(), percent, state, bridge.userData);
}

// ---- Acquisition ---------------------------------------------------------------------------------------

int32_t ConvertOptionsA(const AcquireOptionsA* ansi, AcquireOptions& options) noexcept
{
    if (!ansi)
        return ERR_OUT_OF_MEMORY;
    if (std::find(std::begin(ansi->fileName), std::end(ansi->fileName), 0) == std::end(ansi->fileName))
        return ERR_INVALID_ARGUMENT;
    options = {};
    options.structSize = sizeof(options);
    options.bufferSize = ansi->bufferSize;
    options.doubleBuffer = ansi->doubleBuffer;
    options.overwriteFile = ansi->overwriteFile;
    options.multiPageFile = ansi->multiPageFile;
    options.appendToFile = ansi->appendToFile;
    return Vorn_A2W::Convert(ansi->fileName, options.fileName, std::size(options.fileName));
}

/** An ANSI copy that is the caller's for keeps; null for null or without memory. */
char* CopyForCallerA(const WCHAR* text) noexcept
{
    char* const copy = KrnAllocAnsiCopy(text);
    if (copy)
        KrnUntrackResource(KRN_RESOURCE_MEMORY, copy, VORN_HERE);
    return copy;
}

/** The list of files in ANSI, the caller's for keeps; null without memory. */
char** ConvertFileListA(WCHAR* const* wide, uint32_t count) noexcept
{
    auto** const list = static_cast<char**>(KrnAlloc(count, sizeof(char*), VORN_HERE));
    if (!list)
        return nullptr;
    KrnUntrackResource(KRN_RESOURCE_MEMORY, list, VORN_HERE);
    std::transform(wide, wide + count, list, CopyForCallerA);
    return list;
}

void FreeFileList(WCHAR** wide, uint32_t count) noexcept
{
    for (uint32_t i = 0; i < count; ++i)
        KrnFree(wide[i], VORN_HERE);
    KrnFree(wide, VORN_HERE);
}

/** Calls `acquire` with the wide options, count and list, and gives the caller what it wants of the latter two. */
template <class Acquire>
int32_t AcquireInAnsi(const AcquireOptionsA* ansi, uint32_t* fileCount, char*** fileList, Acquire acquire)
{
    if (fileCount)
        *fileCount = 0;
    if (fileList)
        *fileList = nullptr;
    AcquireOptions options;
    if (const int32_t status = ConvertOptionsA(ansi, options); status != SUCCESS)
        return status;
    uint32_t count = 0;
    WCHAR** list = nullptr;
    const int32_t status = acquire(&options, &count, &list);
    if (fileCount)
        *fileCount = count;
    if (fileList && list)
        *fileList = ConvertFileListA(list, count);
    if (list)
        FreeFileList(list, count);
    return status;
}

}  // namespace
}  // namespace vorn

using namespace vorn;

// ---- Sessions and devices ------------------------------------------------------------------------------

char* Vorn_WiaGetSelectedDeviceA(WiaSession* session)
{
    return KrnAllocAnsiCopy(Vorn_WiaGetSelectedDevice(session));
}

int32_t Vorn_WiaEnumDevicesA(WiaSession* session, EnumDevicesCallbackA callback, void* userData)
{
    AnsiCallbackBridge<EnumDevicesCallbackA> bridge{callback, userData};
    return Vorn_WiaEnumDevices(session, bridge.Or(EnumDevicesBridgeA), bridge.Data());
}

// ---- Capabilities --------------------------------------------------------------------------------------

int32_t Vorn_WiaEnumCapabilitiesA(WiaSession* session, WiaItemHandle item, uint32_t reserved,
                                  EnumCapabilitiesCallbackA callback, void* userData)
{
    AnsiCallbackBridge<EnumCapabilitiesCallbackA> bridge{callback, userData};
    return Vorn_WiaEnumCapabilities(session, item, reserved, bridge.Or(EnumCapabilitiesBridgeA),
                                    bridge.Data());
}

// ---- Single properties ---------------------------------------------------------------------------------

int32_t Vorn_WiaGetPropertyLongA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                 int32_t* value)
{
    return WithText(
        name, [&](const WCHAR* wide) { return Vorn_WiaGetPropertyLong(session, item, wide, id, value); });
}

int32_t Vorn_WiaSetPropertyLongA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                 int32_t value)
{
    return WithText(
        name, [&](const WCHAR* wide) { return Vorn_WiaSetPropertyLong(session, item, wide, id, value); });
}

int32_t Vorn_WiaGetPropertyGUIDA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                 GUID* value)
{
    return WithText(
        name, [&](const WCHAR* wide) { return Vorn_WiaGetPropertyGUID(session, item, wide, id, value); });
}

int32_t Vorn_WiaSetPropertyGUIDA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                 const GUID* value)
{
    return WithText(
        name, [&](const WCHAR* wide) { return Vorn_WiaSetPropertyGUID(session, item, wide, id, value); });
}

int32_t Vorn_WiaGetPropertyStringA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                   char* buffer, uint64_t* size)
{
    return WithText(name, [&](const WCHAR* wide) -> int32_t {
        if (!size)
            return buffer ? RESULT_FALSE : Vorn_WiaGetPropertyString(session, item, wide, id, nullptr, size);
        return ReadText(buffer, size, kUsualTextChars, [&](WCHAR* text, uint64_t* chars) {
            return Vorn_WiaGetPropertyString(session, item, wide, id, text, chars);
        });
    });
}

int32_t Vorn_WiaSetPropertyStringA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                   const char* value)
{
    return WithText(name, [&](const WCHAR* wide) {
        return WithText(value, [&](const WCHAR* wideValue) {
            return Vorn_WiaSetPropertyString(session, item, wide, id, wideValue);
        });
    });
}

int32_t Vorn_WiaGetPropertySystemTimeA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                       SYSTEMTIME* value)
{
    return WithText(name, [&](const WCHAR* wide) {
        return Vorn_WiaGetPropertySystemTime(session, item, wide, id, value);
    });
}

int32_t Vorn_WiaSetPropertySystemTimeA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                       const SYSTEMTIME* value)
{
    return WithText(name, [&](const WCHAR* wide) {
        return Vorn_WiaSetPropertySystemTime(session, item, wide, id, value);
    });
}

int32_t Vorn_WiaGetPropertyBufferA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                   uint8_t* buffer, uint64_t* size)
{
    return WithText(name, [&](const WCHAR* wide) {
        return Vorn_WiaGetPropertyBuffer(session, item, wide, id, buffer, size);
    });
}

int32_t Vorn_WiaSetPropertyBufferA(WiaSession* session, WiaItemHandle item, const char* name, uint32_t id,
                                   const uint8_t* buffer, uint32_t size)
{
    return WithText(name, [&](const WCHAR* wide) {
        return Vorn_WiaSetPropertyBuffer(session, item, wide, id, buffer, size);
    });
}

// ---- Acquisition ---------------------------------------------------------------------------------------

int32_t Vorn_WiaAcquireA(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                         const AcquireOptionsA* options, uint32_t* fileCount, char*** fileList,
                         AcquireCallbackA callback, void* userData)
{
    AnsiCallbackBridge<AcquireCallbackA> bridge{callback, userData};
    return AcquireInAnsi(options, fileCount, fileList,
                         [&](const AcquireOptions* wide, uint32_t* count, WCHAR*** list) {
                             return Vorn_WiaAcquire(session, parent, flags, item, wide, count, list,
                                                    bridge.Or(AcquireBridgeA), bridge.Data());
                         });
}

int32_t Vorn_WiaAcquireToFileA(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                               const AcquireOptionsA* options, uint32_t* fileCount, char*** fileList,
                               AcquireToFileCallbackA callback, void* userData)
{
    AnsiCallbackBridge<AcquireToFileCallbackA> bridge{callback, userData};
    return AcquireInAnsi(options, fileCount, fileList,
                         [&](const AcquireOptions* wide, uint32_t* count, WCHAR*** list) {
                             return Vorn_WiaAcquireToFile(session, parent, flags, item, wide, count, list,
                                                          bridge.Or(AcquireToFileBridgeA), bridge.Data());
                         });
}

int32_t Vorn_WiaAcquireSimpleA(uint32_t version, HWND parent, int32_t deviceType, uint32_t flags,
                               WiaItemHandle item, const AcquireOptionsA* options, uint32_t* fileCount,
                               char*** fileList, AcquireCallbackA callback, void* userData)
{
    AnsiCallbackBridge<AcquireCallbackA> bridge{callback, userData};
    return AcquireInAnsi(
        options, fileCount, fileList, [&](const AcquireOptions* wide, uint32_t* count, WCHAR*** list) {
            return Vorn_WiaAcquireSimple(version, parent, deviceType, flags, item, wide, count, list,
                                         bridge.Or(AcquireBridgeA), bridge.Data());
        });
}

// ---- Video ---------------------------------------------------------------------------------------------

int32_t Vorn_WiaAcquireImageFromVideoA(WiaSession* session, char* buffer, uint64_t* size)
{
    if (!size)
        return Vorn_WiaAcquireImageFromVideo(session, nullptr, size);
    return ReadText(buffer, size, kLongestPathChars, [&](WCHAR* text, uint64_t* chars) {
        return Vorn_WiaAcquireImageFromVideo(session, text, chars);
    });
}
