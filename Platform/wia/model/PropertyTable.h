/**
 * @file PropertyTable.h
 * The properties of one item, in their order, and the rules of reading and writing them.
 */
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Property.h"

namespace vorn::wia {

class VORN_WIA_API PropertyTable {
public:
    using PropertyPtr = std::shared_ptr<Property>;

    void Add(Property property) { Share(std::make_shared<Property>(std::move(property))); }
    /** Adds a property that another table has as well: one value. */
    void Share(PropertyPtr property);

    size_t Count() const noexcept { return properties_.size(); }
    Property& At(size_t index) const noexcept { return *properties_[index]; }
    /** Null when there is none. */
    Property* Find(PROPID id) const noexcept;
    /** Names are compared without regard to the case of ASCII letters. */
    Property* Find(const PROPSPEC& propSpec) const noexcept;
    PropertyPtr Pointer(PROPID id) const noexcept;

    LONG Long(PROPID id, LONG fallback = 0) const noexcept;
    GUID Guid(PROPID id) const noexcept;

    // These set a value without looking at access or valid values. Nothing happens when there is no such
    // property, or one of another type.
    void SetLong(PROPID id, LONG value) const noexcept;
    void SetGuid(PROPID id, REFGUID value) const;
    void SetText(PROPID id, WStringView value) const;
    /** Sets a range and brings value and nominal value into it. */
    void SetRange(PROPID id, LONG minimum, LONG nominal, LONG maximum) const;
    /** Sets a list; a value that is none of it gives way to the first. Not for a property without a list. */
    void SetList(PROPID id, const std::vector<LONG>& values) const;

    /** Told of each property as it changes, so that others follow it. A write that fails later undoes both. */
    void OnChange(std::function<void(PROPID)> follow) { follow_ = std::move(follow); }
    /** Told of each property once a write is in force. */
    void OnWritten(std::function<void(PROPID)> written) { written_ = std::move(written); }

    /**
     * Writes all of the values, or none of them when one is refused.
     * @return `S_OK`; `E_INVALIDARG` for an unknown property, for a value of another type or outside the
     * valid values; `E_ACCESSDENIED` for a property that cannot be written; what the property's own check
     * answers
     */
    HRESULT Write(ULONG count, const PROPSPEC* specs, const PROPVARIANT* values);

private:
    HRESULT WriteOne(const PROPSPEC& propSpec, const PROPVARIANT& value, std::vector<Property*>& written);

    /** Where the property of an id stands in `properties_`. */
    struct Place {
        PROPID id;
        uint32_t index;
    };
    const Place* FindPlace(PROPID id) const noexcept;

    std::vector<PropertyPtr> properties_;
    std::vector<Place> places_;  ///< by id
    std::function<void(PROPID)> follow_, written_;
};

/** Brings a value to the type of a property and checks it against the valid values; `E_INVALIDARG` when it
 * fails. */
HRESULT AcceptValue(const Property& property, const PROPVARIANT& value, Value& accepted);

}  // namespace vorn::wia
