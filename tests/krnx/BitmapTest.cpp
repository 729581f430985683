#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "Vornkrnx.h"

namespace {

constexpr const char* kHere = "BitmapTest";

int32_t Create(BitmapHandle& bitmap, uint32_t width, uint32_t height, uint32_t bits,
               const uint8_t* palette = nullptr, const void* data = nullptr, uint64_t size = 0)
{
    return KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, width, height, bits,
                           KRN_COLOR_ORDER_BGR, palette, KRN_VIEW_BOTTOM_LEFT, data, size);
}

uint8_t* Image(const BitmapHandle& bitmap)
{
    return static_cast<uint8_t*>(bitmap.image);
}

struct ArgumentCase {
    const char* fault;
    uint32_t recordSize, memoryKind, width, height, bits, order, view;
    int32_t expected;
};
constexpr ArgumentCase kArguments[] = {
    {"another record size", 271, 1, 4, 4, 24, 4, 1, KRN_ERR_BAD_STRUCT_SIZE},
    {"another memory kind", 272, 2, 4, 4, 24, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"no width", 272, 1, 0, 4, 24, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"no height", 272, 1, 4, 0, 24, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"depth 0", 272, 1, 4, 4, 0, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"depth 2", 272, 1, 4, 4, 2, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"depth 64", 272, 1, 4, 4, 64, 4, 1, KRN_ERR_INVALID_ARGUMENT},
    {"another colour order", 272, 1, 4, 4, 24, 3, 1, KRN_ERR_INVALID_ARGUMENT},
    {"no view perspective", 272, 1, 4, 4, 24, 4, 0, KRN_ERR_INVALID_ARGUMENT},
    {"row bytes wrap 32 bits", 272, 1, UINT32_MAX, 1, 32, 4, 1, KRN_ERR_BITMAP_TOO_LARGE},
    {"image bytes wrap 64 bits", 272, 1, UINT32_MAX, UINT32_MAX, 32, 4, 1, KRN_ERR_BITMAP_TOO_LARGE},
    {"one row above the limit", 272, 1, 1u << 14, 1u << 15, 32, 4, 1, KRN_ERR_BITMAP_TOO_LARGE},
};

TEST(Bitmap, WrongArgumentsLeaveAnEmptyRecord)
{
    for (const ArgumentCase& row : kArguments) {
        BitmapHandle bitmap{};
        EXPECT_EQ(KrnCreateBitmap(&bitmap, row.recordSize, row.memoryKind, row.width, row.height, row.bits,
                                  row.order, nullptr, row.view, nullptr, 0),
                  row.expected)
            << row.fault;
        EXPECT_EQ(bitmap.flags, 0u) << row.fault;
        EXPECT_TRUE(bitmap.image == nullptr) << row.fault;
    }
    EXPECT_EQ(KrnCreateBitmap(nullptr, 272, 1, 4, 4, 24, 4, nullptr, 1, nullptr, 0),
              KRN_ERR_INVALID_ARGUMENT);
}

struct RowCase {
    uint32_t width, bits, rowBytes;
};
constexpr RowCase kRows[] = {{1, 1, 4}, {32, 1, 4}, {33, 1, 8}, {7, 4, 4},   {9, 4, 8},
                             {5, 8, 8}, {3, 16, 8}, {1, 24, 4}, {5, 24, 16}, {3, 32, 12}};

TEST(Bitmap, RowsArePaddedAsADibsAndTheImageIsZeroAndAligned)
{
    for (const RowCase& row : kRows) {
        BitmapHandle bitmap{};
        ASSERT_EQ(Create(bitmap, row.width, 3, row.bits), KRN_SUCCESS);
        EXPECT_EQ(bitmap.rowBytes, row.rowBytes) << row.width << " pixels of " << row.bits;
        EXPECT_TRUE(bitmap.imageBytes == uint64_t{row.rowBytes} * 3);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(bitmap.image) % 64, 0u);
        for (uint64_t i = 0; i < bitmap.imageBytes; ++i)
            ASSERT_EQ(Image(bitmap)[i], 0);
        EXPECT_EQ(KrnFreeBitmap(&bitmap), KRN_SUCCESS);
        EXPECT_EQ(bitmap.flags, 0u);
    }
    EXPECT_EQ(KrnRowBytes(UINT32_MAX, 32), uint64_t{UINT32_MAX} * 4) << "the row's bytes wrapped";
}

TEST(Bitmap, DataMayBeShorterOrLongerThanTheImage)
{
    const std::vector<uint8_t> data(100, 0xEE);
    for (const uint64_t size : {0u, 5u, 8u, 100u}) {
        BitmapHandle bitmap{};
        ASSERT_EQ(Create(bitmap, 4, 2, 8, nullptr, data.data(), size), KRN_SUCCESS);
        for (uint64_t i = 0; i < bitmap.imageBytes; ++i)
            EXPECT_EQ(Image(bitmap)[i], i < size ? 0xEE : 0);
        KrnFreeBitmap(&bitmap);
    }
}

TEST(Bitmap, PalettesAreCopiedWithinTheirBlock)
{
    struct Case {
        uint32_t bits;
        uint64_t blockBytes;
        uint32_t count;  // 0: refused
    };
    for (const Case& row :
         {Case{8, 64, 16}, Case{4, 1024, 16}, Case{1, 8, 2}, Case{8, 7, 1}, Case{8, 3, 0}}) {
        uint8_t* const palette = static_cast<uint8_t*>(KrnAlloc(row.blockBytes, 1, 1, kHere));
        std::memset(palette, 0x55, row.blockBytes);
        BitmapHandle bitmap{};
        EXPECT_EQ(Create(bitmap, 4, 4, row.bits, palette),
                  row.count ? KRN_SUCCESS : KRN_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(bitmap.paletteCount, row.count);
        if (row.count) {
            for (uint32_t i = 0; i < 4u << row.bits; ++i)
                EXPECT_EQ(bitmap.palette[i], i < row.count * 4 ? 0x55 : 0) << "index past the table";
        }
        KrnFreeBitmap(&bitmap);
        KrnFree(palette, 1, kHere);
    }
    uint8_t foreign[1024] = {};
    BitmapHandle bitmap{};
    EXPECT_EQ(Create(bitmap, 4, 4, 8, foreign + 512), KRN_ERR_INVALID_ARGUMENT) << "its size is unknown";
}

TEST(Bitmap, WithoutAPaletteItIsAGreyRamp)
{
    for (const uint32_t bits : {1u, 4u, 8u}) {
        BitmapHandle bitmap{};
        ASSERT_EQ(Create(bitmap, 4, 4, bits), KRN_SUCCESS);
        const uint32_t last = (1u << bits) - 1;
        EXPECT_EQ(bitmap.paletteCount, last + 1);
        EXPECT_EQ(bitmap.palette[0], 0);
        EXPECT_EQ(bitmap.palette[last * 4 + 2], 255);
        if (bits > 1) {
            EXPECT_EQ(bitmap.palette[4], 255 / last);
        }
        KrnFreeBitmap(&bitmap);
    }
}

TEST(Bitmap, AccessOpensAgainAndNeedsAnImage)
{
    BitmapHandle bitmap{};
    EXPECT_EQ(KrnAccessBitmap(&bitmap), KRN_ERR_NO_IMAGE);
    EXPECT_EQ(KrnReleaseBitmapAccess(&bitmap), KRN_ERR_NO_IMAGE);
    EXPECT_EQ(KrnFreeBitmap(&bitmap), KRN_SUCCESS);
    EXPECT_EQ(KrnAccessBitmap(nullptr), KRN_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(KrnFreeBitmap(nullptr), KRN_ERR_INVALID_ARGUMENT);
    ASSERT_EQ(Create(bitmap, 4, 4, 24), KRN_SUCCESS);
    void* const image = bitmap.image;
    for (int page = 0; page < 2; ++page) {
        EXPECT_EQ(KrnAccessBitmap(&bitmap), KRN_SUCCESS);
        EXPECT_EQ(KrnReleaseBitmapAccess(&bitmap), KRN_SUCCESS);
    }
    EXPECT_EQ(KrnReleaseBitmapAccess(&bitmap), KRN_SUCCESS);
    EXPECT_EQ(bitmap.accessCount, 0u) << "the count went below 0";
    EXPECT_TRUE(bitmap.image == image);
    KrnFreeBitmap(&bitmap);
}

TEST(Bitmap, ACopySharesTheImageAndADuplicateDoesNot)
{
    BitmapHandle bitmap{}, copy{}, duplicate{};
    ASSERT_EQ(Create(bitmap, 5, 3, 8), KRN_SUCCESS);
    std::memset(bitmap.image, 0x31, bitmap.imageBytes);
    bitmap.palette[9] = 77;
    bitmap.xDpi = 300;
    bitmap.yDpi = 150;
    EXPECT_EQ(KrnCopyBitmapHandle(&copy, &bitmap, 271), KRN_ERR_BAD_STRUCT_SIZE);
    EXPECT_EQ(KrnCopyBitmapHandle(&copy, nullptr, KRN_BITMAP_SIZE), KRN_ERR_INVALID_ARGUMENT);
    ASSERT_EQ(KrnCopyBitmapHandle(&copy, &bitmap, KRN_BITMAP_SIZE), KRN_SUCCESS);
    EXPECT_EQ(std::memcmp(&copy, &bitmap, sizeof copy), 0);
    ASSERT_EQ(KrnDuplicateBitmap(&duplicate, &copy, KRN_BITMAP_SIZE), KRN_SUCCESS);
    KrnFreeBitmap(&bitmap);
    EXPECT_EQ(Image(duplicate)[duplicate.imageBytes - 1], 0x31);
    EXPECT_EQ(duplicate.palette[9], 77);
    EXPECT_TRUE(duplicate.xDpi == 300);
    EXPECT_TRUE(duplicate.yDpi == 150);

    BitmapHandle lying = duplicate;
    lying.height = 1000;
    EXPECT_EQ(KrnDuplicateBitmap(&copy, &lying, KRN_BITMAP_SIZE), KRN_ERR_INVALID_ARGUMENT)
        << "read past the image's block";
    KrnFreeBitmap(&duplicate);
}

TEST(Bitmap, EveryAllocationMayFail)
{
    BitmapHandle source{};
    ASSERT_EQ(Create(source, 40, 40, 8), KRN_SUCCESS);
    const uint64_t before = KrnTrackedCount();
    for (uint64_t nth = 1; nth <= 2; ++nth) {
        BitmapHandle bitmap{};
        KrnFailAllocations(nth, 1);
        EXPECT_EQ(Create(bitmap, 40, 40, 8), KRN_ERR_OUT_OF_MEMORY);
        KrnFailAllocations(nth, 1);
        EXPECT_EQ(KrnDuplicateBitmap(&bitmap, &source, KRN_BITMAP_SIZE), KRN_ERR_OUT_OF_MEMORY);
        EXPECT_EQ(bitmap.flags, 0u);
        EXPECT_EQ(KrnTrackedCount(), before);
    }
    KrnFailAllocations(0, 0);
    KrnFreeBitmap(&source);
}

TEST(Bitmap, WholeDotsAnInchSurviveAHeader)
{
    for (int dpi = 1; dpi <= 9600; ++dpi)
        ASSERT_EQ(KrnDpiFromPelsPerMeter(KrnPelsPerMeterFromDpi(dpi)), dpi);
    EXPECT_NEAR(KrnDpiFromPelsPerMeter(2854), 72.49, 0.01) << "a broken number of dots was rounded";
    for (const double unknown : {0.0, -1.0, -1e300})
        EXPECT_EQ(KrnPelsPerMeterFromDpi(unknown), 0);
    EXPECT_EQ(KrnPelsPerMeterFromDpi(1e300), INT32_MAX);
    EXPECT_EQ(KrnDpiFromPelsPerMeter(INT32_MIN), 0);
}

}  // namespace
