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
    struct Case {
        const char* fault;
        int32_t present, format, mode, expected;
    };
    for (const Case& row : {
             Case{"second page of a BMP", FIL_FORMAT_BMP, FIL_FORMAT_BMP, FIL_SAVE_ADD_PAGE,
                  FIL_ERR_SINGLE_PAGE_FORMAT},
             Case{"BMP page for a TIFF", FIL_FORMAT_TIFF, FIL_FORMAT_BMP, FIL_SAVE_ADD_PAGE,
                  FIL_ERR_UNSUPPORTED},
             Case{"TIFF page for a BMP", FIL_FORMAT_BMP, FIL_FORMAT_TIFF, FIL_SAVE_ADD_PAGE,
                  FIL_ERR_UNSUPPORTED},
             Case{"new file over an old one", FIL_FORMAT_TIFF, FIL_FORMAT_TIFF, FIL_SAVE_NEW, FIL_ERR_ACCESS},
         }) {
        const WString name = Name("file");
        ASSERT_EQ(Save(name, picture, row.present), FIL_SUCCESS);
        const Bytes before = Read(name);
        EXPECT_EQ(Save(name, picture, row.format, row.mode), row.expected) << row.fault;
        EXPECT_EQ(Read(name), before) << row.fault;
        std::filesystem::remove(name);
    }
}

TEST_F(Safety, EveryAllocationMayFail)
{
    const WString name = Name("a.tif");
    const Picture picture{40, 40, 8};
    for (const int32_t format : {FIL_FORMAT_BMP, FIL_FORMAT_TIFF}) {
        std::filesystem::remove(name);
        ASSERT_EQ(Save(name, picture, format), FIL_SUCCESS);
        const Bytes before = Read(name);
        const uint64_t tracked = KrnTrackedCount();
        int failures = 0;
        const auto exhaust = [&](auto&& operation) {
            for (uint64_t nth = 1;; ++nth) {
                KrnFailAllocations(nth, UINT64_MAX);
                const int32_t status = operation();
                KrnFailAllocations(0, 0);
                EXPECT_EQ(KrnTrackedCount(), tracked);
                if (status != FIL_ERR_OUT_OF_MEMORY)
                    return status;
                ++failures;
                EXPECT_EQ(Read(name), before);
                EXPECT_EQ(FileCount(), 1u) << "a half-written file is left";
            }
        };
        const auto load = [&] {
            Picture loaded;
            return Load(name, loaded);
        };
        EXPECT_EQ(exhaust(load), FIL_SUCCESS);
        EXPECT_EQ(exhaust([&] { return Save(name, picture, format); }),
                  format == FIL_FORMAT_TIFF ? FIL_SUCCESS : FIL_ERR_SINGLE_PAGE_FORMAT);
        EXPECT_GE(failures, 4);
    }
}

#ifdef __linux__

TEST_F(Safety, LinksAreFollowedAndPipesAndReadOnlyPlacesRefused)
{
    const Picture picture{4, 4, 24};
    ASSERT_EQ(Save(Name("real.tif"), picture, FIL_FORMAT_TIFF), FIL_SUCCESS);
    std::filesystem::create_symlink(folder / "real.tif", folder / "link.tif");
    EXPECT_EQ(Save(Name("link.tif"), picture, FIL_FORMAT_TIFF), FIL_SUCCESS);
    Picture page;
    EXPECT_EQ(Load(Name("real.tif"), page, 2), FIL_SUCCESS);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.tif"));

    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(Load(Name("pipe"), page), FIL_ERR_ACCESS) << "a pipe without a writer would hold the caller";
    if (geteuid() == 0)
        GTEST_SKIP() << "permissions are not seen: they do not bind root";
    chmod((folder / "real.tif").c_str(), 0400);
    EXPECT_EQ(Save(Name("real.tif"), picture, FIL_FORMAT_TIFF), FIL_ERR_ACCESS);
}

/** A file system of 256 KiB. */
class SmallDisk {
public:
    explicit SmallDisk(const std::filesystem::path& where) : where_{where}
    {
        std::filesystem::create_directory(where_);
        mounted_ = mount("none", where_.c_str(), "tmpfs", 0, "size=256k") == 0;
    }
    ~SmallDisk()
    {
        if (mounted_)
            umount(where_.c_str());
    }
    bool Mounted() const { return mounted_; }

private:
    std::filesystem::path where_;
    bool mounted_ = false;
};

TEST_F(Safety, AFullDiskLeavesWhatWasThere)
{
    const SmallDisk disk{folder / "small"};
    if (!disk.Mounted())
        GTEST_SKIP() << "a full disk is not seen: no right to mount one";
    const Picture small{50, 50, 24}, large{400, 400, 24, KRN_VIEW_BOTTOM_LEFT, 2};
    for (const int32_t format : {FIL_FORMAT_BMP, FIL_FORMAT_TIFF}) {
        EXPECT_EQ(Save(Name("small/new"), large, format), FIL_ERR_DISK_FULL);
        EXPECT_FALSE(std::filesystem::exists(folder / "small" / "new")) << "a half-written file is left";
    }
    const WString name = Name("small/pages.tif");
    ASSERT_EQ(Save(name, small, FIL_FORMAT_TIFF), FIL_SUCCESS);
    const Bytes before = Read(name);
    EXPECT_EQ(Save(name, large, FIL_FORMAT_TIFF), FIL_ERR_DISK_FULL);
    EXPECT_EQ(Read(name), before);

    // Fills the disk page by page, so that it becomes full at some write of an append, small ones included.
    int32_t status = FIL_SUCCESS;
    uint32_t pages = 1;
    Bytes last = before;
    for (; pages < 1000 && (status = Save(name, Picture{30, 30, 24}, FIL_FORMAT_TIFF)) == FIL_SUCCESS;
         ++pages)
        last = Read(name);
    EXPECT_EQ(status, FIL_ERR_DISK_FULL);
    EXPECT_EQ(Read(name), last);
    Picture page;
    EXPECT_EQ(Load(name, page, pages), FIL_SUCCESS);
    EXPECT_EQ(Difference(page, Picture{30, 30, 24}), "");
}

#endif

}  // namespace
}  // namespace vorn::test
