/**
 * @file Pages.h
 * Pages to encode, and a sink that holds encoders to what they promise.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "Vornfilx.h"
#include "wia/model/PageEncoder.h"
#include "wia/virtual/CannedPages.h"

namespace vorn::wia {

inline PageGeometry MakeGeometry(uint32_t width, uint32_t height, uint32_t bits,
                                 std::vector<PaletteEntry> palette = {})
{
    return {width, height, bits, 300, 200, std::move(palette)};
}

/** Colours that no two entries share and that are no greys. */
inline std::vector<PaletteEntry> ColorfulPalette(uint32_t count)
{
    std::vector<PaletteEntry> palette;
    for (uint32_t i = 0; i < count; ++i)
        palette.push_back(
            {static_cast<uint8_t>(i * 3), static_cast<uint8_t>(200 - i), static_cast<uint8_t>(i * 7 + 1), 0});
    return palette;
}

/** The rows of a DIB with random pixels that stay inside the palette, and zeros in the padding. */
inline std::vector<uint8_t> RandomImage(const PageGeometry& geometry)
{
    std::minstd_rand random{geometry.width * 31 + geometry.bitsPerPixel};
    std::vector<uint8_t> image(geometry.ImageBytes());
    const uint32_t bits = geometry.bitsPerPixel;
    for (uint32_t y = 0; y < geometry.height; ++y) {
        uint8_t* row = image.data() + y * geometry.RowBytes();
        if (bits == 24) {
            std::generate(row, row + geometry.width * 3, [&] { return static_cast<uint8_t>(random() >> 8); });
            continue;
        }
        const uint32_t colors =
            geometry.palette.empty() ? 1u << bits : static_cast<uint32_t>(geometry.palette.size());
        for (uint32_t x = 0; x < geometry.width; ++x) {
            const uint32_t value = static_cast<uint32_t>(random() >> 8) % colors;
            uint8_t& byte = row[x * bits / 8];
            byte = static_cast<uint8_t>(byte | value << (8 - bits - x * bits % 8));
        }
    }
    return image;
}

/** A page that has to be scanned: it hides that its picture is ready, and can fail at a row. */
class StreamedPage final : public Page {
public:
    explicit StreamedPage(std::unique_ptr<Page> page) : page_{std::move(page)} {}

    const PageGeometry& Geometry() const noexcept override { return page_->Geometry(); }
    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        largestRead = std::max(largestRead, count);
        nextRow_ += count;
        return nextRow_ > failAtRow ? failure : page_->ReadRows(rows, count, order);
    }

    uint32_t largestRead = 0;
    uint32_t failAtRow = UINT32_MAX;
    HRESULT failure = WIA_ERROR_PAPER_JAM;

private:
    std::unique_ptr<Page> page_;
    uint32_t nextRow_ = 0;
};

inline std::unique_ptr<Page> ReadyPage(const PageGeometry& geometry, const std::vector<uint8_t>& image)
{
    std::unique_ptr<Page> page;
    MakeCannedPages({{geometry, image}})->NextPage({}, page);
    return page;
}

inline std::unique_ptr<StreamedPage> ScannedPage(const PageGeometry& geometry,
                                                 const std::vector<uint8_t>& image)
{
    return std::make_unique<StreamedPage>(ReadyPage(geometry, image));
}

/** Keeps what is written, and checks order, sizes and percentages on the way. */
class CheckedSink final : public PageSink {
public:
    struct Piece {
        uint64_t offset;
        uint32_t size;
        const uint8_t* data;
    };

    HRESULT Begin(uint64_t totalBytes, uint32_t headerBytes) override
    {
        EXPECT_TRUE(pieces.empty()) << "begun after a write, or twice";
        total = totalBytes;
        header = headerBytes;
        ++calls;
        return calls == failAtCall ? failure : S_OK;
    }

    HRESULT Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent) override
    {
        EXPECT_NE(calls, 0u) << "a write before Begin";
        EXPECT_LT(calls, failAtCall) << "a write after the sink refused";
        EXPECT_GE(percent, lastPercent);
        EXPECT_LE(percent, 100u);
        EXPECT_GT(size, 0u);
        if (pieces.empty()) {
            EXPECT_EQ(size, header);
        }
        lastPercent = percent;
        pieces.push_back({offset, size, data});
        written += size;
        if (bytes.size() < offset + size)
            bytes.resize(offset + size);
        std::copy_n(data, size, bytes.begin() + static_cast<ptrdiff_t>(offset));
        ++calls;
        return calls == failAtCall ? failure : S_OK;
    }

    /** Before the next page of a document: keeps the bytes only. */
    void ExpectNextPage()
    {
        pieces.clear();
        lastPercent = calls = 0;
        written = total = 0;
        failAtCall = UINT32_MAX;
    }

    std::vector<uint8_t> bytes;
    std::vector<Piece> pieces;
    uint64_t total = 0, written = 0;
    uint32_t header = 0, lastPercent = 0;
    uint32_t calls = 0, failAtCall = UINT32_MAX;
    HRESULT failure = S_FALSE;
};

/** A bitmap of the kernel library. */
class Loaded {
public:
    Loaded() = default;
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
    ~Loaded() { KrnFreeBitmap(&bitmap); }

    int32_t FromMemory(const std::vector<uint8_t>& bytes, uint32_t page = 1)
    {
        FilLoadOptions options;
        FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
        options.page = page;
        const int32_t result = FilLoadMemory(bytes.data(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR,
                                             static_cast<int32_t>(bytes.size()), &options, nullptr);
        return result == FIL_SUCCESS ? KrnAccessBitmap(&bitmap) : result;
    }

    BitmapHandle bitmap = {};
};

/** A pixel's colour as 0xRRGGBB. A palette has 4 bytes an entry: it is one of PaletteEntry, or a bitmap's. */
inline uint32_t ColorAt(const uint8_t* row, uint32_t x, uint32_t bits, const void* palette)
{
    const uint8_t* color = row + size_t{x} * 3;
    if (bits <= 8)
        color = static_cast<const uint8_t*>(palette) +
                4 * (row[x * bits / 8] >> (8 - bits - x * bits % 8) & ((1u << bits) - 1));
    return color[0] | color[1] << 8 | color[2] << 16;
}

/** Expects the bitmap to show the same picture as the rows of a DIB. */
inline void ExpectSamePicture(const BitmapHandle& bitmap, const PageGeometry& geometry,
                              const std::vector<uint8_t>& image)
{
    ASSERT_EQ(uint32_t{bitmap.width}, geometry.width);
    ASSERT_EQ(uint32_t{bitmap.height}, geometry.height);
    ASSERT_EQ(uint32_t{bitmap.bitsPerPixel}, geometry.bitsPerPixel);
    EXPECT_EQ(double{bitmap.xDpi}, geometry.xDpi);
    EXPECT_EQ(double{bitmap.yDpi}, geometry.yDpi);

    std::vector<PaletteEntry> palette = geometry.palette;
    for (uint32_t i = 0; palette.size() < 256 && geometry.palette.empty(); ++i) {
        const uint32_t last = geometry.bitsPerPixel <= 8 ? (1u << geometry.bitsPerPixel) - 1 : 255;
        const uint8_t level = static_cast<uint8_t>(std::min(i, last) * 255 / last);
        palette.push_back({level, level, level, 0});
    }
    for (uint32_t y = 0; y < geometry.height; ++y) {
        const bool bottomUp = bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT;
        const uint8_t* got = static_cast<const uint8_t*>(bitmap.image) +
                             size_t{bottomUp ? y : geometry.height - 1 - y} * bitmap.rowBytes;
        const uint8_t* wanted = image.data() + y * geometry.RowBytes();
        for (uint32_t x = 0; x < geometry.width; ++x)
            ASSERT_EQ(ColorAt(got, x, bitmap.bitsPerPixel, bitmap.palette),
                      ColorAt(wanted, x, geometry.bitsPerPixel, palette.data()))
                << "pixel " << x << ", row " << y << " from the bottom";
    }
}

}  // namespace vorn::wia
