#include <tiffio.h>

#include <cstring>
#include <map>
#include <set>

#include "Pictures.h"

namespace vorn::test {
namespace {

constexpr uint32_t kSize = 48, kTile = 32, kStrip = 10;  // the outer tiles reach past the picture
constexpr uint16_t kGrey = PHOTOMETRIC_MINISBLACK, kRgb = PHOTOMETRIC_RGB;

/** A file as others write it: a square of Sample(). */
struct Variant {
    const char* name;
    uint16_t bits, samples, photometric, compression;
    bool tiled, planes;
    uint32_t loadedBits;  // 0: refused
};

uint8_t Sample(uint32_t x, uint32_t y, uint32_t sample)
{
    return static_cast<uint8_t>(x * 3 + y * 7 + sample * 50);
}

/** Eight pixels of 1 bit, the same all along a row. */
uint8_t Eight(uint32_t y)
{
    return static_cast<uint8_t>(y * 5);
}

class Tiff : public FilesTest {
protected:
    static void WriteVariant(const WString& name, const Variant& variant, const char* mode = "w");
    static int32_t CountPages(const WString& name, FilFileInfo& info, uint32_t page = 1);
};

void Tiff::WriteVariant(const WString& name, const Variant& variant, const char* mode)
{
#ifdef _WIN32
    TIFF* const tiff = TIFFOpenW(name.c_str(), mode);
#else
    TIFF* const tiff = TIFFOpen(std::filesystem::path{name}.c_str(), mode);
#endif
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kSize);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kSize);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, variant.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, variant.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, variant.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, variant.compression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, variant.planes ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 118.11);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 59.055);
    if (variant.tiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kStrip);
    }
    const auto write = variant.tiled ? &TIFFWriteEncodedTile : &TIFFWriteEncodedStrip;
    const uint32_t across = variant.tiled ? kTile : kSize, down = variant.tiled ? kTile : kStrip;
    const uint32_t samples = variant.planes ? 1 : variant.samples, planes = variant.samples / samples;
    const uint32_t rowBytes = across * samples * variant.bits / 8;
    uint32_t index = 0;
    for (uint32_t plane = 0; plane < planes; ++plane)
        for (uint32_t top = 0; top < kSize; top += down)
            for (uint32_t left = 0; left < kSize; left += across) {
                std::vector<uint8_t> block(size_t{rowBytes} *
                                           (variant.tiled ? down : std::min(down, kSize - top)));
                for (uint32_t i = 0; i < block.size(); ++i) {
                    const uint32_t y = top + i / rowBytes, value = i % rowBytes * 8 / variant.bits;
                    block[i] = variant.bits == 1 ? Eight(y)
                                                 : Sample(left + value / samples, y, plane + value % samples);
                }
                write(tiff, index++, block.data(), static_cast<tmsize_t>(block.size()));
            }
    TIFFClose(tiff);
}

int32_t Tiff::CountPages(const WString& name, FilFileInfo& info, uint32_t page)
{
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    return FilInfo(name.c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, &options);
}

TEST_F(Tiff, VariantsThatOthersWriteAreRead)
{
    const Variant variants[] = {
        {"packed bits", 8, 1, kGrey, COMPRESSION_PACKBITS, false, false, 8},
        {"LZW", 8, 3, kRgb, COMPRESSION_LZW, false, false, 24},
        {"deflate", 8, 3, kRgb, COMPRESSION_ADOBE_DEFLATE, false, false, 24},
        {"fax group 4", 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4, false, false, 1},
        {"tiles", 8, 3, kRgb, COMPRESSION_NONE, true, false, 24},
        {"colours in planes", 8, 3, kRgb, COMPRESSION_NONE, false, true, 24},
        {"16 bits a sample", 16, 3, kRgb, COMPRESSION_NONE, false, false, 24},
        {"16-bit grey", 16, 1, kGrey, COMPRESSION_LZW, false, false, 24},
        {"16-bit grey in tiles past the edge", 16, 1, kGrey, COMPRESSION_LZW, true, false, 0},
        {"CMYK", 8, 4, PHOTOMETRIC_SEPARATED, COMPRESSION_NONE, false, false, 24},
        {"two samples of no known meaning", 8, 2, PHOTOMETRIC_LOGLUV, COMPRESSION_NONE, false, false, 0},
    };
    for (const Variant& variant : variants) {
        SCOPED_TRACE(variant.name);
        const WString name = Name("variant.tif");
        WriteVariant(name, variant);
        Picture picture;
        if (variant.loadedBits == 0) {
            EXPECT_EQ(Load(name, picture), FIL_ERR_UNSUPPORTED);
            continue;
        }
        ASSERT_EQ(Load(name, picture), FIL_SUCCESS);
        EXPECT_EQ(picture.record.bitsPerPixel, variant.loadedBits);
        EXPECT_TRUE(picture.record.xDpi == 300 && picture.record.yDpi == 150) << "centimetres";
        if (variant.photometric == PHOTOMETRIC_SEPARATED)
            continue;
        for (uint32_t y = 0; y < kSize; ++y)
            for (uint32_t x = 0; x < kSize; ++x) {
                const auto color = picture.ColorAt(x, y);
                if (variant.bits == 1) {
                    const bool black = Eight(y) >> (7 - x % 8) & 1;
                    ASSERT_EQ(color[0], black ? 0 : 255) << x << ", " << y;
                } else {
                    const uint32_t blue = variant.samples == 3 ? 2 : 0;
                    ASSERT_EQ(color[0], Sample(x, y, blue)) << x << ", " << y;
                    ASSERT_EQ(color[2], Sample(x, y, 0)) << x << ", " << y;
                }
            }
    }
}

/** Puts a slope in place of the noise, as what JPEG is made for; 8 bits a sample. */
void Smooth(Picture& picture)
{
    const BitmapHandle& record = picture.record;
    const uint32_t samples = record.bitsPerPixel / 8;
    for (uint32_t y = 0; y < record.height; ++y)
        for (uint32_t i = 0; i < record.width * samples; ++i)
            static_cast<uint8_t*>(record.image)[size_t{y} * record.rowBytes + i] =
                static_cast<uint8_t>(i / samples / 8 + y / 4 + i % samples * 20);
}

void ExpectSimilar(const Picture& left, const Picture& right)
{
    ASSERT_EQ(left.record.width, right.record.width);
    for (uint32_t y = 0; y < left.record.height; y += 5)
        for (uint32_t x = 0; x < left.record.width; x += 3)
            for (int color = 0; color < 3; ++color)
                ASSERT_NEAR(left.ColorAt(x, y)[color], right.ColorAt(x, y)[color], 6) << x << ", " << y;
}

TEST_F(Tiff, EveryCompressionKeepsThePictureOfTheDepthsThatItTakes)
{
    const std::map<int32_t, std::set<uint32_t>> taken{{FIL_COMPRESSION_NONE, {1, 4, 8, 24}},
                                                      {FIL_COMPRESSION_DEFLATE, {1, 4, 8, 24}},
                                                      {FIL_COMPRESSION_LZW, {1, 4, 8, 24}},
                                                      {FIL_COMPRESSION_JPEG, {8, 24}},
                                                      {FIL_COMPRESSION_GROUP4, {1}}};
    const FilSaveOptions best{FIL_SAVE_OPTIONS_SIZE, 100, {}};
    for (const auto& [compression, depths] : taken)
        for (const uint32_t bits : {1u, 4u, 8u, 24u}) {
            SCOPED_TRACE(testing::Message() << "compression " << compression << ", " << bits << " bits");
            const WString name = Name("page.tif");
            Picture first{1001, 211, bits}, second{45, 7, bits, KRN_VIEW_TOP_LEFT, 2};
            if (compression == FIL_COMPRESSION_JPEG && bits >= 8)
                for (Picture* picture : {&first, &second})
                    Smooth(*picture);
            for (const Picture* picture : {&first, &second}) {
                EXPECT_EQ(FilSave(name.c_str(), &picture->record, FIL_FORMAT_TIFF, 0, FIL_SAVE_ADD_PAGE,
                                  compression, &best, nullptr, nullptr),
                          depths.count(bits) ? FIL_SUCCESS : FIL_ERR_UNSUPPORTED);
            }
            for (uint32_t page = 1; depths.count(bits) && page <= 2; ++page) {
                const Picture& saved = page == 1 ? first : second;
                Picture loaded;
                ASSERT_EQ(Load(name, loaded, page), FIL_SUCCESS);
                EXPECT_EQ(loaded.record.bitsPerPixel, bits);
                if (compression == FIL_COMPRESSION_JPEG)
                    ExpectSimilar(loaded, saved);
                else
                    EXPECT_EQ(Difference(loaded, saved), "");
            }
            std::filesystem::remove(name);
        }
}

TEST_F(Tiff, PagesAreAppendedCountedAndFound)
{
    const WString name = Name("pages.tif");
    const uint32_t depths[] = {1, 24, 8, 4};
    for (uint32_t i = 0; i < 12; ++i) {
        const Picture page{20 + i, 10, depths[i % 4], KRN_VIEW_BOTTOM_LEFT, i};
        ASSERT_EQ(Save(name, page, FIL_FORMAT_TIFF), FIL_SUCCESS);
    }
    for (uint32_t i = 0; i < 12; ++i) {
        const Picture expected{20 + i, 10, depths[i % 4], KRN_VIEW_BOTTOM_LEFT, i};
        Picture page;
        ASSERT_EQ(Load(name, page, i + 1), FIL_SUCCESS);
        EXPECT_EQ(Difference(expected, page), "");
    }
    FilFileInfo info;
    ASSERT_EQ(CountPages(name, info, 12), FIL_SUCCESS);
    EXPECT_EQ(info.pageCount, 12u);
    EXPECT_EQ(info.width, 31u);
    Picture none;
    EXPECT_EQ(Load(name, none, 13), FIL_ERR_NO_SUCH_PAGE);
    EXPECT_EQ(Load(name, none, UINT32_MAX), FIL_ERR_NO_SUCH_PAGE);
    EXPECT_EQ(Load(name, none, 0), FIL_ERR_INVALID_ARGUMENT);
}

TEST_F(Tiff, PagesAreAppendedToFilesOfOthers)
{
    for (const char* mode : {"wb", "wl", "wb8", "wl8"}) {  // both byte orders, both offset sizes
        const WString name = Name("other.tif");
        SCOPED_TRACE(mode);
        WriteVariant(name, {"grey", 8, 1, kGrey, COMPRESSION_NONE, false, false, 8}, mode);
        const Picture second{30, 30, 24}, third{10, 10, 8};
        ASSERT_EQ(Save(name, second, FIL_FORMAT_TIFF), FIL_SUCCESS);
        ASSERT_EQ(Save(name, third, FIL_FORMAT_TIFF), FIL_SUCCESS);
        Picture page;
        ASSERT_EQ(Load(name, page, 1), FIL_SUCCESS);
        EXPECT_EQ(page.ValueAt(7, 0), Sample(7, 0, 0));
        ASSERT_EQ(Load(name, page, 2), FIL_SUCCESS);
        EXPECT_EQ(Difference(second, page), "");
        ASSERT_EQ(Load(name, page, 3), FIL_SUCCESS);
        EXPECT_EQ(Difference(third, page), "");
    }
}

TEST_F(Tiff, ADamagedChainIsAnErrorAndIsNotAppendedTo)
{
    const WString name = Name("chain.tif");
    const Picture page{8, 8, 8};
    ASSERT_EQ(Save(name, page, FIL_FORMAT_TIFF), FIL_SUCCESS);
    const size_t onePage = BytesOf(name).size();
    ASSERT_EQ(Save(name, page, FIL_FORMAT_TIFF), FIL_SUCCESS);
    const std::string sound = BytesOf(name);
    const auto offsetAt = [&sound](size_t at) {
        uint32_t value = 0;
        std::memcpy(&value, sound.data() + at, 4);
        return value;
    };
    const auto nextOf = [&sound](uint32_t directory) {
        return directory + 2 + 12 * static_cast<size_t>(sound[directory]);
    };
    const uint32_t first = offsetAt(4);
    const uint32_t second = offsetAt(nextOf(first));
    ASSERT_GT(second, onePage);
    for (const uint32_t leadsTo : {first, second, static_cast<uint32_t>(sound.size()), UINT32_MAX}) {
        std::string damaged = sound;
        std::memcpy(damaged.data() + nextOf(second), &leadsTo, 4);
        WriteBytes(name, damaged);
        FilFileInfo info;
        EXPECT_EQ(CountPages(name, info), FIL_ERR_CORRUPT);
        EXPECT_EQ(Save(name, page, FIL_FORMAT_TIFF), FIL_ERR_CORRUPT);
        EXPECT_EQ(BytesOf(name), damaged);
        Picture readable;
        EXPECT_EQ(Load(name, readable, 2), FIL_SUCCESS) << "a page before the damage";
    }
}

TEST_F(Tiff, DamageAnywhereNeitherCrashesNorLeaks)
{
    const WString name = Name("damage.tif");
    for (const uint32_t bits : {1u, 24u}) {
        ASSERT_EQ(Save(name, Picture{9, 5, bits}, FIL_FORMAT_TIFF), FIL_SUCCESS);
        const std::string sound = BytesOf(name);
        for (size_t at = 0; at < sound.size(); ++at) {
            Picture cut;
            ASSERT_LT(LoadBytes(std::string_view{sound}.substr(0, at), cut), 0) << at;
            for (const char value : {'\x00', '\x7F', '\xFF'}) {
                std::string damaged = sound;
                damaged[at] = value;
                Picture picture;
                LoadBytes(damaged, picture);
            }
        }
        std::filesystem::remove(name);
    }
}

}  // namespace
}  // namespace vorn::test
