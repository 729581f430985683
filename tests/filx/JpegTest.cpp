#include <cstdlib>

#include "Pictures.h"

namespace vorn::test {
namespace {

class Jpeg : public FilesTest {
protected:
    std::string FileOf(const Picture& picture)
    {
        const WString name = Name("picture.jpg");
        EXPECT_EQ(Save(name, picture, FIL_FORMAT_JPEG, FIL_SAVE_NEW), FIL_SUCCESS);
        std::string bytes = BytesOf(name);
        std::filesystem::remove(name);
        return bytes;
    }
};

/** Blocks of 8 x 8 pixels, which the format keeps: the one at the top left dark, the others light. */
void PaintBlocks(Picture& picture)
{
    const BitmapHandle& record = picture.record;
    for (uint32_t y = 0; y < record.height; ++y)
        for (uint64_t i = 0; i < record.rowBytes; ++i) {
            const bool dark = y >= record.height - 8 && i < record.bitsPerPixel;
            static_cast<uint8_t*>(record.image)[y * record.rowBytes + i] = dark ? 0 : 0xFF;
        }
}

/** The block that is dark, if one is and all others are light. */
std::pair<int, int> DarkBlock(const Picture& picture)
{
    std::pair<int, int> found{-1, -1};
    for (uint32_t y = 0; y < picture.record.height; ++y)
        for (uint32_t x = 0; x < picture.record.width; ++x) {
            const int green = picture.ColorAt(x, y)[1];
            const std::pair<int, int> block{x / 8, y / 8};
            if (green < 16 && found.first < 0)
                found = block;
            if (block == found ? green >= 16 : green < 240)
                return {-2, -2};
        }
    return found;
}

TEST_F(Jpeg, EveryDepthBecomesGreyOrColour)
{
    struct Row {
        uint32_t bits, expected;
        bool color;
    };
    for (const Row& row : {Row{1, 8, false}, Row{4, 8, false}, Row{8, 8, false}, Row{4, 24, true},
                           Row{8, 24, true}, Row{24, 24, true}, Row{32, 24, true}})
        for (const uint32_t view : {KRN_VIEW_BOTTOM_LEFT, KRN_VIEW_TOP_LEFT}) {
            SCOPED_TRACE(testing::Message() << row.bits << " bits to " << row.expected << ", view " << view);
            Picture saved{24, 16, row.bits, KRN_VIEW_BOTTOM_LEFT}, loaded;
            PaintBlocks(saved);
            saved.record.viewPerspective = view;
            saved.record.xDpi = 300;
            saved.record.yDpi = 600;
            if (row.bits <= 8 && row.color)
                saved.record.palette[2] = 20;  // black becomes a dark red
            ASSERT_EQ(LoadBytes(FileOf(saved), loaded), FIL_SUCCESS);
            EXPECT_EQ(loaded.record.bitsPerPixel, row.expected);
            EXPECT_EQ(DarkBlock(loaded), std::pair(0, view == KRN_VIEW_BOTTOM_LEFT ? 0 : 1));
            EXPECT_EQ(double{loaded.record.xDpi}, 300);
            EXPECT_EQ(double{loaded.record.yDpi}, 600);
        }
    EXPECT_EQ(Save(Name("deep"), Picture{4, 4, 16}, FIL_FORMAT_JPEG), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(Save(Name("wide"), Picture{65501, 1, 8}, FIL_FORMAT_JPEG), FIL_ERR_TOO_LARGE);
    EXPECT_TRUE(NamesIn(folder.Path()).empty());
}

/** The file with a camera's notes in place of its own: orientation, and 200 by 100 dots an inch. */
std::string WithExif(const std::string& file, uint8_t orientation)
{
    const auto text = [](std::initializer_list<uint8_t> bytes) {
        return std::string(bytes.begin(), bytes.end());
    };
    std::string notes = std::string{"Exif\0\0MM\0\x2A\0\0\0\x08\0\x03", 16} +
                        text({1, 0x12, 0, 3, 0, 0, 0, 1, 0, orientation, 0, 0}) +
                        text({1, 0x1A, 0, 5, 0, 0, 0, 1, 0, 0, 0, 50}) +
                        text({1, 0x1B, 0, 5, 0, 0, 0, 1, 0, 0, 0, 58}) + text({0, 0, 0, 0}) +
                        text({0, 0, 0, 200, 0, 0, 0, 1}) + text({0, 0, 0, 100, 0, 0, 0, 1});
    const size_t rest =
        4 + static_cast<uint8_t>(file[5]);  // behind the first segment, which tells the resolution
    return file.substr(0, 2) + text({0xFF, 0xE1, 0, static_cast<uint8_t>(notes.size() + 2)}) + notes +
           file.substr(rest);
}

TEST_F(Jpeg, APdfFileHoldsTheDataOfAFileThatReadersTakeAsItIs)
{
    const WString source = Name("source"), pdf = Name("a.pdf");
    const std::string colour = FileOf(Picture{64, 40, 24}), grey = FileOf(Picture{64, 40, 8});
    const struct {
        const char* kind;
        std::string file;
        uint32_t quality;
        int32_t expected;
        bool embedded;
    } rows[] = {{"colour", colour, 0, FIL_SUCCESS, true},
                {"grey", grey, 0, FIL_SUCCESS, true},
                {"noted upright", WithExif(colour, 1), 0, FIL_SUCCESS, true},
                {"turned by its notes", WithExif(colour, 6), 0, FIL_SUCCESS, false},
                {"of another quality than wanted", colour, 30, FIL_SUCCESS, false},
                {"cut", colour.substr(0, colour.size() / 2), 0, FIL_ERR_CORRUPT, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kind);
        WriteBytes(source, row.file);
        FilSaveOptions how{};
        how.structSize = FIL_SAVE_OPTIONS_SIZE;
        how.jpegQuality = row.quality;
        EXPECT_EQ(FilSaveFile(pdf.c_str(), source.c_str(), FIL_FORMAT_PDF, FIL_SAVE_NEW,
                              FIL_COMPRESSION_DEFAULT, &how),
                  row.expected);
        EXPECT_EQ(std::filesystem::exists(pdf), row.expected == FIL_SUCCESS);
        EXPECT_EQ(BytesOf(pdf).find(row.file) != std::string::npos, row.embedded);
        std::filesystem::remove(pdf);
    }
}

TEST_F(Jpeg, PicturesOfTurnedCamerasAreUpright)
{
    Picture saved{24, 16, 24};
    PaintBlocks(saved);
    const std::string file = FileOf(saved);
    const std::pair<int, int> corners[] = {{0, 0}, {2, 0}, {2, 1}, {0, 1}, {0, 0}, {1, 0}, {1, 2}, {0, 2}};
    for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(int{orientation});
        Picture loaded;
        ASSERT_EQ(LoadBytes(WithExif(file, orientation), loaded), FIL_SUCCESS);
        const bool turned = orientation > 4;
        EXPECT_EQ(loaded.record.width, turned ? 16u : 24u);
        EXPECT_EQ(double{loaded.record.xDpi}, turned ? 100 : 200);
        EXPECT_EQ(DarkBlock(loaded), corners[orientation - 1]);
    }
}

struct DamageCase {
    const char* fault;
    int32_t expected;
    int at;  ///< behind the marker of the frame
    std::string bytes;
};
const DamageCase kDamages[] = {
    {"12 bits", FIL_ERR_UNSUPPORTED, 2, "\x0C"},
    {"lossless", FIL_ERR_UNSUPPORTED, -1, "\xC3"},
    {"height to be told later", FIL_ERR_UNSUPPORTED, 3, std::string(2, '\0')},
    {"width 0", FIL_ERR_CORRUPT, 5, std::string(2, '\0')},
    {"more blocks than bits", FIL_ERR_CORRUPT, 3, "\x40\x01\x40\x01"},
    {"more than a bitmap holds", FIL_ERR_TOO_LARGE, 3, "\xFF\xDC\xFF\xDC"},
    {"five components", FIL_ERR_CORRUPT, 7, "\x05"},
    {"sampling factor 0", FIL_ERR_CORRUPT, 9, std::string(1, '\0')},
    {"taller than its data", FIL_ERR_CORRUPT, 3, std::string{"\0\x20", 2}},
};

TEST_F(Jpeg, DamageIsTold)
{
    Picture saved{24, 16, 24};
    PaintBlocks(saved);
    const std::string whole = FileOf(saved);
    const size_t frame = whole.find("\xFF\xC0") + 2;
    for (const DamageCase& row : kDamages) {
        std::string damaged = whole;
        damaged.replace(frame + row.at, row.bytes.size(), row.bytes);
        Picture loaded;
        EXPECT_EQ(LoadBytes(damaged, loaded), row.expected) << row.fault;
    }
    for (size_t size = 3; size < whole.size(); ++size) {
        Picture loaded;
        ASSERT_EQ(LoadBytes(std::string_view{whole}.substr(0, size), loaded), FIL_ERR_CORRUPT) << size;
    }
    const Picture noise{64, 64, 24};
    const std::string file = FileOf(noise);
    Picture loaded;
    EXPECT_EQ(LoadBytes(file.substr(0, file.size() * 3 / 4) + "\xFF\xD9", loaded), FIL_ERR_CORRUPT)
        << "rows that are missing were made up";
    EXPECT_EQ(LoadBytes(file + "what others append", loaded), FIL_SUCCESS);
}

}  // namespace
}  // namespace vorn::test
