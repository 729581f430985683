#include "DeviceManager.h"

#include "../faces/DeviceEnumerator.h"
#include "../faces/Faulty.h"
#include "../model/CallLog.h"
#include "ItemFace.h"

namespace vorn::wia {

namespace {

HRESULT Open(const DevicePtr& device, IWiaItem** root)
{
    if (const auto result = Interrupted(*device, Step::CreateDevice))
        return *result;
    const auto tree = ItemTree::Open(device, Generation::One);
    if (!tree)
        return WIA_S_NO_DEVICE_AVAILABLE;
    *root = ItemFace::Of(tree, tree->Root());
    return S_OK;
}

HRESULT WriteProperty(IUnknown& item, PROPID id, const Value& value)
{
    ComPtr<IWiaPropertyStorage> storage;
    if (const HRESULT result = item.QueryInterface(IID_IWiaPropertyStorage, storage.OutVoid());
        FAILED(result))
        return result;
    PROPSPEC propSpec{};
    propSpec.ulKind = PRSPEC_PROPID;
    propSpec.propid = id;
    return storage ? storage->WriteMultiple(1, &propSpec, &value.Get(), WIA_IPA_FIRST) : E_UNEXPECTED;
}

/** Transfers one item into a file of the given name, in the given format when there is one. */
HRESULT TransferItem(IWiaItem& item, BSTR fileName, const GUID* format)
{
    if (const HRESULT result = WriteProperty(item, WIA_IPA_TYMED, Value::I4(TYMED_FILE)); FAILED(result))
        return result;
    if (format && !IsEqualGUID(*format, GUID{})) {
        if (const HRESULT result = WriteProperty(item, WIA_IPA_FORMAT, Value::Guid(*format)); FAILED(result))
            return result;
    }
    ComPtr<IWiaDataTransfer> transfer;
    if (const HRESULT result = item.QueryInterface(IID_IWiaDataTransfer, transfer.OutVoid()); FAILED(result))
        return result;
    STGMEDIUM medium{};
    medium.tymed = TYMED_FILE;
    medium.lpszFileName = fileName;
    return transfer ? transfer->idtGetData(&medium, nullptr) : E_UNEXPECTED;
}

/** The items that a client is given by DeviceDlg, released with their array. */
struct ChosenItems {
    ~ChosenItems()
    {
        for (LONG i = 0; i < count; ++i)
            items[i]->Release();
        CoTaskMemFree(items);
    }
    LONG count = 0;
    IWiaItem** items = nullptr;
};

}  // namespace

DeviceManager::~DeviceManager()
{
    LogCall([] { return "Manager1.Release"; });
}

HRESULT DeviceManager::EnumDeviceInfo(LONG flags, IEnumWIA_DEV_INFO** enumerator)
{
    LogCall([&] { return "Manager1.EnumDeviceInfo " + std::to_string(flags); });
    return EnumerateDevices(flags, enumerator);
}

HRESULT DeviceManager::CreateDevice(BSTR id, IWiaItem** root)
{
    if (!root)
        return E_POINTER;
    *root = nullptr;
    return NoThrow([&] {
        LogCall([&] { return "Manager1.CreateDevice " + (id ? LogText(id) : "null"); });
        DevicePtr device;
        if (const HRESULT result = FindDevice(id, device); result != S_OK)
            return result;
        return Open(device, root);
    });
}

HRESULT DeviceManager::SelectDeviceDlg(HWND parent, LONG deviceType, LONG flags, BSTR* id, IWiaItem** root)
{
    if (id)
        *id = nullptr;
    if (!root)
        return E_POINTER;
    *root = nullptr;
    return NoThrow([&] {
        DevicePtr device;
        if (const HRESULT result = ChooseDevice(parent, deviceType, flags, device); result != S_OK)
            return result;
        Bstr text{device->Id()};
        if (!text)
            return E_OUTOFMEMORY;
        const HRESULT result = Open(device, root);
        if (SUCCEEDED(result) && id)
            *id = text.Detach();
        return result;
    });
}

HRESULT DeviceManager::SelectDeviceDlgID(HWND parent, LONG deviceType, LONG flags, BSTR* id)
{
    LogCall([&] {
        return "Manager1.SelectDeviceDlgID " + std::to_string(deviceType) + " " + std::to_string(flags);
    });
    return ChooseDeviceId(parent, deviceType, flags, id);
}

HRESULT DeviceManager::GetImageDlg(HWND parent, LONG deviceType, LONG flags, LONG intent, IWiaItem* root,
                                   BSTR fileName, GUID* format)
{
    if (!fileName)
        return E_INVALIDARG;
    return NoThrow([&] {
        ComPtr<IWiaItem> device{root};
        if (!device) {
            if (const HRESULT result = SelectDeviceDlg(parent, deviceType, flags, nullptr, device.Out());
                result != S_OK)
                return result;
        }
        ChosenItems chosen;
        if (const HRESULT result = device->DeviceDlg(parent, flags, intent, &chosen.count, &chosen.items);
            result != S_OK)
            return result;
        return TransferItem(*chosen.items[0], fileName, format);
    });
}

HRESULT DeviceManager::RegisterEventCallbackInterface(LONG, BSTR, const GUID* event,
                                                      IWiaEventCallback* callback, IUnknown** registration)
{
    return RegisterForEvents(event, callback, registration);
}

}  // namespace vorn::wia
