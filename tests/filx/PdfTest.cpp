/** PDF files, as another program reads them. */
#include <cstdio>

#include "Pictures.h"

namespace vorn::test {
namespace {

class Pdf : public FilesTest {
protected:
    int32_t Add(const Picture& picture, int32_t compression = FIL_COMPRESSION_DEFAULT)
    {
        return FilSave(Name("a.pdf").c_str(), &picture.record, FIL_FORMAT_PDF, 0, FIL_SAVE_ADD_PAGE,
                       compression, nullptr, nullptr, nullptr);
    }
    int32_t Ask(uint32_t page = 1)
    {
        FilLoadOptions options;
        FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
        options.page = page;
        return FilInfo(Name("a.pdf").c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, &options);
    }
    uint32_t CountPages()
    {
        return Ask() == FIL_SUCCESS && info.format == FIL_FORMAT_PDF ? info.pageCount : 0;
    }
    void ExpectSound() { EXPECT_EQ(Run("qpdf --check a.pdf"), 0) << BytesOf(folder.Path() / "out"); }

    FilFileInfo info{};
};

/** Index 0 is white. */
void Invert(Picture& picture)
{
    std::swap_ranges(picture.record.palette, picture.record.palette + 4, picture.record.palette + 4);
}

/** A palette of colours. */
void Color(Picture& picture)
{
    for (uint32_t i = 0; i < picture.record.paletteCount; ++i)
        picture.record.palette[i * 4] = static_cast<uint8_t>(i * 40 + 7);
}

TEST_F(Pdf, PagesOfEveryKindAreReadByOthersAsTheyWereSaved)
{
    struct Row {
        const char* kind;
        uint32_t bits, view;
        void (*change)(Picture&);
        int32_t compression;
        const char* encoding;
    };
    constexpr Row rows[] = {
        {"black and white", 1, KRN_VIEW_BOTTOM_LEFT, nullptr, FIL_COMPRESSION_DEFAULT, "ccitt"},
        {"white and black", 1, KRN_VIEW_TOP_LEFT, Invert, FIL_COMPRESSION_GROUP4, "ccitt"},
        {"two colours", 1, KRN_VIEW_BOTTOM_LEFT, Color, FIL_COMPRESSION_DEFAULT, "image"},
        {"sixteen colours", 4, KRN_VIEW_TOP_LEFT, Color, FIL_COMPRESSION_DEFAULT, "image"},
        {"sixteen greys", 4, KRN_VIEW_BOTTOM_LEFT, nullptr, FIL_COMPRESSION_DEFAULT, "image"},
        {"greys", 8, KRN_VIEW_TOP_LEFT, nullptr, FIL_COMPRESSION_DEFLATE, "image"},
        {"indexed colours", 8, KRN_VIEW_BOTTOM_LEFT, Color, FIL_COMPRESSION_DEFAULT, "image"},
        {"colours", 24, KRN_VIEW_BOTTOM_LEFT, nullptr, FIL_COMPRESSION_DEFLATE, "image"},
        {"greys as JPEG", 8, KRN_VIEW_BOTTOM_LEFT, nullptr, FIL_COMPRESSION_DEFAULT, "jpeg"},
        {"colours as JPEG", 24, KRN_VIEW_BOTTOM_LEFT, nullptr, FIL_COMPRESSION_JPEG, "jpeg"},
    };
    uint32_t page = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kind);
        Picture saved{333, 211, row.bits, row.view, page};
        if (row.change)
            row.change(saved);
        saved.record.xDpi = 300;
        saved.record.yDpi = 150;
        ASSERT_EQ(Add(saved, row.compression), FIL_SUCCESS);
        EXPECT_EQ(CountPages(), ++page);
        ASSERT_EQ(Ask(1 + page / 2), FIL_SUCCESS);  // also of pages before the last
        EXPECT_EQ(info.width, 333u);
        EXPECT_EQ(info.height, 211u);
        EXPECT_EQ(double{info.xDpi}, 300);
        EXPECT_EQ(double{info.yDpi}, 150);
        ASSERT_EQ(Ask(page), FIL_SUCCESS);
        EXPECT_EQ(info.bitsPerPixel, row.bits);
        EXPECT_EQ(Ask(page + 1), FIL_ERR_NO_SUCH_PAGE);

        const std::string number = std::to_string(page), only = " -f " + number + " -l " + number + " a.pdf";
        ASSERT_EQ(Run("pdfimages -tiff" + only + " p" + number), 0);
        Picture loaded;
        ASSERT_EQ(Load(Name(("p" + number + "-000.tif").c_str()), loaded), FIL_SUCCESS);
        // The program takes whatever two colours for black and white.
        const bool comparable =
            row.encoding != std::string_view{"jpeg"} && (row.bits > 1 || row.change != Color);
        EXPECT_EQ(comparable ? Difference(loaded, saved) : "", "");
        Run("pdfimages -list" + only);
        EXPECT_NE(BytesOf(folder.Path() / "out").find(row.encoding), std::string::npos);
        Run("pdfinfo" + only);
        EXPECT_NE(BytesOf(folder.Path() / "out").find("79.92 x 101.28 pts"), std::string::npos);
    }
    ExpectSound();
}

TEST_F(Pdf, GroupsOfPagesKeepTheirOrder)
{
    constexpr uint32_t kPages = 130;  // two groups and a bit
    for (uint32_t page = 1; page <= kPages; ++page)
        ASSERT_EQ(Add(Picture{page, 1, 1}), FIL_SUCCESS);
    EXPECT_EQ(CountPages(), kPages);
    ExpectSound();
    ASSERT_EQ(Run("pdfinfo -f 1 -l 999 a.pdf"), 0);
    const std::string sizes = BytesOf(folder.Path() / "out");
    for (uint32_t page = 1; page <= kPages; ++page) {
        char line[64];
        std::snprintf(line, sizeof(line), "Page %4u size:  %u x 1 pts", page, page);
        EXPECT_NE(sizes.find(line), std::string::npos) << line;
    }
}

TEST_F(Pdf, PagesAreAddedBehindThoseOfOthers)
{
    for (const char* how : {"", "--object-streams=generate", "--linearize"}) {
        SCOPED_TRACE(how);
        std::filesystem::remove(Name("a.pdf"));
        for (uint32_t page = 1; page <= 3; ++page)
            ASSERT_EQ(Add(Picture{page, 7, 1}), FIL_SUCCESS);
        ASSERT_EQ(Run(std::string{"qpdf --replace-input a.pdf "} + how), 0);
        const std::string before = BytesOf(Name("a.pdf"));
        for (uint32_t page = 4; page <= 70; ++page)
            ASSERT_EQ(Add(Picture{page, 7, 1}), FIL_SUCCESS);
        WriteBytes(Name("a.pdf"), BytesOf(Name("a.pdf")) + "% changed by others once more\n");
        ASSERT_EQ(Add(Picture{71, 7, 1}), FIL_SUCCESS);
        EXPECT_EQ(CountPages(), 71u);
        EXPECT_TRUE(BytesOf(Name("a.pdf")).starts_with(before));
        ExpectSound();
        ASSERT_EQ(Run("pdfinfo -f 1 -l 71 a.pdf"), 0);
        const std::string told = BytesOf(folder.Path() / "out");
        EXPECT_NE(told.find("Producer:        vornwia"), std::string::npos) << told;
        for (const uint32_t page : {1u, 3u, 4u, 70u, 71u}) {
            EXPECT_NE(told.find(" size:  " + std::to_string(page) + " x 7 pts"), std::string::npos) << page;
            ASSERT_EQ(Ask(page), FIL_SUCCESS);
            EXPECT_EQ(info.width, page);
        }
        EXPECT_EQ(Ask(72), FIL_ERR_NO_SUCH_PAGE);
    }
}

TEST_F(Pdf, WhatItCannotHoldOrAddToIsRefusedAndLeftAsItIs)
{
    const Picture page{8, 8, 24};
    EXPECT_EQ(Add(page, FIL_COMPRESSION_GROUP4), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(Add(Picture{8, 8, 32}), FIL_ERR_UNSUPPORTED);
    EXPECT_TRUE(NamesIn(folder.Path()).empty());

    ASSERT_EQ(Add(page), FIL_SUCCESS);
    const std::string whole = BytesOf(folder.Path() / "a.pdf");
    const std::string damages[] = {
        "%PDF-1.4\nnothing\n",
        whole.substr(0, whole.size() - 8),  // cut
        whole.substr(0, whole.size() / 2) + whole.substr(whole.rfind("startxref")),
        whole.substr(0, whole.rfind("startxref") + 10) + "9999999999\n%%EOF\n",  // the table is elsewhere
        whole.substr(0, whole.rfind("startxref") + 10) + "         1\n%%EOF\n",  // or nowhere
    };
    for (const std::string& bytes : damages) {
        WriteBytes(folder.Path() / "a.pdf", bytes);
        const int32_t status = Add(page);
        EXPECT_TRUE(status == FIL_ERR_UNSUPPORTED || status == FIL_ERR_CORRUPT) << status;
        EXPECT_EQ(BytesOf(folder.Path() / "a.pdf"), bytes);
        EXPECT_EQ(CountPages(), 0u);
    }
    for (const char* passwords : {"'' ''", "user owner"}) {
        WriteBytes(Name("a.pdf"), whole);
        const std::string encrypt =
            std::string{"qpdf --replace-input a.pdf --encrypt "} + passwords + " 256 --";
        ASSERT_EQ(Run(encrypt), 0);
        const std::string bytes = BytesOf(Name("a.pdf"));
        EXPECT_EQ(Ask(), FIL_ERR_UNSUPPORTED);
        EXPECT_EQ(Add(page), FIL_ERR_UNSUPPORTED);
        EXPECT_EQ(BytesOf(Name("a.pdf")), bytes);
    }
    Picture loaded;
    WriteBytes(folder.Path() / "a.pdf", whole);
    EXPECT_EQ(Load(Name("a.pdf"), loaded), FIL_ERR_UNSUPPORTED) << "pages are not read";
}

}  // namespace
}  // namespace vorn::test
