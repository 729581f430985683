#include "Picture.h"

#include <algorithm>
#include <cstring>

#include "Tone.h"
#include "Vornfilx.h"

namespace vorn::wia {

namespace {

HRESULT FromFileLibrary(int32_t result) noexcept
{
    return result == FIL_ERR_OUT_OF_MEMORY ? E_OUTOFMEMORY : WIA_ERROR_GENERAL_ERROR;
}

void PutSample(const PaletteEntry& color, uint32_t channels, uint8_t*& samples) noexcept
{
    if (channels == 1) {
        *samples++ = Luminance(color.blue, color.green, color.red);
        return;
    }
    *samples++ = color.blue;
    *samples++ = color.green;
    *samples++ = color.red;
}

}  // namespace

Picture::~Picture()
{
    KrnFreeBitmap(&bitmap_);
}

HRESULT Picture::Load(const WCHAR* file, uint32_t page)
{
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    const int32_t result =
        FilLoad(file, &bitmap_, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, &options, nullptr);
    if (result != FIL_SUCCESS)
        return FromFileLibrary(result);

    // 16-bit pixels come in more than one layout; no scanner's pictures have them.
    const bool readable = bitmap_.bitsPerPixel <= 8 || bitmap_.bitsPerPixel >= 24;
    if (!readable || KrnAccessBitmap(&bitmap_) != KRN_SUCCESS)
        return WIA_ERROR_GENERAL_ERROR;
    FillColorTable();
    return S_OK;
}

void Picture::FillColorTable() noexcept
{
    const size_t count = bitmap_.palette ? std::min<size_t>(bitmap_.paletteCount, colors_.size()) : 0;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* entry = bitmap_.palette + 4 * i;
        colors_[i] = {entry[0], entry[1], entry[2], 0};
    }
}

const uint8_t* Picture::Row(uint32_t y) const noexcept
{
    const uint32_t row = bitmap_.viewPerspective == KRN_VIEW_TOP_LEFT ? y : bitmap_.height - 1 - y;
    return static_cast<const uint8_t*>(bitmap_.image) + size_t{row} * bitmap_.rowBytes;
}

const uint8_t* Picture::ColorRow(uint32_t y) const noexcept
{
    return bitmap_.bitsPerPixel == 24 ? Row(y) : nullptr;
}

void Picture::ReadRow(uint32_t y, uint32_t channels, uint8_t* samples) const noexcept
{
    const uint8_t* const row = Row(y);
    const uint32_t bits = bitmap_.bitsPerPixel;
    if (bits >= 24) {
        const uint8_t* pixel = row;
        for (uint32_t x = 0; x < bitmap_.width; ++x, pixel += bits / 8)
            PutSample({pixel[0], pixel[1], pixel[2], 0}, channels, samples);
        return;
    }
    const uint32_t mask = (1u << bits) - 1;
    for (uint32_t x = 0; x < bitmap_.width; ++x) {
        const uint64_t bit = uint64_t{x} * bits;
        const uint32_t index = row[bit / 8] >> (8 - bits - bit % 8) & mask;
        PutSample(colors_[index], channels, samples);
    }
}

}  // namespace vorn::wia
