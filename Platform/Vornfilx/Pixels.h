/**
 * @file Pixels.h
 * Pixels of 3 bytes between the two orders of their colours.
 */
#pragma once

#include <cstdint>

namespace vorn::fil {

/** Exchanges the outer two of three colours; `from` and `to` may be the same row. */
inline void SwapRedBlue(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept
{
    for (uint32_t i = 0; i < pixels; ++i, from += 3, to += 3) {
        const uint8_t first = from[0], second = from[1], third = from[2];
        to[0] = third;
        to[1] = second;
        to[2] = first;
    }
}

}  // namespace vorn::fil
