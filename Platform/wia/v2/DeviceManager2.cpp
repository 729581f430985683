#include "DeviceManager2.h"

#include "../faces/DeviceEnumerator.h"
#include "../faces/Faulty.h"
#include "../model/CallLog.h"
#include "ImageDialog.h"
#include "ItemFace2.h"

namespace vorn::wia {

namespace {

HRESULT Open(const DevicePtr& device, IWiaItem2** root)
{
    if (const auto result = Interrupted(*device, Step::CreateDevice))
        return *result;
    const auto tree = ItemTree::Open(device, Generation::Two);
    if (!tree)
        return WIA_S_NO_DEVICE_AVAILABLE;
    *root = ItemFace2::Of(tree, tree->Root());
    return S_OK;
}

std::string Text(BSTR text)
{
    return text ? LogText(text) : "null";
}

}  // namespace

DeviceManager2::~DeviceManager2()
{
    LogCall([] { return "Manager2.Release"; });
}

HRESULT DeviceManager2::EnumDeviceInfo(LONG flags, IEnumWIA_DEV_INFO** enumerator)
{
    LogCall([&] { return "Manager2.EnumDeviceInfo " + std::to_string(flags); });
    return EnumerateDevices(flags, enumerator);
}

HRESULT DeviceManager2::CreateDevice(LONG, BSTR id, IWiaItem2** root)
{
    if (!root)
        return E_POINTER;
    *root = nullptr;
    return NoThrow([&] {
        LogCall([&] { return "Manager2.CreateDevice " + Text(id); });
        DevicePtr device;
        if (const HRESULT result = FindDevice(id, device); result != S_OK)
            return result;
        return Open(device, root);
    });
}

HRESULT DeviceManager2::SelectDeviceDlg(HWND parent, LONG deviceType, LONG flags, BSTR* id, IWiaItem2** root)
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

HRESULT DeviceManager2::SelectDeviceDlgID(HWND parent, LONG deviceType, LONG flags, BSTR* id)
{
    LogCall([&] {
        return "Manager2.SelectDeviceDlgID " + std::to_string(deviceType) + " " + std::to_string(flags);
    });
    return ChooseDeviceId(parent, deviceType, flags, id);
}

HRESULT DeviceManager2::RegisterEventCallbackInterface(LONG, BSTR, const GUID* event,
                                                       IWiaEventCallback* callback, IUnknown** registration)
{
    return RegisterForEvents(event, callback, registration);
}

HRESULT DeviceManager2::GetImageDlg(LONG flags, BSTR id, HWND parent, BSTR folder, BSTR fileName, LONG* count,
                                    BSTR** paths, IWiaItem2** acquired)
{
    if (acquired)
        *acquired = nullptr;
    if (!count || !paths)
        return E_POINTER;
    *count = 0;
    *paths = nullptr;
    return NoThrow([&] {
        LogCall([&] {
            return "Manager2.GetImageDlg " + std::to_string(flags) + " " + Text(id) + " " + Text(folder) +
                   "|" + Text(fileName);
        });
        DevicePtr device;
        const HRESULT found =
            id && *id ? FindDevice(id, device) : ChooseDevice(parent, StiDeviceTypeDefault, flags, device);
        if (found != S_OK)
            return found;
        if (const auto result = Interrupted(*device, Step::CreateDevice))
            return *result;
        const auto tree = ItemTree::Open(device, Generation::Two);
        if (!tree)
            return WIA_S_NO_DEVICE_AVAILABLE;
        return RunImageDialog({parent, flags, folder, fileName}, tree, tree->Root(), count, paths, acquired);
    });
}

}  // namespace vorn::wia
