#include <filesystem>
#include <fstream>

#include "Pages.h"
#include "wia/virtual/FolderListing.h"
#include "wia/virtual/ImageFolder.h"
#include "wia/virtual/Resample.h"

namespace vorn::wia {
namespace {

namespace fs = std::filesystem;

TEST(NaturalOrder, CountsNumbersAndIgnoresCase)
{
    const WStringView ordered[] = {VORN_TEXT(""),
                                   VORN_TEXT("page"),
                                   VORN_TEXT("page1"),
                                   VORN_TEXT("Page02"),
                                   VORN_TEXT("page2"),
                                   VORN_TEXT("page2b"),
                                   VORN_TEXT("PAGE10"),
                                   VORN_TEXT("page10a"),
                                   VORN_TEXT("page123456789012345678901"),
                                   VORN_TEXT("page123456789012345678902"),
                                   VORN_TEXT("pagex")};
    for (size_t i = 0; i < std::size(ordered); ++i)
        for (size_t k = 0; k < std::size(ordered); ++k)
            EXPECT_EQ(NaturallyBefore(ordered[i], ordered[k]), i < k) << i << " and " << k;
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

class Folder : public testing::Test {
protected:
    Folder()
    {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        // A name that is no ASCII has to survive the way to the file library.
        path_ = fs::temp_directory_path() / (std::string{"vornwia-pages-"} + test->name()) / u8"pàges-页";
        fs::remove_all(path_.parent_path());
        fs::create_directories(path_);
    }
    ~Folder() override
    {
        std::error_code ignored;
        fs::remove_all(path_.parent_path(), ignored);
    }

    void Write(const fs::path& name, const std::vector<uint8_t>& bytes)
    {
        std::ofstream{path_ / name, std::ios::binary}.write(reinterpret_cast<const char*>(bytes.data()),
                                                            static_cast<std::streamsize>(bytes.size()));
    }

    /** A picture of one colour or of noise in a file, for each geometry a page. */
    std::vector<uint8_t> Tiff(const std::vector<PageGeometry>& pages)
    {
        CheckedSink sink;
        const auto encoder = MakeDocumentEncoder(WiaImgFmt_TIFF);
        for (const PageGeometry& geometry : pages) {
            sink.ExpectNextPage();
            EXPECT_EQ(encoder->Encode(*ReadyPage(geometry, RandomImage(geometry)), sink, 4096), S_OK);
        }
        return sink.bytes;
    }
    std::vector<uint8_t> Bmp(const PageGeometry& geometry, const std::vector<uint8_t>& image)
    {
        CheckedSink sink;
        EXPECT_EQ(MakePageEncoder(WiaImgFmt_BMP)->Encode(*ReadyPage(geometry, image), sink, 4096), S_OK);
        return sink.bytes;
    }

    std::shared_ptr<PageSource> Open(double sheetWidthInches = 8.5)
    {
        std::shared_ptr<PageSource> source;
        EXPECT_EQ(ImageFolder::Open(path_.string<WCHAR>().c_str(), sheetWidthInches, source), S_OK);
        return source;
    }

    static PageRequest Request(uint32_t bits, uint32_t width, uint32_t height, uint32_t xDpi = 300,
                               uint32_t yDpi = 200)
    {
        PageRequest request;
        request.xDpi = xDpi;
        request.yDpi = yDpi;
        request.bitsPerPixel = bits;
        request.width = width;
        request.height = height;
        return request;
    }

    /** The next page as the rows of a DIB, read a few rows at a time. */
    static std::vector<uint8_t> Scan(PageSource& source, const PageRequest& request)
    {
        std::unique_ptr<Page> page;
        EXPECT_EQ(source.NextPage(request, page), S_OK);
        if (!page)
            return {};
        const uint64_t rowBytes = page->Geometry().RowBytes();
        std::vector<uint8_t> rows(page->Geometry().ImageBytes(), 0xA5);
        for (uint32_t y = 0, count; y < request.height; y += count) {
            count = std::min(3u, request.height - y);
            EXPECT_EQ(page->ReadRows(rows.data() + (request.height - y - count) * rowBytes, count,
                                     RowOrder::BottomUp),
                      S_OK);
        }
        return rows;
    }

    fs::path path_;
};

TEST_F(Folder, WithoutImagesIsRefused)
{
    Write("notes.txt", {1, 2, 3});
    fs::create_directory(path_ / "folder.bmp");
    std::shared_ptr<PageSource> source;
    EXPECT_EQ(ImageFolder::Open(path_.string<WCHAR>().c_str(), 8.5, source), E_INVALIDARG);
    EXPECT_EQ(ImageFolder::Open((path_ / "missing").string<WCHAR>().c_str(), 8.5, source), E_INVALIDARG);
    EXPECT_EQ(ImageFolder::Open(nullptr, 8.5, source), E_INVALIDARG);
    EXPECT_EQ(source, nullptr);
}

TEST_F(Folder, FeedsEveryPageOfEveryFileInNaturalOrder)
{
    // The widths tell the pages apart: all of a page but its picture is white.
    const std::vector<uint32_t> widths = {5, 9, 14, 20};
    const auto page = [](uint32_t width) { return MakeGeometry(width, 4, 24); };
    Write("page10.bmp", Bmp(page(20), RandomImage(page(20))));
    Write("Page1.BMP", Bmp(page(5), RandomImage(page(5))));
    Write("page2.tif", Tiff({page(9), page(14)}));

    const auto source = Open();
    for (const uint32_t width : widths) {
        ASSERT_TRUE(source->HasPage());
        const PageRequest request = Request(24, 30, 1);
        const std::vector<uint8_t> row = Scan(*source, request);
        const auto end =
            std::find_if_not(row.rbegin() + 2, row.rend(), [](uint8_t level) { return level == 255; });
        const auto pictureBytes = static_cast<uint32_t>(row.rend() - end);
        EXPECT_EQ((pictureBytes + 2) / 3, width);
    }
    EXPECT_FALSE(source->HasPage());
    std::unique_ptr<Page> none;
    EXPECT_EQ(source->NextPage(Request(24, 30, 1), none), WIA_ERROR_PAPER_EMPTY);
}

// Catches a shift or blur at the picture's own resolution, and a change of its colours.
TEST_F(Folder, DeliversThePixelsThemselvesAtTheirOwnResolution)
{
    const PaletteEntry black{0, 0, 0, 0}, white{255, 255, 255, 0};
    const PageGeometry kinds[] = {MakeGeometry(37, 11, 24), MakeGeometry(37, 11, 8),
                                  MakeGeometry(37, 11, 1, {black, white})};
    for (const PageGeometry& geometry : kinds) {
        const std::vector<uint8_t> image = RandomImage(geometry);
        Write("a.bmp", Bmp(geometry, image));
        Write("b.tif", Tiff({geometry}));
        const auto source = Open();
        for (const char* file : {"BMP", "TIFF"})
            EXPECT_EQ(Scan(*source, Request(geometry.bitsPerPixel, 37, 11)), image)
                << file << ", " << geometry.bitsPerPixel << " bits";

        // A cut from its middle, 5 wider and 2 higher than what is left of the picture.
        PageRequest cut = Request(24, 25, 8);
        cut.x = 17;
        cut.y = 5;
        std::shared_ptr<PageSource> again = Open();
        const std::vector<uint8_t> rows = Scan(*again, cut);
        const std::vector<PaletteEntry> palette = [&] {
            std::vector<PaletteEntry> colors = geometry.palette;
            for (uint32_t i = 0; colors.empty() || (colors.size() < 256 && geometry.palette.empty()); ++i)
                colors.push_back(
                    {static_cast<uint8_t>(i), static_cast<uint8_t>(i), static_cast<uint8_t>(i), 0});
            return colors;
        }();
        for (uint32_t y = 0; y < 8; ++y)
            for (uint32_t x = 0; x < 25; ++x) {
                const bool inside = x + 17 < 37 && y + 5 < 11;
                const uint32_t expected = !inside ? 0xFFFFFF
                                                  : ColorAt(image.data() + (10 - y - 5) * geometry.RowBytes(),
                                                            x + 17, geometry.bitsPerPixel, palette.data());
                ASSERT_EQ(ColorAt(rows.data() + (7 - y) * 76, x, 24, nullptr), expected) << x << ", " << y;
            }
    }
}

TEST_F(Folder, AveragesWhenReducingAndRepeatsWhenEnlarging)
{
    PageGeometry geometry = MakeGeometry(4, 2, 8);
    geometry.yDpi = 300;
    // Bottom row first, as a DIB has it.
    Write("a.bmp", Bmp(geometry, {30, 40, 100, 101, 10, 20, 200, 202}));

    EXPECT_EQ(Scan(*Open(), Request(8, 3, 2, 150, 150)),
              (std::vector<uint8_t>{255, 255, 255, 0, 25, 151, 255, 0}));
    EXPECT_EQ(Scan(*Open(), Request(8, 8, 2, 600, 300)),
              (std::vector<uint8_t>{30, 30, 40, 40, 100, 100, 101, 101, 10, 10, 20, 20, 200, 200, 202, 202}));
    EXPECT_EQ(Scan(*Open(), Request(8, 4, 2, 300, 600)),
              (std::vector<uint8_t>{10, 20, 200, 202, 10, 20, 200, 202}));
    EXPECT_EQ(Scan(*Open(), Request(1, 4, 2, 300, 300)), (std::vector<uint8_t>{0, 0, 0, 0, 0x30, 0, 0, 0}));
}

TEST_F(Folder, PictureOfUnknownResolutionFillsTheSheet)
{
    PageGeometry geometry = MakeGeometry(4, 1, 8);
    geometry.xDpi = geometry.yDpi = 0;
    Write("a.bmp", Bmp(geometry, {1, 2, 3, 4}));
    // 4 pixels over 2 inches at 4 dpi: two wanted ones each.
    EXPECT_EQ(Scan(*Open(2), Request(8, 8, 1, 4, 4)), (std::vector<uint8_t>{1, 1, 2, 2, 3, 3, 4, 4}));
}

TEST_F(Folder, GoesOnAfterAFileThatCannotBeRead)
{
    const PageGeometry geometry = MakeGeometry(4, 4, 24);
    const std::vector<uint8_t> image = RandomImage(geometry);
    std::vector<uint8_t> cutShort = Bmp(geometry, image);
    cutShort.erase(cutShort.end() - 7, cutShort.end());
    Write("1.bmp", Bmp(geometry, image));
    Write("2.bmp", cutShort);
    Write("3.tif", {'n', 'o', ' ', 'i', 'm', 'a', 'g', 'e'});
    Write("4.tif", {});
    Write("5.bmp", Bmp(geometry, image));

    const auto source = Open();
    const PageRequest request = Request(24, 4, 4);
    EXPECT_EQ(Scan(*source, request), image);
    for (int i = 0; i < 3; ++i) {
        std::unique_ptr<Page> page;
        EXPECT_EQ(source->NextPage(request, page), WIA_ERROR_GENERAL_ERROR) << "file " << i + 2;
        EXPECT_EQ(page, nullptr);
    }
    EXPECT_EQ(Scan(*source, request), image);
    EXPECT_FALSE(source->HasPage());
}

}  // namespace
}  // namespace vorn::wia
