#include <cstdlib>
#include <string_view>

#include "Service.h"
#include "virtual/DeviceBuilder.h"
#ifndef _WIN32
#include "../video/Cameras.h"
#endif

namespace vorn::wia {

const std::vector<DevicePtr>& VirtualDevices()
{
    static const std::vector<DevicePtr> devices{VirtualScanner().Build(), VirtualCompactScanner().Build(),
                                                VirtualCamera().Build(), VirtualVideo().Build()};
    return devices;
}

DeviceList DefaultDevices()
{
#ifdef _WIN32
    return {VirtualDevices()};  // a program that announces this service asks for them
#else
    const char* const value = std::getenv("VORNWIA_VIRTUAL_DEVICES");
    const std::string_view asked{value ? value : ""};
    if (asked == "only")
        return {VirtualDevices()};
    DeviceList list{video::Cameras(), true};
    if (asked == "1")
        list.devices.insert(list.devices.end(), VirtualDevices().begin(), VirtualDevices().end());
    return list;
#endif
}

}  // namespace vorn::wia
