#include "Service.h"
#include "virtual/DeviceBuilder.h"

namespace vorn::wia {

std::vector<DevicePtr> DefaultDevices()
{
    return {VirtualScanner().Build(), VirtualCompactScanner().Build(), VirtualCamera().Build(),
            VirtualVideo().Build()};
}

}  // namespace vorn::wia
