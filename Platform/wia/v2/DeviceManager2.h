/**
 * @file DeviceManager2.h
 * IWiaDevMgr2.
 */
#pragma once

#include "../faces/Interfaces.h"

namespace vorn::wia {

class DeviceManager2 final : public ComObject<IWiaDevMgr2> {
public:
    DeviceManager2() = default;

    HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG flags, IEnumWIA_DEV_INFO** enumerator) override;
    HRESULT STDMETHODCALLTYPE CreateDevice(LONG flags, BSTR id, IWiaItem2** root) override;
    HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND parent, LONG deviceType, LONG flags, BSTR* id,
                                              IWiaItem2** root) override;
    HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND parent, LONG deviceType, LONG flags, BSTR* id) override;
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG flags, BSTR id, const GUID* event,
                                                             IWiaEventCallback* callback,
                                                             IUnknown** registration) override;
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG, BSTR, const GUID*, BSTR, BSTR, BSTR, BSTR,
                                                           BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG, BSTR, const GUID*, const GUID*, BSTR, BSTR,
                                                         BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetImageDlg(LONG flags, BSTR id, HWND parent, BSTR folder, BSTR fileName,
                                          LONG* count, BSTR** paths, IWiaItem2** acquired) override;

private:
    ~DeviceManager2() override;
};

}  // namespace vorn::wia
