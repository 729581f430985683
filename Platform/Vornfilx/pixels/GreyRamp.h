/**
 * @file pixels/GreyRamp.h
 * Palettes that say no more than that pixels are greys.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::fil {

enum class GreyRamp {
    None,
    Rising,  ///< from black to white: what pixels mean without a palette
    Falling
};

/** Which ramp `count` entries of 4 bytes are: blue, green, red, nothing. A depth's ramp has all its entries. */
inline GreyRamp GreyRampOf(const uint8_t* palette, size_t count) noexcept
{
    bool rising = count > 1, falling = rising;
    for (size_t i = 0; i < count && (rising || falling); ++i, palette += 4) {
        const bool grey = palette[0] == palette[1] && palette[0] == palette[2];
        rising = rising && grey && palette[0] == i * 255 / (count - 1);
        falling = falling && grey && palette[0] == (count - 1 - i) * 255 / (count - 1);
    }
    return rising ? GreyRamp::Rising : falling ? GreyRamp::Falling : GreyRamp::None;
}

}  // namespace vorn::fil
