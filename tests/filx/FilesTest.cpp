#include "Pictures.h"

namespace vorn::test {
namespace {

TEST(FormatFromName, FollowsTheExtension)
{
    const std::pair<const WCHAR*, int32_t> rows[] = {
        {VORN_TEXT("page.tif"), FIL_FORMAT_TIFF},
        {VORN_TEXT("C:\\dir.bmp\\PAGE.TIFF"), FIL_FORMAT_TIFF},
        {VORN_TEXT("/\u65e5/a.b.Bmp"), FIL_FORMAT_BMP},
        {VORN_TEXT("page.JPG"), FIL_FORMAT_JPEG},
        {VORN_TEXT("page.jpeg"), FIL_FORMAT_JPEG},
        {VORN_TEXT("page.png"), FIL_FORMAT_PNG},
        {VORN_TEXT("page.pdf"), FIL_FORMAT_PDF},
        {VORN_TEXT("page"), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT("/dir.bmp/page"), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT("dir.bmp\\page"), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT("page.bmp "), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT("page.bmpbmpbmpbmp"), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT("page.\u1062mp"), FIL_FORMAT_UNKNOWN},  // its low byte is that of a b
        {VORN_TEXT("page."), FIL_FORMAT_UNKNOWN},
        {VORN_TEXT(""), FIL_FORMAT_UNKNOWN},
        {nullptr, FIL_FORMAT_UNKNOWN},
    };
    for (const auto& row : rows)
        EXPECT_EQ(FilFormatFromName(row.first), row.second) << "row " << &row - rows;
}

class Files : public FilesTest {};

TEST_F(Files, PlacesThatGiveNoFileAreTold)
{
    const Picture picture{4, 4, 24};
    Picture loaded;
    EXPECT_EQ(Load(Name("missing.tif"), loaded), FIL_ERR_NOT_FOUND);
    EXPECT_EQ(Load(WString{}, loaded), FIL_ERR_NOT_FOUND);
    EXPECT_EQ(Save(Name("missing/page.tif"), picture, FIL_FORMAT_TIFF), FIL_ERR_NOT_FOUND);
    EXPECT_EQ(Load(Name("."), loaded), FIL_ERR_IS_DIRECTORY);
    EXPECT_EQ(Save(Name("."), picture, FIL_FORMAT_TIFF), FIL_ERR_IS_DIRECTORY);
    WriteBytes(Name("empty"), "");
    WriteBytes(Name("text"), "hello");
    EXPECT_EQ(Load(Name("empty"), loaded), FIL_ERR_UNKNOWN_FORMAT);
    EXPECT_EQ(Load(Name("text"), loaded), FIL_ERR_UNKNOWN_FORMAT);
    EXPECT_EQ(Save(Name("text"), picture, FIL_FORMAT_TIFF), FIL_ERR_UNKNOWN_FORMAT);
    EXPECT_EQ(BytesOf(Name("text")), "hello");
    EXPECT_EQ(Save(Name("empty"), picture, FIL_FORMAT_TIFF), FIL_SUCCESS) << "as good as none";
}

TEST_F(Files, ArgumentsAreChecked)
{
    const WString name = Name("a.bmp");
    Picture picture{4, 4, 24}, loaded;
    ASSERT_EQ(Save(name, picture, FIL_FORMAT_BMP), FIL_SUCCESS);
    const WCHAR* const path = name.c_str();
    BitmapHandle& record = loaded.record;
    FilFileInfo info;
    FilLoadOptions options{};
    EXPECT_EQ(FilDefaultLoadOptions(&options, 47), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilInfo(path, &info, FIL_INFO_SIZE, 0, &options), FIL_ERR_INVALID_ARGUMENT) << "not filled";
    EXPECT_EQ(FilInfo(nullptr, &info, FIL_INFO_SIZE, 0, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilInfo(path, &info, 2211, 0, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilLoad(path, nullptr, 272, 0, 4, nullptr, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilLoad(path, &record, 271, 0, 4, nullptr, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilLoad(path, &record, 272, 0, 1, nullptr, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(FilLoad(path, &record, 272, 8, 4, nullptr, nullptr), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(FilLoad(path, &record, 272, 24, 0, nullptr, &info), FIL_SUCCESS);
    EXPECT_EQ(info.width, 4u);
    EXPECT_EQ(FilLoadMemory(path, &record, 272, 0, 4, -1, nullptr, nullptr), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(record.flags, 0u) << "the image that the record held is gone";

    const WString other = Name("b");
    const auto save = [&](const BitmapHandle& bitmap, int32_t format, uint32_t bits, int32_t mode,
                          int32_t compression) {
        return FilSave(other.c_str(), &bitmap, format, bits, mode, compression, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(save(BitmapHandle{}, 1, 0, 2, 6), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(save(picture.record, 99, 0, 2, 6), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(save(picture.record, 1, 8, 2, 6), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(save(picture.record, 1, 0, 0, 6), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(save(picture.record, 1, 0, 2, 0), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(save(picture.record, 1, 0, 2, 7), FIL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(save(picture.record, 1, 0, 2, FIL_COMPRESSION_LZW), FIL_ERR_UNSUPPORTED) << "BMP has none";
    for (const FilSaveOptions& wrong : {FilSaveOptions{47, 50, {}}, FilSaveOptions{48, 101, {}}})
        EXPECT_EQ(FilSave(other.c_str(), &picture.record, 1, 0, 2, 6, &wrong, nullptr, nullptr),
                  FIL_ERR_INVALID_ARGUMENT);
    BitmapHandle lying = picture.record;
    lying.height = 1000;
    EXPECT_EQ(save(lying, 1, 0, 2, 6), FIL_ERR_INVALID_ARGUMENT) << "would read past the image";
    EXPECT_EQ(NamesIn(folder.Path()).size(), 1u);
}

TEST_F(Files, ALoadReplacesTheImageOfTheRecord)
{
    ASSERT_EQ(Save(Name("a.bmp"), Picture{4, 4, 8}, FIL_FORMAT_BMP), FIL_SUCCESS);
    Picture picture{9, 9, 24};
    ASSERT_EQ(Load(Name("a.bmp"), picture), FIL_SUCCESS);
    EXPECT_EQ(picture.record.width, 4u);
    EXPECT_EQ(Load(Name("missing"), picture), FIL_ERR_NOT_FOUND);
    EXPECT_EQ(picture.record.flags, 0u);
}

TEST_F(Files, SixteenBitFilesAnswerToBothTheirDepths)
{
    ASSERT_EQ(Save(Name("a.bmp"), Picture{4, 4, 16}, FIL_FORMAT_BMP), FIL_SUCCESS);
    for (const uint32_t wanted : {0u, 16u, 24u}) {
        Picture picture;
        EXPECT_EQ(FilLoad(Name("a.bmp").c_str(), &picture.record, 272, wanted, 4, nullptr, nullptr),
                  FIL_SUCCESS);
        EXPECT_EQ(picture.record.bitsPerPixel, 24u);
    }
}

}  // namespace
}  // namespace vorn::test
