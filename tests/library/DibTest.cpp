/** DIB headers of every kind, hostile ones included, and the placing of bands. */
#include <cstring>
#include <vector>

#include "BitmapUtil.h"
#include "support/LibraryTest.h"

namespace vorn::test {
namespace {

using Bytes = std::vector<uint8_t>;

void Put16(Bytes& bytes, size_t offset, uint32_t value)
{
    bytes[offset] = static_cast<uint8_t>(value);
    bytes[offset + 1] = static_cast<uint8_t>(value >> 8);
}

void Put32(Bytes& bytes, size_t offset, uint32_t value)
{
    Put16(bytes, offset, value);
    Put16(bytes, offset + 2, value >> 16);
}

/** A header followed by `extra` bytes that count up. */
Bytes Dib(uint32_t size, int32_t width, int32_t height, uint32_t bits, uint32_t colors, size_t extra)
{
    Bytes bytes(std::max<size_t>(size, 4) + extra);
    for (size_t i = size; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 7);
    Put32(bytes, 0, size);
    if (size == 12) {
        Put16(bytes, 4, static_cast<uint32_t>(width));
        Put16(bytes, 6, static_cast<uint32_t>(height));
        Put16(bytes, 10, bits);
    } else if (size >= 40) {
        Put32(bytes, 4, static_cast<uint32_t>(width));
        Put32(bytes, 8, static_cast<uint32_t>(height));
        Put16(bytes, 14, bits);
        Put32(bytes, 32, colors);
    }
    return bytes;
}

class DibHeader : public LibraryTest {};

TEST_F(DibHeader, IsReadInEachOfItsSizes)
{
    struct Row {
        uint32_t size;
        int32_t width, height;
        uint32_t bits, colors;
        uint32_t expectedHeight;
        size_t expectedPaletteBytes;
    };
    constexpr Row rows[] = {
        {12, 640, 480, 24, 0, 480, 0},
        {12, 65535, 1, 8, 0, 1, 0},
        {40, 10, -480, 24, 0, 480, 0},
        {40, 10, 480, 8, 0, 480, 0},
        {40, 10, 480, 1, 2, 480, 8},
        {108, 10, 480, 8, 256, 480, 1024},
        {124, 10, 480, 4, 16, 480, 64},
        {40, 10, 480, 24, 5, 480, 20},  // a hint for displays
        {40, -7, INT32_MIN, 24, 0, 0x80000000u, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.size << " " << row.bits << " " << row.colors);
        const Bytes dib = Dib(row.size, row.width, row.height, row.bits, row.colors, 1100);
        uint32_t width = 0, height = 0, bits = 0;
        uint8_t* palette = nullptr;
        EXPECT_EQ(GetDibHeaderSize(dib), row.size);
        ASSERT_EQ(GetDibInfo(dib, &width, &height, &bits, &palette), 1);
        EXPECT_EQ(width, static_cast<uint32_t>(std::abs(row.width)));
        EXPECT_EQ(height, row.expectedHeight);
        EXPECT_EQ(bits, row.bits);
        ASSERT_EQ(palette != nullptr, row.expectedPaletteBytes != 0);
        if (palette) {
            EXPECT_EQ(std::memcmp(palette, dib.data() + row.size, row.expectedPaletteBytes), 0);
        }
        KrnFree(palette, 0, "test");
        EXPECT_EQ(GetDibInfo(dib, nullptr, nullptr, nullptr, nullptr), 1);
    }
}

TEST_F(DibHeader, ThatLiesIsRefusedWithNothingWritten)
{
    struct Row {
        const char* fault;
        uint32_t size, bits, colors;
        size_t extra;
    };
    constexpr Row rows[] = {
        {"size of no header", 0, 8, 0, 100},
        {"an OS/2 header", 64, 8, 0, 100},
        {"a header with masks", 56, 8, 0, 100},
        {"more colours than the depth has", 40, 8, 257, 4000},
        {"colours without end", 40, 8, 0xFFFFFFFF, 1024},
        {"colours without end at a depth without a table", 40, 24, 0xFFFFFFFF, 1024},
        {"a table that ends early", 40, 8, 256, 1023},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const Bytes dib = Dib(row.size, 10, 10, row.bits, row.colors, row.extra);
        uint32_t width = 77, height = 77, bits = 77;
        uint8_t* palette = nullptr;
        EXPECT_EQ(GetDibInfo(dib, &width, &height, &bits, &palette), 0);
        EXPECT_EQ(width + height + bits, 3u * 77);
        EXPECT_EQ(palette, nullptr);
    }
    const Bytes whole = Dib(40, 10, 10, 8, 2, 8);
    for (size_t length = 0; length < whole.size(); ++length) {
        uint8_t* palette = nullptr;
        EXPECT_EQ(GetDibInfo(DibBytes{whole}.first(length), nullptr, nullptr, nullptr, &palette), 0)
            << length;
    }
}

TEST_F(DibHeader, WithoutAMemoryForItsPaletteIsRefused)
{
    const Bytes dib = Dib(40, 10, 10, 8, 256, 1024);
    uint8_t* palette = nullptr;
    KrnFailAllocations(1, 1);
    EXPECT_EQ(GetDibInfo(dib, nullptr, nullptr, nullptr, &palette), 0);
    KrnFailAllocations(0, 0);
    EXPECT_EQ(palette, nullptr);
}

TEST_F(DibHeader, ImpliesAColourTableWhenItCountsNone)
{
    const Bytes four = Dib(40, 10, 10, 1, 0, 8);
    uint8_t* palette = CopyImpliedPalette(four);
    ASSERT_NE(palette, nullptr);
    EXPECT_EQ(std::memcmp(palette, four.data() + 40, 8), 0);
    KrnFree(palette, 0, "test");

    const Bytes triples = Dib(12, 10, 10, 4, 0, 48);
    palette = CopyImpliedPalette(triples);
    ASSERT_NE(palette, nullptr);
    for (size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(std::memcmp(palette + i * 4, triples.data() + 12 + i * 3, 3), 0) << i;
        EXPECT_EQ(palette[i * 4 + 3], 0);
    }
    KrnFree(palette, 0, "test");

    EXPECT_EQ(CopyImpliedPalette(Dib(40, 10, 10, 8, 0, 1023)), nullptr);   // not all there
    EXPECT_EQ(CopyImpliedPalette(Dib(40, 10, 10, 24, 0, 4000)), nullptr);  // no table at this depth
}

class Bands : public LibraryTest {
protected:
    void SetUp() override
    {
        ASSERT_EQ(KrnCreateBitmap(&bitmap_, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 5, 4, 8, KRN_COLOR_ORDER_BGR,
                                  nullptr, KRN_VIEW_BOTTOM_LEFT, nullptr, 0),
                  KRN_SUCCESS);
        ASSERT_EQ(KrnAccessBitmap(&bitmap_), KRN_SUCCESS);
    }
    void TearDown() override
    {
        KrnFreeBitmap(&bitmap_);
        LibraryTest::TearDown();
    }

    BitmapHandle bitmap_{};
};

TEST_F(Bands, LandInsideTheImageOrNotAtAll)
{
    constexpr int32_t header = 1064, image = 32;
    struct Row {
        const char* fault;
        int32_t offset, length;
        bool placed;
    };
    constexpr Row rows[] = {
        {"whole image", header, image, true},
        {"last byte", header + image - 1, 1, true},
        {"empty at the end", header + image, 0, true},
        {"ends one byte past the image", header + image - 1, 2, false},
        {"begins past the image", header + image + 1, 0, false},
        {"begins in the header", header - 1, 1, false},
        {"negative length", header, -1, false},
        {"offset at the end of the numbers", INT32_MAX, 1, false},
        {"offset before all", INT32_MIN, 1, false},
        {"length at the end of the numbers", header, INT32_MAX, false},
    };
    const Bytes band(image, 0xAB);
    for (const Row& row : rows) {
        std::memset(bitmap_.image, 0, image);
        EXPECT_EQ(CopyBandToBitmap(band.data(), &bitmap_, row.length, row.offset, header), row.placed)
            << row.fault;
        const auto* pixels = static_cast<const uint8_t*>(bitmap_.image);
        EXPECT_EQ(std::count(pixels, pixels + image, 0xAB), row.placed ? row.length : 0) << row.fault;
    }
}

TEST_F(Bands, AreHandedOverAsACopyOfTheRecord)
{
    struct Seen {
        const BitmapHandle* source;
        int calls = 0;
    } seen{&bitmap_};
    const auto callback = [](WiaSession*, BitmapHandle* copy, const WCHAR* name, int32_t percent,
                             int32_t state, void* data) -> int32_t {
        auto* heard = static_cast<Seen*>(data);
        ++heard->calls;
        EXPECT_NE(copy, heard->source);
        EXPECT_EQ(std::memcmp(copy, heard->source, KRN_BITMAP_SIZE), 0);
        EXPECT_EQ(name, nullptr);
        EXPECT_EQ(percent, 100);
        EXPECT_EQ(state, 2);
        return -7;
    };
    EXPECT_EQ(NotifyBitmapCopy(nullptr, &bitmap_, 2, callback, &seen), -7);
    KrnFailAllocations(1, 1);
    EXPECT_EQ(NotifyBitmapCopy(nullptr, &bitmap_, 2, callback, &seen), 1);
    KrnFailAllocations(0, 0);
    EXPECT_EQ(seen.calls, 1);
    EXPECT_TRUE(HasImage(&bitmap_));
}

}  // namespace
}  // namespace vorn::test
