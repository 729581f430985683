#include "Service.h"

#include <algorithm>
#include <utility>

namespace vorn::wia {

namespace {

DevicePtr WithId(const std::vector<DevicePtr>& devices, WStringView id) noexcept
{
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [id](const DevicePtr& device) { return device->Id() == id; });
    return found != devices.end() ? *found : nullptr;
}

}  // namespace

Service::Service() : devices_{DefaultDevices()}, dialogs_{MakeDefaultDialogs()} {}

Service& Service::Instance()
{
    static Service service;
    return service;
}

FoundDevices Service::FindReal()
{
    FoundDevices found = RealDevices();  // takes its time: not under the lock
    const std::lock_guard lock{mutex_};
    found_ = found.devices;
    return found;
}

FoundDevices Service::Devices()
{
    std::unique_lock lock{mutex_};
    const DeviceList list = devices_;
    lock.unlock();
    FoundDevices found = list.real ? FindReal() : FoundDevices{};
    found.devices.insert(found.devices.end(), list.devices.begin(), list.devices.end());
    return found;
}

std::vector<DevicePtr> Service::DevicesAtHand()
{
    const std::lock_guard lock{mutex_};
    std::vector<DevicePtr> devices = devices_.devices;
    if (devices_.real)
        devices.insert(devices.end(), VirtualDevices().begin(), VirtualDevices().end());
    return devices;
}

DevicePtr Service::Find(WStringView id)
{
    if (id.empty())
        return nullptr;
    DevicePtr device = WithId(DevicesAtHand(), id);
    std::unique_lock lock{mutex_};
    if (device || !devices_.real)
        return device;
    const std::vector<DevicePtr> before = found_;
    lock.unlock();
    device = WithId(before, id);
    if (!device)
        device = DeviceAtHand(id);
    return device ? device : RealDevice(id, before, FindReal().devices);
}

DeviceList Service::SetDevices(DeviceList devices)
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
