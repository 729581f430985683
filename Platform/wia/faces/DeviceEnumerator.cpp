#include "DeviceEnumerator.h"

#include "../Service.h"
#include "Faulty.h"
#include "ListEnumerator.h"
#include "PropertyStorage.h"

namespace vorn::wia {

namespace {

class DeviceEnumerator final
    : public CountedListEnumerator<IEnumWIA_DEV_INFO, DevicePtr, IWiaPropertyStorage*> {
public:
    DeviceEnumerator(List list, HRESULT failure) noexcept
        : CountedListEnumerator{std::move(list)}, failure_{failure}
    {
    }

    HRESULT STDMETHODCALLTYPE Next(ULONG count, IWiaPropertyStorage** elements, ULONG* fetched) override
    {
        const HRESULT result = CountedListEnumerator::Next(count, elements, fetched);
        return result == S_FALSE && !(fetched && *fetched) ? failure_ : result;
    }

private:
    HRESULT Give(const DevicePtr& device, IWiaPropertyStorage*& element) override
    {
        if (const auto result = Interrupted(*device, Step::NextDevice))
            return *result;
        return MakeDeviceProperties(device, &element);
    }

    void TakeBack(IWiaPropertyStorage*& element) noexcept override
    {
        if (element)
            element->Release();
    }

    ListEnumerator* MakeCopy() const override { return new DeviceEnumerator{Entries(), failure_}; }

    HRESULT
        failure_;  ///< answered after the last device: `S_FALSE`, or why the search for devices is incomplete
};

class Registration final : public ComObject<IUnknown> {};

}  // namespace

HRESULT EnumerateDevices(LONG flags, IEnumWIA_DEV_INFO** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        auto listed = std::make_shared<std::vector<DevicePtr>>();
        const FoundDevices found = Service::Instance().Devices();
        for (const DevicePtr& device : found.devices) {
            if (const auto result = Interrupted(*device, Step::EnumDevices))
                return *result;
            if (device->IsLocal() || !(flags & WIA_DEVINFO_ENUM_LOCAL))
                listed->push_back(device);
        }
        *enumerator =
            new DeviceEnumerator{std::move(listed), FAILED(found.failure) ? found.failure : S_FALSE};
        return S_OK;
    });
}

HRESULT FindDevice(BSTR id, DevicePtr& device)
{
    if (!id)
        return E_INVALIDARG;
    device = Service::Instance().Find({id, SysStringLen(id)});
    return device ? S_OK : WIA_S_NO_DEVICE_AVAILABLE;
}

HRESULT ChooseDevice(HWND parent, LONG deviceType, LONG flags, DevicePtr& device)
{
    DialogProvider::DeviceQuestion question{parent, deviceType, flags, {}};
    const FoundDevices found = Service::Instance().Devices();
    for (const DevicePtr& candidate : found.devices) {
        if (deviceType == StiDeviceTypeDefault || candidate->Type() == deviceType)
            question.devices.push_back(candidate);
    }
    if (question.devices.empty())
        return FAILED(found.failure) ? found.failure : WIA_S_NO_DEVICE_AVAILABLE;
    const HRESULT result = Service::Instance().Dialogs()->SelectDevice(question, device);
    return result == S_OK && !device ? E_UNEXPECTED : result;
}

HRESULT ChooseDeviceId(HWND parent, LONG deviceType, LONG flags, BSTR* id)
{
    if (!id)
        return E_POINTER;
    *id = nullptr;
    return NoThrow([&] {
        DevicePtr device;
        if (const HRESULT result = ChooseDevice(parent, deviceType, flags, device); result != S_OK)
            return result;
        if (const auto result = Interrupted(*device, Step::SelectDevice))
            return *result;
        *id = Bstr{device->Id()}.Detach();
        return *id ? S_OK : E_OUTOFMEMORY;
    });
}

HRESULT RegisterForEvents(const GUID* event, IWiaEventCallback* callback, IUnknown** registration)
{
    if (registration)
        *registration = nullptr;
    if (!event || !callback || !registration)
        return E_INVALIDARG;
    return MakeComObject<Registration>(IID_IUnknown, reinterpret_cast<void**>(registration));
}

}  // namespace vorn::wia
