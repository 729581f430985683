#include <cstring>

#include "Pictures.h"

namespace vorn::test {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Noise(size_t count)
{
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(i * 37 + 11);
    return bytes;
}

/** Builds BMP files, sound ones and others; as it is, a sound one of 8 bits. */
struct Bmp {
    uint32_t headerBytes = 40;
    int32_t width = 4, height = 2;
    uint16_t bits = 8;
    uint32_t compression = 0, colorsUsed = 0;
    Bytes behindHeader = Noise(1024);  // masks, colour table
    Bytes rows = Noise(8);
    int32_t moveRows = 0;              // added to bfOffBits
    std::vector<uint32_t> masks = {};  // written at 54: behind the header of 40 bytes, in a longer one

    std::string Build() const
    {
        std::string file(14 + headerBytes, '\0');
        const auto put = [&file](size_t at, uint32_t value, size_t bytes) {
            for (size_t i = 0; i < bytes; ++i)
                file[at + i] = static_cast<char>(value >> 8 * i);
        };
        const bool core = headerBytes == 12;
        put(0, 0x4D42, 2);
        put(10, static_cast<uint32_t>(file.size() + behindHeader.size()) + static_cast<uint32_t>(moveRows),
            4);
        put(14, headerBytes, 4);
        put(18, static_cast<uint32_t>(width), core ? 2 : 4);
        put(core ? 20 : 22, static_cast<uint32_t>(height), core ? 2 : 4);
        put(core ? 24 : 28, bits, 2);
        if (!core) {
            put(30, compression, 4);
            put(38, 11811, 4);
            put(42, 5906, 4);
            put(46, colorsUsed, 4);
        }
        file.append(behindHeader.begin(), behindHeader.end());
        for (size_t i = 0; i < masks.size(); ++i)
            put(54 + i * 4, masks[i], 4);
        return file.append(rows.begin(), rows.end());
    }
};

Bmp Plain(uint16_t bits)
{
    return {.bits = bits,
            .behindHeader = Noise(bits <= 8 ? size_t{4} << bits : 0),
            .rows = Noise(KrnRowBytes(4, bits) * 2)};
}

Bmp Rle(uint32_t compression, const Bytes& codes)
{
    Bmp bmp = Plain(compression == 1 ? 8 : 4);
    bmp.compression = compression;
    bmp.rows = codes;
    return bmp;
}

TEST(Bmp, EveryHeaderSizeIsReadWithRowsFromEitherEnd)
{
    for (const uint32_t headerBytes : {12u, 40u, 52u, 56u, 64u, 108u, 124u})
        for (const uint16_t bits : {uint16_t{8}, uint16_t{24}}) {
            SCOPED_TRACE(headerBytes);
            const size_t entry = headerBytes == 12 ? 3 : 4;
            Bmp bmp = Plain(bits);
            bmp.headerBytes = headerBytes;
            bmp.height = headerBytes > 52 ? -2 : 2;
            bmp.behindHeader = Noise(bits == 8 ? 256 * entry : 0);
            Picture picture;
            ASSERT_EQ(LoadBytes(bmp.Build(), picture), FIL_SUCCESS);
            EXPECT_EQ(picture.record.height, 2u);
            EXPECT_EQ(picture.record.viewPerspective,
                      bmp.height < 0 ? KRN_VIEW_TOP_LEFT : KRN_VIEW_BOTTOM_LEFT);
            EXPECT_EQ(std::memcmp(picture.record.image, bmp.rows.data(), bmp.rows.size()), 0);
            if (bits == 8) {
                EXPECT_EQ(std::memcmp(picture.record.palette + 4, bmp.behindHeader.data() + entry, 3), 0);
            }
            EXPECT_EQ(double{picture.record.xDpi}, headerBytes == 12 ? 0 : 300);
            EXPECT_EQ(double{picture.record.yDpi}, headerBytes == 12 ? 0 : 150);
        }
}

struct HostileCase {
    const char* fault;
    int32_t expected;
    Bmp bmp;
};
const HostileCase kHostile[] = {
    {"colour count 257", FIL_ERR_CORRUPT, {.colorsUsed = 257}},
    {"colour count 2^32 - 1", FIL_ERR_CORRUPT, {.colorsUsed = UINT32_MAX}},
    {"colour count past the table", FIL_ERR_CORRUPT, {.colorsUsed = 200, .behindHeader = Noise(64)}},
    {"no room for any colour", FIL_ERR_CORRUPT, {.behindHeader = {}}},
    {"rows inside of the header", FIL_ERR_CORRUPT, {.moveRows = -1050}},
    {"rows inside of the file header", FIL_ERR_CORRUPT, {.moveRows = -1078}},
    {"rows past the end", FIL_ERR_CORRUPT, {.moveRows = 1000}},
    {"rows end past the end", FIL_ERR_CORRUPT, {.moveRows = 1}},
    {"width 0", FIL_ERR_CORRUPT, {.width = 0}},
    {"lowest width", FIL_ERR_CORRUPT, {.width = INT32_MIN}},
    {"height 0", FIL_ERR_CORRUPT, {.height = 0}},
    {"lowest height has no positive counterpart", FIL_ERR_TOO_LARGE, {.height = INT32_MIN}},
    {"width 2^30", FIL_ERR_TOO_LARGE, {.width = 1 << 30}},
    {"size that wraps 32 bits", FIL_ERR_TOO_LARGE, {.width = 1 << 16, .height = 1 << 16}},
    {"more pixels than bytes", FIL_ERR_CORRUPT, {.width = 20000, .height = 20000}},
    {"depth 0", FIL_ERR_CORRUPT, {.bits = 0}},
    {"depth 0 with an embedded file", FIL_ERR_UNSUPPORTED, {.bits = 0, .compression = 5}},
    {"depth 2", FIL_ERR_UNSUPPORTED, {.bits = 2}},
    {"depth 3", FIL_ERR_CORRUPT, {.bits = 3}},
    {"depth 64", FIL_ERR_CORRUPT, {.bits = 64}},
    {"depth 32 in the oldest header", FIL_ERR_CORRUPT, {.headerBytes = 12, .bits = 32}},
    {"unknown compression", FIL_ERR_UNSUPPORTED, {.compression = 11}},
    {"4-bit runs in 8 bits", FIL_ERR_CORRUPT, {.compression = 2}},
    {"runs from the top down", FIL_ERR_CORRUPT, {.height = -2, .compression = 1}},
    {"channel masks in 8 bits", FIL_ERR_CORRUPT, {.compression = 3}},
    {"header of 41 bytes", FIL_ERR_UNSUPPORTED, {.headerBytes = 41}},
};

TEST(Bmp, HostileHeadersAreRefused)
{
    for (const HostileCase& row : kHostile) {
        Picture picture;
        EXPECT_EQ(LoadBytes(row.bmp.Build(), picture), row.expected) << row.fault;
        EXPECT_EQ(picture.record.flags, 0u) << row.fault;
        EXPECT_TRUE(picture.record.palette == nullptr) << row.fault;
    }
}

TEST(Bmp, IndexesPastTheTableAreBlack)
{
    const Bmp bmp{.colorsUsed = 2, .behindHeader = Bytes(8, 0xEE), .rows = {0, 1, 2, 255, 1, 1, 1, 1}};
    Picture picture;
    ASSERT_EQ(LoadBytes(bmp.Build(), picture), FIL_SUCCESS);
    for (uint32_t x = 0; x < 4; ++x)
        EXPECT_EQ(picture.ColorAt(x, 1)[0], x < 2 ? 0xEE : 0) << "index " << int{bmp.rows[x]};
}

struct RleCase {
    const char* fault;
    uint32_t compression;
    Bytes codes;
    std::string pixels;  // two rows of four from the bottom up; empty: refused
};
const RleCase kRle[] = {
    {"runs and the end of a row", 1, {3, 7, 1, 8, 0, 0, 4, 9, 0, 1}, "77789999"},
    {"a literal of odd length is padded", 1, {0, 3, 1, 2, 3, 0xAA, 1, 4, 0, 0, 0, 1}, "12340000"},
    {"a move leaves zeros", 1, {1, 5, 0, 2, 1, 1, 2, 6, 0, 1}, "50000066"},
    {"an early end leaves zeros", 1, {2, 3, 0, 1}, "33000000"},
    {"4-bit runs alternate", 2, {4, 0x12, 0, 0, 3, 0x34, 0, 1}, "12123430"},
    {"a 4-bit literal is padded to words", 2, {0, 3, 0x56, 0x70, 1, 0x80, 0, 1}, "56780000"},
    {"a 4-bit literal of a whole word is padded again", 2, {0, 4, 0x12, 0x34, 0, 1}, "12340000"},
    {"a run past the row's end", 1, {5, 7, 0, 1}, ""},
    {"a literal past the row's end", 1, {0, 5, 1, 2, 3, 4, 5, 0, 0, 1}, ""},
    {"pixels above the last row", 1, {0, 0, 0, 0, 1, 1, 0, 1}, ""},
    {"a move out of the picture", 1, {0, 2, 0, 200, 0, 1}, ""},
    {"a move beside the picture", 1, {0, 2, 5, 0, 0, 1}, ""},
    {"no end", 1, {4, 7, 0, 0, 4, 7}, ""},
    {"no codes at all", 1, {}, ""},
};

TEST(Bmp, RunLengthsAreDecodedWithinThePicture)
{
    for (const RleCase& row : kRle) {
        Picture picture;
        ASSERT_EQ(LoadBytes(Rle(row.compression, row.codes).Build(), picture),
                  row.pixels.empty() ? FIL_ERR_CORRUPT : FIL_SUCCESS)
            << row.fault;
        std::string pixels;
        for (uint32_t i = 0; i < row.pixels.size(); ++i)
            pixels += static_cast<char>('0' + picture.ValueAt(i % 4, 1 - i / 4));
        EXPECT_EQ(pixels, row.pixels) << row.fault;
    }
}

struct MaskCase {
    const char* fault;
    uint16_t bits;
    uint32_t headerBytes, compression;
    std::vector<uint32_t> masks;
    Bytes pixel;
    Bytes expected;  // blue, green, red and perhaps a fourth; empty: refused
};
const MaskCase kMasks[] = {
    {"16 bits are 5-5-5", 16, 40, 0, {}, {0x1F, 0x7C}, {255, 0, 255}},
    {"5-6-5", 16, 40, 3, {0xF800, 0x07E0, 0x001F}, {0xE0, 0x07}, {0, 255, 0}},
    {"half of 5 bits is scaled", 16, 40, 3, {0xF800, 0x07E0, 0x001F}, {0x10, 0x00}, {132, 0, 0}},
    {"alpha is not kept", 16, 40, 6, {0x0F00, 0x00F0, 0x000F, 0xF000}, {0x0F, 0xF0}, {255, 0, 0}},
    {"usual order in 32 bits", 32, 40, 3, {0xFF0000, 0xFF00, 0xFF}, {1, 2, 3, 4}, {1, 2, 3, 4}},
    {"other order in 32 bits", 32, 40, 3, {0xFF, 0xFF00, 0xFF0000}, {1, 2, 3, 4}, {3, 2, 1, 0}},
    {"alpha in front", 32, 56, 3, {0xFF00, 0xFF0000, 0xFF000000, 0xFF}, {4, 3, 2, 1}, {1, 2, 3, 4}},
    {"ten bits a channel", 32, 52, 3, {0x3FF00000, 0xFFC00, 0x3FF}, {0xFF, 0x03, 0, 0}, {255, 0, 0, 0}},
    {"whole pixel one channel", 32, 40, 3, {0xFFFFFFFF, 0, 0}, {1, 2, 3, 4}, {}},
    {"overlap", 16, 40, 3, {0xF800, 0x0FE0, 0x001F}, {0, 0}, {}},
    {"gap", 16, 40, 3, {0xA800, 0x07E0, 0x001F}, {0, 0}, {}},
    {"outside of the pixel", 16, 40, 3, {0x1F0000, 0x07E0, 0x001F}, {0, 0}, {}},
};

TEST(Bmp, ChannelMasksAreDecoded)
{
    for (const MaskCase& row : kMasks) {
        SCOPED_TRACE(row.fault);
        Bmp bmp{.headerBytes = row.headerBytes,
                .width = 1,
                .height = 1,
                .bits = row.bits,
                .compression = row.compression,
                .behindHeader = Bytes(row.headerBytes == 40 ? row.masks.size() * 4 : 0),
                .rows = row.pixel,
                .masks = row.masks};
        bmp.rows.resize(4);
        Picture picture;
        ASSERT_EQ(LoadBytes(bmp.Build(), picture), row.expected.empty() ? FIL_ERR_CORRUPT : FIL_SUCCESS);
        if (row.expected.empty())
            continue;
        EXPECT_EQ(picture.record.bitsPerPixel, row.expected.size() * 8);
        EXPECT_EQ(std::memcmp(picture.record.image, row.expected.data(), row.expected.size()), 0);
    }
}

TEST(Bmp, EveryTruncationIsAnError)
{
    Bmp masks = Plain(16);
    masks.compression = 3;
    masks.behindHeader = Bytes(12);
    masks.masks = kMasks[1].masks;
    for (const Bmp& bmp : {Plain(1), Plain(4), Plain(8), Plain(24), Plain(32), masks, Rle(1, kRle[0].codes),
                           Rle(2, kRle[5].codes)}) {
        const std::string whole = bmp.Build();
        Picture sound;
        ASSERT_EQ(LoadBytes(whole, sound), FIL_SUCCESS);
        for (size_t size = 0; size < whole.size(); ++size) {
            Picture picture;
            ASSERT_LT(LoadBytes(std::string_view{whole}.substr(0, size), picture), 0) << size;
            ASSERT_EQ(picture.record.flags, 0u) << size;
        }
    }
}

TEST(Bmp, AHeaderWithoutRowsTellsItsGeometry)
{
    for (const uint16_t bits : {uint16_t{1}, uint16_t{8}, uint16_t{16}, uint16_t{24}}) {
        Bmp bmp = Plain(bits);
        bmp.height = -2;
        bmp.rows.clear();
        Picture picture;
        EXPECT_EQ(LoadBytes(bmp.Build(), picture), FIL_ERR_CORRUPT);
        const BitmapHandle& record = picture.record;
        EXPECT_EQ(record.flags, 0u);
        EXPECT_EQ(record.width, 4u);
        EXPECT_EQ(record.height, 2u);
        EXPECT_EQ(record.bitsPerPixel, bits) << "the rows that follow have the header's depth";
        EXPECT_EQ(record.viewPerspective, KRN_VIEW_TOP_LEFT);
        EXPECT_EQ(double{record.xDpi}, 300);
        if (bits <= 8) {
            EXPECT_EQ(std::memcmp(record.palette + 4, bmp.behindHeader.data() + 4, 3), 0);
        }
    }
    Picture picture;
    EXPECT_EQ(LoadBytes(Rle(1, {}).Build(), picture), FIL_ERR_CORRUPT);
    EXPECT_EQ(picture.record.width, 0u) << "the codes that follow are no rows";
}

}  // namespace
}  // namespace vorn::test
