/**
 * @file OptionProperty.h
 * An option of SANE as a property of its own, under SANE's name.
 *
 * | Option             | Property                                                     |
 * | ------------------ | ------------------------------------------------------------ |
 * | integer            | VT_I4, with its range or list                                |
 * | switch             | VT_I4, 0 or 1                                                |
 * | fixed-point number | VT_R8, with its range or list                                |
 * | text               | VT_BSTR, with its list                                       |
 * | array of words     | VT_VECTOR|VT_UI1: the words of 32 bits as they lie in memory |
 * | button             | VT_I4: writing 1 presses it                                  |
 *
 * While an option is inactive its property is read only.
 */
#pragma once

#include "../model/Property.h"
#include "Scanner.h"

namespace vorn::wia {

/** The id of the first of them; others follow by their index. */
constexpr PROPID kFirstOption = WIA_PRIVATE_ITEMPROP;

inline PROPID OptionId(const SaneOption& option) noexcept
{
    return kFirstOption + static_cast<PROPID>(option.index);
}

/** Name, type, access, valid values and value, as they are now. */
Property PropertyOf(const SaneOption& option);

/** The value that a property holds, as SANE takes it; empty when it has none. Throws Failure for a text too long for
 * the option. */
RawValue RawOf(const SaneOption& option, const Value& value);

/** A number in the form that the option has, brought to the nearest one that it allows. */
RawValue NearestNumber(const SaneOption& option, double number);
RawValue TextValue(std::string_view text);

/** The least and the greatest number that the option allows, and their distances; false when it does not tell. */
struct NumberRange {
    double minimum = 0, maximum = 0, step = 0;
};
bool RangeOf(const SaneOption& option, NumberRange& range);
/** The numbers of a list; empty when it has none. */
std::vector<double> NumbersOf(const SaneOption& option);
/** The texts of a list; empty when it has none. */
std::vector<std::string> TextsOf(const SaneOption& option);

}  // namespace vorn::wia
