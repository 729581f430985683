#include "../RealDevices.h"

#include <mutex>
#include <utility>

#include "../../include/comobject.h"
#include "FindScanners.h"
#include "SaneDevice.h"
#include "Scanner.h"
#include "Text.h"
#include "Vocabulary.h"

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

/** What the search tells of a scanner, looked up when somebody asks. */
class LateTexts {
public:
    explicit LateTexts(std::string name) : found_{std::move(name), "", "", ""} {}

    const FoundScanner& Get()
    {
        std::call_once(asked_, [this] {
            for (const FoundScanner& found : FindScanners(kPatience).scanners)
                if (found.name == found_.name)
                    found_ = found;
        });
        return found_;
    }

private:
    std::once_flag asked_;
    FoundScanner found_;
};

}  // namespace

FoundDevices RealDevices()
{
    const ScannerSearch search = FindScanners(kPatience);
    FoundDevices found{{}, search.failure};
    for (const FoundScanner& scanner : search.scanners)
        found.devices.push_back(std::make_shared<const Device>(DefineSaneDevice(scanner)));
    return found;
}

DevicePtr DeviceAtHand(WStringView id)
{
    if (id.find(u':') == WStringView::npos)
        return nullptr;
    const std::string name = ToNarrow(id);
    std::shared_ptr<Scanner> scanner;
    try {
        scanner = Scanner::Open(name);
    } catch (const Failure& failure) {
        if (failure.result == WIA_ERROR_BUSY || failure.result == WIA_ERROR_OFFLINE ||
            failure.result == WIA_ERROR_EXCEPTION_IN_DRIVER)
            throw;
        return nullptr;
    }
    {
        const Scanner::Use use{*scanner};
        if (!Find(*scanner, Role::Source))
            return nullptr;
    }
    DeviceDefinition definition = DefineSaneDevice({name, "", "", ""});
    const auto texts = std::make_shared<LateTexts>(name);
    for (Property& property : definition.properties)
        if (property.id == WIA_DIP_DEV_NAME || property.id == WIA_DIP_DEV_DESC ||
            property.id == WIA_DIP_VEND_DESC)
            property.read = [texts, id = property.id](PROPVARIANT& value) {
                return DeviceText(texts->Get(), id).CopyTo(&value);
            };
    const auto held = std::make_shared<std::shared_ptr<Scanner>>(std::move(scanner));
    for (auto* const tree : {&definition.tree1, &definition.tree2})
        *tree = [make = std::move(*tree), held] {
            ItemDefinition root = make();
            held->reset();
            return root;
        };
    return std::make_shared<const Device>(std::move(definition));
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
    return id.find(u':') == WStringView::npos
               ? nullptr
               : std::make_shared<const Device>(DefineSaneDevice({ToNarrow(id), "", "", ""}));
}

}  // namespace vorn::wia
