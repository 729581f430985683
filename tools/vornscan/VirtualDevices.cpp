#include "VirtualDevices.h"

#ifdef _WIN32
#include "Failure.h"
#include "wia/Service.h"
#else
#include <cstdlib>
#endif

namespace vornscan {

#ifdef _WIN32

VirtualDevices::VirtualDevices()
{
    if (SUCCEEDED(CoInitialize(nullptr)) && SUCCEEDED(vorn::wia::RegisterClasses()))
        return;
    throw Failure{ExitCode::InputOutput, "the virtual devices cannot be announced to this machine's COM"};
}

VirtualDevices::~VirtualDevices()
{
    vorn::wia::RevokeClasses();
    CoUninitialize();
}

#else

VirtualDevices::VirtualDevices()
{
    setenv("VORNWIA_VIRTUAL_DEVICES", "only", 1);
}

VirtualDevices::~VirtualDevices() = default;

#endif

}  // namespace vornscan
