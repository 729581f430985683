/**
 * @file platform.h
 * Everything the library asks of the platform, in one include: COM and OLE automation, the
 * image-acquisition interfaces of both generations, the video interface, and the file and path calls.
 *
 * On Windows these are the SDK's headers, with `wia2.h` where the SDK lacks the second generation.
 * Elsewhere the headers beside this one declare the same names.
 */
#pragma once

#ifdef _WIN32
#include <windows.h>

#include <ole2.h>
#include <shlwapi.h>
#include <sti.h>
#include <wia.h>
#include <wiavideo.h>

#include <io.h>
#include <stdlib.h>

#include "wia2.h"

/** As in winfiles.h. A file that is moved would keep the access list of the directory it comes from. */
inline BOOL PassFileW(LPCWSTR existing, LPCWSTR destination, BOOL failIfExists) noexcept
{
    return CopyFileW(existing, destination, failIfExists);
}
#else
#include "ole.h"
#include "wia.h"
#include "wia2.h"
#include "wiavideo.h"
#include "winfiles.h"
#endif
