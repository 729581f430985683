#include "Pages.h"
#include "support/Files.h"
#include "wia/virtual/FolderListing.h"
#include "wia/virtual/ImageFolder.h"
#include "wia/virtual/Resample.h"

namespace vorn::wia {
namespace {

TEST(NaturalOrder, CountsNumbersAndIgnoresCase)
{
    const char* ordered[] = {"",
                             "page",
                             "page1",
                             "Page02",
                             "page2",
                             "page2b",
                             "PAGE10",
                             "page10a",
                             "page123456789012345678901",
                             "page123456789012345678902",
                             "pagex"};
    for (size_t i = 0; i < std::size(ordered); ++i)
        for (size_t k = 0; k < std::size(ordered); ++k)
            EXPECT_EQ(NaturallyBefore(test::Wide(ordered[i]), test::Wide(ordered[k])), i < k)
                << ordered[i] << " and " << ordered[k];
}

TEST(RangeBehind, TakesTheNearestPixelOrAllThatAreCovered)
{
    const struct {
        uint64_t index;
        double ratio;
        PixelRange expected;
    } cases[] = {
        {0, 1, {0, 1}},     {9, 1, {9, 10}},
        {10, 1, {}},  // the same resolution, and the edge
        {0, 0.5, {0, 1}},   {1, 0.5, {0, 1}},
        {2, 0.5, {1, 2}},  // twice as fine
        {1, 2, {2, 4}},     {4, 2, {8, 10}},
        {5, 2, {}},                             // half as fine
        {1, 1.5, {1, 3}},   {6, 1.5, {9, 10}},  // the last one is covered in part
        {0, 1000, {0, 10}}, {0xFFFFFFFFFFull, 1e300, {}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(RangeBehind(each.index, each.ratio, 10), each.expected)
            << each.index << " x " << each.ratio;
}

class PictureFolder : public testing::Test {
protected:
    void Write(const char* name, const std::string& bytes) { test::WriteBytes(folder_.Path() / name, bytes); }
    void WriteBmp(const char* name, const CannedPage& page) { Write(name, Encoded(WiaImgFmt_BMP, page)); }

    std::shared_ptr<PageSource> Open(double sheetWidthInches = 8.5)
    {
        std::shared_ptr<PageSource> source;
        EXPECT_EQ(ImageFolder::Open(test::Wide(folder_.Path()).c_str(), sheetWidthInches, source), S_OK);
        return source;
    }

    /** The first page of the folder, as it is scanned now. */
    CannedPage ScanFirst(const PageRequest& request) { return Scan(*Open(), request, 3); }

    test::ScratchFolder folder_;
};

TEST_F(PictureFolder, WithoutImagesIsRefused)
{
    Write("notes.txt", "abc");
    std::filesystem::create_directory(folder_.Path() / "folder.bmp");
    std::shared_ptr<PageSource> source;
    const WString empty = test::Wide(folder_.Path()), missing = test::Wide(folder_.Path() / "missing");
    for (const WCHAR* folder : {empty.c_str(), missing.c_str(), static_cast<const WCHAR*>(nullptr)})
        EXPECT_EQ(ImageFolder::Open(folder, 8.5, source), E_INVALIDARG);
    EXPECT_EQ(source, nullptr);
}

TEST_F(PictureFolder, FeedsEveryPageOfEveryFileInNaturalOrder)
{
    const CannedPage pages[] = {Noise(5, 4, 24), Noise(9, 4, 24), Noise(14, 4, 24), Noise(20, 4, 24)};
    TiffDocument document;
    ASSERT_EQ(document.Add(pages[1]), S_OK);
    ASSERT_EQ(document.Add(pages[2]), S_OK);
    WriteBmp("page10.bmp", pages[3]);
    WriteBmp("Page1.BMP", pages[0]);
    Write("page2.tif", document.sink.bytes);

    const auto source = Open();
    for (const CannedPage& page : pages) {
        ASSERT_TRUE(source->HasPage());
        ExpectSamePicture(Scan(*source, Request(24, page.geometry.width, 4), 3), page);
    }
    EXPECT_FALSE(source->HasPage());
    std::unique_ptr<Page> none;
    EXPECT_EQ(source->NextPage(Request(24, 30, 1), none), WIA_ERROR_PAPER_EMPTY);
}

// Catches a shift or blur at the picture's own resolution, and a change of its colours.
TEST_F(PictureFolder, DeliversThePixelsThemselvesAtTheirOwnResolution)
{
    const PaletteEntry black{0, 0, 0, 0}, white{255, 255, 255, 0};
    for (const CannedPage& page : {Noise(37, 11, 24), Noise(37, 11, 8), Noise(37, 11, 1, {black, white})}) {
        WriteBmp("a.bmp", page);
        EXPECT_EQ(ScanFirst(Request(page.geometry.bitsPerPixel, 37, 11)).pixels, page.pixels);

        // A cut from its middle, 5 wider and 2 higher than what is left of the picture.
        PageRequest request = Request(24, 25, 8);
        request.x = 17;
        request.y = 5;
        const CannedPage cut = ScanFirst(request);
        for (uint32_t y = 0; y < 8; ++y)
            for (uint32_t x = 0; x < 25; ++x)
                ASSERT_EQ(ColorAt(cut, x, y),
                          x + 17 < 37 && y + 5 < 11 ? ColorAt(page, x + 17, y + 5) : 0xFFFFFF)
                    << page.geometry.bitsPerPixel << " bits, pixel " << x << ", " << y;
    }
}

TEST_F(PictureFolder, AveragesWhenReducingAndRepeatsWhenEnlarging)
{
    CannedPage page = Noise(4, 2, 8);
    page.geometry.yDpi = 300;
    page.pixels = {30, 40, 100, 101, 10, 20, 200, 202};  // the bottom row first
    WriteBmp("a.bmp", page);
    const struct {
        PageRequest request;
        std::vector<uint8_t> expected;
    } cases[] = {
        {Request(8, 3, 2, 150, 150), {255, 255, 255, 0, 25, 151, 255, 0}},
        {Request(8, 8, 2, 600, 300),
         {30, 30, 40, 40, 100, 100, 101, 101, 10, 10, 20, 20, 200, 200, 202, 202}},
        {Request(8, 4, 2, 300, 600), {10, 20, 200, 202, 10, 20, 200, 202}},
        {Request(1, 4, 2, 300, 300), {0, 0, 0, 0, 0x30, 0, 0, 0}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(ScanFirst(each.request).pixels, each.expected);
}

TEST_F(PictureFolder, PictureOfUnknownResolutionFillsTheSheet)
{
    CannedPage page = Noise(4, 1, 8);
    page.geometry.xDpi = page.geometry.yDpi = 0;
    page.pixels = {1, 2, 3, 4};
    WriteBmp("a.bmp", page);
    // 4 pixels over 2 inches at 4 dpi: two wanted ones each.
    EXPECT_EQ(Scan(*Open(2), Request(8, 8, 1, 4, 4), 3).pixels,
              (std::vector<uint8_t>{1, 1, 2, 2, 3, 3, 4, 4}));
}

TEST_F(PictureFolder, GoesOnAfterAFileThatCannotBeRead)
{
    const CannedPage page = Noise(4, 4, 24);
    const std::string whole = Encoded(WiaImgFmt_BMP, page);
    Write("1.bmp", whole);
    Write("2.bmp", whole.substr(0, whole.size() - 7));
    Write("3.tif", "no image");
    Write("4.tif", "");
    Write("5.bmp", whole);

    const auto source = Open();
    const PageRequest request = Request(24, 4, 4);
    ExpectSamePicture(Scan(*source, request, 3), page);
    for (int i = 0; i < 3; ++i) {
        std::unique_ptr<Page> none;
        EXPECT_EQ(source->NextPage(request, none), WIA_ERROR_GENERAL_ERROR) << "file " << i + 2;
        EXPECT_EQ(none, nullptr);
    }
    ExpectSamePicture(Scan(*source, request, 3), page);
    EXPECT_FALSE(source->HasPage());
}

}  // namespace
}  // namespace vorn::wia
