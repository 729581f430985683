/**
 * @file wintypes.h
 * The platform's basic types and result codes, under their published names, where no SDK gives them.
 *
 * C++ only. A LONG has 32 bits whatever the compiler's `long` has.
 */
#pragma once

#include <cstdint>
#include <cstring>

#include "vornwia_types.h"

#define WINAPI
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define CALLBACK
#define EXTERN_C extern "C"

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// ---- Scalars -------------------------------------------------------------------------------------------

typedef char CHAR;
typedef uint8_t BYTE;
typedef uint8_t UCHAR;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef uint16_t WORD;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef int64_t LONG64;
typedef uint64_t ULONG64;
typedef int32_t BOOL;
typedef float FLOAT;
typedef double DOUBLE;
typedef size_t SIZE_T;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef WCHAR OLECHAR;
typedef int32_t HRESULT;
typedef int32_t SCODE;
typedef int16_t VARIANT_BOOL;
typedef double DATE;
typedef uint16_t VARTYPE;
typedef uint32_t PROPID;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

typedef void* LPVOID;
typedef const void* LPCVOID;
typedef void* HANDLE;
typedef void* HGLOBAL;
typedef BYTE* LPBYTE;
typedef LONG* LPLONG;
typedef DWORD* LPDWORD;
typedef BOOL* LPBOOL;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;

/** Automation text: its length in bytes stands in the four bytes before it. From SysAllocString. */
typedef OLECHAR* BSTR;

constexpr WORD LOWORD(ULONG_PTR value) noexcept
{
    return static_cast<WORD>(value & 0xFFFF);
}

constexpr WORD HIWORD(ULONG_PTR value) noexcept
{
    return static_cast<WORD>(value >> 16 & 0xFFFF);
}

constexpr LONG MAKELONG(WORD low, WORD high) noexcept
{
    return static_cast<LONG>(low | static_cast<ULONG>(high) << 16);
}

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME;

typedef union _LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
} ULARGE_INTEGER;

typedef union tagCY {
    struct {
        ULONG Lo;
        LONG Hi;
    } u;
    LONGLONG int64;
} CY;

// ---- Identifiers ---------------------------------------------------------------------------------------

typedef GUID IID;
typedef GUID CLSID;
typedef GUID FMTID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
typedef const FMTID& REFFMTID;

/**
 * Declares a GUID; in the one source file that defines INITGUID before it includes anything, defines it.
 * GUIDs are shared by all libraries of the process.
 */
#ifdef INITGUID
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    EXTERN_C __attribute__((visibility("default"))) const GUID name; \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    EXTERN_C __attribute__((visibility("default"))) const GUID name
#endif

inline bool operator==(REFGUID left, REFGUID right) noexcept
{
    return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}

inline bool IsEqualGUID(REFGUID left, REFGUID right) noexcept
{
    return left == right;
}

inline bool IsEqualIID(REFIID left, REFIID right) noexcept
{
    return left == right;
}

inline bool IsEqualCLSID(REFCLSID left, REFCLSID right) noexcept
{
    return left == right;
}

// ---- Results -------------------------------------------------------------------------------------------

inline constexpr ULONG SEVERITY_SUCCESS = 0;
inline constexpr ULONG SEVERITY_ERROR = 1;

inline constexpr ULONG FACILITY_NULL = 0;
inline constexpr ULONG FACILITY_RPC = 1;
inline constexpr ULONG FACILITY_DISPATCH = 2;
inline constexpr ULONG FACILITY_STORAGE = 3;
inline constexpr ULONG FACILITY_ITF = 4;
inline constexpr ULONG FACILITY_WIN32 = 7;

constexpr HRESULT MAKE_HRESULT(ULONG severity, ULONG facility, ULONG code) noexcept
{
    return static_cast<HRESULT>(severity << 31 | facility << 16 | code);
}

constexpr bool SUCCEEDED(HRESULT result) noexcept
{
    return result >= 0;
}

constexpr bool FAILED(HRESULT result) noexcept
{
    return result < 0;
}

constexpr LONG HRESULT_CODE(HRESULT result) noexcept
{
    return result & 0xFFFF;
}

constexpr LONG HRESULT_FACILITY(HRESULT result) noexcept
{
    return result >> 16 & 0x1FFF;
}

constexpr LONG HRESULT_SEVERITY(HRESULT result) noexcept
{
    return result < 0 ? 1 : 0;
}

/** The result that carries an ERROR_ code; 0 stays 0. */
constexpr HRESULT HRESULT_FROM_WIN32(ULONG error) noexcept
{
    const auto code = static_cast<HRESULT>(error);
    return code <= 0 ? code : MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, error & 0xFFFF);
}

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;

inline constexpr HRESULT E_PENDING = HRESULT(0x8000000A);
inline constexpr HRESULT E_NOTIMPL = HRESULT(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = HRESULT(0x80004002);
inline constexpr HRESULT E_POINTER = HRESULT(0x80004003);
inline constexpr HRESULT E_ABORT = HRESULT(0x80004004);
inline constexpr HRESULT E_FAIL = HRESULT(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = HRESULT(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = HRESULT(0x80070005);
inline constexpr HRESULT E_HANDLE = HRESULT(0x80070006);
inline constexpr HRESULT E_OUTOFMEMORY = HRESULT(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = HRESULT(0x80070057);

inline constexpr HRESULT CLASS_E_NOAGGREGATION = HRESULT(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = HRESULT(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = HRESULT(0x80040154);
inline constexpr HRESULT CO_E_NOTINITIALIZED = HRESULT(0x800401F0);
inline constexpr HRESULT CO_E_CLASSSTRING = HRESULT(0x800401F3);
inline constexpr HRESULT CO_E_OBJNOTREG = HRESULT(0x800401FB);
inline constexpr HRESULT DV_E_FORMATETC = HRESULT(0x80040064);
inline constexpr HRESULT DV_E_STGMEDIUM = HRESULT(0x80040066);
inline constexpr HRESULT DV_E_TYMED = HRESULT(0x80040069);

inline constexpr HRESULT RPC_E_CHANGED_MODE = HRESULT(0x80010106);
inline constexpr HRESULT RPC_E_DISCONNECTED = HRESULT(0x80010108);
inline constexpr HRESULT RPC_E_SERVERFAULT = HRESULT(0x80010105);
inline constexpr HRESULT RPC_E_TIMEOUT = HRESULT(0x8001011F);

inline constexpr HRESULT DISP_E_TYPEMISMATCH = HRESULT(0x80020005);
inline constexpr HRESULT DISP_E_BADVARTYPE = HRESULT(0x80020008);
inline constexpr HRESULT DISP_E_OVERFLOW = HRESULT(0x8002000A);

inline constexpr HRESULT STG_E_INVALIDFUNCTION = HRESULT(0x80030001);
inline constexpr HRESULT STG_E_FILENOTFOUND = HRESULT(0x80030002);
inline constexpr HRESULT STG_E_PATHNOTFOUND = HRESULT(0x80030003);
inline constexpr HRESULT STG_E_TOOMANYOPENFILES = HRESULT(0x80030004);
inline constexpr HRESULT STG_E_ACCESSDENIED = HRESULT(0x80030005);
inline constexpr HRESULT STG_E_INVALIDHANDLE = HRESULT(0x80030006);
inline constexpr HRESULT STG_E_INSUFFICIENTMEMORY = HRESULT(0x80030008);
inline constexpr HRESULT STG_E_INVALIDPOINTER = HRESULT(0x80030009);
inline constexpr HRESULT STG_E_SEEKERROR = HRESULT(0x80030019);
inline constexpr HRESULT STG_E_WRITEFAULT = HRESULT(0x8003001D);
inline constexpr HRESULT STG_E_READFAULT = HRESULT(0x8003001E);
inline constexpr HRESULT STG_E_FILEALREADYEXISTS = HRESULT(0x80030050);
inline constexpr HRESULT STG_E_INVALIDPARAMETER = HRESULT(0x80030057);
inline constexpr HRESULT STG_E_MEDIUMFULL = HRESULT(0x80030070);
inline constexpr HRESULT STG_E_INVALIDNAME = HRESULT(0x800300FC);
inline constexpr HRESULT STG_E_INVALIDFLAG = HRESULT(0x800300FF);
inline constexpr HRESULT STG_E_REVERTED = HRESULT(0x80030102);
