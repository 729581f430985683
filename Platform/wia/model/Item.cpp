#include "Item.h"

#include <utility>

namespace vorn::wia {

namespace {

/** The path of an item: that of its parent, a backslash, its own name. */
WString Join(const Item* parent, WStringView name)
{
    WString path;
    if (parent)
        path = parent->FullName() + VORN_TEXT("\\");
    path += name;
    return path;
}

}  // namespace

Item::Item(ItemTree& tree, Item* parent, ItemDefinition definition)
    : tree_{tree},
      parent_{parent},
      root_{parent ? parent->root_ : *this},
      definition_{std::move(definition)},
      fullName_{Join(parent, definition_.name)}
{
    AddProperties();
    if (definition_.single)
        single_.source = definition_.single();
    if (definition_.feeder)
        feeder_.source = definition_.feeder();
    if (definition_.follow)
        properties_.OnChange([this](PROPID changed) { definition_.follow(*this, changed); });
    if (definition_.written)
        properties_.OnWritten([this](PROPID changed) { definition_.written(*this, changed); });
    for (ItemDefinition& child : definition_.children)
        children_.push_back(std::make_unique<Item>(tree, this, std::move(child)));
    definition_.children.clear();
}

void Item::AddProperties()
{
    const auto addMissing = [&](PROPID id, Value value) {
        if (!definition_.Find(id))
            properties_.Add(ReadOnly(id, std::move(value)));
    };
    addMissing(WIA_IPA_ITEM_NAME, Value::Text(definition_.name));
    addMissing(WIA_IPA_FULL_ITEM_NAME, Value::Text(fullName_));
    addMissing(WIA_IPA_ITEM_FLAGS, Value::I4(definition_.type));
    addMissing(WIA_IPA_ACCESS_RIGHTS, Value::I4(WIA_ITEM_READ));
    if (!IsEqualGUID(definition_.category, GUID{}))
        addMissing(WIA_IPA_ITEM_CATEGORY, Value::Guid(definition_.category));

    for (Property& property : definition_.properties) {
        PropertyTable::PropertyPtr shared;
        if (property.ofRoot && parent_)
            shared = root_.properties_.Pointer(property.id);
        if (shared)
            properties_.Share(std::move(shared));
        else
            properties_.Add(std::move(property));
    }
    definition_.properties.clear();
}

Item* Item::FindByFullName(WStringView fullName) noexcept
{
    if (fullName_ == fullName)
        return this;
    for (const auto& child : children_) {
        if (Item* found = child->FindByFullName(fullName))
            return found;
    }
    return nullptr;
}

void Item::CollectTransferable(std::vector<Item*>& found)
{
    for (const auto& child : children_) {
        if (child->IsTransferable())
            found.push_back(child.get());
        child->CollectTransferable(found);
    }
}

std::shared_ptr<ItemTree> ItemTree::Open(DevicePtr device, Generation generation)
{
    const DeviceDefinition& definition = device->Definition();
    const auto& makeTree = generation == Generation::One ? definition.tree1 : definition.tree2;
    if (!makeTree)
        return nullptr;

    ItemDefinition root = makeTree();
    root.properties.insert(root.properties.begin(), definition.properties.begin(),
                           definition.properties.end());
    std::shared_ptr<ItemTree> tree{new ItemTree{std::move(device), generation}};
    tree->root_ = std::make_unique<Item>(*tree, nullptr, std::move(root));
    return tree;
}

}  // namespace vorn::wia
