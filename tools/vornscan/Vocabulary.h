// How values of the device are put into words.
#pragma once

#include <cstdint>
#include <string>

#include "Capabilities.h"

namespace vornscan {

/** What a property's numbers count. */
struct Unit {
    uint32_t property = 0;    ///< whose numbers have words
    const char* symbol = "";  ///< behind a number
    double perUnit = 1;       ///< what the device counts for one of the unit, as dots for a millimetre
};

/** The unit in which the device itself counts the property. */
Unit OwnUnit(uint32_t property);

std::string InWords(int32_t number, const Unit& unit);
/** The shortest digits that are this number. */
std::string InWords(double number);
/** "75..1200dpi (in steps of 1)", "lineart|gray|color"; empty when the values are not restricted. */
std::string InWords(const ValidValues& values, const Unit& unit);
std::string InWords(const Value& value, const Unit& unit);
/** A format by its name, anything else by its digits. */
std::string InWords(const GUID& guid);

}  // namespace vornscan
