#include "Service.h"

#include <algorithm>
#include <utility>

#include "RealDevices.h"

namespace vorn::wia {

namespace {

DevicePtr WithId(const std::vector<DevicePtr>& devices, WStringView id) noexcept
{
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [id](const DevicePtr& device) { return device->Id() == id; });
    return found != devices.end() ? *found : nullptr;
}

}  // namespace

Service::Service() : devices_{DefaultDevices(), true}, dialogs_{MakeDefaultDialogs()} {}

Service& Service::Instance()
{
    static Service service;
    return service;
}

std::vector<DevicePtr> Service::FindReal()
{
    std::vector<DevicePtr> found = RealDevices();  // takes its time: not under the lock
    const std::lock_guard lock{mutex_};
    return found_ = std::move(found);
}

std::vector<DevicePtr> Service::Devices()
{
    std::unique_lock lock{mutex_};
    std::vector<DevicePtr> devices = devices_.devices;
    const bool real = devices_.real;
    lock.unlock();
    if (real) {
        const std::vector<DevicePtr> found = FindReal();
        devices.insert(devices.begin(), found.begin(), found.end());
    }
    return devices;
}

DevicePtr Service::Find(WStringView id)
{
    if (id.empty())
        return nullptr;
    std::unique_lock lock{mutex_};
    DevicePtr device = WithId(devices_.devices, id);
    if (device || !devices_.real)
        return device;
    const std::vector<DevicePtr> before = found_;
    lock.unlock();
    device = WithId(before, id);
    if (!device)
        device = DeviceAtHand(id);
    return device ? device : RealDevice(id, before, FindReal());
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
