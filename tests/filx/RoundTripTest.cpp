#include "Pictures.h"

namespace vorn::test {
namespace {

struct Case {
    int32_t format;
    uint32_t bits, width, view;
    double xDpi, yDpi;
};

std::vector<Case> AllCases()
{
    std::vector<Case> cases;
    for (const int32_t format : {FIL_FORMAT_BMP, FIL_FORMAT_TIFF})
        for (const uint32_t bits : {1u, 4u, 8u, 24u})
            for (const uint32_t width : {1u, 31u, 32u, 77u})
                for (const uint32_t view : {KRN_VIEW_BOTTOM_LEFT, KRN_VIEW_TOP_LEFT})
                    cases.push_back(
                        {format, bits, width, view, width == 31 ? 0.0 : 300.0, width == 31 ? 0.0 : 600.0});
    return cases;
}

class RoundTrip : public FilesTest {};

TEST_F(RoundTrip, PixelsPaletteAndResolutionSurvive)
{
    for (const Case& row : AllCases()) {
        SCOPED_TRACE(testing::Message() << "format " << row.format << ", " << row.bits << " bits, width "
                                        << row.width << ", view " << row.view);
        Picture saved{row.width, 19, row.bits, row.view}, loaded;
        saved.record.xDpi = row.xDpi;
        saved.record.yDpi = row.yDpi;
        const WString name = Name("picture");
        ASSERT_EQ(Save(name, saved, row.format, FIL_SAVE_NEW), FIL_SUCCESS);
        ASSERT_EQ(Load(name, loaded), FIL_SUCCESS);
        EXPECT_EQ(Difference(saved, loaded), "");
        EXPECT_EQ(loaded.record.bitsPerPixel, row.bits);
        EXPECT_TRUE(loaded.record.xDpi == row.xDpi && loaded.record.yDpi == row.yDpi);
        EXPECT_EQ(loaded.record.viewPerspective,
                  row.format == FIL_FORMAT_BMP ? row.view : uint32_t{KRN_VIEW_BOTTOM_LEFT});

        FilFileInfo info;
        ASSERT_EQ(FilInfo(name.c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr), FIL_SUCCESS);
        EXPECT_EQ(info.format, row.format);
        EXPECT_EQ(info.width, row.width);
        EXPECT_EQ(info.height, 19u);
        EXPECT_EQ(info.bitsPerPixel, row.bits);
        EXPECT_EQ(info.colorOrder, KRN_COLOR_ORDER_BGR);
        EXPECT_EQ(info.pageCount, 1u);
        EXPECT_TRUE(info.xDpi == row.xDpi && info.fileBytes == Read(name).size());
        EXPECT_TRUE(WString{info.fileName} == name);

        Picture fromMemory;
        ASSERT_EQ(LoadBytes(Read(name), fromMemory), FIL_SUCCESS);
        EXPECT_EQ(Difference(saved, fromMemory), "");
        std::filesystem::remove(name);
    }
}

struct PaletteCase {
    const char* fault;
    uint32_t bits, count;
    std::vector<uint8_t> entries;
};

TEST_F(RoundTrip, PalettesThatAreNoGreyRampSurvive)
{
    const PaletteCase cases[] = {
        {"1 bit, white first: polarity", 1, 2, {255, 255, 255, 0, 0, 0, 0, 0}},
        {"1 bit, two colours", 1, 2, {10, 20, 30, 0, 200, 100, 0, 0}},
        {"4 bits, fewer entries than the depth has", 4, 3, {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0}},
        {"8 bits, two entries", 8, 2, {0, 0, 255, 0, 255, 0, 0, 0}},
    };
    for (const int32_t format : {FIL_FORMAT_BMP, FIL_FORMAT_TIFF})
        for (const PaletteCase& row : cases) {
            Picture saved{50, 9, row.bits}, loaded;
            std::fill_n(saved.record.palette, 4u << row.bits, uint8_t{0});
            std::copy(row.entries.begin(), row.entries.end(), saved.record.palette);
            saved.record.paletteCount = row.count;
            ASSERT_EQ(Save(Name("palette"), saved, format), FIL_SUCCESS) << row.fault;
            ASSERT_EQ(Load(Name("palette"), loaded), FIL_SUCCESS) << row.fault;
            EXPECT_EQ(Difference(saved, loaded), "") << row.fault;
            EXPECT_EQ(loaded.record.bitsPerPixel, row.bits) << row.fault;
            std::filesystem::remove(Name("palette"));
        }
}

}  // namespace
}  // namespace vorn::test
