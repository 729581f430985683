#include <cstdlib>
#include <memory>
#include <random>
#include <tuple>

#include "Pictures.h"

#ifdef __linux__
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vorn::test {
namespace {

class Safety : public FilesTest {};

TEST_F(Safety, ExistingFilesOfOneKindAreNotChangedByAnother)
{
    const Picture picture{40, 40, 24};
    struct Row {
        const char* fault;
        int32_t present, format, mode, expected;
    };
    constexpr int32_t kBmp = FIL_FORMAT_BMP, kTiff = FIL_FORMAT_TIFF, kAdd = FIL_SAVE_ADD_PAGE;
    const Row rows[] = {
        {"second page of a BMP", kBmp, kBmp, kAdd, FIL_ERR_SINGLE_PAGE_FORMAT},
        {"BMP page for a TIFF", kTiff, kBmp, kAdd, FIL_ERR_UNSUPPORTED},
        {"TIFF page for a BMP", kBmp, kTiff, kAdd, FIL_ERR_UNSUPPORTED},
        {"new file over an old one", kTiff, kTiff, FIL_SAVE_NEW, FIL_ERR_ACCESS},
    };
    for (const Row& row : rows) {
        const WString name = Name("file");
        ASSERT_EQ(Save(name, picture, row.present), FIL_SUCCESS);
        const std::string before = BytesOf(name);
        EXPECT_EQ(Save(name, picture, row.format, row.mode), row.expected) << row.fault;
        EXPECT_EQ(BytesOf(name), before) << row.fault;
        std::filesystem::remove(name);
    }
}

#ifdef __linux__

TEST_F(Safety, LinksAreFollowedAndPipesAndReadOnlyPlacesRefused)
{
    const Picture picture{4, 4, 24};
    ASSERT_EQ(Save(Name("real.tif"), picture, FIL_FORMAT_TIFF), FIL_SUCCESS);
    std::filesystem::create_symlink(Name("real.tif"), Name("link.tif"));
    EXPECT_EQ(Save(Name("link.tif"), picture, FIL_FORMAT_TIFF), FIL_SUCCESS);
    Picture page;
    EXPECT_EQ(Load(Name("real.tif"), page, 2), FIL_SUCCESS);
    EXPECT_TRUE(std::filesystem::is_symlink(Name("link.tif")));

    std::filesystem::create_symlink(Name("planted.tif"), Name("dangling.tif"));
    EXPECT_EQ(Save(Name("dangling.tif"), picture, FIL_FORMAT_TIFF), FIL_ERR_ACCESS);
    EXPECT_EQ(NamesIn(folder.Path()), (std::set<std::string>{"dangling.tif", "link.tif", "real.tif"}))
        << "the link is followed, or a file is left";

    ASSERT_EQ(mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(Load(Name("pipe"), page), FIL_ERR_ACCESS) << "a pipe without a writer would hold the caller";
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions are not seen: they do not bind root";
    chmod((folder.Path() / "real.tif").c_str(), 0400);
    EXPECT_EQ(Save(Name("real.tif"), picture, FIL_FORMAT_TIFF), FIL_ERR_ACCESS);
}

TEST_F(Safety, AFullDiskLeavesWhatWasThere)
{
    const std::string disk = folder.Path() / "small";
    std::filesystem::create_directory(disk);
    if (mount("none", disk.c_str(), "tmpfs", 0, "size=256k") != 0)
        GTEST_SKIP() << "a full disk is not seen: no right to mount one";
    const std::unique_ptr<const char, int (*)(const char*)> mounted{disk.c_str(), umount};
    constexpr int32_t kTiff = FIL_FORMAT_TIFF, kPdf = FIL_FORMAT_PDF;
    const std::tuple<int32_t, int32_t, uint32_t> rows[] = {{FIL_FORMAT_BMP, FIL_COMPRESSION_NONE, 24},
                                                           {FIL_FORMAT_JPEG, FIL_COMPRESSION_JPEG, 24},
                                                           {FIL_FORMAT_PNG, FIL_COMPRESSION_DEFLATE, 24},
                                                           {kTiff, FIL_COMPRESSION_NONE, 24},
                                                           {kTiff, FIL_COMPRESSION_DEFLATE, 24},
                                                           {kTiff, FIL_COMPRESSION_JPEG, 24},
                                                           {kTiff, FIL_COMPRESSION_GROUP4, 1},
                                                           {kPdf, FIL_COMPRESSION_DEFLATE, 24},
                                                           {kPdf, FIL_COMPRESSION_JPEG, 24},
                                                           {kPdf, FIL_COMPRESSION_GROUP4, 1}};
    for (const auto& [format, compression, bits] : rows) {
        SCOPED_TRACE(std::to_string(format) + " with " + std::to_string(compression));
        const auto add = [&](uint32_t side) {
            const Picture picture{side, side, bits};
            return FilSave(Name("small/a").c_str(), &picture.record, format, 0, FIL_SAVE_ADD_PAGE,
                           compression, nullptr, nullptr, nullptr);
        };
        const uint32_t large = bits == 1 ? 2000 : 500;
        EXPECT_EQ(add(large), FIL_ERR_DISK_FULL);
        EXPECT_TRUE(NamesIn(disk).empty()) << "a half-written file is left";
        if (format != kTiff && format != kPdf)
            continue;
        // Fills the disk page by page, so that it becomes full at some write of an append, small ones included.
        ASSERT_EQ(add(50), FIL_SUCCESS);
        std::string before = BytesOf(Name("small/a"));
        EXPECT_EQ(add(large), FIL_ERR_DISK_FULL);
        EXPECT_TRUE(BytesOf(Name("small/a")) == before);
        int32_t status = add(30);
        for (uint32_t pages = 2; pages < 2000 && status == FIL_SUCCESS; ++pages) {
            before = BytesOf(Name("small/a"));
            status = add(30);
        }
        EXPECT_EQ(status, FIL_ERR_DISK_FULL);
        EXPECT_TRUE(BytesOf(Name("small/a")) == before);
        std::filesystem::remove(Name("small/a"));
    }
}

#endif

TEST_F(Safety, AFileIsRefusedOrTakesThePageSoThatItCanBeReached)
{
    const std::pair<const char*, int32_t> kFiles[] = {
        {"pages.tif", FIL_FORMAT_TIFF}, {"pages.pdf", FIL_FORMAT_PDF}, {"others.pdf", FIL_FORMAT_PDF}};
    for (const auto& [file, format] : kFiles) {
        const bool others = std::string{file} == "others.pdf";
        const WString name = Name(others ? "made.pdf" : file);
        for (uint32_t page = 1; page <= 3; ++page)
            ASSERT_EQ(Save(name, Picture{8, 8, 8, KRN_VIEW_BOTTOM_LEFT, page}, format), FIL_SUCCESS);
        const std::filesystem::path folderPath = folder.Path();
        if (others && Run("qpdf --object-streams=generate made.pdf others.pdf") != 0)
            continue;  // qpdf is not installed
        const std::string sound = BytesOf(folderPath / file);
        std::mt19937 random{1};
        int refused = 0, taken = 0;
        for (int run = 0; run < 400; ++run) {
            std::string bytes = sound;
            for (size_t places = 1 + random() % 3; places > 0; --places) {
                const size_t at = random() % bytes.size();
                if (random() % 4 == 0)
                    bytes.resize(std::max<size_t>(1, at));
                else
                    bytes[std::min(at, bytes.size() - 1)] = static_cast<char>(random());
            }
            WriteBytes(folderPath / "mutated", bytes);
            const WString mutated = Name("mutated");
            FilFileInfo before{}, after{};
            FilInfo(mutated.c_str(), &before, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
            if (Save(mutated, Picture{9, 9, 8}, format) != FIL_SUCCESS) {
                ++refused;
                ASSERT_TRUE(BytesOf(folderPath / "mutated") == bytes) << file << ", run " << run;
                continue;
            }
            ++taken;
            ASSERT_EQ(FilInfo(mutated.c_str(), &after, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr),
                      FIL_SUCCESS)
                << file << ", run " << run;
            ASSERT_EQ(after.pageCount, before.pageCount + 1) << file << ", run " << run;
            Picture last;
            if (format == FIL_FORMAT_TIFF) {
                ASSERT_EQ(Load(mutated, last, after.pageCount), FIL_SUCCESS) << run;
                EXPECT_EQ(last.record.width, 9u);
            }
        }
        EXPECT_GT(refused, 0) << file;
        EXPECT_GT(taken, 0) << file;
    }
}

}  // namespace
}  // namespace vorn::test
