#include "ItemFace.h"

#include "../faces/Capabilities.h"
#include "../faces/ItemEnumerator.h"
#include "../model/CallLog.h"
#include "ItemDialog.h"

namespace vorn::wia {

IWiaItem* ItemFace::Of(const std::shared_ptr<ItemTree>& tree, Item& item)
{
    if (auto* face = static_cast<ItemFace*>(item.face)) {
        face->AddRef();
        return face;
    }
    auto* face = new ItemFace{tree, item};
    item.face = face;
    return face;
}

ItemFace::ItemFace(std::shared_ptr<ItemTree> tree, Item& item)
    : tree_{std::move(tree)},
      item_{item},
      storage_{*static_cast<IWiaItem*>(this), tree_->DevicePointer(), item.Properties(),
               LogText(item.Name())},
      transfer_{*static_cast<IWiaItem*>(this), item}
{
}

ItemFace::~ItemFace()
{
    Log("Release");
    item_.face = nullptr;
}

void ItemFace::Log(const char* method) const noexcept
{
    LogCall([&] { return LogText(item_.Name()) + "." + method; });
}

void* ItemFace::FindInterface(REFIID iid) noexcept
{
    if (IsEqualIID(iid, IID_IWiaPropertyStorage))
        return storage_.Lend();
    const bool transfers = item_.Is(WiaItemTypeTransfer) || (item_.Is(WiaItemTypeFolder) && item_.Parent());
    if (transfers && IsEqualIID(iid, IID_IWiaDataTransfer))
        return transfer_.Lend();
    return ComObject::FindInterface(iid);
}

HRESULT ItemFace::QueryInterface(REFIID iid, void** object)
{
    const bool storage = IsEqualIID(iid, IID_IWiaPropertyStorage);
    if (object && (storage || IsEqualIID(iid, IID_IWiaDataTransfer))) {
        *object = nullptr;
        if (const auto result =
                Interrupted(Device(), storage ? Step::QueryPropertyStorage : Step::QueryTransfer))
            return *result;
    }
    return ComObject::QueryInterface(iid, object);
}

HRESULT ItemFace::GetItemType(LONG* type)
{
    if (!type)
        return E_POINTER;
    Log("GetItemType");
    if (const auto result = Interrupted(Device(), Step::GetItemType))
        return *result;
    *type = item_.Type();
    return S_OK;
}

HRESULT ItemFace::EnumChildItems(IEnumWiaItem** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        Log("EnumChildItems");
        if (const auto result = Interrupted(Device(), Step::EnumChildItems))
            return *result;
        auto list = std::make_shared<std::vector<Item*>>();
        for (const auto& child : item_.Children())
            list->push_back(child.get());
        *enumerator = new ItemEnumerator<IEnumWiaItem, IWiaItem, ItemFace>{tree_, std::move(list)};
        return S_OK;
    });
}

HRESULT ItemFace::CreateChildItem(LONG, BSTR, BSTR, IWiaItem** child)
{
    if (!child)
        return E_POINTER;
    *child = nullptr;
    return E_NOTIMPL;
}

HRESULT ItemFace::EnumRegisterEventInfo(LONG, const GUID*, IEnumWIA_DEV_CAPS** enumerator)
{
    return EnumerateEventHandlers(enumerator);
}

HRESULT ItemFace::FindItemByName(LONG, BSTR fullName, IWiaItem** found)
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

HRESULT ItemFace::DeviceDlg(HWND parent, LONG flags, LONG intent, LONG* count, IWiaItem*** items)
{
    if (!count || !items)
        return E_POINTER;
    *count = 0;
    *items = nullptr;
    return NoThrow([&] {
        LogCall([&] { return LogText(item_.Name()) + ".DeviceDlg " + std::to_string(flags); });
        std::vector<Item*> chosen;
        if (const HRESULT result = ChooseItems(parent, flags, intent, item_, chosen); result != S_OK)
            return result;
        return HandOver(tree_, chosen, count, items);
    });
}

HRESULT ItemFace::DeviceCommand(LONG, const GUID* command, IWiaItem** created)
{
    if (created)
        *created = nullptr;
    return CarryOut(command);
}

HRESULT ItemFace::GetRootItem(IWiaItem** root)
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

HRESULT ItemFace::EnumDeviceCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator)
{
    return EnumerateCapabilities(flags, enumerator);
}

HRESULT ItemFace::GetExtendedErrorInfo(BSTR* text)
{
    if (!text)
        return E_POINTER;
    *text = nullptr;
    return S_FALSE;
}

}  // namespace vorn::wia
