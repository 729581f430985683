/**
 * @file winfiles.h
 * The platform's file and path calls that the library uses, where no SDK declares them.
 *
 * Names are UTF-16 and reach the kernel as UTF-8. Both `/` and, in _wsplitpath_s only, `\` separate
 * directories.
 */
#pragma once

#include <cerrno>

#include "ole.h"

typedef int errno_t;

// ---- Errors --------------------------------------------------------------------------------------------

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_DATA = 13;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_WRITE_FAULT = 29;
inline constexpr DWORD ERROR_READ_FAULT = 30;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_NOT_LOCKED = 158;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_DIRECTORY = 267;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_CANCELLED = 1223;

#pragma GCC visibility push(default)
extern "C" {

/** The calling thread's last error: set by a failing call of this header and of the memory blocks. */
DWORD GetLastError() noexcept;
void SetLastError(DWORD error) noexcept;

// ---- Files ---------------------------------------------------------------------------------------------

/**
 * The directory for this process's temporary files, ending in `/`. It belongs to this process alone (mode
 * 0700), is made on first use below `$TMPDIR` or `/tmp`, and goes with its contents when the process ends.
 * @param capacity  of `buffer` in characters, terminator included
 * @return characters written, without the terminator; the capacity needed, terminator included, when it does
 *         not fit; 0 with the last error set when there is no such directory
 */
DWORD GetTempPathW(DWORD capacity, WCHAR* buffer) noexcept;

/**
 * Copies a file under a temporary name beside the destination and then renames it: a failed copy leaves an
 * existing destination byte for byte and no other file. The copy has the permissions of the file that it
 * replaces, a new one those of the umask.
 */
BOOL CopyFileW(LPCWSTR existing, LPCWSTR copy, BOOL failIfExists) noexcept;

/**
 * As CopyFileW, from a file that the caller is done with: it becomes the destination where both are on one file system,
 * and else stays.
 */
BOOL PassFileW(LPCWSTR existing, LPCWSTR destination, BOOL failIfExists) noexcept;

BOOL DeleteFileW(LPCWSTR name) noexcept;

/**
 * Opens a file as a stream. `mode` is STGM_READ, STGM_WRITE or STGM_READWRITE, with STGM_CREATE to make the
 * file or empty it; without it, the file must exist. Sharing modes are accepted and not enforced.
 * Writes answer STG_E_MEDIUMFULL when the disk is full.
 * @return S_OK; E_INVALIDARG; HRESULT_FROM_WIN32 of an ERROR_ code
 */
HRESULT SHCreateStreamOnFileW(LPCWSTR name, DWORD mode, IStream** stream) noexcept;

/** Tells whether a file exists (`mode` 0) or may be written (2), read (4) or both (6): 0, or -1 with `errno`.
 */
int _waccess(const WCHAR* name, int mode) noexcept;

// ---- Paths and text ------------------------------------------------------------------------------------

/**
 * Splits a path into drive (`C:`), directory with its separators, name, and extension with its dot. A part
 * may be null, its capacity then 0.
 * @return 0; EINVAL; ERANGE when a part does not fit. All buffers are then empty.
 */
errno_t _wsplitpath_s(const WCHAR* path, WCHAR* drive, size_t driveCapacity, WCHAR* directory,
                      size_t directoryCapacity, WCHAR* name, size_t nameCapacity, WCHAR* extension,
                      size_t extensionCapacity) noexcept;

/**
 * Formats into a buffer that it never writes past. Knows `%s` (const WCHAR*), `%u`, `%d` and `%%`.
 * @return characters written without the terminator; -1 with an empty buffer when the text does not fit or
 *         the format asks for something else
 */
int swprintf_s(WCHAR* buffer, size_t capacity, const WCHAR* format, ...) noexcept;

}  // extern "C"
#pragma GCC visibility pop
