#include <algorithm>

#include "ImageWriter.h"
#include "pixels/GreyRamp.h"

namespace vorn::fil {

std::vector<uint8_t> WholePalette(const RowImage& image)
{
    if (image.bitsPerPixel > 8)
        return {};
    const uint32_t count = 1u << image.bitsPerPixel;
    std::vector<uint8_t> whole(size_t{count} * 4);
    if (image.palette) {
        std::copy_n(image.palette, size_t{std::min(image.paletteCount, count)} * 4, whole.begin());
        return whole;
    }
    for (uint32_t i = 0; i < count; ++i)
        std::fill_n(whole.begin() + i * 4, 3, static_cast<uint8_t>(i * 255 / (count - 1)));
    return whole;
}

bool IsGreyRamp(const std::vector<uint8_t>& wholePalette) noexcept
{
    return GreyRampOf(wholePalette.data(), wholePalette.size() / 4) == GreyRamp::Rising;
}

}  // namespace vorn::fil
