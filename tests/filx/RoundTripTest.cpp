#include "Pictures.h"

namespace vorn::test {
namespace {

constexpr int32_t kLossless[] = {
    FIL_FORMAT_BMP,
    FIL_FORMAT_TIFF,
    FIL_FORMAT_PNG,
};

class RoundTrip : public FilesTest {
protected:
    void SurvivesAs(int32_t format, const Picture& saved);
};

void RoundTrip::SurvivesAs(int32_t format, const Picture& saved)
{
    const WString name = Name("picture");
    const BitmapHandle& expected = saved.record;
    Picture loaded, fromMemory;
    ASSERT_EQ(Save(name, saved, format, FIL_SAVE_NEW), FIL_SUCCESS);
    ASSERT_EQ(Load(name, loaded), FIL_SUCCESS);
    ASSERT_EQ(LoadBytes(BytesOf(name), fromMemory), FIL_SUCCESS);
    EXPECT_EQ(Difference(saved, loaded), "");
    EXPECT_EQ(Difference(saved, fromMemory), "");
    EXPECT_EQ(loaded.record.bitsPerPixel, expected.bitsPerPixel);
    EXPECT_EQ(double{loaded.record.xDpi}, double{expected.xDpi});
    EXPECT_EQ(double{loaded.record.yDpi}, double{expected.yDpi});
    const uint32_t view = format == FIL_FORMAT_BMP ? expected.viewPerspective : KRN_VIEW_BOTTOM_LEFT;
    EXPECT_EQ(loaded.record.viewPerspective, view);

    FilFileInfo info;
    ASSERT_EQ(FilInfo(name.c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr), FIL_SUCCESS);
    EXPECT_EQ(info.format, format);
    EXPECT_EQ(info.width, expected.width);
    EXPECT_EQ(info.height, expected.height);
    EXPECT_EQ(info.bitsPerPixel, expected.bitsPerPixel);
    EXPECT_EQ(info.colorOrder, KRN_COLOR_ORDER_BGR);
    EXPECT_EQ(info.pageCount, 1u);
    EXPECT_EQ(double{info.xDpi}, double{expected.xDpi});
    EXPECT_EQ(uint64_t{info.fileBytes}, BytesOf(name).size());
    EXPECT_TRUE(WString{info.fileName} == name);
    std::filesystem::remove(name);
}

TEST_F(RoundTrip, PixelsAndResolutionSurvive)
{
    for (const int32_t format : kLossless)
        for (const uint32_t bits : {1u, 4u, 8u, 24u})
            for (const uint32_t width : {1u, 31u, 32u, 77u})
                for (const uint32_t view : {KRN_VIEW_BOTTOM_LEFT, KRN_VIEW_TOP_LEFT}) {
                    SCOPED_TRACE(testing::Message() << "format " << format << ", " << bits << " bits, width "
                                                    << width << ", view " << view);
                    Picture saved{width, 19, bits, view};
                    saved.record.xDpi = width == 31 ? 0 : 300;
                    saved.record.yDpi = width == 31 ? 0 : 600;
                    SurvivesAs(format, saved);
                }
}

TEST_F(RoundTrip, PalettesThatAreNoGreyRampSurvive)
{
    struct Row {
        const char* fault;
        uint32_t bits, count;
        std::vector<uint8_t> entries;
    };
    const Row rows[] = {
        {"1 bit, white first: polarity", 1, 2, {255, 255, 255, 0, 0, 0, 0, 0}},
        {"1 bit, two colours", 1, 2, {10, 20, 30, 0, 200, 100, 0, 0}},
        {"4 bits, fewer entries than the depth has", 4, 3, {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0}},
        {"8 bits, two entries", 8, 2, {0, 0, 255, 0, 255, 0, 0, 0}},
    };
    for (const int32_t format : kLossless)
        for (const Row& row : rows) {
            SCOPED_TRACE(row.fault);
            Picture saved{50, 9, row.bits};
            std::fill_n(saved.record.palette, 4u << row.bits, uint8_t{0});
            std::copy(row.entries.begin(), row.entries.end(), saved.record.palette);
            saved.record.paletteCount = row.count;
            SurvivesAs(format, saved);
        }
}

TEST_F(RoundTrip, PagesOfAFileAreSavedLikeTheirBitmaps)
{
    const WString source = Name("source.bmp"), ofBitmap = Name("bitmap"), ofFile = Name("file");
    for (const uint32_t bits : {1u, 4u, 8u, 24u, 32u})
        for (const uint32_t view : {KRN_VIEW_BOTTOM_LEFT, KRN_VIEW_TOP_LEFT}) {
            ASSERT_EQ(Save(source, Picture{701, 900, bits, view}, FIL_FORMAT_BMP), FIL_SUCCESS);
            Picture page;
            ASSERT_EQ(Load(source, page), FIL_SUCCESS);
            for (int32_t format = FIL_FORMAT_BMP; format <= FIL_FORMAT_PDF; ++format) {
                SCOPED_TRACE(testing::Message() << bits << " bits, view " << view << ", format " << format);
                for (int count = 0; count < 2; ++count)
                    EXPECT_EQ(FilSaveFile(ofFile.c_str(), source.c_str(), format, FIL_SAVE_ADD_PAGE,
                                          FIL_COMPRESSION_DEFAULT, nullptr),
                              Save(ofBitmap, page, format));
                EXPECT_TRUE(BytesOf(ofFile) == BytesOf(ofBitmap));
                std::filesystem::remove(ofFile);
                std::filesystem::remove(ofBitmap);
            }
            std::filesystem::remove(source);
        }
}

}  // namespace
}  // namespace vorn::test
