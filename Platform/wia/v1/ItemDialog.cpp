#include "ItemDialog.h"

#include <algorithm>

#include "../Service.h"
#include "ItemFace.h"

namespace vorn::wia {

namespace {

HRESULT SetIntent(const std::vector<Item*>& items, LONG intent)
{
    PROPSPEC propSpec{};
    propSpec.ulKind = PRSPEC_PROPID;
    propSpec.propid = WIA_IPS_CUR_INTENT;
    const Value value = Value::I4(intent);
    for (Item* item : items) {
        if (!item->Properties().Find(propSpec))
            continue;
        if (const HRESULT result = item->Properties().Write(1, &propSpec, &value.Get()); FAILED(result))
            return result;
    }
    return S_OK;
}

}  // namespace

HRESULT ChooseItems(HWND parent, LONG flags, LONG intent, Item& item, std::vector<Item*>& chosen)
{
    DialogProvider::ItemsQuestion question{parent, flags, intent, {}};
    if (item.IsTransferable())
        question.items.push_back(&item);
    item.CollectTransferable(question.items);

    const HRESULT result = Service::Instance().Dialogs()->SelectItems(question, chosen);
    if (result != S_OK)
        return result;
    if (chosen.empty())
        return S_FALSE;
    return intent == WIA_INTENT_NONE ? S_OK : SetIntent(chosen, intent);
}

HRESULT HandOver(const std::shared_ptr<ItemTree>& tree, const std::vector<Item*>& chosen, LONG* count,
                 IWiaItem*** items)
{
    std::vector<ComPtr<IWiaItem>> faces;
    for (Item* item : chosen)
        faces.push_back(ComPtr<IWiaItem>::Adopt(ItemFace::Of(tree, *item)));

    auto* array = static_cast<IWiaItem**>(CoTaskMemAlloc(faces.size() * sizeof(IWiaItem*)));
    if (!array)
        return E_OUTOFMEMORY;
    std::transform(faces.begin(), faces.end(), array, [](ComPtr<IWiaItem>& face) { return face.Detach(); });
    *items = array;
    *count = static_cast<LONG>(faces.size());
    return S_OK;
}

}  // namespace vorn::wia
