
#include "Pages.h"
#include "wia/virtual/TestChart.h"

namespace vorn::wia {
namespace {

/** The whole of an A4 sheet. */
PageRequest WholeSheet(uint32_t xDpi, uint32_t yDpi, uint32_t bits)
{
    return Request(bits, static_cast<uint32_t>(210 * xDpi / 25.4), static_cast<uint32_t>(297 * yDpi / 25.4),
                   xDpi, yDpi);
}

CannedPage ScanChart(const PageRequest& request, uint32_t rowsPerRead = 100,
                     RowOrder order = RowOrder::TopDown)
{
    TestChart chart{ChartSheet{}, 1};
    return Scan(chart, request, rowsPerRead, order);
}

uint32_t ColorAtMillimetre(const CannedPage& scan, double x, double y)
{
    return ColorAt(scan, static_cast<uint32_t>(x * scan.geometry.xDpi / 25.4),
                   static_cast<uint32_t>(y * scan.geometry.yDpi / 25.4));
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
    {"red", 20, 70, 0xFF0000, 0x4C4C4C, 0x000000},
    {"green", 52, 70, 0x00FF00, 0x959595, kWhite},
    {"blue", 78, 70, 0x0000FF, 0x1C1C1C, 0x000000},
    {"yellow", 158, 70, 0xFFFF00, 0xE2E2E2, kWhite},
    {"flag of the large 1", 93.6, 187.1, 0x183E78, 0x393939, 0x000000},
    {"half grey", 105, 128.5, 0x7F7F7F, 0x7F7F7F, 0x000000},
};

// Catches a chart that is not fixed to the paper, is turned or mirrored, or whose colours depend on the depth.
TEST(TestChart, FeaturesAreWhereTheyAreOnThePaperAtEveryResolutionAndDepth)
{
    for (const auto& [xDpi, yDpi] : {std::pair{75u, 75u}, {150u, 300u}, {333u, 200u}}) {
        for (const uint32_t bits : {1u, 8u, 24u}) {
            const CannedPage scan = ScanChart(WholeSheet(xDpi, yDpi, bits));
            for (const Feature& feature : kFeatures) {
                const uint32_t expected = bits == 1 ? feature.bit : bits == 8 ? feature.grey : feature.color;
                EXPECT_EQ(ColorAtMillimetre(scan, feature.x, feature.y), expected)
                    << feature.name << " at " << xDpi << " x " << yDpi << " dpi, " << bits << " bits";
            }
        }
    }
}

// The lower right quarter, from an odd column on: all of the areas differ in the line that tells them, which lies
// above.
TEST(TestChart, AreaIsTheCutOfTheWholeSheet)
{
    for (const uint32_t bits : {1u, 8u, 24u}) {
        PageRequest request = WholeSheet(100, 100, bits);
        const CannedPage sheet = ScanChart(request);
        request.x = 413;
        request.y = 584;
        request.width -= request.x;
        request.height -= request.y;
        const CannedPage cut = ScanChart(request);
        ASSERT_EQ(cut.geometry.width, request.width);
        for (uint32_t y = 0; y < request.height; ++y)
            for (uint32_t x = 0; x < request.width; ++x)
                ASSERT_EQ(ColorAt(cut, x, y), ColorAt(sheet, 413 + x, 584 + y))
                    << bits << " bits, pixel " << x << ", " << y;
    }
}

TEST(TestChart, SameBytesHoweverTheRowsAreRead)
{
    for (const uint32_t bits : {1u, 8u, 24u}) {
        const PageRequest request = WholeSheet(75, 75, bits);
        const CannedPage whole = ScanChart(request, request.height);
        EXPECT_EQ(ScanChart(request, 7).pixels, whole.pixels);
        EXPECT_EQ(ScanChart(request, 10, RowOrder::BottomUp).pixels, whole.pixels);
    }
}

TEST(TestChart, TellsPageSideAndAreaAndChangesNothingElse)
{
    PageRequest page = WholeSheet(100, 100, 8), back = page, narrow = page;
    page.pageNumber = 2;
    back.backSide = true;
    narrow.width -= 50;
    const CannedPage plain = ScanChart(WholeSheet(100, 100, 8));
    const auto changes = [&](const PageRequest& request, uint32_t fromRow, uint32_t toRow) {
        const CannedPage scan = ScanChart(request);
        bool changed = false;
        for (uint32_t y = fromRow; y < toRow; ++y)
            for (uint32_t x = 0; x < request.width; ++x)
                changed = changed || ColorAt(scan, x, y) != ColorAt(plain, x, y);
        return changed;
    };
    EXPECT_TRUE(changes(page, 86, 125)) << "the page number in the heading";
    EXPECT_TRUE(changes(page, 649, 1003)) << "the large page number";
    EXPECT_TRUE(changes(back, 86, 125)) << "the side";
    EXPECT_TRUE(changes(narrow, 157, 196)) << "the area";
    EXPECT_FALSE(changes(narrow, 197, 1141)) << "what lies below the area's line";
}

TEST(TestChart, ObeysBrightnessContrastAndThreshold)
{
    const struct {
        const char* setting;
        int32_t brightness, contrast, threshold;
        uint32_t bits, halfGrey, red;
    } cases[] = {
        {"brighter", 200, 0, 128, 8, 0xB2B2B2, 0x7F7F7F},
        {"no contrast", 0, -1000, 128, 24, 0x808080, 0x808080},
        {"full contrast", 0, 1000, 128, 8, 0x000000, 0x000000},
        {"out of range", 2000000000, -2000000000, 128, 24, 0xFFFFFF, 0xFFFFFF},
        {"low threshold", 0, 0, 77, 1, 0xFFFFFF, 0x000000},
        {"threshold just met", 0, 0, 127, 1, 0xFFFFFF, 0x000000},
        {"threshold 255", 0, 0, 255, 1, 0x000000, 0x000000},
    };
    for (const auto& each : cases) {
        PageRequest request = WholeSheet(75, 75, each.bits);
        request.brightness = each.brightness;
        request.contrast = each.contrast;
        request.threshold = each.threshold;
        const CannedPage scan = ScanChart(request);
        EXPECT_EQ(ColorAtMillimetre(scan, 105, 128.5), each.halfGrey) << each.setting;
        EXPECT_EQ(ColorAtMillimetre(scan, 20, 70), each.red) << each.setting;
    }
}

TEST(TestChart, IsWhiteBeyondTheSheet)
{
    PageRequest request = WholeSheet(75, 75, 24);
    request.x = 0xFFFFFF00;
    request.y = 3000;
    request.width = request.height = 50;
    const CannedPage scan = ScanChart(request);
    for (uint32_t x = 0; x < 50; ++x)
        EXPECT_EQ(ColorAt(scan, x, 49), kWhite);
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
