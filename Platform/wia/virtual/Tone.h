/**
 * @file Tone.h
 * What a device does to a colour on its way to the depth that was asked for.
 */
#pragma once

#include <array>

#include "../model/Page.h"

namespace vorn::wia {

/** Brightness, contrast and threshold of a request, as tables. */
class Tone {
public:
    explicit Tone(const PageRequest& request) noexcept;

    /** True when brightness and contrast leave every level as it is. */
    bool IsNeutral() const noexcept { return neutral_; }
    uint8_t Level(uint8_t level) const noexcept { return levels_[level]; }
    bool IsWhite(uint8_t luminance) const noexcept { return levels_[luminance] >= threshold_; }

private:
    std::array<uint8_t, 256> levels_;
    int32_t threshold_;
    bool neutral_;
};

/** How bright a colour looks; a grey stays what it is. */
constexpr uint8_t Luminance(uint8_t blue, uint8_t green, uint8_t red) noexcept
{
    return static_cast<uint8_t>((29 * blue + 150 * green + 77 * red) >> 8);
}

/**
 * The geometry of a page that a request asks for: 1 bit with black 0 and white 1, 8 bits of grey, or 24 bits.
 * @return `E_INVALIDARG` for a depth, size or resolution that no scanner has
 */
HRESULT GeometryOf(const PageRequest& request, PageGeometry& geometry);

}  // namespace vorn::wia
