#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Vornkrnx.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* kHere = "MemoryTest";

void Append(const char* line, void* lines)
{
    static_cast<Lines*>(lines)->emplace_back(line);
}

class KernelMemory : public testing::Test {
protected:
    KernelMemory() { KrnSetMisuseSink(&Append, &misuse_); }
    ~KernelMemory() override { KrnSetMisuseSink(nullptr, nullptr); }

    Lines NewlyTracked() const
    {
        Lines lines;
        KrnReportTracked(&Append, &lines);
        lines.erase(lines.begin(),
                    lines.begin() + static_cast<ptrdiff_t>(std::min<size_t>(before_, lines.size())));
        return lines;
    }
    uint64_t NewCount() const { return KrnTrackedCount() - before_; }

    Lines misuse_;  ///< what the kernel library reports as misuse

private:
    uint64_t before_ = KrnTrackedCount();
};

struct SizeCase {
    const char* fault;
    uint64_t count, size;
    bool allocates;
};
constexpr SizeCase kSizes[] = {
    {"an empty block is refused", 0, 8, true},
    {"elements of no size divide by zero", 8, 0, true},
    {"count x size wraps to a small number", UINT64_MAX / 2 + 2, 2, false},
    {"count x size wraps to 0", uint64_t{1} << 32, uint64_t{1} << 32, false},
    {"the header's bytes wrap the size", UINT64_MAX, 1, false},
    {"the header's bytes wrap the size, just", UINT64_MAX - 63, 1, false},
};

TEST_F(KernelMemory, SizesAreChecked)
{
    for (const SizeCase& row : kSizes) {
        void* const block = KrnAlloc(row.count, row.size, 1, kHere);
        EXPECT_EQ(block != nullptr, row.allocates) << row.fault;
        KrnFree(block, 1, kHere);
        void* const array = KrnAllocArray(row.count, row.size, 1, kHere);
        EXPECT_EQ(array != nullptr, row.allocates) << row.fault;
        KrnFreeArray(array, 1, kHere);
    }
    EXPECT_TRUE(misuse_.empty());
}

TEST_F(KernelMemory, ResizeKeepsContentOrderAndTheOldBlockOnFailure)
{
    char* block = static_cast<char*>(KrnRealloc(nullptr, 4, 10, "first"));
    void* const other = KrnAlloc(1, 1, 20, "second");
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abcd", 4);
    for (const uint64_t size : {100u, 1u << 20, 4u}) {
        block = static_cast<char*>(KrnRealloc(block, size, 30, "resized"));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    }
    EXPECT_EQ(KrnRealloc(block, UINT64_MAX - 8, 1, kHere), nullptr);
    KrnFailAllocations(1, 1);
    EXPECT_EQ(KrnRealloc(block, 1000, 1, kHere), nullptr);
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);

    EXPECT_EQ(NewlyTracked(), (Lines{"resized:30: block of 4 bytes", "second:20: block of 1 bytes"}));
    KrnFree(block, 1, kHere);
    KrnFree(other, 1, kHere);
}

TEST_F(KernelMemory, UntrackedBlocksAreStillResizedAndFreed)
{
    void* block = KrnAlloc(3, 4, 1, kHere);
    KrnUntrackResource(KRN_RESOURCE_MEMORY, block, 1, kHere);
    EXPECT_EQ(NewCount(), 0u);
    block = KrnRealloc(block, 1u << 20, 1, kHere);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(NewCount(), 0u) << "a resized block came back into the tracking";
    KrnTrackResource(KRN_RESOURCE_MEMORY, block, 1, kHere);
    KrnTrackResource(KRN_RESOURCE_MEMORY, block, 1, kHere);
    EXPECT_EQ(NewCount(), 1u);
    KrnUntrackResource(KRN_RESOURCE_MEMORY, block, 1, kHere);
    KrnFree(block, 1, kHere);
    EXPECT_EQ(NewCount(), 0u);
    EXPECT_TRUE(misuse_.empty());
}

TEST_F(KernelMemory, ResourcesAreTrackedByKind)
{
    int callback = 0;
    KrnTrackResource(KRN_RESOURCE_CALLBACK, &callback, 7, "callback");
    EXPECT_EQ(NewCount(), 1u);
    ASSERT_EQ(NewlyTracked().size(), 1u);
    EXPECT_EQ(NewlyTracked()[0].rfind("callback:7: resource of kind 4", 0), 0u);
    KrnUntrackResource(5, &callback, 1, kHere);
    EXPECT_EQ(misuse_.size(), 1u) << "another kind's resource was taken";
    KrnUntrackResource(KRN_RESOURCE_CALLBACK, &callback, 1, kHere);
    KrnUntrackResource(KRN_RESOURCE_CALLBACK, &callback, 1, kHere);
    EXPECT_EQ(misuse_.size(), 2u) << "the second time was not reported";
    KrnTrackResource(KRN_RESOURCE_CALLBACK, nullptr, 1, kHere);
    KrnUntrackResource(KRN_RESOURCE_CALLBACK, nullptr, 1, kHere);
    EXPECT_EQ(misuse_.size(), 2u);
    EXPECT_EQ(NewCount(), 0u);
}

TEST_F(KernelMemory, MisuseIsReportedWithItsPlaceAndIgnored)
{
    alignas(16) char onStack[256] = {};
    const std::unique_ptr<char[]> foreign{new char[256]{}};
    void* const live = KrnAlloc(1, 100, 1, kHere);
    void* const freed = KrnAlloc(1, 100, 1, kHere);
    void* const takenOut = KrnAlloc(1, 100, 1, kHere);
    KrnUntrackResource(KRN_RESOURCE_MEMORY, takenOut, 1, kHere);
    KrnFree(freed, 1, kHere);

    struct Case {
        const char* fault;
        void* block;
    } const cases[] = {
        {"freed twice", freed},
        {"on the stack", onStack + 128},
        {"of another allocator", foreign.get()},
        {"inside of a block", static_cast<char*>(live) + 16},
        {"misaligned", static_cast<char*>(live) + 1},
        {"a small number", reinterpret_cast<void*>(uintptr_t{48})},
        {"the last address", reinterpret_cast<void*>(UINTPTR_MAX - 15)},
    };
    for (const Case& row : cases) {
        misuse_.clear();
        KrnFree(row.block, 42, "culprit");
        EXPECT_EQ(KrnRealloc(row.block, 10, 42, "culprit"), nullptr) << row.fault;
        KrnTrackResource(KRN_RESOURCE_MEMORY, row.block, 42, "culprit");
        KrnUntrackResource(KRN_RESOURCE_MEMORY, row.block, 42, "culprit");
        ASSERT_EQ(misuse_.size(), 4u) << row.fault;
        for (const std::string& line : misuse_)
            EXPECT_EQ(line.rfind("culprit:42: Krn", 0), 0u) << line;
    }
    misuse_.clear();
    KrnUntrackResource(KRN_RESOURCE_MEMORY, takenOut, 1, kHere);
    EXPECT_EQ(misuse_.size(), 1u) << "taken out twice";
    KrnFree(takenOut, 1, kHere);
    KrnFree(live, 1, kHere);
    KrnFree(nullptr, 1, kHere);
    EXPECT_EQ(misuse_.size(), 1u);
}

TEST_F(KernelMemory, AFreedLargeImageIsReportedThoughItsPagesAreGone)
{
    BitmapHandle bitmap{};
    ASSERT_EQ(KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 2000, 2000, 24,
                              KRN_COLOR_ORDER_BGR, nullptr, KRN_VIEW_BOTTOM_LEFT, nullptr, 0),
              KRN_SUCCESS);
    BitmapHandle shared = bitmap;
    EXPECT_EQ(KrnFreeBitmap(&bitmap), KRN_SUCCESS);
    KrnFreeBitmap(&shared);
    EXPECT_EQ(misuse_.size(), 1u);
}

TEST_F(KernelMemory, ABlockWithAnOverwrittenHeaderIsNotGivenBack)
{
    uint8_t* const block = static_cast<uint8_t*>(KrnAlloc(1, 8, 1, kHere));
    uint8_t& before = *(block - 1);
    before = static_cast<uint8_t>(before ^ 0xFF);
    KrnFree(block, 1, kHere);
    EXPECT_EQ(misuse_.size(), 1u);
    before = static_cast<uint8_t>(before ^ 0xFF);
    KrnFree(block, 1, kHere);
    EXPECT_EQ(misuse_.size(), 1u);
}

TEST_F(KernelMemory, ASinkMayAllocateAndFree)
{
    void* const block = KrnAlloc(1, 1, 1, kHere);
    KrnReportTracked([](const char*, void*) { KrnFree(KrnAlloc(1, 1, 1, kHere), 1, kHere); }, nullptr);
    KrnFree(block, 1, kHere);
}

TEST_F(KernelMemory, PlannedFailuresHitJustTheAllocationsAskedFor)
{
    const auto outcome = [](uint64_t nth, uint64_t count) {
        std::string pattern;
        KrnFailAllocations(nth, count);
        for (int i = 0; i < 6; ++i) {
            void* const block = KrnAlloc(1, 1, 1, kHere);
            pattern += block ? '+' : '-';
            KrnFree(block, 1, kHere);
        }
        KrnFailAllocations(0, 0);
        return pattern;
    };
    EXPECT_EQ(outcome(1, 1), "-+++++");
    EXPECT_EQ(outcome(3, 2), "++--++");
    EXPECT_EQ(outcome(4, UINT64_MAX), "+++---");
    EXPECT_EQ(outcome(0, 5), "++++++");
}

TEST_F(KernelMemory, ThreadsShareTheList)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            std::vector<void*> blocks;
            for (int i = 0; i < 2000; ++i) {
                blocks.push_back(KrnAlloc(1, static_cast<uint64_t>(i % 50), i, kHere));
                if (i % 3 == 0)
                    blocks.back() = KrnRealloc(blocks.back(), 200, i, kHere);
                if (i % 7 == 0) {
                    KrnFree(blocks.front(), i, kHere);
                    blocks.erase(blocks.begin());
                }
            }
            for (void* block : blocks)
                KrnFree(block, 0, kHere);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(NewCount(), 0u);
    EXPECT_TRUE(misuse_.empty());
}

TEST_F(KernelMemory, FillAndCopyTakeTheLowByteAndNothingForNull)
{
    char text[] = "abcdef";
    KrnMemSet(text, 0x1000 + 'x', 2);
    KrnMemCopy(text + 3, "yz", 2);
    EXPECT_STREQ(text, "xxcyzf");
    KrnMemSet(nullptr, 0, 8);
    KrnMemCopy(text, nullptr, 8);
    KrnMemCopy(nullptr, text, 8);
    EXPECT_STREQ(text, "xxcyzf");
}

}  // namespace
