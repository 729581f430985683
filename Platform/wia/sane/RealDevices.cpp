#include "../RealDevices.h"

#include "FindScanners.h"
#include "Text.h"

namespace vorn::wia {

namespace {

// Scanners of a network answer within seconds; a host that is down would keep everybody waiting for minutes.
constexpr auto kPatience = std::chrono::seconds{12};

/** What stays the same of a device's id when it is plugged in anew: the back end. */
WStringView BackEnd(WStringView id) noexcept
{
    return id.substr(0, id.find(u':'));
}

/** The one device that `fits`; null when there is none, or another one. */
template <typename Fits>
DevicePtr OnlyOne(const std::vector<DevicePtr>& devices, Fits&& fits)
{
    DevicePtr only;
    for (const DevicePtr& device : devices) {
        if (!fits(*device))
            continue;
        if (only)
            return nullptr;
        only = device;
    }
    return only;
}

}  // namespace

std::vector<DevicePtr> RealDevices()
{
    std::vector<DevicePtr> devices;
    for (const FoundScanner& found : FindScanners(kPatience))
        devices.push_back(MakeSaneDevice(found));
    return devices;
}

DevicePtr RealDevice(WStringView id, const std::vector<DevicePtr>& before, const std::vector<DevicePtr>& now)
{
    const auto has = [](const std::vector<DevicePtr>& devices, WStringView wanted) {
        return OnlyOne(devices, [wanted](const Device& device) { return device.Id() == wanted; });
    };
    if (DevicePtr same = has(now, id))
        return same;
    if (const DevicePtr known = has(before, id))
        return OnlyOne(now, [&](const Device& device) {
            return device.Name() == known->Name() && BackEnd(device.Id()) == BackEnd(id);
        });
    // SANE opens some devices that it does not list. Whether this is one shows when it is opened.
    return id.find(u':') == WStringView::npos ? nullptr : MakeSaneDevice({ToNarrow(id), "", "", ""});
}

}  // namespace vorn::wia
