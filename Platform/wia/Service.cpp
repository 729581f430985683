#include "Service.h"

#include <utility>

namespace vorn::wia {

Service::Service() : devices_{DefaultDevices()}, dialogs_{MakeDefaultDialogs()} {}

Service& Service::Instance()
{
    static Service service;
    return service;
}

std::vector<DevicePtr> Service::Devices()
{
    const std::lock_guard lock{mutex_};
    return devices_;
}

std::vector<DevicePtr> Service::SetDevices(std::vector<DevicePtr> devices)
{
    const std::lock_guard lock{mutex_};
    return std::exchange(devices_, std::move(devices));
}

std::shared_ptr<DialogProvider> Service::Dialogs()
{
    const std::lock_guard lock{mutex_};
    return dialogs_;
}

std::shared_ptr<DialogProvider> Service::SetDialogs(std::shared_ptr<DialogProvider> provider)
{
    if (!provider)
        provider = MakeDefaultDialogs();
    const std::lock_guard lock{mutex_};
    return std::exchange(dialogs_, std::move(provider));
}

void Service::HideManager(Generation generation)
{
    const std::lock_guard lock{mutex_};
    ++(generation == Generation::One ? hidden1_ : hidden2_);
}

void Service::ShowManager(Generation generation)
{
    const std::lock_guard lock{mutex_};
    --(generation == Generation::One ? hidden1_ : hidden2_);
}

bool Service::IsHidden(Generation generation)
{
    const std::lock_guard lock{mutex_};
    return (generation == Generation::One ? hidden1_ : hidden2_) > 0;
}

}  // namespace vorn::wia
