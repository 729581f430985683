// Where the system has its own service, or no library for real devices.

#include "RealDevices.h"

namespace vorn::wia {

FoundDevices RealDevices()
{
    return {};
}

DevicePtr DeviceAtHand(WStringView)
{
    return nullptr;
}

DevicePtr RealDevice(WStringView, const std::vector<DevicePtr>&, const std::vector<DevicePtr>&)
{
    return nullptr;
}

}  // namespace vorn::wia
