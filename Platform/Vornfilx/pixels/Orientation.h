/**
 * @file pixels/Orientation.h
 * Pictures that are stored lying on a side or mirrored, made upright row by row.
 */
#pragma once

#include "Codec.h"

namespace vorn::fil {

/** Where the first stored row and column lie in the upright picture, as cameras number it. */
enum class Orientation : uint32_t {
    TopLeft = 1,
    TopRight,
    BottomRight,
    BottomLeft,
    LeftTop,
    RightTop,
    RightBottom,
    LeftBottom
};

/** True when stored rows are columns of the upright picture. */
constexpr bool IsTurned(Orientation orientation) noexcept
{
    return orientation >= Orientation::LeftTop;
}

/** Puts stored rows where they belong in an upright image whose rows run from the bottom up. */
class UprightRows {
public:
    /** `page` is the upright picture; of 8, 24 or 32 bits unless the orientation keeps rows as they are. */
    UprightRows(const NewImage& image, const PageInfo& page, Orientation orientation) noexcept;

    /** Where stored row `y` lies when it needs no more than copying, else null. */
    uint8_t* Direct(uint32_t y) const noexcept { return isDirect_ ? At(y) : nullptr; }

    void Put(const uint8_t* row, uint32_t y) const noexcept;

private:
    uint8_t* At(uint32_t y) const noexcept { return first_ + y * perRow_; }

    uint8_t* first_;        // of the stored picture's first pixel
    int64_t perPixel_ = 0;  // from one stored pixel to the next
    int64_t perRow_ = 0;    // from one stored row to the next
    uint32_t pixelBytes_;
    uint32_t pixels_;  // of a stored row
    bool isDirect_;
};

}  // namespace vorn::fil
