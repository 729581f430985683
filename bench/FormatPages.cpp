#include "FormatPages.h"

#include <algorithm>
#include <stdexcept>

#include "wia/virtual/TestChart.h"

namespace vorn::bench {
namespace {

constexpr uint32_t kDpi = 600, kWidth = 4960, kHeight = 7016;

BitmapHandle NewBitmap(uint32_t bits = 24)
{
    BitmapHandle bitmap{};
    if (KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, kWidth, kHeight, bits,
                        KRN_COLOR_ORDER_BGR, nullptr, KRN_VIEW_BOTTOM_LEFT, nullptr, 0) != KRN_SUCCESS)
        throw std::runtime_error{"no memory for a page"};
    bitmap.xDpi = bitmap.yDpi = kDpi;
    return bitmap;
}

/** The chart that the virtual scanners have on their glass. */
BitmapHandle Chart()
{
    const wia::PageRequest request{
        .xDpi = kDpi, .yDpi = kDpi, .width = kWidth, .height = kHeight, .pulse = {}};
    std::unique_ptr<wia::Page> page;
    const BitmapHandle bitmap = NewBitmap();
    if (wia::TestChart{{}, 1}.NextPage(request, page) != S_OK ||
        page->ReadRows(static_cast<uint8_t*>(bitmap.image), kHeight, wia::RowOrder::BottomUp) != S_OK)
        throw std::runtime_error{"the test chart cannot be drawn"};
    return bitmap;
}

/** Grain, as a sensor adds: no two neighbours have quite the same brightness. */
void AddGrain(uint8_t* bytes, uint64_t count)
{
    constexpr int kMost = 5;
    uint32_t state = 1;
    for (uint64_t i = 0; i < count; ++i) {
        state = state * 1664525u + 1013904223u;
        const int noise = static_cast<int>((state >> 16) % (2 * kMost + 1)) - kMost;
        bytes[i] = static_cast<uint8_t>(std::clamp(bytes[i] + noise, 0, 255));
    }
}

BitmapHandle NoisyChart()
{
    const BitmapHandle bitmap = Chart();
    AddGrain(static_cast<uint8_t*>(bitmap.image), bitmap.imageBytes);
    return bitmap;
}

/** The upper half is a photo, the lower half the clean chart. */
BitmapHandle Photo()
{
    const BitmapHandle bitmap = Chart();
    uint8_t* const photo = static_cast<uint8_t*>(bitmap.image) + uint64_t{kHeight / 2} * bitmap.rowBytes;
    for (uint32_t y = 0; y < kHeight / 2; ++y)
        for (uint32_t x = 0; x < kWidth; ++x) {
            uint8_t* const pixel = photo + uint64_t{y} * bitmap.rowBytes + size_t{x} * 3;
            pixel[0] = static_cast<uint8_t>(40 + x * 160 / kWidth);
            pixel[1] = static_cast<uint8_t>(40 + y * 320 / kHeight);
            pixel[2] = static_cast<uint8_t>(40 + (x + y) * 160 / (kWidth + kHeight));
        }
    AddGrain(photo, uint64_t{kHeight / 2} * bitmap.rowBytes);
    return bitmap;
}

/** The chart with fewer bits a pixel. */
BitmapHandle GreyChart(uint32_t bits)
{
    const BitmapHandle color = Chart(), grey = NewBitmap(bits);
    for (uint32_t y = 0; y < kHeight; ++y)
        for (uint32_t x = 0; x < kWidth; ++x) {
            const uint8_t level =
                static_cast<const uint8_t*>(color.image)[uint64_t{y} * color.rowBytes + size_t{x} * 3 + 1];
            uint8_t* const row = static_cast<uint8_t*>(grey.image) + uint64_t{y} * grey.rowBytes;
            if (bits == 8)
                row[x] = level;
            else if (level >= 128)
                row[x / 8] = static_cast<uint8_t>(row[x / 8] | 0x80 >> x % 8);
        }
    BitmapHandle done = color;
    KrnFreeBitmap(&done);
    return grey;
}

BitmapHandle EmptySheet()
{
    const BitmapHandle bitmap = NewBitmap();
    std::fill_n(static_cast<uint8_t*>(bitmap.image), bitmap.imageBytes, uint8_t{250});
    return bitmap;
}

}  // namespace

const FormatPage& NoisyPage()
{
    static const FormatPage page{"noisy", NoisyChart()};
    return page;
}

const FormatPage& CleanPage()
{
    static const FormatPage page{"clean", Chart()};
    return page;
}

const FormatPage& FlatPage()
{
    static const FormatPage page{"flat", EmptySheet()};
    return page;
}

const FormatPage& PhotoPage()
{
    static const FormatPage page{"photo", Photo()};
    return page;
}

const FormatPage& GreyPage()
{
    static const FormatPage page{"grey", GreyChart(8)};
    return page;
}

const FormatPage& BlackAndWhitePage()
{
    static const FormatPage page{"1 bit", GreyChart(1)};
    return page;
}

}  // namespace vorn::bench
