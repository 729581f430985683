/**
 * @file ValidValues.h
 * A property's valid values as the records that applications see.
 */
#pragma once

#include "Internal.h"

namespace vorn {

/**
 * Asks for the access flags and the valid values of a property. A vector that counts elements and has none becomes
 * empty: not every system's PropVariantClear looks first.
 *
 * @return the platform's result; only S_OK gives something
 */
HRESULT ReadAttributes(IWiaPropertyStorage* storage, PROPID id, ULONG& access, PropVariant& valid) noexcept;

/**
 * The tree of records behind WiaCapability::values, from what the device publishes and from the ID, the type and
 * the access flags of `capability`. The texts in it are lent by `published`, which must live as long.
 *
 * The device is not trusted: nothing is read beyond a vector, a vector too short for its kind gives what is
 * there, one of a type that the kind cannot have gives nothing. Without memory the tree ends where it ran out.
 *
 * @return the tree; null without memory and for a property whose values are not restricted
 */
WiaCapabilityValues* BuildCapabilityValues(const PROPVARIANT& published,
                                           const WiaCapability& capability) noexcept;

/** Frees the tree of a capability, null included, that was built from a value of that type. */
void FreeCapabilityValues(const WiaCapability& capability, uint32_t publishedType) noexcept;

}  // namespace vorn
