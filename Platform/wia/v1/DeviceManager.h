/**
 * @file DeviceManager.h
 * IWiaDevMgr.
 */
#pragma once

#include "../faces/Interfaces.h"

namespace vorn::wia {

class DeviceManager final : public ComObject<IWiaDevMgr> {
public:
    DeviceManager() = default;

    HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG flags, IEnumWIA_DEV_INFO** enumerator) override;
    HRESULT STDMETHODCALLTYPE CreateDevice(BSTR id, IWiaItem** root) override;
    HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND parent, LONG deviceType, LONG flags, BSTR* id,
                                              IWiaItem** root) override;
    HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND parent, LONG deviceType, LONG flags, BSTR* id) override;
    HRESULT STDMETHODCALLTYPE GetImageDlg(HWND parent, LONG deviceType, LONG flags, LONG intent,
                                          IWiaItem* root, BSTR fileName, GUID* format) override;
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG, BSTR, const GUID*, BSTR, BSTR, BSTR,
                                                           BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG flags, BSTR id, const GUID* event,
                                                             IWiaEventCallback* callback,
                                                             IUnknown** registration) override;
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG, BSTR, const GUID*, const GUID*, BSTR, BSTR,
                                                         BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE AddDeviceDlg(HWND, LONG) override { return E_NOTIMPL; }

private:
    ~DeviceManager() override;
};

}  // namespace vorn::wia
