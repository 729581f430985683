// The identifiers of the image-acquisition interfaces. Windows has those of the first generation in its own
// libraries, so there only those of the video object and of the second generation are defined here.
#ifdef _WIN32
#include <windows.h>

#include <wia.h>
#include <wiavideo.h>

#include <initguid.h>

#include "wia2.h"

// clang-format off
DEFINE_GUID(CLSID_WiaVideo, 0x3908c3cd, 0x4478, 0x4536, 0xaf, 0x2f, 0x10, 0xc2, 0x5d, 0x4e, 0xf8, 0x9a);
DEFINE_GUID(IID_IWiaVideo, 0xd52920aa, 0xdb88, 0x41f0, 0x94, 0x6c, 0xe0, 0x0d, 0xc0, 0xa1, 0x9c, 0xfa);
// clang-format on
#else
#define INITGUID
#include "wia.h"
#include "wia2.h"
#include "wiavideo.h"
#endif
