/** Items: the root, children, release. */
#include "Internal.h"

namespace vorn {
namespace {

/** The generation's item interfaces, so that one algorithm walks both trees. */
struct Generation1 {
    using Item = IWiaItem;
    using Enumerator = IEnumWiaItem;
    static Item* Of(WiaItemHandle item) { return AsItem1(item); }
    static HRESULT Children(Item* parent, Enumerator** children) { return parent->EnumChildItems(children); }
};

struct Generation2 {
    using Item = IWiaItem2;
    using Enumerator = IEnumWiaItem2;
    static Item* Of(WiaItemHandle item) { return AsItem2(item); }
    static HRESULT Children(Item* parent, Enumerator** children)
    {
        return parent->EnumChildItems(nullptr, children);  // children of every category
    }
};

template <typename Generation>
int32_t WalkChildren(WiaSession* session, WiaItemHandle item, EnumChildItemsCallback callback, void* userData)
{
    typename Generation::Item* parent = Generation::Of(item);
    LONG type = 0;
    if (const HRESULT result = parent->GetItemType(&type); !IsPlainSuccess(result))
        return MapWiaResult(result);
    if (!(type & (WiaItemTypeFolder | WiaItemTypeHasAttachments)))
        return ERR_NO_CHILD_ITEMS;

    ComPtr<typename Generation::Enumerator> children;
    if (const HRESULT result = Generation::Children(parent, children.Out()); !IsPlainSuccess(result))
        return MapWiaResult(result);
    if (!children)
        return ERR_WIA_UNEXPECTED;
    ULONG count = 0;
    children->GetCount(&count);
    if (static_cast<int32_t>(count) < 1)
        return ERR_NO_CHILD_ITEMS;

    for (;;) {
        ComPtr<typename Generation::Item> child;
        const HRESULT result = children->Next(1, child.Out(), nullptr);
        if (result == S_FALSE)
            return SUCCESS;
        if (result != S_OK)
            return MapWiaResult(result);
        if (!child)
            return ERR_WIA_UNEXPECTED;
        if (!callback)
            continue;
        const auto owned = reinterpret_cast<WiaItemHandle>(child.Detach());
        if (const int32_t answer = callback(session, count, owned, userData); answer != 1)
            return answer;
    }
}

template <typename Item>
HRESULT RootOf(Item* item, WiaItemHandle* rootItem)
{
    ComPtr<Item> root;
    const HRESULT result = item->GetRootItem(root.Out());
    if (!IsPlainSuccess(result))
        return result;
    *rootItem = reinterpret_cast<WiaItemHandle>(root.Detach());
    return *rootItem ? S_OK : E_UNEXPECTED;
}

}  // namespace

LONG ItemTypeOf(const WiaSession& session, WiaItemHandle item) noexcept
{
    LONG type = 0;
    if (session.wiaVersion == 1)
        AsItem1(item)->GetItemType(&type);
    else
        AsItem2(item)->GetItemType(&type);
    return type;
}

}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaGetRootItem(WiaSession* session, WiaItemHandle item, WiaItemHandle* rootItem)
{
    if (rootItem)
        *rootItem = nullptr;
    if (!session || !rootItem)
        return ERR_INVALID_ARGUMENT;
    if (const int32_t status = CheckSelectedDevice(session); status != SUCCESS)
        return status;
    if (!item) {
        *rootItem = RootItemOf(*session);
        return SUCCESS;
    }

    const HRESULT result = session->wiaVersion == 1 ? RootOf<IWiaItem>(AsItem1(item), rootItem)
                                                    : RootOf<IWiaItem2>(AsItem2(item), rootItem);
    AsUnknown(item)->Release();
    return StatusOf(result);
}

int32_t Vorn_WiaFreeItem(WiaSession* session, WiaItemHandle item)
{
    if (!session || !item)
        return ERR_INVALID_ARGUMENT;
    AsUnknown(item)->Release();
    return SUCCESS;
}

int32_t Vorn_WiaEnumChildItems(WiaSession* session, WiaItemHandle item, EnumChildItemsCallback callback,
                               void* userData)
{
    if (!session || !item)
        return ERR_INVALID_ARGUMENT;
    uint32_t deviceType = 0;
    if (const int32_t status = Vorn_WiaGetSelectedDeviceType(session, &deviceType); status != SUCCESS)
        return status;
    return session->wiaVersion == 1 ? WalkChildren<Generation1>(session, item, callback, userData)
                                    : WalkChildren<Generation2>(session, item, callback, userData);
}
