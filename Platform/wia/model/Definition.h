/**
 * @file Definition.h
 * What a device is made of, written down: its properties and, for each generation, its tree of items.
 *
 * A definition is read only. What changes lives in the trees that opening the device makes of it.
 */
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Faults.h"
#include "Page.h"
#include "Property.h"

namespace vorn::wia {

class Item;

enum class Generation { One = 1, Two = 2 };

/** Makes, or shares, a place that pages come from. Called once for each opening of the device. */
using SourceFactory = std::function<std::shared_ptr<PageSource>()>;

struct ItemDefinition {
    WString name;
    LONG type = 0;    ///< WiaItemType flags
    GUID category{};  ///< second generation; all zero: none, and asking for it fails

    /** Name, full name, flags and access rights are added where they are missing. */
    std::vector<Property> properties;
    std::vector<WIA_FORMAT_INFO> formats;
    std::vector<ItemDefinition> children;

    /** A glass or a stored picture: one page a transfer. */
    SourceFactory single;
    /** A paper feeder: as many pages as are asked for and there are. An item of the first generation may have
     * both. */
    SourceFactory feeder;

    /** Makes the item's values that depend on a property follow it, as soon as it has changed. */
    std::function<void(Item&, PROPID)> follow;
    /** Told of each property once the whole write is in force; for what other items have to follow. */
    std::function<void(Item&, PROPID)> written;

    /** In place of a transfer, when set. */
    std::function<HRESULT(IWiaDataCallback*, const WIA_DATA_TRANSFER_INFO&)> banded;
    std::function<HRESULT(IWiaDataCallback*, STGMEDIUM&)> file;
    std::function<HRESULT(LONG flags, IWiaTransferCallback*)> download;

    /** The property of that id, to be changed; null when there is none. */
    Property* Find(PROPID id) noexcept
    {
        for (Property& property : properties) {
            if (property.id == id)
                return &property;
        }
        return nullptr;
    }

    /** Adds a property, or puts it in place of the one with its id. */
    ItemDefinition& Set(Property property)
    {
        if (Property* old = Find(property.id))
            *old = std::move(property);
        else
            properties.push_back(std::move(property));
        return *this;
    }

    ItemDefinition& Remove(PROPID id)
    {
        std::erase_if(properties, [id](const Property& property) { return property.id == id; });
        return *this;
    }
};

struct DeviceDefinition {
    /** What enumerations show. The root item of each tree has these properties as well. */
    std::vector<Property> properties;
    /** Makes the tree of one opening, the root item on top. Empty: the device cannot be opened in that
     * generation. */
    std::function<ItemDefinition()> tree1, tree2;
    /** False: the device is not listed when only local devices are asked for. */
    bool local = true;
    std::shared_ptr<FaultPlan> faults = std::make_shared<FaultPlan>();
};

}  // namespace vorn::wia
