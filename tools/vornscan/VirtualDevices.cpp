#include "VirtualDevices.h"

#include "Failure.h"
#include "wia/Service.h"

namespace vornscan {

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

}  // namespace vornscan
