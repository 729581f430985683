/** Devices: enumeration, selection, type. */
#include "Internal.h"

namespace vorn {
namespace {

/** The texts of a device record, in the order in which they are read. */
constexpr PROPID kDeviceInfoIds[] = {WIA_DIP_DEV_ID, WIA_DIP_DEV_NAME, WIA_DIP_DEV_DESC};
constexpr ULONG kDeviceInfoCount = sizeof(kDeviceInfoIds) / sizeof(kDeviceInfoIds[0]);

/** A device record that owns its strings. */
class OwnedDeviceInfo {
public:
    OwnedDeviceInfo() noexcept { info_.structSize = sizeof(WiaDeviceInfo); }
    OwnedDeviceInfo(const OwnedDeviceInfo&) = delete;
    OwnedDeviceInfo& operator=(const OwnedDeviceInfo&) = delete;
    ~OwnedDeviceInfo()
    {
        Free(info_.deviceId);
        Free(info_.deviceName);
        Free(info_.deviceDescription);
    }

    WiaDeviceInfo* Get() noexcept { return &info_; }

private:
    static void Free(const WCHAR* text) { KrnFreeArray(const_cast<WCHAR*>(text), VORN_HERE); }

    WiaDeviceInfo info_{};
};

/** An exact copy of a text value; null when the value is no text or there is no memory. */
const WCHAR* CopyTextValue(const PROPVARIANT& value)
{
    if (value.vt != VT_BSTR || !value.bstrVal)
        return nullptr;
    const uint64_t characters = TextLength(value.bstrVal) + 1;
    auto* copy = static_cast<WCHAR*>(KrnAllocArray(characters, sizeof(WCHAR), VORN_HERE));
    if (copy)
        KrnMemCopy(copy, value.bstrVal, characters * sizeof(WCHAR));
    return copy;
}

HRESULT ReadDeviceInfo(IWiaPropertyStorage* storage, WiaDeviceInfo* info)
{
    if (!storage || !info)
        return E_INVALIDARG;

    PROPSPEC specs[kDeviceInfoCount];
    for (ULONG i = 0; i < kDeviceInfoCount; ++i)
        specs[i] = SpecifyProperty(nullptr, kDeviceInfoIds[i]);
    PROPVARIANT values[kDeviceInfoCount] = {};
    const HRESULT result = storage->ReadMultiple(kDeviceInfoCount, specs, values);
    if (result < 0)
        return result;

    info->deviceId = CopyTextValue(values[0]);
    info->deviceName = CopyTextValue(values[1]);
    info->deviceDescription = CopyTextValue(values[2]);
    FreePropVariantArray(kDeviceInfoCount, values);
    return result;
}

HRESULT CreateDeviceEnumerator(const WiaSession& session, IEnumWIA_DEV_INFO** devices)
{
    return session.wiaVersion == 1 ? session.deviceManager->EnumDeviceInfo(WIA_DEVINFO_ENUM_LOCAL, devices)
                                   : session.deviceManager2->EnumDeviceInfo(WIA_DEVINFO_ENUM_LOCAL, devices);
}

/** Walks the devices; the result is a platform result or the value with which the callback stopped. */
HRESULT WalkDevices(WiaSession* session, EnumDevicesCallback callback, void* userData)
{
    ComPtr<IEnumWIA_DEV_INFO> devices;
    HRESULT result = CreateDeviceEnumerator(*session, devices.Out());
    if (result < 0)
        return result;
    if (!devices)
        return E_UNEXPECTED;

    uint64_t delivered = 0;
    for (;;) {
        ComPtr<IWiaPropertyStorage> storage;
        result = devices->Next(1, storage.Out(), nullptr);
        if (result == S_FALSE)
            return delivered ? S_OK : WIA_S_NO_DEVICE_AVAILABLE;
        if (result != S_OK)
            return result;
        ++delivered;

        OwnedDeviceInfo info;
        if (!IsPlainSuccess(ReadDeviceInfo(storage.Get(), info.Get())))
            return S_OK;  // a device that cannot be read ends the list
        if (const int32_t answer = callback(session, info.Get(), userData); answer != 1)
            return answer;
    }
}

template <typename Item>
void DropItem(Item*& held)
{
    if (Item* item = std::exchange(held, nullptr))
        item->Release();
}

/** An opened device counts only with its root item. */
template <typename Item>
HRESULT HoldRoot(HRESULT opened, ComPtr<Item> root, Item*& held)
{
    if (!IsPlainSuccess(opened))
        return opened;
    held = root.Detach();
    return held ? opened : E_UNEXPECTED;
}

/** Replaces the selected device. The old one goes first: a session never holds two devices. */
HRESULT OpenDevice(WiaSession* session, BSTR deviceId)
{
    if (session->wiaVersion == 1) {
        DropItem<IWiaItem>(session->rootItem);
        ComPtr<IWiaItem> root;
        const HRESULT opened = session->deviceManager->CreateDevice(deviceId, root.Out());
        return HoldRoot<IWiaItem>(opened, std::move(root), session->rootItem);
    }
    DropItem<IWiaItem2>(session->rootItem2);
    ComPtr<IWiaItem2> root;
    const HRESULT opened = session->deviceManager2->CreateDevice(0, deviceId, root.Out());
    return HoldRoot<IWiaItem2>(opened, std::move(root), session->rootItem2);
}

void KeepDeviceId(WiaSession* session, Bstr id)
{
    SysFreeString(session->selectedDeviceId);
    session->selectedDeviceId = id.Detach();
}

}  // namespace

int32_t DeviceTypeOf(WiaSession* session, WiaItemHandle root, uint32_t* deviceType) noexcept
{
    int32_t value = 0;
    const int32_t status = Vorn_WiaGetPropertyLong(session, root, nullptr, WIA_DIP_DEV_TYPE, &value);
    if (status == SUCCESS)
        *deviceType = static_cast<uint32_t>(value) >> 16;  // the low half is the subtype
    return status;
}

}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaEnumDevices(WiaSession* session, EnumDevicesCallback callback, void* userData)
{
    if (!session || !callback)
        return ERR_INVALID_ARGUMENT;
    return StatusOf(WalkDevices(session, callback, userData));
}

int32_t Vorn_WiaSelectDevice(WiaSession* session, const WCHAR* deviceId)
{
    if (!session || !deviceId)
        return ERR_INVALID_ARGUMENT;

    // One copy serves the call and the session: the caller may have passed the session's own string.
    Bstr id{deviceId};
    if (!id)
        return ERR_OUT_OF_MEMORY;
    const HRESULT result = OpenDevice(session, id.Get());
    if (IsPlainSuccess(result))
        KeepDeviceId(session, std::move(id));
    return StatusOf(result);
}

int32_t Vorn_WiaSelectDeviceDlg(WiaSession* session, HWND parent, int32_t deviceType, int32_t flags)
{
    if (!session)
        return ERR_INVALID_ARGUMENT;

    Bstr id;
    HRESULT result = session->wiaVersion == 1
                         ? session->deviceManager->SelectDeviceDlgID(parent, deviceType, flags, id.Out())
                         : session->deviceManager2->SelectDeviceDlgID(parent, deviceType, flags, id.Out());
    if (result == S_OK && id)
        result = OpenDevice(session, id.Get());

    if (result < 0)
        return MapWiaResult(result);
    if (result == S_FALSE)
        return DIALOG_CANCELLED;
    if (id)
        KeepDeviceId(session, std::move(id));
    return SUCCESS;
}

int32_t Vorn_WiaGetSelectedDeviceType(WiaSession* session, uint32_t* deviceType)
{
    if (!session || !deviceType)
        return ERR_INVALID_ARGUMENT;
    if (const int32_t status = CheckSelectedDevice(session); status != SUCCESS)
        return status;

    return DeviceTypeOf(session, RootItemOf(*session), deviceType);
}
