/**
 * @file ItemFace2.h
 * IWiaItem2: an item of the second generation as clients see it.
 */
#pragma once

#include "../faces/Part.h"
#include "../faces/PropertyStorage.h"
#include "Transfer.h"

namespace vorn::wia {

class ItemFace2 final : public ComObject<IWiaItem2> {
public:
    /** The face of an item, with a reference for the caller: the one that is there, or a new one. */
    static IWiaItem2* Of(const std::shared_ptr<ItemTree>& tree, Item& item);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;

    HRESULT STDMETHODCALLTYPE CreateChildItem(LONG itemFlags, LONG creationFlags, BSTR name,
                                              IWiaItem2** child) override;
    HRESULT STDMETHODCALLTYPE DeleteItem(LONG) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE EnumChildItems(const GUID* category, IEnumWiaItem2** enumerator) override;
    HRESULT STDMETHODCALLTYPE FindItemByName(LONG flags, BSTR fullName, IWiaItem2** found) override;
    HRESULT STDMETHODCALLTYPE GetItemCategory(GUID* category) override;
    HRESULT STDMETHODCALLTYPE GetItemType(LONG* type) override;
    HRESULT STDMETHODCALLTYPE DeviceDlg(LONG flags, HWND parent, BSTR folder, BSTR fileName, LONG* count,
                                        BSTR** paths, IWiaItem2** acquired) override;
    HRESULT STDMETHODCALLTYPE DeviceCommand(LONG flags, const GUID* command, IWiaItem2** created) override;
    HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator) override;
    HRESULT STDMETHODCALLTYPE CheckExtension(LONG flags, BSTR name, REFIID iid, BOOL* exists) override;
    HRESULT STDMETHODCALLTYPE GetExtension(LONG flags, BSTR name, REFIID iid, void** extension) override;
    HRESULT STDMETHODCALLTYPE GetParentItem(IWiaItem2** parent) override;
    HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem2** root) override;
    HRESULT STDMETHODCALLTYPE GetPreviewComponent(LONG flags, IWiaPreview** preview) override;
    HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG flags, const GUID* event,
                                                    IEnumWIA_DEV_CAPS** enumerator) override;
    HRESULT STDMETHODCALLTYPE Diagnostic(ULONG, BYTE*) override { return E_NOTIMPL; }

protected:
    void* FindInterface(REFIID iid) noexcept override;

private:
    ItemFace2(std::shared_ptr<ItemTree> tree, Item& item);
    ~ItemFace2() override;

    void Log(const char* method) const noexcept;
    const wia::Device& Device() const noexcept { return tree_->Device(); }

    std::shared_ptr<ItemTree> tree_;
    Item& item_;
    Part<PropertyStorage> storage_;
    Part<Transfer> transfer_;
};

}  // namespace vorn::wia
