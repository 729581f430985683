/**
 * @file Area.h
 * What is scanned along one direction: SANE's millimetres or pixels against the platform's pixels.
 */
#pragma once

#include "Vocabulary.h"

namespace vorn::wia {

struct Area {
    bool known = false;                   ///< the device has the options, active
    double perUnit = 1;                   ///< pixels per unit of the options at the resolution in force
    double origin = 0;                    ///< the least start, in the options' unit
    double start = 0, end = 0, size = 0;  ///< from the origin, in the options' unit
    double dpi = 0;

    /** Whole ones: a device cuts off fractions of a pixel. */
    LONG Pixels(double length) const noexcept;
    /** The place that is so many pixels away from the origin. */
    double Place(LONG pixels) const noexcept { return origin + pixels / perUnit; }
    LONG ThousandthsOfAnInch(double length) const noexcept;
};

/** @param first, last  Role::Left and Role::Right, or Role::Top and Role::Bottom */
Area AreaOf(Scanner& scanner, Role first, Role last);

/** The option for the resolution along the direction that begins with Role::Left or Role::Top; may be null. */
SaneOption* ResolutionOf(Scanner& scanner, Role first) noexcept;

}  // namespace vorn::wia
