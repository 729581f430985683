/**
 * @file ItemEnumerator.h
 * Lists items, for both generations.
 */
#pragma once

#include "../model/Item.h"
#include "Faulty.h"
#include "ListEnumerator.h"

namespace vorn::wia {

/** `Face` is the class whose `Of` gives an item's COM object. */
template <typename EnumInterface, typename ItemInterface, typename Face>
class ItemEnumerator final : public CountedListEnumerator<EnumInterface, Item*, ItemInterface*> {
    using Base = CountedListEnumerator<EnumInterface, Item*, ItemInterface*>;

public:
    ItemEnumerator(std::shared_ptr<ItemTree> tree, typename Base::List list) noexcept
        : Base{std::move(list)}, tree_{std::move(tree)}
    {
    }

private:
    HRESULT Give(Item* const& item, ItemInterface*& element) override
    {
        if (const auto result = Interrupted(tree_->Device(), Step::NextChildItem))
            return *result;
        element = Face::Of(tree_, *item);
        return S_OK;
    }

    void TakeBack(ItemInterface*& element) noexcept override
    {
        if (element)
            element->Release();
    }

    Base* MakeCopy() const override { return new ItemEnumerator{tree_, this->Entries()}; }

    HRESULT BeforeCount(ULONG& announced) override
    {
        const std::optional<HRESULT> result = Interrupted(tree_->Device(), Step::GetChildCount);
        if (result == S_OK)
            announced = INT32_MAX;
        return result.value_or(S_OK);
    }

    std::shared_ptr<ItemTree> tree_;
};

}  // namespace vorn::wia
