#include "tiff/Strips.h"

#include <algorithm>
#include <cstring>

#include "Codec.h"
#include "pixels/GreyRamp.h"
#include "pixels/Pixels.h"

namespace vorn::fil::tiff {
namespace {

/** Strips of this size are few enough for large pages and small enough for readers that hold one at a time. */
constexpr uint64_t kStripBytes = 128 * 1024;

}  // namespace

Photometric PhotometricOf(const BitmapHandle& bitmap) noexcept
{
    if (bitmap.bitsPerPixel > 8)
        return kRgb;
    const uint32_t last = (1u << bitmap.bitsPerPixel) - 1;
    if (!bitmap.palette)
        return kBlackIsZero;
    if (bitmap.paletteCount <= last)
        return kPalette;
    const GreyRamp ramp = GreyRampOf(bitmap.palette, last + 1);
    return ramp == GreyRamp::Rising ? kBlackIsZero : ramp == GreyRamp::Falling ? kWhiteIsZero : kPalette;
}

uint64_t FileRowBytes(const BitmapHandle& bitmap) noexcept
{
    return (uint64_t{bitmap.width} * bitmap.bitsPerPixel + 7) / 8;
}

uint32_t RowsPerStrip(const BitmapHandle& bitmap) noexcept
{
    return static_cast<uint32_t>(std::clamp<uint64_t>(kStripBytes / FileRowBytes(bitmap), 1, bitmap.height));
}

bool FillStrip(PageRows& bitmap, uint32_t first, uint32_t rows, uint8_t* strip) noexcept
{
    const uint64_t fileRowBytes = FileRowBytes(bitmap);
    const RowSpan from = bitmap.Rows(first, rows);
    for (uint32_t i = 0; from.top && i < rows; ++i) {
        uint8_t* const to = strip + i * fileRowBytes;
        if (bitmap.bitsPerPixel == 24)
            SwapRedBlue(from[i], to, bitmap.width);
        else
            std::memcpy(to, from[i], static_cast<size_t>(fileRowBytes));
    }
    return from.top != nullptr;
}

}  // namespace vorn::fil::tiff
