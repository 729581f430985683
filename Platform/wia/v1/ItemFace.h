/**
 * @file ItemFace.h
 * IWiaItem: an item of the first generation as clients see it.
 */
#pragma once

#include "../faces/Part.h"
#include "../faces/PropertyStorage.h"
#include "DataTransfer.h"

namespace vorn::wia {

class ItemFace final : public ComObject<IWiaItem, IWiaItemExtras> {
public:
    /** The face of an item, with a reference for the caller: the one that is there, or a new one. */
    static IWiaItem* Of(const std::shared_ptr<ItemTree>& tree, Item& item);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;

    HRESULT STDMETHODCALLTYPE GetItemType(LONG* type) override;
    HRESULT STDMETHODCALLTYPE AnalyzeItem(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumChildItems(IEnumWiaItem** enumerator) override;
    HRESULT STDMETHODCALLTYPE DeleteItem(LONG) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE CreateChildItem(LONG flags, BSTR name, BSTR fullName,
                                              IWiaItem** child) override;
    HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG flags, const GUID* event,
                                                    IEnumWIA_DEV_CAPS** enumerator) override;
    HRESULT STDMETHODCALLTYPE FindItemByName(LONG flags, BSTR fullName, IWiaItem** found) override;
    HRESULT STDMETHODCALLTYPE DeviceDlg(HWND parent, LONG flags, LONG intent, LONG* count,
                                        IWiaItem*** items) override;
    HRESULT STDMETHODCALLTYPE DeviceCommand(LONG flags, const GUID* command, IWiaItem** created) override;
    HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem** root) override;
    HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator) override;
    HRESULT STDMETHODCALLTYPE DumpItemData(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DumpDrvItemData(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DumpTreeItemData(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Diagnostic(ULONG, BYTE*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetExtendedErrorInfo(BSTR* text) override;
    HRESULT STDMETHODCALLTYPE Escape(DWORD, BYTE*, DWORD, BYTE*, DWORD, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CancelPendingIO() override { return S_OK; }

protected:
    void* FindInterface(REFIID iid) noexcept override;

private:
    ItemFace(std::shared_ptr<ItemTree> tree, Item& item);
    ~ItemFace() override;

    void Log(const char* method) const noexcept;
    const wia::Device& Device() const noexcept { return tree_->Device(); }

    std::shared_ptr<ItemTree> tree_;
    Item& item_;
    Part<PropertyStorage> storage_;
    Part<DataTransfer> transfer_;
};

}  // namespace vorn::wia
