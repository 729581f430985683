#include <cstring>

#include "Pictures.h"

namespace vorn::test {
namespace {

/** Builds BMP files, sound ones and others. */
struct Bmp {
    uint32_t headerBytes = 40;
    int32_t width = 4, height = 2;
    uint16_t bits = 24;
    uint32_t compression = 0;
    uint32_t colorsUsed = 0;
    Bytes behindHeader;  // masks, colour table
    Bytes rows;
    int32_t moveRows = 0;  // added to bfOffBits

    Bytes Build() const
    {
        Bytes file(14 + headerBytes);
        const auto put = [&file](size_t at, uint32_t value, size_t bytes) {
            for (size_t i = 0; i < bytes; ++i)
                file[at + i] = static_cast<uint8_t>(value >> 8 * i);
        };
        const bool core = headerBytes == 12;
        file[0] = 'B';
        file[1] = 'M';
        put(10, static_cast<uint32_t>(14 + headerBytes + behindHeader.size() + static_cast<size_t>(moveRows)),
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
        file.insert(file.end(), behindHeader.begin(), behindHeader.end());
        file.insert(file.end(), rows.begin(), rows.end());
        return file;
    }
};

Bytes Noise(size_t count)
{
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(i * 37 + 11);
    return bytes;
}

Bytes Masks(std::initializer_list<uint32_t> masks)
{
    Bytes bytes;
    for (const uint32_t mask : masks)
        for (int i = 0; i < 4; ++i)
            bytes.push_back(static_cast<uint8_t>(mask >> 8 * i));
    return bytes;
}

Bmp Plain(uint16_t bits)
{
    Bmp bmp;
    bmp.bits = bits;
    bmp.behindHeader = Noise(bits <= 8 ? size_t{4} << bits : 0);
    bmp.rows = Noise(KrnRowBytes(4, bits) * 2);
    return bmp;
}

Bmp Rle(uint32_t compression, Bytes codes)
{
    Bmp bmp = Plain(compression == 1 ? 8 : 4);
    bmp.compression = compression;
    bmp.rows = std::move(codes);
    return bmp;
}

TEST(Bmp, EveryHeaderSizeIsRead)
{
    for (const uint32_t headerBytes : {12u, 40u, 52u, 56u, 64u, 108u, 124u})
        for (const uint16_t bits : {uint16_t{8}, uint16_t{24}}) {
            Bmp bmp = Plain(bits);
            bmp.headerBytes = headerBytes;
            if (bits == 8 && headerBytes == 12)
                bmp.behindHeader = Noise(256 * 3);
            Picture picture;
            ASSERT_EQ(LoadBytes(bmp.Build(), picture), FIL_SUCCESS) << headerBytes;
            EXPECT_EQ(std::memcmp(picture.record.image, bmp.rows.data(), bmp.rows.size()), 0) << headerBytes;
            if (bits == 8) {
                const size_t entry = headerBytes == 12 ? 3 : 4;
                EXPECT_EQ(std::memcmp(picture.record.palette + 4, bmp.behindHeader.data() + entry, 3), 0)
                    << headerBytes;
            }
            EXPECT_TRUE(picture.record.xDpi == (headerBytes == 12 ? 0 : 300)) << headerBytes;
            EXPECT_TRUE(picture.record.yDpi == (headerBytes == 12 ? 0 : 150)) << headerBytes;
        }
}

TEST(Bmp, RowsFromTheTopDownKeepTheirOrder)
{
    Bmp bmp = Plain(24);
    bmp.height = -2;
    Picture picture;
    ASSERT_EQ(LoadBytes(bmp.Build(), picture), FIL_SUCCESS);
    EXPECT_EQ(picture.record.viewPerspective, KRN_VIEW_TOP_LEFT);
    EXPECT_EQ(picture.record.height, 2u);
    EXPECT_EQ(std::memcmp(picture.record.image, bmp.rows.data(), bmp.rows.size()), 0);
}

struct HostileCase {
    const char* fault;
    int32_t expected;
    void (*spoil)(Bmp&);
};
const HostileCase kHostile[] = {
    {"colour count 257", FIL_ERR_CORRUPT, [](Bmp& b) { b.colorsUsed = 257; }},
    {"colour count 2^32 - 1", FIL_ERR_CORRUPT, [](Bmp& b) { b.colorsUsed = UINT32_MAX; }},
    {"colour count past the table", FIL_ERR_CORRUPT,
     [](Bmp& b) {
         b.colorsUsed = 200;
         b.behindHeader.resize(64);
     }},
    {"no room for any colour", FIL_ERR_CORRUPT, [](Bmp& b) { b.behindHeader.clear(); }},
    {"rows inside of the header", FIL_ERR_CORRUPT, [](Bmp& b) { b.moveRows = -1050; }},
    {"rows inside of the file header", FIL_ERR_CORRUPT, [](Bmp& b) { b.moveRows = -1078; }},
    {"rows past the end", FIL_ERR_CORRUPT, [](Bmp& b) { b.moveRows = 1000; }},
    {"rows end past the end", FIL_ERR_CORRUPT, [](Bmp& b) { b.moveRows = 1; }},
    {"width 0", FIL_ERR_CORRUPT, [](Bmp& b) { b.width = 0; }},
    {"negative width", FIL_ERR_CORRUPT, [](Bmp& b) { b.width = -4; }},
    {"lowest width", FIL_ERR_CORRUPT, [](Bmp& b) { b.width = INT32_MIN; }},
    {"height 0", FIL_ERR_CORRUPT, [](Bmp& b) { b.height = 0; }},
    {"lowest height has no positive counterpart", FIL_ERR_TOO_LARGE, [](Bmp& b) { b.height = INT32_MIN; }},
    {"width 2^30", FIL_ERR_TOO_LARGE, [](Bmp& b) { b.width = 1 << 30; }},
    {"size that wraps 32 bits", FIL_ERR_TOO_LARGE, [](Bmp& b) { b.width = b.height = 1 << 16; }},
    {"more pixels than bytes", FIL_ERR_CORRUPT,
     [](Bmp& b) {
         b.width = 20000;
         b.height = 20000;
     }},
    {"depth 0", FIL_ERR_CORRUPT, [](Bmp& b) { b.bits = 0; }},
    {"depth 0 with an embedded file", FIL_ERR_UNSUPPORTED,
     [](Bmp& b) {
         b.bits = 0;
         b.compression = 5;
     }},
    {"depth 2", FIL_ERR_UNSUPPORTED, [](Bmp& b) { b.bits = 2; }},
    {"depth 3", FIL_ERR_CORRUPT, [](Bmp& b) { b.bits = 3; }},
    {"depth 64", FIL_ERR_CORRUPT, [](Bmp& b) { b.bits = 64; }},
    {"depth 32 in the oldest header", FIL_ERR_CORRUPT,
     [](Bmp& b) {
         b.bits = 32;
         b.headerBytes = 12;
     }},
    {"unknown compression", FIL_ERR_UNSUPPORTED, [](Bmp& b) { b.compression = 11; }},
    {"4-bit runs in 8 bits", FIL_ERR_CORRUPT, [](Bmp& b) { b.compression = 2; }},
    {"runs from the top down", FIL_ERR_CORRUPT,
     [](Bmp& b) {
         b.compression = 1;
         b.height = -2;
     }},
    {"channel masks in 8 bits", FIL_ERR_CORRUPT, [](Bmp& b) { b.compression = 3; }},
    {"header of 41 bytes", FIL_ERR_UNSUPPORTED, [](Bmp& b) { b.headerBytes = 41; }},
};

TEST(Bmp, HostileHeadersAreRefused)
{
    for (const HostileCase& row : kHostile) {
        Bmp bmp = Plain(8);
        row.spoil(bmp);
        Picture picture;
        EXPECT_EQ(LoadBytes(bmp.Build(), picture), row.expected) << row.fault;
        EXPECT_EQ(picture.record.flags, 0u) << row.fault;
        EXPECT_TRUE(picture.record.palette == nullptr) << row.fault;
    }
}

TEST(Bmp, IndexesPastTheTableAreBlack)
{
    Bmp bmp = Plain(8);
    bmp.colorsUsed = 2;
    bmp.behindHeader = Bytes(8, 0xEE);
    bmp.rows = {0, 1, 2, 255, 1, 1, 1, 1};
    Picture picture;
    ASSERT_EQ(LoadBytes(bmp.Build(), picture), FIL_SUCCESS);
    EXPECT_EQ(picture.ColorAt(1, 1), (std::array<uint8_t, 3>{0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(picture.ColorAt(2, 1), (std::array<uint8_t, 3>{}));
    EXPECT_EQ(picture.ColorAt(3, 1), (std::array<uint8_t, 3>{}));
}

struct RleCase {
    const char* fault;
    uint32_t compression;
    Bytes codes;
    std::string pixels;  // two rows of four from the bottom up; empty: refused
};
const RleCase kRle[] = {
    {"runs and the end of a row",
     1,
     {3, 7, 1, 8, 0, 0, 4, 9, 0, 1},
     "7778"
     "9999"},
    {"a literal of odd length is padded",
     1,
     {0, 3, 1, 2, 3, 0xAA, 1, 4, 0, 0, 0, 1},
     "1234"
     "0000"},
    {"a move leaves zeros",
     1,
     {1, 5, 0, 2, 1, 1, 2, 6, 0, 1},
     "5000"
     "0066"},
    {"an early end leaves zeros",
     1,
     {2, 3, 0, 1},
     "3300"
     "0000"},
    {"4-bit runs alternate",
     2,
     {4, 0x12, 0, 0, 3, 0x34, 0, 1},
     "1212"
     "3430"},
    {"a 4-bit literal is padded to words",
     2,
     {0, 3, 0x56, 0x70, 1, 0x80, 0, 1},
     "5678"
     "0000"},
    {"a 4-bit literal of one byte needs a padding byte",
     2,
     {0, 4, 0x12, 0x34, 0, 1},
     "1234"
     "0000"},
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
    Bytes masks, pixel;
    Bytes expected;  // blue, green, red and perhaps a fourth; empty: refused
};
const MaskCase kMasks[] = {
    {"16 bits are 5-5-5", 16, 40, 0, {}, {0x1F, 0x7C}, {255, 0, 255}},
    {"5-6-5", 16, 40, 3, Masks({0xF800, 0x07E0, 0x001F}), {0xE0, 0x07}, {0, 255, 0}},
    {"half of 5 bits is scaled", 16, 40, 3, Masks({0xF800, 0x07E0, 0x001F}), {0x10, 0x00}, {132, 0, 0}},
    {"4-4-4-4 with alpha keeps no alpha",
     16,
     40,
     6,
     Masks({0x0F00, 0x00F0, 0x000F, 0xF000}),
     {0x0F, 0xF0},
     {255, 0, 0}},
    {"usual order in 32 bits", 32, 40, 3, Masks({0xFF0000, 0xFF00, 0xFF}), {1, 2, 3, 4}, {1, 2, 3, 4}},
    {"other order in 32 bits", 32, 40, 3, Masks({0xFF, 0xFF00, 0xFF0000}), {1, 2, 3, 4}, {3, 2, 1, 0}},
    {"alpha in front", 32, 56, 3, Masks({0xFF00, 0xFF0000, 0xFF000000, 0xFF}), {4, 3, 2, 1}, {1, 2, 3, 4}},
    {"ten bits a channel",
     32,
     52,
     3,
     Masks({0x3FF00000, 0xFFC00, 0x3FF}),
     {0xFF, 0x03, 0, 0},
     {255, 0, 0, 0}},
    {"whole pixel one channel", 32, 40, 3, Masks({0xFFFFFFFF, 0, 0}), {1, 2, 3, 4}, {}},
    {"overlap", 16, 40, 3, Masks({0xF800, 0x0FE0, 0x001F}), {0, 0}, {}},
    {"gap", 16, 40, 3, Masks({0xA800, 0x07E0, 0x001F}), {0, 0}, {}},
    {"outside of the pixel", 16, 40, 3, Masks({0x1F0000, 0x07E0, 0x001F}), {0, 0}, {}},
};

TEST(Bmp, ChannelMasksAreDecoded)
{
    for (const MaskCase& row : kMasks) {
        Bmp bmp;
        bmp.width = bmp.height = 1;
        bmp.bits = row.bits;
        bmp.headerBytes = row.headerBytes;
        bmp.compression = row.compression;
        bmp.behindHeader = row.headerBytes == 40 ? row.masks : Bytes{};
        bmp.rows = Bytes(4);
        std::copy(row.pixel.begin(), row.pixel.end(), bmp.rows.begin());
        Bytes file = bmp.Build();
        if (row.headerBytes > 40)
            std::copy_n(row.masks.begin(), row.headerBytes - 40, file.begin() + 54);
        Picture picture;
        ASSERT_EQ(LoadBytes(file, picture), row.expected.empty() ? FIL_ERR_CORRUPT : FIL_SUCCESS)
            << row.fault;
        if (row.expected.empty())
            continue;
        EXPECT_EQ(picture.record.bitsPerPixel, row.expected.size() * 8) << row.fault;
        EXPECT_EQ(std::memcmp(picture.record.image, row.expected.data(), row.expected.size()), 0)
            << row.fault;
    }
}

TEST(Bmp, EveryTruncationIsAnError)
{
    Bmp masks = Plain(16);
    masks.compression = 3;
    masks.behindHeader = Masks({0xF800, 0x07E0, 0x001F});
    const Bmp files[] = {Plain(1),
                         Plain(4),
                         Plain(8),
                         Plain(24),
                         Plain(32),
                         masks,
                         Rle(1, kRle[0].codes),
                         Rle(2, kRle[5].codes)};
    for (const Bmp& bmp : files) {
        const Bytes whole = bmp.Build();
        Picture sound;
        ASSERT_EQ(LoadBytes(whole, sound), FIL_SUCCESS);
        for (size_t size = 0; size < whole.size(); ++size) {
            Picture picture;
            ASSERT_LT(LoadBytes({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)}, picture), 0)
                << size;
            ASSERT_EQ(picture.record.flags, 0u) << size;
            KrnFree(picture.record.palette, __LINE__, "BmpTest");
        }
    }
}

TEST(Bmp, AHeaderWithoutRowsTellsItsGeometry)
{
    for (const uint16_t bits : {uint16_t{1}, uint16_t{8}, uint16_t{16}, uint16_t{24}, uint16_t{32}}) {
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
        EXPECT_TRUE(record.xDpi == 300);
        BitmapHandle created{};
        EXPECT_EQ(KrnCreateBitmap(&created, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 4, 2, bits,
                                  KRN_COLOR_ORDER_BGR, record.palette, record.viewPerspective, nullptr, 0),
                  KRN_SUCCESS);
        if (bits <= 8) {
            EXPECT_EQ(std::memcmp(created.palette + 4, bmp.behindHeader.data() + 4, 3), 0);
        }
        KrnFreeBitmap(&created);
        KrnFree(record.palette, __LINE__, "BmpTest");
    }
    Picture picture;
    EXPECT_EQ(LoadBytes(Rle(1, {}).Build(), picture), FIL_ERR_CORRUPT);
    EXPECT_EQ(picture.record.width, 0u) << "the codes that follow are no rows";
}

}  // namespace
}  // namespace vorn::test
