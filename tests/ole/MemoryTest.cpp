#include <algorithm>

#include "OleTest.h"

namespace vorn::test {
namespace {

class GlobalBlocks : public OleTest {};

TEST_F(GlobalBlocks, EmptyMovableBlockHasAHandleAndNoMemory)
{
    const HGLOBAL block = GlobalAlloc(GHND, 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalFlags(block), GMEM_DISCARDED);
    EXPECT_EQ(GlobalReAlloc(block, 10, GHND), block);
    EXPECT_NE(GlobalLock(block), nullptr);
    EXPECT_EQ(GlobalFlags(block), 1u);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST_F(GlobalBlocks, LocksAreCounted)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 10);
    GlobalLock(block);
    GlobalLock(block);
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), ERROR_NOT_LOCKED);
    GlobalFree(block);
}

TEST_F(GlobalBlocks, LockedBlockDoesNotMove)
{
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
    void* const data = GlobalLock(block);
    EXPECT_EQ(GlobalReAlloc(block, 1 << 20, GMEM_MOVEABLE), nullptr);
    EXPECT_EQ(GlobalSize(block), 100u);
    EXPECT_EQ(GlobalReAlloc(block, 50, GMEM_MOVEABLE), block);
    EXPECT_EQ(GlobalLock(block), data);
    GlobalFree(block);
}

TEST_F(GlobalBlocks, FreedHandleNeverReachesAnotherBlock)
{
    const HGLOBAL freed = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalFree(freed), nullptr);
    const HGLOBAL next = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalLock(freed), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(GlobalFlags(freed), GMEM_INVALID_HANDLE);
    EXPECT_EQ(GlobalReAlloc(freed, 20, GMEM_MOVEABLE), nullptr);
    EXPECT_EQ(GlobalFree(freed), freed);
    EXPECT_EQ(GlobalFree(next), nullptr);
    EXPECT_EQ(GlobalFree(nullptr), nullptr);
}

TEST_F(GlobalBlocks, FixedBlockIsItsOwnHandle)
{
    HGLOBAL block = GlobalAlloc(GPTR, 16);
    EXPECT_EQ(GlobalLock(block), block);
    EXPECT_TRUE(std::all_of(static_cast<BYTE*>(block), static_cast<BYTE*>(block) + 16,
                            [](BYTE b) { return b == 0; }));
    EXPECT_EQ(GlobalReAlloc(block, 1 << 20, 0), nullptr) << "it may not move";
    std::memset(block, 7, 16);
    block = GlobalReAlloc(block, 1 << 20, GMEM_MOVEABLE);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(static_cast<BYTE*>(block)[15], 7);
    EXPECT_EQ(GlobalFree(block), nullptr);
}

// Sizes on both sides of where memory comes from the kernel, and of a page and a huge page.
TEST_F(GlobalBlocks, ResizingKeepsTheContentAndZeroesWhatIsNew)
{
    constexpr SIZE_T kMiB = 1 << 20;
    const HGLOBAL block = GlobalAlloc(GHND, 1);
    SIZE_T kept = 1;
    std::memset(GlobalLock(block), 0xA5, 1);
    GlobalUnlock(block);
    for (const SIZE_T size : {4096 * SIZE_T{1}, 3 * kMiB, 4 * kMiB - 1, 4 * kMiB, 9 * kMiB + 5, 5 * kMiB,
                              40 * kMiB, kMiB, 6 * kMiB}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(GlobalReAlloc(block, size, GHND), block);
        ASSERT_EQ(GlobalSize(block), size);
        auto* data = static_cast<BYTE*>(GlobalLock(block));
        kept = std::min(kept, size);
        EXPECT_TRUE(std::all_of(data, data + kept, [](BYTE b) { return b == 0xA5; }));
        EXPECT_TRUE(std::all_of(data + kept, data + size, [](BYTE b) { return b == 0; }));
        std::memset(data, 0xA5, size);
        kept = size;
        GlobalUnlock(block);
    }
    GlobalFree(block);
}

TEST_F(GlobalBlocks, AbsurdSizesFail)
{
    EXPECT_EQ(GlobalAlloc(GMEM_MOVEABLE, SIZE_MAX), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 10);
    EXPECT_EQ(GlobalReAlloc(block, SIZE_MAX - 1, GMEM_MOVEABLE), nullptr);
    EXPECT_EQ(GlobalSize(block), 10u) << "the block must stay as it was";
    GlobalFree(block);
}

TEST_F(GlobalBlocks, MediumReleasesWhatItOwns)
{
    STGMEDIUM medium{};
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = GlobalAlloc(GHND, 10);
    ReleaseStgMedium(&medium);
    EXPECT_EQ(medium.tymed, DWORD{TYMED_NULL});

    medium.tymed = TYMED_ISTREAM;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &medium.pstm), S_OK);
    ReleaseStgMedium(&medium);

    const ScratchFolder folder;
    WriteBytes(folder.Path() / "file", "x");
    const WString name = Wide(folder.Path() / "file");
    medium.tymed = TYMED_FILE;
    ReleaseStgMedium(&medium);  // without a name there is no file to delete
    medium.tymed = TYMED_FILE;
    medium.lpszFileName = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(WCHAR)));
    std::copy_n(name.c_str(), name.size() + 1, medium.lpszFileName);
    ReleaseStgMedium(&medium);
    EXPECT_EQ(NamesIn(folder.Path()).size(), 0u);
    ReleaseStgMedium(nullptr);
}

TEST_F(GlobalBlocks, MediumWithAReleaserLeavesTheDataToIt)
{
    const HGLOBAL block = GlobalAlloc(GHND, 10);
    STGMEDIUM medium{};
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = block;
    medium.pUnkForRelease = new Nothing;
    ReleaseStgMedium(&medium);
    EXPECT_EQ(GlobalFree(block), nullptr) << "the block was freed";
}

}  // namespace
}  // namespace vorn::test
