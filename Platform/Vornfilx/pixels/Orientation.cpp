#include "pixels/Orientation.h"

#include <cstring>

namespace vorn::fil {

UprightRows::UprightRows(const NewImage& image, const PageInfo& page, Orientation orientation) noexcept
    : pixelBytes_{page.bitsPerPixel / 8},
      pixels_{IsTurned(orientation) ? page.height : page.width},
      isDirect_{orientation == Orientation::TopLeft || orientation == Orientation::BottomLeft}
{
    using enum Orientation;
    const bool fromRight = orientation == TopRight || orientation == BottomRight || orientation == RightTop ||
                           orientation == RightBottom;
    const bool fromBottom = orientation == BottomRight || orientation == BottomLeft ||
                            orientation == RightBottom || orientation == LeftBottom;
    const int64_t rowBytes = static_cast<int64_t>(KrnRowBytes(page.width, page.bitsPerPixel));
    const int64_t right = fromRight ? -int64_t{pixelBytes_} : int64_t{pixelBytes_};
    const int64_t down = fromBottom ? rowBytes : -rowBytes;
    first_ = image.Row(fromBottom ? 0 : page.height - 1);
    if (fromRight)
        first_ += uint64_t{page.width - 1} * pixelBytes_;
    perPixel_ = IsTurned(orientation) ? down : right;
    perRow_ = IsTurned(orientation) ? right : down;
}

void UprightRows::Put(const uint8_t* row, uint32_t y) const noexcept
{
    uint8_t* to = At(y);
    for (uint32_t x = 0; x < pixels_; ++x, row += pixelBytes_, to += perPixel_)
        std::memcpy(to, row, pixelBytes_);
}

}  // namespace vorn::fil
