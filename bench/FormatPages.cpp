#include "FormatPages.h"

#include <algorithm>
#include <stdexcept>

#include "wia/virtual/TestChart.h"

namespace vorn::bench {
namespace {

constexpr uint32_t kDpi = 600, kWidth = 4960, kHeight = 7016;

BitmapHandle NewBitmap()
{
    BitmapHandle bitmap{};
    if (KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, kWidth, kHeight, 24,
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

/** The chart as a sensor sees it: no two neighbours have quite the same brightness. */
BitmapHandle NoisyChart()
{
    constexpr int kMost = 5;
    const BitmapHandle bitmap = Chart();
    uint8_t* const bytes = static_cast<uint8_t*>(bitmap.image);
    uint32_t state = 1;
    for (uint64_t i = 0; i < bitmap.imageBytes; ++i) {
        state = state * 1664525u + 1013904223u;
        const int noise = static_cast<int>((state >> 16) % (2 * kMost + 1)) - kMost;
        bytes[i] = static_cast<uint8_t>(std::clamp(bytes[i] + noise, 0, 255));
    }
    return bitmap;
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

}  // namespace vorn::bench
