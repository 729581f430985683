#include "ItemFace2.h"

#include "../faces/Capabilities.h"
#include "../faces/ItemEnumerator.h"
#include "../model/CallLog.h"
#include "ImageDialog.h"

namespace vorn::wia {

IWiaItem2* ItemFace2::Of(const std::shared_ptr<ItemTree>& tree, Item& item)
{
    if (auto* face = static_cast<ItemFace2*>(item.face)) {
        face->AddRef();
        return face;
    }
    auto* face = new ItemFace2{tree, item};
    item.face = face;
    return face;
}

ItemFace2::ItemFace2(std::shared_ptr<ItemTree> tree, Item& item)
    : tree_{std::move(tree)},
      item_{item},
      storage_{*this, tree_->DevicePointer(), item.Properties(), LogText(item.Name())},
      transfer_{*this, item}
{
}

ItemFace2::~ItemFace2()
{
    Log("Release");
    item_.face = nullptr;
}

void ItemFace2::Log(const char* method) const noexcept
{
    LogCall([&] { return LogText(item_.Name()) + "." + method; });
}

void* ItemFace2::FindInterface(REFIID iid) noexcept
{
    if (IsEqualIID(iid, IID_IWiaPropertyStorage))
        return storage_.Lend();
    const bool transfers = item_.Is(WiaItemTypeTransfer) || (item_.Is(WiaItemTypeFolder) && item_.Parent());
    if (transfers && IsEqualIID(iid, IID_IWiaTransfer))
        return transfer_.Lend();
    return ComObject::FindInterface(iid);
}

HRESULT ItemFace2::QueryInterface(REFIID iid, void** object)
{
    const bool storage = IsEqualIID(iid, IID_IWiaPropertyStorage);
    if (object && (storage || IsEqualIID(iid, IID_IWiaTransfer))) {
        *object = nullptr;
        if (const auto result =
                Interrupted(Device(), storage ? Step::QueryPropertyStorage : Step::QueryTransfer))
            return *result;
    }
    return ComObject::QueryInterface(iid, object);
}

HRESULT ItemFace2::CreateChildItem(LONG, LONG, BSTR, IWiaItem2** child)
{
    if (!child)
        return E_POINTER;
    *child = nullptr;
    return E_NOTIMPL;
}

HRESULT ItemFace2::EnumChildItems(const GUID* category, IEnumWiaItem2** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        Log("EnumChildItems");
        if (const auto result = Interrupted(Device(), Step::EnumChildItems))
            return *result;
        auto list = std::make_shared<std::vector<Item*>>();
        for (const auto& child : item_.Children()) {
            if (!category || IsEqualGUID(*category, child->Category()))
                list->push_back(child.get());
        }
        *enumerator = new ItemEnumerator<IEnumWiaItem2, IWiaItem2, ItemFace2>{tree_, std::move(list)};
        return S_OK;
    });
}

HRESULT ItemFace2::FindItemByName(LONG, BSTR fullName, IWiaItem2** found)
{
    if (!found)
        return E_POINTER;
    *found = nullptr;
    if (!fullName)
        return E_INVALIDARG;
    return NoThrow([&] {
        Item* item = tree_->Root().FindByFullName({fullName, SysStringLen(fullName)});
        if (!item)
            return S_FALSE;
        *found = Of(tree_, *item);
        return S_OK;
    });
}

HRESULT ItemFace2::GetItemCategory(GUID* category)
{
    if (!category)
        return E_POINTER;
    Log("GetItemCategory");
    if (const auto result = Interrupted(Device(), Step::GetItemCategory))
        return *result;
    if (IsEqualGUID(item_.Category(), GUID{}))
        return E_NOTIMPL;
    *category = item_.Category();
    return S_OK;
}

HRESULT ItemFace2::GetItemType(LONG* type)
{
    if (!type)
        return E_POINTER;
    Log("GetItemType");
    if (const auto result = Interrupted(Device(), Step::GetItemType))
        return *result;
    *type = item_.Type();
    return S_OK;
}

HRESULT ItemFace2::DeviceDlg(LONG flags, HWND parent, BSTR folder, BSTR fileName, LONG* count, BSTR** paths,
                             IWiaItem2** acquired)
{
    LogCall([&] { return LogText(item_.Name()) + ".DeviceDlg " + std::to_string(flags); });
    return RunImageDialog({parent, flags, folder, fileName}, tree_, item_, count, paths, acquired);
}

HRESULT ItemFace2::DeviceCommand(LONG, const GUID* command, IWiaItem2** created)
{
    if (created)
        *created = nullptr;
    return CarryOut(command);
}

HRESULT ItemFace2::EnumDeviceCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator)
{
    return EnumerateCapabilities(flags, enumerator);
}

HRESULT ItemFace2::CheckExtension(LONG, BSTR, REFIID, BOOL* exists)
{
    if (!exists)
        return E_POINTER;
    *exists = FALSE;
    return S_OK;
}

HRESULT ItemFace2::GetExtension(LONG, BSTR, REFIID, void** extension)
{
    if (!extension)
        return E_POINTER;
    *extension = nullptr;
    return E_NOINTERFACE;
}

HRESULT ItemFace2::GetParentItem(IWiaItem2** parent)
{
    if (!parent)
        return E_POINTER;
    *parent = nullptr;
    if (!item_.Parent())
        return S_FALSE;
    return NoThrow([&] {
        *parent = Of(tree_, *item_.Parent());
        return S_OK;
    });
}

HRESULT ItemFace2::GetRootItem(IWiaItem2** root)
{
    if (!root)
        return E_POINTER;
    *root = nullptr;
    return NoThrow([&] {
        Log("GetRootItem");
        if (const auto result = Interrupted(Device(), Step::GetRootItem))
            return *result;
        *root = Of(tree_, tree_->Root());
        return S_OK;
    });
}

HRESULT ItemFace2::GetPreviewComponent(LONG, IWiaPreview** preview)
{
    if (!preview)
        return E_POINTER;
    *preview = nullptr;
    return E_NOTIMPL;
}

HRESULT ItemFace2::EnumRegisterEventInfo(LONG, const GUID*, IEnumWIA_DEV_CAPS** enumerator)
{
    return EnumerateEventHandlers(enumerator);
}

}  // namespace vorn::wia
