/**
 * @file pixels/Pixels.h
 * Pixels of other kinds into those of a bitmap.
 */
#pragma once

#include <cstdint>

namespace vorn::fil {

/** Exchanges the outer two of three colours; `to` may be the same row, or begin before it. */
void SwapRedBlue(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept;

/** Writes one of the three colours of each pixel, the byte `channel` of it; the others stay as they are. */
void PutChannel(const uint8_t* from, uint8_t* to, uint32_t pixels, uint32_t channel) noexcept;

/** The upper bytes of samples of 16 bits in the machine's byte order; `from` and `to` do not overlap. */
void UpperBytes(const uint8_t* from, uint8_t* to, uint64_t samples) noexcept;

/**
 * Cyan, magenta, yellow, black to blue, green, red, without regard to a colour profile; `from` and `to` may be the same row.
 * @param inverted  light is stored in the place of ink, as most programs do
 */
void CmykToBgr(const uint8_t* from, uint8_t* to, uint32_t pixels, bool inverted) noexcept;

/** What is seen of a colour that covers white by `alpha` 255ths. */
constexpr uint8_t BlendOverWhite(uint32_t color, uint32_t alpha) noexcept
{
    return static_cast<uint8_t>((color * alpha + 255 * (255 - alpha) + 127) / 255);
}

}  // namespace vorn::fil
