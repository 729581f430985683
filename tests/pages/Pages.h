/**
 * @file Pages.h
 * Pictures, the files that show them, and a sink that holds encoders to what they promise.
 */
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "Vornfilx.h"
#include "wia/model/PageEncoder.h"
#include "wia/virtual/CannedPages.h"

namespace vorn::wia {

/** Colours that no two entries share and that are no greys. */
inline std::vector<PaletteEntry> ColorfulPalette(uint32_t count)
{
    std::vector<PaletteEntry> palette;
    for (uint32_t i = 0; i < count; ++i)
        palette.push_back(
            {static_cast<uint8_t>(i * 3), static_cast<uint8_t>(200 - i), static_cast<uint8_t>(i * 7 + 1), 0});
    return palette;
}

/** A page of random pixels that stay inside the palette, with zeros in the padding of its rows. */
inline CannedPage Noise(uint32_t width, uint32_t height, uint32_t bits,
                        std::vector<PaletteEntry> palette = {})
{
    const uint32_t depth = std::min(bits, 8u);
    const auto levels = palette.empty() ? 1u << depth : static_cast<uint32_t>(palette.size());
    CannedPage page;
    page.geometry = {width, height, bits, 300, 200, std::move(palette)};
    page.pixels.resize(page.geometry.ImageBytes());
    std::minstd_rand random{width * 31 + bits};
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t bit = 0; bit < width * bits; bit += depth) {
            uint8_t& byte = page.pixels[y * page.geometry.RowBytes() + bit / 8];
            const auto level = static_cast<uint32_t>(random() >> 8) % levels;
            byte = static_cast<uint8_t>(byte | level << (8 - depth - bit % 8));
        }
    }
    return page;
}

/** A pixel as 0xRRGGBB; `y` counts from the top. */
inline uint32_t ColorAt(const CannedPage& page, uint32_t x, uint32_t y)
{
    const PageGeometry& geometry = page.geometry;
    const uint32_t bits = geometry.bitsPerPixel;
    const uint8_t* row = page.pixels.data() + (geometry.height - 1 - y) * geometry.RowBytes();
    if (bits == 24)
        return row[x * 3] | row[x * 3 + 1] << 8 | row[x * 3 + 2] << 16;
    const uint32_t last = (1u << bits) - 1;
    const uint32_t value = row[x * bits / 8] >> (8 - bits - x * bits % 8) & last;
    if (geometry.palette.empty())
        return value * 255 / last * 0x010101;
    const PaletteEntry& color = geometry.palette.at(value);
    return color.blue | color.green << 8 | color.red << 16;
}

inline void ExpectSamePicture(const CannedPage& got, const CannedPage& wanted)
{
    const PageGeometry &g = got.geometry, &w = wanted.geometry;
    ASSERT_EQ(std::tie(g.width, g.height, g.bitsPerPixel, g.xDpi, g.yDpi),
              std::tie(w.width, w.height, w.bitsPerPixel, w.xDpi, w.yDpi));
    for (uint32_t y = 0; y < w.height; ++y)
        for (uint32_t x = 0; x < w.width; ++x)
            ASSERT_EQ(ColorAt(got, x, y), ColorAt(wanted, x, y)) << "pixel " << x << ", " << y;
}

/** What the file library sees in the bytes of a file. @return its status */
inline int32_t Decode(const std::string& file, CannedPage& decoded, uint32_t page = 1)
{
    BitmapHandle bitmap = {};
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    const int32_t status = FilLoadMemory(file.data(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR,
                                         static_cast<int32_t>(file.size()), &options, nullptr);
    if (status != FIL_SUCCESS || KrnAccessBitmap(&bitmap) != KRN_SUCCESS)
        return status;
    decoded.geometry = {bitmap.width, bitmap.height, bitmap.bitsPerPixel, bitmap.xDpi, bitmap.yDpi, {}};
    for (const uint8_t* entry = bitmap.palette; entry < bitmap.palette + bitmap.paletteCount * 4; entry += 4)
        decoded.geometry.palette.push_back({entry[0], entry[1], entry[2], 0});
    const uint64_t rowBytes = decoded.geometry.RowBytes();
    const bool bottomUp = bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT;
    for (uint32_t y = 0; y < bitmap.height; ++y) {
        const uint32_t line = bottomUp ? y : bitmap.height - 1 - y;
        const uint8_t* row = static_cast<const uint8_t*>(bitmap.image) + size_t{line} * bitmap.rowBytes;
        decoded.pixels.insert(decoded.pixels.end(), row, row + rowBytes);
    }
    KrnFreeBitmap(&bitmap);
    return status;
}

/** The next page of a source, read `rowsPerRead` rows at a time. */
inline CannedPage Scan(PageSource& source, const PageRequest& request, uint32_t rowsPerRead,
                       RowOrder order = RowOrder::BottomUp)
{
    std::unique_ptr<Page> page;
    EXPECT_EQ(source.NextPage(request, page), S_OK);
    if (!page)
        return {};
    CannedPage scan{page->Geometry(), {}};
    EXPECT_EQ(scan.geometry.palette.size(), request.bitsPerPixel == 24 ? 0u : 1u << request.bitsPerPixel);
    const uint64_t rowBytes = scan.geometry.RowBytes();
    scan.pixels.resize(scan.geometry.ImageBytes());
    std::vector<uint8_t> rows(rowsPerRead * rowBytes);
    for (uint32_t left = scan.geometry.height; left > 0;) {
        const uint32_t count = std::min(rowsPerRead, left);
        std::fill(rows.begin(), rows.end(), uint8_t{0xA5});
        EXPECT_EQ(page->ReadRows(rows.data(), count, order), S_OK);
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t place = order == RowOrder::BottomUp ? count - 1 - i : i;
            std::copy_n(rows.data() + place * rowBytes, rowBytes, scan.pixels.data() + --left * rowBytes);
        }
    }
    return scan;
}

inline std::unique_ptr<Page> PageOf(const CannedPage& canned)
{
    std::unique_ptr<Page> page;
    EXPECT_EQ(MakeCannedPages({canned})->NextPage({}, page), S_OK);
    return page;
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
        EXPECT_EQ(calls, 0u) << "begun after a write, or twice";
        total = totalBytes;
        header = headerBytes;
        return Answer();
    }

    HRESULT Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent) override
    {
        EXPECT_NE(calls, 0u) << "a write before Begin";
        EXPECT_LT(calls, failAtCall) << "a write after the sink refused";
        EXPECT_GE(percent, lastPercent);
        EXPECT_LE(percent, 100u);
        EXPECT_GT(size, 0u);
        EXPECT_TRUE(!pieces.empty() || size == header) << "the first write is not the header";
        lastPercent = percent;
        pieces.push_back({offset, size, data});
        written += size;
        bytes.resize(std::max<size_t>(bytes.size(), offset + size));
        std::copy_n(data, size, bytes.begin() + static_cast<ptrdiff_t>(offset));
        return Answer();
    }

    std::string bytes;
    std::vector<Piece> pieces;
    uint64_t total = 0, written = 0;
    uint32_t header = 0, lastPercent = 0;
    uint32_t calls = 0, failAtCall = UINT32_MAX;
    HRESULT failure = S_FALSE;

private:
    HRESULT Answer() { return ++calls == failAtCall ? failure : S_OK; }
};

/** The file of one page. */
inline std::string Encoded(REFGUID format, const CannedPage& page)
{
    CheckedSink sink;
    EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), sink, 4096), S_OK);
    return sink.bytes;
}

/** The pages of one file, as they are added. */
struct TiffDocument {
    HRESULT Add(const CannedPage& page, uint32_t failAtCall = UINT32_MAX)
    {
        std::string bytes = std::move(sink.bytes);
        sink = {};
        sink.bytes = std::move(bytes);
        sink.failAtCall = failAtCall;
        return encoder->Encode(*PageOf(page), sink, 1000);
    }

    const std::unique_ptr<PageEncoder> encoder = MakeDocumentEncoder(WiaImgFmt_TIFF);
    CheckedSink sink;
};

/** For a part of the sheet at its top left. */
inline PageRequest Request(uint32_t bits, uint32_t width, uint32_t height, uint32_t xDpi = 300,
                           uint32_t yDpi = 200)
{
    return {.xDpi = xDpi, .yDpi = yDpi, .bitsPerPixel = bits, .width = width, .height = height, .pulse = {}};
}

}  // namespace vorn::wia
