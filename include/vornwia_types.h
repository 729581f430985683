/**
 * @file vornwia_types.h
 * The platform's types that the public interface is written in.
 *
 * On Windows they come from the SDK. Elsewhere this header gives the same types with the same sizes:
 * a WCHAR has 16 bits and a LONG has 32 whatever the compiler's `wchar_t` and `long` are.
 *
 * Valid C11 and C++17.
 */
#ifndef VORNWIA_TYPES_H
#define VORNWIA_TYPES_H

#include <stdint.h>

#ifdef _WIN32

#include <windows.h>

/** Makes a literal of WCHAR characters: `VORN_TEXT("page.tif")`. */
#define VORN_TEXT(literal) L##literal

#else

/** One UTF-16 code unit. */
#ifdef __cplusplus
typedef char16_t WCHAR;
#else
typedef uint_least16_t WCHAR;
#endif

/** Makes a literal of WCHAR characters: `VORN_TEXT("page.tif")`. */
#define VORN_TEXT(literal) u##literal

/** A window. Under X11 the value is the window's id. */
typedef struct HWND__* HWND;

#ifndef GUID_DEFINED
#define GUID_DEFINED
/** A 16-byte identifier in the platform's layout. */
typedef struct _GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;
#endif

/** A date and a time of day; `wDayOfWeek` counts from Sunday, 0. */
typedef struct _SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
} SYSTEMTIME;

#endif

#endif
