#include "Capabilities.h"

#include "Faulty.h"
#include "ListEnumerator.h"

namespace vorn::wia {

namespace {

class FormatEnumerator final
    : public CountedListEnumerator<IEnumWIA_FORMAT_INFO, WIA_FORMAT_INFO, WIA_FORMAT_INFO> {
public:
    FormatEnumerator(List list, DevicePtr device) noexcept
        : CountedListEnumerator{std::move(list)}, device_{std::move(device)}
    {
    }

private:
    HRESULT Give(const WIA_FORMAT_INFO& entry, WIA_FORMAT_INFO& element) override
    {
        if (const auto result = Interrupted(*device_, Step::NextFormat))
            return *result;
        element = entry;
        return S_OK;
    }

    void TakeBack(WIA_FORMAT_INFO&) noexcept override {}
    ListEnumerator* MakeCopy() const override { return new FormatEnumerator{Entries(), device_}; }
    HRESULT BeforeCount(ULONG&) override
    {
        return Interrupted(*device_, Step::GetFormatCount).value_or(S_OK);
    }

    DevicePtr device_;
};

struct Capability {
    GUID guid;
    ULONG flags;
    const WCHAR* name;
    const WCHAR* description;
};

class CapabilityEnumerator final : public CountedListEnumerator<IEnumWIA_DEV_CAPS, Capability, WIA_DEV_CAP> {
public:
    explicit CapabilityEnumerator(List list) noexcept : CountedListEnumerator{std::move(list)} {}

private:
    HRESULT Give(const Capability& entry, WIA_DEV_CAP& element) override
    {
        element.guid = entry.guid;
        element.ulFlags = entry.flags;
        element.bstrName = SysAllocString(entry.name);
        element.bstrDescription = SysAllocString(entry.description);
        element.bstrIcon = SysAllocString(VORN_TEXT(""));
        element.bstrCommandline = SysAllocString(VORN_TEXT(""));
        if (element.bstrName && element.bstrDescription && element.bstrIcon && element.bstrCommandline)
            return S_OK;
        TakeBack(element);
        return E_OUTOFMEMORY;
    }

    void TakeBack(WIA_DEV_CAP& element) noexcept override
    {
        for (BSTR text :
             {element.bstrName, element.bstrDescription, element.bstrIcon, element.bstrCommandline})
            SysFreeString(text);
    }

    ListEnumerator* MakeCopy() const override { return new CapabilityEnumerator{Entries()}; }
};

HRESULT MakeCapabilities(std::vector<Capability> list, IEnumWIA_DEV_CAPS** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        *enumerator =
            new CapabilityEnumerator{std::make_shared<const std::vector<Capability>>(std::move(list))};
        return S_OK;
    });
}

}  // namespace

HRESULT EnumerateFormats(const Item& item, IEnumWIA_FORMAT_INFO** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        if (const auto result = Interrupted(item.Tree().Device(), Step::EnumFormats))
            return *result;
        auto list = std::make_shared<const std::vector<WIA_FORMAT_INFO>>(item.Definition().formats);
        *enumerator = new FormatEnumerator{std::move(list), item.Tree().DevicePointer()};
        return S_OK;
    });
}

HRESULT EnumerateCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator)
{
    return NoThrow([&] {
        std::vector<Capability> list;
        if (flags & WIA_DEVICE_COMMANDS)
            list.push_back({WIA_CMD_SYNCHRONIZE, 0, VORN_TEXT("Synchronize"), VORN_TEXT("Synchronize")});
        if (flags & WIA_DEVICE_EVENTS) {
            list.push_back({WIA_EVENT_DEVICE_CONNECTED, WIA_NOTIFICATION_EVENT, VORN_TEXT("Device Connected"),
                            VORN_TEXT("Device Connected")});
            list.push_back({WIA_EVENT_DEVICE_DISCONNECTED, WIA_NOTIFICATION_EVENT,
                            VORN_TEXT("Device Disconnected"), VORN_TEXT("Device Disconnected")});
        }
        return MakeCapabilities(std::move(list), enumerator);
    });
}

HRESULT EnumerateEventHandlers(IEnumWIA_DEV_CAPS** enumerator)
{
    return MakeCapabilities({}, enumerator);
}

HRESULT CarryOut(const GUID* command)
{
    if (!command)
        return E_INVALIDARG;
    return IsEqualGUID(*command, WIA_CMD_SYNCHRONIZE) ? S_OK : E_NOTIMPL;
}

}  // namespace vorn::wia
