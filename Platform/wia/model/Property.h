/**
 * @file Property.h
 * One property of an item or a device, and short ways to write one down.
 */
#pragma once

#include <functional>
#include <vector>

#include "Value.h"

namespace vorn::wia {

struct Property {
    PROPID id = 0;
    WString name;                  ///< as published, for properties that are
    Value value;                   ///< its type is the property's
    ULONG access = WIA_PROP_READ;  ///< WIA_PROP_ flags, those of the valid values among them
    Value
        valid;  ///< range {min, nominal, max, step}, list {count, nominal, values...}, flags {nominal, flags}

    /** The property is the root item's of the same id: one value, whichever item it is reached by. */
    bool ofRoot = false;

    /** Asked before a write that is valid otherwise; anything but `S_OK` refuses it. */
    std::function<HRESULT(const Value&)> check;
    /** Told once a write is in force. */
    std::function<void(const Value&)> applied;
    /** Answers each read in place of `value`: for what changes by itself, or for hostile values. */
    std::function<HRESULT(PROPVARIANT&)> read;
    /** Answers each request for access flags and valid values in place of the two fields. */
    std::function<HRESULT(ULONG&, PROPVARIANT&)> attributes;

    VARTYPE Type() const noexcept { return value.Type(); }
};

/** The published name of a property; empty for an id that has none. */
VORN_WIA_API WStringView PropertyName(PROPID id) noexcept;

// Each takes the property's name from PropertyName.

VORN_WIA_API Property ReadOnly(PROPID id, Value value);
VORN_WIA_API Property Writable(PROPID id, Value value);
/** The nominal value is the first one. */
VORN_WIA_API Property InRange(PROPID id, LONG value, LONG minimum, LONG maximum, LONG step = 1);
VORN_WIA_API Property OneOf(PROPID id, LONG value, const std::vector<LONG>& values);
VORN_WIA_API Property OneOf(PROPID id, REFGUID value, const std::vector<GUID>& values);
VORN_WIA_API Property OneOf(PROPID id, WStringView value, const std::vector<WString>& values);
VORN_WIA_API Property FlagsOf(PROPID id, LONG value, LONG flags);

// Valid values, in the shape that the platform gives them.

VORN_WIA_API Value RangeValues(LONG minimum, LONG nominal, LONG maximum, LONG step);
VORN_WIA_API Value ListValues(LONG nominal, const std::vector<LONG>& values);
/** Two elements precede the values: an empty one and the nominal value. */
VORN_WIA_API Value ListValues(REFGUID nominal, const std::vector<GUID>& values);
VORN_WIA_API Value ListValues(WStringView nominal, const std::vector<WString>& values);

}  // namespace vorn::wia
