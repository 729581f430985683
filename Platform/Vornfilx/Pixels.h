/**
 * @file Pixels.h
 * Pixels of 3 bytes between the two orders of their colours.
 */
#pragma once

#include <cstdint>

namespace vorn::fil {

/** Exchanges the outer two of three colours; `from` and `to` may be the same row. */
void SwapRedBlue(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept;

}  // namespace vorn::fil
