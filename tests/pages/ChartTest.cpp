#include <tuple>

#include "Pages.h"
#include "wia/virtual/TestChart.h"

namespace vorn::wia {
namespace {

/** A scan of a chart on A4, its rows from the top down. */
struct Scan {
    PageGeometry geometry;
    std::vector<uint8_t> rows;

    const uint8_t* Row(uint32_t y) const { return rows.data() + y * geometry.RowBytes(); }
    /** 0xRRGGBB. */
    uint32_t At(uint32_t x, uint32_t y) const
    {
        return ColorAt(Row(y), x, geometry.bitsPerPixel, geometry.palette.data());
    }
    uint32_t AtMillimetre(double x, double y) const
    {
        return At(static_cast<uint32_t>(x * geometry.xDpi / 25.4),
                  static_cast<uint32_t>(y * geometry.yDpi / 25.4));
    }
};

PageRequest WholeSheet(uint32_t xDpi, uint32_t yDpi, uint32_t bits)
{
    PageRequest request;
    request.xDpi = xDpi;
    request.yDpi = yDpi;
    request.bitsPerPixel = bits;
    request.width = static_cast<uint32_t>(210 * xDpi / 25.4);
    request.height = static_cast<uint32_t>(297 * yDpi / 25.4);
    return request;
}

Scan ScanChart(const PageRequest& request, uint32_t rowsPerRead = UINT32_MAX,
               RowOrder order = RowOrder::TopDown)
{
    TestChart chart{ChartSheet{}, 1};
    std::unique_ptr<Page> page;
    EXPECT_EQ(chart.NextPage(request, page), S_OK);
    Scan scan{page->Geometry(), {}};
    scan.rows.assign(scan.geometry.ImageBytes(), 0xA5);
    for (uint32_t y = 0; y < scan.geometry.height;) {
        const uint32_t count = std::min(rowsPerRead, scan.geometry.height - y);
        const uint32_t place = order == RowOrder::TopDown ? y : scan.geometry.height - y - count;
        EXPECT_EQ(page->ReadRows(scan.rows.data() + place * scan.geometry.RowBytes(), count, order), S_OK);
        y += count;
    }
    return scan;
}

constexpr uint32_t kWhite = 0xFFFFFF;

struct Feature {
    const char* name;
    double x, y;  // millimetres
    uint32_t color, grey, bit;
};
constexpr Feature kFeatures[] = {
    {"mark", 14, 14, 0x000000, 0x000000, 0x000000},
    {"upright of the F", 20, 30, kWhite, kWhite, kWhite},
    {"upper bar of the F", 31, 18, kWhite, kWhite, kWhite},
    {"lower right of the F", 31, 30, 0x000000, 0x000000, 0x000000},
    {"no mark, top right", 203, 14, kWhite, kWhite, kWhite},
    {"no mark, bottom left", 14, 275, kWhite, kWhite, kWhite},
    {"no mark, bottom right", 196, 275, kWhite, kWhite, kWhite},
    {"red", 20, 70, 0xFF0000, 0x4C4C4C, 0x000000},
    {"green", 52, 70, 0x00FF00, 0x959595, kWhite},
    {"blue", 78, 70, 0x0000FF, 0x1C1C1C, 0x000000},
    {"cyan", 104, 70, 0x00FFFF, 0xB2B2B2, kWhite},
    {"magenta", 131, 70, 0xFF00FF, 0x696969, 0x000000},
    {"yellow", 158, 70, 0xFFFF00, 0xE2E2E2, kWhite},
    {"black", 190, 70, 0x000000, 0x000000, 0x000000},
    {"flag of the large 1", 93.6, 187.1, 0x183E78, 0x393939, 0x000000},
    {"paper right of the large 1", 116.4, 187.1, kWhite, kWhite, kWhite},
    {"half grey", 105, 128.5, 0x7F7F7F, 0x7F7F7F, 0x000000},
};

// Catches a chart that is not fixed to the paper, is turned or mirrored, or whose colours depend on the depth.
TEST(TestChart, FeaturesAreWhereTheyAreOnThePaperAtEveryResolutionAndDepth)
{
    for (const auto& [xDpi, yDpi] : {std::pair{75u, 75u}, {150u, 300u}, {333u, 200u}}) {
        for (const uint32_t bits : {1u, 8u, 24u}) {
            const Scan scan = ScanChart(WholeSheet(xDpi, yDpi, bits));
            for (const Feature& feature : kFeatures) {
                const uint32_t expected = bits == 1 ? feature.bit : bits == 8 ? feature.grey : feature.color;
                EXPECT_EQ(scan.AtMillimetre(feature.x, feature.y), expected)
                    << feature.name << " at " << xDpi << " x " << yDpi << " dpi, " << bits << " bits";
            }
        }
    }
}

// Only the line that tells the area may differ: it lies between 42 and 50 mm from the top, right of the mark.
TEST(TestChart, AreaIsTheCutOfTheWholeSheet)
{
    for (const uint32_t bits : {1u, 8u, 24u}) {
        const PageRequest whole = WholeSheet(100, 100, bits);
        const Scan sheet = ScanChart(whole);
        const struct {
            const char* where;
            uint32_t x, y, width, height;
        } areas[] = {
            {"top left, with the mark", 0, 0, 160, 300}, {"lower right quarter", 413, 584, 413, 584},
            {"odd start, odd width", 101, 203, 77, 901}, {"one pixel", 75, 60, 1, 1},
            {"last column", 825, 200, 1, 900},
        };
        for (const auto& area : areas) {
            PageRequest request = whole;
            request.x = area.x;
            request.y = area.y;
            request.width = area.width;
            request.height = area.height;
            const Scan cut = ScanChart(request);
            ASSERT_EQ(cut.geometry.width, area.width);
            for (uint32_t y = 0; y < area.height; ++y)
                for (uint32_t x = 0; x < area.width; ++x)
                    ASSERT_EQ(cut.At(x, y), sheet.At(area.x + x, area.y + y))
                        << area.where << ", " << bits << " bits, pixel " << x << ", " << y;
        }
    }
}

TEST(TestChart, SameBytesHoweverTheRowsAreRead)
{
    for (const uint32_t bits : {1u, 8u, 24u}) {
        const PageRequest request = WholeSheet(75, 75, bits);
        const Scan whole = ScanChart(request);
        EXPECT_EQ(ScanChart(request, 7).rows, whole.rows);

        const Scan bottomUp = ScanChart(request, 10, RowOrder::BottomUp);
        for (uint32_t y = 0; y < request.height; ++y)
            ASSERT_EQ(
                std::memcmp(bottomUp.Row(request.height - 1 - y), whole.Row(y), whole.geometry.RowBytes()),
                0);
    }
}

TEST(TestChart, TellsPageSideResolutionAndArea)
{
    const PageRequest request = WholeSheet(100, 100, 8);
    const Scan plain = ScanChart(request);
    const auto differs = [&](const PageRequest& other, double fromMillimetre, double toMillimetre) {
        const Scan scan = ScanChart(other);
        const auto pixel = [](double millimetre) { return static_cast<uint32_t>(millimetre * 100 / 25.4); };
        for (uint32_t y = pixel(fromMillimetre); y < pixel(toMillimetre); ++y)
            for (uint32_t x = 0; x < other.width; ++x)
                if (scan.At(x, y) != plain.At(x, y))
                    return true;
        return false;
    };
    PageRequest other = request;
    other.pageNumber = 2;
    EXPECT_TRUE(differs(other, 22, 32)) << "the page number in the heading";
    EXPECT_TRUE(differs(other, 165, 255)) << "the large page number";
    other = request;
    other.backSide = true;
    EXPECT_TRUE(differs(other, 22, 32)) << "the side";
    other = request;
    other.width -= 50;
    EXPECT_TRUE(differs(other, 40, 50)) << "the area";
    EXPECT_FALSE(differs(other, 50, 290)) << "the area moved something else";
}

TEST(TestChart, ObeysBrightnessContrastAndThreshold)
{
    const struct {
        const char* setting;
        int32_t brightness, contrast, threshold;
        uint32_t bits, halfGrey, red;
    } cases[] = {
        {"brightest", 1000, 0, 128, 24, 0xFFFFFF, 0xFFFFFF},
        {"darkest", -1000, 0, 128, 24, 0x000000, 0x000000},
        {"brighter", 200, 0, 128, 8, 0xB2B2B2, 0x7F7F7F},
        {"no contrast", 0, -1000, 128, 24, 0x808080, 0x808080},
        {"full contrast", 0, 1000, 128, 8, 0x000000, 0x000000},
        {"out of range", 2000000000, -2000000000, 128, 24, 0xFFFFFF, 0xFFFFFF},
        {"low threshold", 0, 0, 77, 1, 0xFFFFFF, 0x000000},
        {"threshold just met", 0, 0, 127, 1, 0xFFFFFF, 0x000000},
        {"threshold 0", 0, 0, 0, 1, 0xFFFFFF, 0xFFFFFF},
        {"threshold 255", 0, 0, 255, 1, 0x000000, 0x000000},
    };
    for (const auto& each : cases) {
        PageRequest request = WholeSheet(75, 75, each.bits);
        request.brightness = each.brightness;
        request.contrast = each.contrast;
        request.threshold = each.threshold;
        const Scan scan = ScanChart(request);
        EXPECT_EQ(scan.AtMillimetre(105, 128.5), each.halfGrey) << each.setting;
        EXPECT_EQ(scan.AtMillimetre(20, 70), each.red) << each.setting;
    }
}

TEST(TestChart, IsWhiteBeyondTheSheet)
{
    PageRequest request = WholeSheet(75, 75, 24);
    request.x = 0xFFFFFF00;
    request.y = 3000;
    request.width = request.height = 50;
    const Scan scan = ScanChart(request);
    for (uint32_t x = 0; x < 50; ++x)
        EXPECT_EQ(scan.At(x, 49), kWhite);
}

TEST(TestChart, FeedsItsPagesAndNoMore)
{
    TestChart chart{ChartSheet{}, 2};
    PageRequest request = WholeSheet(75, 75, 24), bad = request;
    std::unique_ptr<Page> page;
    for (uint32_t PageRequest::*field : {&PageRequest::width, &PageRequest::height, &PageRequest::xDpi,
                                         &PageRequest::yDpi, &PageRequest::bitsPerPixel}) {
        bad = request;
        bad.*field = 0;
        EXPECT_EQ(chart.NextPage(bad, page), E_INVALIDARG);
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(chart.HasPage());
        EXPECT_EQ(chart.NextPage(request, page), S_OK);
    }
    EXPECT_FALSE(chart.HasPage());
    EXPECT_EQ(chart.NextPage(request, page), WIA_ERROR_PAPER_EMPTY);

    std::vector<uint8_t> rows(page->Geometry().ImageBytes() + 1);
    EXPECT_EQ(page->ReadRows(rows.data(), request.height + 1, RowOrder::TopDown), E_INVALIDARG);
}

}  // namespace
}  // namespace vorn::wia
