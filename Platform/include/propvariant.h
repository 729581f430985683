/**
 * @file propvariant.h
 * Typed values as property storages exchange them, where no SDK declares them. Included by `ole.h`.
 *
 * The layout is the platform's: 24 bytes with 64-bit pointers, the value at byte 8.
 */
#pragma once

#include "wintypes.h"

struct IUnknown;
struct IDispatch;
struct IStream;
struct IStorage;
struct tagPROPVARIANT;
typedef struct tagPROPVARIANT PROPVARIANT;

/** Value types; a vector of them is `VT_VECTOR | type`. */
enum VARENUM {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_FILETIME = 64,
    VT_BLOB = 65,
    VT_STREAM = 66,
    VT_STORAGE = 67,
    VT_STREAMED_OBJECT = 68,
    VT_STORED_OBJECT = 69,
    VT_BLOB_OBJECT = 70,
    VT_CF = 71,
    VT_CLSID = 72,
    VT_VERSIONED_STREAM = 73,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_ILLEGAL = 0xFFFF,
    VT_ILLEGALMASKED = 0xFFF,
    VT_TYPEMASK = 0xFFF
};

typedef struct tagBLOB {
    ULONG cbSize;
    BYTE* pBlobData;
} BLOB;

typedef struct tagCLIPDATA {
    ULONG cbSize;  ///< of the data and the format before it
    LONG ulClipFmt;
    BYTE* pClipData;
} CLIPDATA;

typedef struct tagVersionedStream {
    GUID guidVersion;
    IStream* pStream;
} VERSIONEDSTREAM;

// Counted arrays: the elements are one block of CoTaskMemAlloc.
typedef struct tagCAC {
    ULONG cElems;
    CHAR* pElems;
} CAC;
typedef struct tagCAUB {
    ULONG cElems;
    UCHAR* pElems;
} CAUB;
typedef struct tagCAI {
    ULONG cElems;
    SHORT* pElems;
} CAI;
typedef struct tagCAUI {
    ULONG cElems;
    USHORT* pElems;
} CAUI;
typedef struct tagCAL {
    ULONG cElems;
    LONG* pElems;
} CAL;
typedef struct tagCAUL {
    ULONG cElems;
    ULONG* pElems;
} CAUL;
typedef struct tagCAH {
    ULONG cElems;
    LARGE_INTEGER* pElems;
} CAH;
typedef struct tagCAUH {
    ULONG cElems;
    ULARGE_INTEGER* pElems;
} CAUH;
typedef struct tagCAFLT {
    ULONG cElems;
    FLOAT* pElems;
} CAFLT;
typedef struct tagCADBL {
    ULONG cElems;
    DOUBLE* pElems;
} CADBL;
typedef struct tagCABOOL {
    ULONG cElems;
    VARIANT_BOOL* pElems;
} CABOOL;
typedef struct tagCASCODE {
    ULONG cElems;
    SCODE* pElems;
} CASCODE;
typedef struct tagCACY {
    ULONG cElems;
    CY* pElems;
} CACY;
typedef struct tagCADATE {
    ULONG cElems;
    DATE* pElems;
} CADATE;
typedef struct tagCAFILETIME {
    ULONG cElems;
    FILETIME* pElems;
} CAFILETIME;
typedef struct tagCACLSID {
    ULONG cElems;
    CLSID* pElems;
} CACLSID;
typedef struct tagCACLIPDATA {
    ULONG cElems;
    CLIPDATA* pElems;
} CACLIPDATA;
typedef struct tagCABSTR {
    ULONG cElems;
    BSTR* pElems;
} CABSTR;
typedef struct tagCALPSTR {
    ULONG cElems;
    LPSTR* pElems;
} CALPSTR;
typedef struct tagCALPWSTR {
    ULONG cElems;
    LPWSTR* pElems;
} CALPWSTR;
typedef struct tagCAPROPVARIANT {
    ULONG cElems;
    PROPVARIANT* pElems;
} CAPROPVARIANT;

typedef WORD PROPVAR_PAD1;
typedef WORD PROPVAR_PAD2;
typedef WORD PROPVAR_PAD3;

/** A typed value. `vt` tells which member of the union is meant. */
struct tagPROPVARIANT {
    VARTYPE vt;
    PROPVAR_PAD1 wReserved1;
    PROPVAR_PAD2 wReserved2;
    PROPVAR_PAD3 wReserved3;
    union {
        CHAR cVal;
        UCHAR bVal;
        SHORT iVal;
        USHORT uiVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        LARGE_INTEGER hVal;
        ULARGE_INTEGER uhVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        FILETIME filetime;
        CLSID* puuid;
        CLIPDATA* pclipdata;
        BSTR bstrVal;
        BLOB blob;
        LPSTR pszVal;
        LPWSTR pwszVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        IStream* pStream;
        IStorage* pStorage;
        VERSIONEDSTREAM* pVersionedStream;
        CAC cac;
        CAUB caub;
        CAI cai;
        CAUI caui;
        CAL cal;
        CAUL caul;
        CAH cah;
        CAUH cauh;
        CAFLT caflt;
        CADBL cadbl;
        CABOOL cabool;
        CASCODE cascode;
        CACY cacy;
        CADATE cadate;
        CAFILETIME cafiletime;
        CACLSID cauuid;
        CACLIPDATA caclipdata;
        CABSTR cabstr;
        CALPSTR calpstr;
        CALPWSTR calpwstr;
        CAPROPVARIANT capropvar;
        CHAR* pcVal;
        UCHAR* pbVal;
        SHORT* piVal;
        USHORT* puiVal;
        LONG* plVal;
        ULONG* pulVal;
        INT* pintVal;
        UINT* puintVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        PROPVARIANT* pvarVal;
    };
};

inline constexpr ULONG PRSPEC_LPWSTR = 0;
inline constexpr ULONG PRSPEC_PROPID = 1;

/** Names a property, by its id or by its name. */
typedef struct tagPROPSPEC {
    ULONG ulKind;  ///< PRSPEC_LPWSTR or PRSPEC_PROPID
    union {
        PROPID propid;
        LPOLESTR lpwstr;
    };
} PROPSPEC;

typedef struct tagSTATPROPSTG {
    LPOLESTR lpwstrName;  ///< null, or a block of CoTaskMemAlloc that the receiver frees
    PROPID propid;
    VARTYPE vt;
} STATPROPSTG;

typedef struct tagSTATPROPSETSTG {
    FMTID fmtid;
    CLSID clsid;
    DWORD grfFlags;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD dwOSVersion;
} STATPROPSETSTG;

inline void PropVariantInit(PROPVARIANT* value) noexcept
{
    *value = PROPVARIANT{};
}

#pragma GCC visibility push(default)
extern "C" {

/**
 * Releases what the value owns and makes it VT_EMPTY. A value by reference is only forgotten.
 * @return S_OK, also for null; STG_E_INVALIDPARAMETER for a type that no PROPVARIANT has, which is forgotten.
 */
HRESULT PropVariantClear(PROPVARIANT* value) noexcept;

/** Copies deeply; references are counted. On failure `destination` is VT_EMPTY. */
HRESULT PropVariantCopy(PROPVARIANT* destination, const PROPVARIANT* source) noexcept;

/** Clears each value, whatever the others answer, and reports the last failure. The array itself is the
 * caller's. */
HRESULT FreePropVariantArray(ULONG count, PROPVARIANT* values) noexcept;

}  // extern "C"
#pragma GCC visibility pop

static_assert(sizeof(void*) != 8 || sizeof(PROPVARIANT) == 24);
static_assert(sizeof(void*) != 8 || sizeof(PROPSPEC) == 16);
static_assert(sizeof(void*) != 8 || sizeof(STATPROPSTG) == 16);
static_assert(sizeof(STATPROPSETSTG) == 64);
