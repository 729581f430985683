// The identifiers of the image-acquisition interfaces. Windows has those of the first generation in its own
// libraries, so there only the second generation's are defined here.
#ifdef _WIN32
#include <windows.h>

#include <wia.h>

#include <initguid.h>

#include "wia2.h"
#else
#define INITGUID
#include "wia.h"
#include "wia2.h"
#include "wiavideo.h"
#endif
