/**
 * @file Settings.h
 * The settings of one item of a scanner: what its properties say, and bringing it into force on the device.
 *
 * Each option is a property, and the truth. The platform's own properties (resolution, area, data type, source,
 * brightness) are views of options: a write to one sets options, and both follow what the device made of it.
 */
#pragma once

#include <functional>

#include "../model/Item.h"
#include "Sources.h"

namespace vorn::wia {

using Put = std::function<void(Property)>;

/** Gives the properties of an item as the scanner is set now: the views, and then the options. */
void Describe(Scanner& scanner, const Put& put);
void DescribeViews(Scanner& scanner, const Put& put);

class Settings {
public:
    Settings(Scanner& scanner, const PropertyTable& table) noexcept : scanner_{scanner}, table_{table} {}

    /** Brings the item's options into force. Throws Failure. */
    void PutInForce();
    /** Makes options follow a property that has changed, and properties what the device made of it. Throws Failure,
     * with the properties then telling what is in force. */
    void Follow(PROPID changed);
    void Use(const Sources& sources, SourceKind kind);

private:
    bool IsDifferent(const SaneOption& option) const;
    void SetAll();
    /** Sets one option; resolution and area stay what they are where the device would have them follow. */
    void Change(SaneOption& option, RawValue value);
    void ChangeNumber(Role role, double number);
    bool FollowView(PROPID changed);
    void UseDataType(LONG type);
    void UseIntent(LONG intent);
    void UseArea(Role first, Role last, LONG position, LONG extent);
    void UsePageSize(LONG size);
    void Show(void (*describe)(Scanner&, const Put&));

    Scanner& scanner_;
    const PropertyTable& table_;
};

}  // namespace vorn::wia
