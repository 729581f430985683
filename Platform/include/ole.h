/**
 * @file ole.h
 * COM, structured storage and automation text, under the platform's published names, where no SDK declares
 * them. What a function here does not say is as the platform documents it.
 *
 * Interfaces are structs of pure virtual functions in the published order and without a virtual destructor:
 * the vtable is the binary contract. Everything is declared with default visibility, so that type
 * information is one across shared libraries.
 *
 * All functions are thread safe, but one object is used by one thread at a time unless it says otherwise.
 */
#pragma once

#include "propvariant.h"
#include "wintypes.h"

#pragma GCC visibility push(default)

// ---- Interface ids -------------------------------------------------------------------------------------

extern "C" {
extern const GUID GUID_NULL;
extern const IID IID_IUnknown;
extern const IID IID_IClassFactory;
extern const IID IID_ISequentialStream;
extern const IID IID_IStream;
extern const IID IID_IPropertyStorage;
extern const IID IID_IEnumSTATPROPSTG;
}

#define IID_NULL GUID_NULL
#define CLSID_NULL GUID_NULL

// ---- Constants -----------------------------------------------------------------------------------------

typedef enum tagCLSCTX {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10,
    CLSCTX_INPROC = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER,
    CLSCTX_SERVER = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER,
    CLSCTX_ALL = CLSCTX_SERVER | CLSCTX_INPROC_HANDLER
} CLSCTX;

typedef enum tagREGCLS {
    REGCLS_SINGLEUSE = 0,
    REGCLS_MULTIPLEUSE = 1,
    REGCLS_MULTI_SEPARATE = 2,
    REGCLS_SUSPENDED = 4,
    REGCLS_SURROGATE = 8
} REGCLS;

typedef enum tagCOINIT {
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
    COINIT_DISABLE_OLE1DDE = 0x4,
    COINIT_SPEED_OVER_MEMORY = 0x8
} COINIT;

typedef enum tagTYMED {
    TYMED_NULL = 0,
    TYMED_HGLOBAL = 1,
    TYMED_FILE = 2,
    TYMED_ISTREAM = 4,
    TYMED_ISTORAGE = 8,
    TYMED_GDI = 16,
    TYMED_MFPICT = 32,
    TYMED_ENHMF = 64
} TYMED;

typedef enum tagSTREAM_SEEK { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 } STREAM_SEEK;
typedef enum tagSTATFLAG { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1, STATFLAG_NOOPEN = 2 } STATFLAG;
typedef enum tagSTGTY { STGTY_STORAGE = 1, STGTY_STREAM = 2, STGTY_LOCKBYTES = 3, STGTY_PROPERTY = 4 } STGTY;
typedef enum tagSTGC { STGC_DEFAULT = 0, STGC_OVERWRITE = 1, STGC_ONLYIFCURRENT = 2 } STGC;

inline constexpr DWORD STGM_READ = 0x0;
inline constexpr DWORD STGM_WRITE = 0x1;
inline constexpr DWORD STGM_READWRITE = 0x2;
inline constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x10;
inline constexpr DWORD STGM_SHARE_DENY_WRITE = 0x20;
inline constexpr DWORD STGM_SHARE_DENY_READ = 0x30;
inline constexpr DWORD STGM_SHARE_DENY_NONE = 0x40;
inline constexpr DWORD STGM_FAILIFTHERE = 0x0;
inline constexpr DWORD STGM_CREATE = 0x1000;
inline constexpr DWORD STGM_DIRECT = 0x0;
inline constexpr DWORD STGM_TRANSACTED = 0x10000;
inline constexpr DWORD STGM_CONVERT = 0x20000;
inline constexpr DWORD STGM_DELETEONRELEASE = 0x04000000;

inline constexpr UINT GMEM_FIXED = 0x0;
inline constexpr UINT GMEM_MOVEABLE = 0x2;
inline constexpr UINT GMEM_ZEROINIT = 0x40;
inline constexpr UINT GMEM_MODIFY = 0x80;
inline constexpr UINT GMEM_LOCKCOUNT = 0xFF;
inline constexpr UINT GMEM_DISCARDED = 0x4000;
inline constexpr UINT GMEM_INVALID_HANDLE = 0x8000;
inline constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;
inline constexpr UINT GPTR = GMEM_FIXED | GMEM_ZEROINIT;

// ---- Interfaces ----------------------------------------------------------------------------------------

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};

typedef struct tagSTATSTG {
    LPOLESTR pwcsName;  ///< a block of CoTaskMemAlloc that the receiver frees
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
} STATSTG;

struct ISequentialStream : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(void* data, ULONG size, ULONG* read) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG size, ULONG* written) = 0;
};

struct IStream : ISequentialStream {
    virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                             ULARGE_INTEGER* written) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size,
                                                   DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IStream** stream) = 0;
};

struct IEnumSTATPROPSTG : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, STATPROPSTG* elements, ULONG* fetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSTG** copy) = 0;
};

struct IPropertyStorage : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC specs[],
                                                   PROPVARIANT values[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC specs[],
                                                    const PROPVARIANT values[], PROPID firstNamed) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG count, const PROPSPEC specs[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG count, const PROPID ids[],
                                                        LPOLESTR names[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG count, const PROPID ids[],
                                                         const LPOLESTR names[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG count, const PROPID ids[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** enumerator) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME* created, const FILETIME* accessed,
                                               const FILETIME* modified) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG* stat) = 0;
};

typedef IUnknown* LPUNKNOWN;
typedef IStream* LPSTREAM;
typedef IClassFactory* LPCLASSFACTORY;

/** Data handed over: where it lies, and who releases it (null: whoever holds the record). */
typedef struct tagSTGMEDIUM {
    DWORD tymed;  ///< a TYMED_ value
    union {
        void* hBitmap;
        void* hMetaFilePict;
        void* hEnhMetaFile;
        HGLOBAL hGlobal;
        LPOLESTR lpszFileName;
        IStream* pstm;
        IStorage* pstg;
    };
    IUnknown* pUnkForRelease;
} STGMEDIUM, *LPSTGMEDIUM;

static_assert(sizeof(void*) != 8 || sizeof(STGMEDIUM) == 24);
static_assert(sizeof(void*) != 8 || sizeof(STATSTG) == 80);

extern "C" {

// ---- Apartments and classes ----------------------------------------------------------------------------

/**
 * Puts the calling thread into an apartment; each success, S_FALSE included, needs its CoUninitialize.
 * @return S_OK; S_FALSE when the thread is in one of this model already; RPC_E_CHANGED_MODE when it is in one
 *         of the other model; E_INVALIDARG
 */
HRESULT CoInitializeEx(void* reserved, DWORD model) noexcept;
/** CoInitializeEx for an apartment of the calling thread alone. */
HRESULT CoInitialize(void* reserved) noexcept;
void CoUninitialize() noexcept;

/**
 * Makes an object of a class: of those that CoRegisterClassObject announced, the latest first, then of
 * those built in. Any context is served, all within this process.
 * @return S_OK; REGDB_E_CLASSNOTREG; CO_E_NOTINITIALIZED when no thread of the process is in an apartment;
 *         what the class answers
 */
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept;
HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID iid, void** object) noexcept;

/** Announces a class to this process, on whatever thread. REGCLS_SINGLEUSE serves one request only. */
HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* object, DWORD context, DWORD flags,
                              DWORD* cookie) noexcept;
/** @return S_OK; E_INVALIDARG for a cookie that is not in force */
HRESULT CoRevokeClassObject(DWORD cookie) noexcept;

// ---- Task memory and identifiers -----------------------------------------------------------------------

void* CoTaskMemAlloc(SIZE_T size) noexcept;
/** Size 0 frees the block and answers null; without memory the block stays as it was. */
void* CoTaskMemRealloc(void* block, SIZE_T size) noexcept;
void CoTaskMemFree(void* block) noexcept;

/**
 * Reads `{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}`, nothing before it and nothing after it.
 * @return S_OK; CO_E_CLASSSTRING with `clsid` null; a null text gives GUID_NULL and S_OK
 */
HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept;
HRESULT IIDFromString(LPCOLESTR text, IID* iid) noexcept;

/** Writes a GUID as CLSIDFromString reads it. @return characters written, 39 with the terminator, or 0 */
INT StringFromGUID2(REFGUID guid, LPOLESTR buffer, INT capacity) noexcept;

// ---- Automation text -----------------------------------------------------------------------------------

BSTR SysAllocString(const OLECHAR* text) noexcept;
/** `length` characters, embedded zeros included, and a terminator; a null text leaves them undefined. */
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;
INT SysReAllocString(BSTR* text, const OLECHAR* replacement) noexcept;
INT SysReAllocStringLen(BSTR* text, const OLECHAR* replacement, UINT length) noexcept;
void SysFreeString(BSTR text) noexcept;
UINT SysStringLen(BSTR text) noexcept;
UINT SysStringByteLen(BSTR text) noexcept;

// ---- Memory blocks behind a handle ---------------------------------------------------------------------

/** A fixed block is its own handle. A movable block of size 0 has a handle, and locking it gives null. */
HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept;
/** A locked movable block is not moved: it grows in place or not at all. On failure the block is as it was.
 */
HGLOBAL GlobalReAlloc(HGLOBAL handle, SIZE_T size, UINT flags) noexcept;
void* GlobalLock(HGLOBAL handle) noexcept;
/** @return nonzero while the block stays locked */
BOOL GlobalUnlock(HGLOBAL handle) noexcept;
/** @return null on success, else the handle */
HGLOBAL GlobalFree(HGLOBAL handle) noexcept;
SIZE_T GlobalSize(HGLOBAL handle) noexcept;
/** Lock count in the low byte; GMEM_DISCARDED for an empty movable block. */
UINT GlobalFlags(HGLOBAL handle) noexcept;

// ---- Streams and media ---------------------------------------------------------------------------------

/**
 * Makes a stream over a movable block; null makes an empty one. The stream's size is at first the block's.
 * @param deleteOnRelease  the last release of the stream and of its clones frees the block
 */
HRESULT CreateStreamOnHGlobal(HGLOBAL block, BOOL deleteOnRelease, IStream** stream) noexcept;

/** The block that the stream holds now. It may be larger than the stream: Stat tells the size of the data. */
HRESULT GetHGlobalFromStream(IStream* stream, HGLOBAL* block) noexcept;

/** Releases what the medium holds, by its own way or by `pUnkForRelease`, and makes it TYMED_NULL. */
void ReleaseStgMedium(STGMEDIUM* medium) noexcept;

}  // extern "C"

#pragma GCC visibility pop
