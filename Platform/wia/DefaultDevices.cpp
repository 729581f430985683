#include "Service.h"
#include "virtual/DeviceBuilder.h"
#ifndef _WIN32
#include "../video/Cameras.h"
#endif

namespace vorn::wia {

std::vector<DevicePtr> DefaultDevices()
{
    std::vector<DevicePtr> devices;
#ifndef _WIN32
    devices = video::Cameras();
#endif
    devices.insert(devices.end(), {VirtualScanner().Build(), VirtualCompactScanner().Build(),
                                   VirtualCamera().Build(), VirtualVideo().Build()});
    return devices;
}

}  // namespace vorn::wia
