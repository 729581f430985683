/**
 * @file Item.h
 * The tree of items that one opening of a device works on.
 */
#pragma once

#include <memory>
#include <vector>

#include "Device.h"
#include "PropertyTable.h"

namespace vorn::wia {

class ItemTree;

/** A place that pages come from, with what has been taken from it. */
struct PageSlot {
    std::shared_ptr<PageSource> source;
    uint32_t delivered = 0;  ///< pages begun so far
    bool backNext = false;   ///< the front of a sheet has been scanned, its back has not

    explicit operator bool() const noexcept { return source != nullptr; }
};

/** A node of a tree. It lives as long as the tree, and is used in the tree's apartment. */
class VORN_WIA_API Item {
public:
    Item(ItemTree& tree, Item* parent, ItemDefinition definition);
    Item(const Item&) = delete;

    ItemTree& Tree() const noexcept { return tree_; }
    Item* Parent() const noexcept { return parent_; }
    Item& Root() const noexcept { return root_; }
    const std::vector<std::unique_ptr<Item>>& Children() const noexcept { return children_; }

    WStringView Name() const noexcept { return definition_.name; }
    /** From the root down, parts separated by a backslash. */
    const WString& FullName() const noexcept { return fullName_; }
    LONG Type() const noexcept { return definition_.type; }
    bool Is(LONG typeFlag) const noexcept { return (definition_.type & typeFlag) != 0; }
    /** It has data of its own: a folder that is transferred by transferring what it holds has none. */
    bool IsTransferable() const noexcept
    {
        return Is(WiaItemTypeTransfer) && (!Is(WiaItemTypeFolder) || single_ || feeder_);
    }
    REFGUID Category() const noexcept { return definition_.category; }
    /** What the item was made of, but its properties and children: it has those itself. */
    const ItemDefinition& Definition() const noexcept { return definition_; }

    PropertyTable& Properties() noexcept { return properties_; }
    const PropertyTable& Properties() const noexcept { return properties_; }
    PageSlot& Single() noexcept { return single_; }
    PageSlot& Feeder() noexcept { return feeder_; }

    /** The item of that full name at or below this one; null when there is none. */
    Item* FindByFullName(WStringView fullName) noexcept;
    /** The items below this one that can be transferred, in tree order. */
    void CollectTransferable(std::vector<Item*>& found);

    /** The COM object that stands for the item just now, so that an item has one identity; not counted. */
    void* face = nullptr;

private:
    void AddProperties();

    ItemTree& tree_;
    Item* parent_;
    Item& root_;
    ItemDefinition definition_;
    WString fullName_;
    PropertyTable properties_;
    PageSlot single_, feeder_;
    std::vector<std::unique_ptr<Item>> children_;
};

/** One opening of a device. */
class ItemTree {
public:
    /** Null when the device cannot be opened in that generation. */
    static std::shared_ptr<ItemTree> Open(DevicePtr device, Generation generation);

    const wia::Device& Device() const noexcept { return *device_; }
    const DevicePtr& DevicePointer() const noexcept { return device_; }
    Generation GenerationOf() const noexcept { return generation_; }
    Item& Root() noexcept { return *root_; }

private:
    ItemTree(DevicePtr device, Generation generation) noexcept
        : device_{std::move(device)}, generation_{generation}
    {
    }

    DevicePtr device_;
    Generation generation_;
    std::unique_ptr<Item> root_;
};

}  // namespace vorn::wia
