/**
 * @file PropertyStorage.h
 * IWiaPropertyStorage over a property table, for items of both generations and for listed devices.
 */
#pragma once

#include <string>

#include "../model/Device.h"
#include "../model/PropertyTable.h"
#include "Interfaces.h"

namespace vorn::wia {

/** All of the interface but IUnknown. Device and table outlive it. */
class PropertyStorage : public IWiaPropertyStorage {
public:
    PropertyStorage(DevicePtr device, PropertyTable& table, std::string logName)
        : device_{std::move(device)}, table_{table}, logName_{std::move(logName)}
    {
    }

    HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC specs[],
                                           PROPVARIANT values[]) override;
    HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC specs[], const PROPVARIANT values[],
                                            PROPID firstNamed) override;
    HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG, const PROPSPEC[]) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG count, const PROPID ids[], LPOLESTR names[]) override;
    HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG, const PROPID[], const LPOLESTR[]) override
    {
        return E_ACCESSDENIED;
    }
    HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG, const PROPID[]) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** enumerator) override;
    HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME*, const FILETIME*, const FILETIME*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPropertyAttributes(ULONG count, PROPSPEC specs[], ULONG flags[],
                                                    PROPVARIANT values[]) override;
    HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) override;
    HRESULT STDMETHODCALLTYPE GetPropertyStream(GUID*, IStream**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPropertyStream(GUID*, IStream*) override { return E_NOTIMPL; }

protected:
    ~PropertyStorage() = default;

    /** Told when an owner's last reference on the interface is gone. */
    void Unused() noexcept {}

private:
    HRESULT ReadOne(const PROPSPEC& propSpec, PROPVARIANT& value);
    HRESULT AttributesOf(const PROPSPEC& propSpec, ULONG& flags, PROPVARIANT& valid);

    DevicePtr device_;
    PropertyTable& table_;
    std::string logName_;
};

/** The properties of a listed device. */
HRESULT MakeDeviceProperties(DevicePtr device, IWiaPropertyStorage** storage);

}  // namespace vorn::wia
