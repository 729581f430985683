/*
 * What the codecs share of the images that they load.
 */
#include <algorithm>
#include <cstring>

#include "Codec.h"

namespace vorn::fil {

bool FitsBitmap(const PageInfo& page) noexcept
{
    return KrnRowBytes(page.width, page.bitsPerPixel) <= KRN_MAX_IMAGE_BYTES / page.height;
}

void SetGreyRamp(PageInfo& page) noexcept
{
    page.paletteCount = 1u << page.bitsPerPixel;
    for (uint32_t i = 0; i < page.paletteCount; ++i)
        std::fill_n(page.palette.begin() + i * kPaletteEntryBytes, 3,
                    static_cast<uint8_t>(i * 255 / (page.paletteCount - 1)));
}

int32_t NewImage::Create(const PageInfo& info) noexcept
{
    const int32_t status =
        KrnCreateBitmap(&bitmap_, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, info.width, info.height,
                        info.bitsPerPixel, KRN_COLOR_ORDER_BGR, nullptr, info.viewPerspective, nullptr, 0);
    if (status != KRN_SUCCESS)
        return FromKernel(status);
    bitmap_.xDpi = info.xDpi;
    bitmap_.yDpi = info.yDpi;
    if (bitmap_.palette) {
        // The record has room for every index of its depth: those past the page's table are black.
        bitmap_.paletteCount = info.paletteCount;
        std::memcpy(bitmap_.palette, info.palette.data(), size_t{kPaletteEntryBytes} << info.bitsPerPixel);
    }
    return FIL_SUCCESS;
}

int32_t NewImage::HandOver(BitmapHandle& bitmap) noexcept
{
    bitmap = bitmap_;
    bitmap_ = BitmapHandle{};
    return FIL_SUCCESS;
}

}  // namespace vorn::fil
