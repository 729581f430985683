/*
 * Bitmap records. Image and palette are tracked blocks of the kernel library.
 */
#include <cmath>
#include <cstddef>
#include <cstring>

#include "Block.h"

using namespace vorn::krn;

static_assert(sizeof(BitmapHandle) == KRN_BITMAP_SIZE);
static_assert(offsetof(BitmapHandle, image) == 12 && offsetof(BitmapHandle, flags) == 48);

namespace {

constexpr const char* kFile = "Vornkrnx/Bitmap";
constexpr uint32_t kPaletteEntryBytes = 4;

bool IsDepth(uint32_t bits) noexcept
{
    for (const uint32_t depth : {1u, 4u, 8u, 16u, 24u, 32u})
        if (bits == depth)
            return true;
    return false;
}

bool HasImage(const BitmapHandle& bitmap) noexcept
{
    return (bitmap.flags & KRN_BITMAP_HAS_IMAGE) && bitmap.image;
}

void FillGreyRamp(uint8_t* palette, uint32_t entries) noexcept
{
    for (uint32_t i = 0; i < entries; ++i) {
        const uint8_t grey = static_cast<uint8_t>(i * 255 / (entries - 1));
        const uint8_t entry[kPaletteEntryBytes] = {grey, grey, grey, 0};
        std::memcpy(palette + i * kPaletteEntryBytes, entry, sizeof entry);
    }
}

/** Gives the record its palette, with room for every index of its depth whatever the source holds. */
int32_t AttachPalette(BitmapHandle& bitmap, const uint8_t* source) noexcept
{
    if (bitmap.bitsPerPixel > 8)
        return KRN_SUCCESS;
    const uint32_t entries = 1u << bitmap.bitsPerPixel;
    uint32_t given = entries;
    if (source) {
        const std::optional<uint64_t> bytes = BlockBytes(source);
        if (!bytes || *bytes < kPaletteEntryBytes)
            return KRN_ERR_INVALID_ARGUMENT;
        if (*bytes / kPaletteEntryBytes < entries)
            given = static_cast<uint32_t>(*bytes / kPaletteEntryBytes);
    }
    bitmap.palette = static_cast<uint8_t*>(KrnAlloc(entries, kPaletteEntryBytes, __LINE__, kFile));
    if (!bitmap.palette)
        return KRN_ERR_OUT_OF_MEMORY;
    bitmap.paletteCount = given;
    if (source) {
        std::memcpy(bitmap.palette, source, size_t{given} * kPaletteEntryBytes);
        std::memset(bitmap.palette + size_t{given} * kPaletteEntryBytes, 0,
                    size_t{entries - given} * kPaletteEntryBytes);
    } else {
        FillGreyRamp(bitmap.palette, entries);
    }
    return KRN_SUCCESS;
}

int32_t AttachImage(BitmapHandle& bitmap, const void* data, uint64_t size) noexcept
{
    const uint64_t rowBytes = KrnRowBytes(bitmap.width, bitmap.bitsPerPixel);
    // Both factors fit 35 and 32 bits; the division keeps their product from wrapping.
    if (rowBytes > KRN_MAX_IMAGE_BYTES / bitmap.height)
        return KRN_ERR_BITMAP_TOO_LARGE;
    bitmap.rowBytes = static_cast<uint32_t>(rowBytes);
    bitmap.imageBytes = rowBytes * bitmap.height;
    bitmap.image = AllocateBlock(bitmap.imageBytes, BlockUse::Image, {__LINE__, kFile});
    if (!bitmap.image)
        return KRN_ERR_OUT_OF_MEMORY;
    if (data)
        KrnMemCopy(bitmap.image, data, size < bitmap.imageBytes ? size : bitmap.imageBytes);
    return KRN_SUCCESS;
}

}  // namespace

uint64_t KrnRowBytes(uint32_t width, uint32_t bitsPerPixel)
{
    return (uint64_t{width} * bitsPerPixel + 31) / 32 * 4;
}

int32_t KrnCreateBitmap(BitmapHandle* bitmap, uint32_t bitmapSize, uint32_t memoryKind, uint32_t width,
                        uint32_t height, uint32_t bitsPerPixel, uint32_t colorOrder, const uint8_t* palette,
                        uint32_t viewPerspective, const void* data, uint64_t size)
{
    if (!bitmap)
        return KRN_ERR_INVALID_ARGUMENT;
    if (bitmapSize != KRN_BITMAP_SIZE)
        return KRN_ERR_BAD_STRUCT_SIZE;
    *bitmap = BitmapHandle{};
    if (memoryKind != KRN_MEMORY_PROCESS || width == 0 || height == 0 || !IsDepth(bitsPerPixel) ||
        (colorOrder != KRN_COLOR_ORDER_ANY && colorOrder != KRN_COLOR_ORDER_BGR) ||
        (viewPerspective != KRN_VIEW_BOTTOM_LEFT && viewPerspective != KRN_VIEW_TOP_LEFT))
        return KRN_ERR_INVALID_ARGUMENT;

    BitmapHandle created{};
    created.structSize = KRN_BITMAP_SIZE;
    created.memoryKind = memoryKind;
    created.colorOrder = KRN_COLOR_ORDER_BGR;
    created.width = width;
    created.height = height;
    created.bitsPerPixel = bitsPerPixel;
    created.viewPerspective = viewPerspective;
    created.flags = KRN_BITMAP_HAS_IMAGE;
    int32_t status = AttachPalette(created, palette);
    if (status == KRN_SUCCESS)
        status = AttachImage(created, data, size);
    if (status != KRN_SUCCESS) {
        KrnFree(created.palette, __LINE__, kFile);
        return status;
    }
    *bitmap = created;
    return KRN_SUCCESS;
}

int32_t KrnAccessBitmap(BitmapHandle* bitmap)
{
    if (!bitmap)
        return KRN_ERR_INVALID_ARGUMENT;
    if (!HasImage(*bitmap))
        return KRN_ERR_NO_IMAGE;
    ++bitmap->accessCount;
    return KRN_SUCCESS;
}

int32_t KrnReleaseBitmapAccess(BitmapHandle* bitmap)
{
    if (!bitmap)
        return KRN_ERR_INVALID_ARGUMENT;
    if (!HasImage(*bitmap))
        return KRN_ERR_NO_IMAGE;
    if (bitmap->accessCount > 0)
        --bitmap->accessCount;
    return KRN_SUCCESS;
}

int32_t KrnCopyBitmapHandle(BitmapHandle* destination, const BitmapHandle* source, uint32_t bitmapSize)
{
    if (!destination || !source)
        return KRN_ERR_INVALID_ARGUMENT;
    if (bitmapSize != KRN_BITMAP_SIZE)
        return KRN_ERR_BAD_STRUCT_SIZE;
    *destination = *source;
    return KRN_SUCCESS;
}

int32_t KrnDuplicateBitmap(BitmapHandle* destination, const BitmapHandle* source, uint32_t bitmapSize)
{
    if (!destination || !source || destination == source)
        return KRN_ERR_INVALID_ARGUMENT;
    if (bitmapSize != KRN_BITMAP_SIZE)
        return KRN_ERR_BAD_STRUCT_SIZE;
    if (!HasImage(*source))
        return KRN_ERR_NO_IMAGE;
    const uint64_t needed = KrnRowBytes(source->width, source->bitsPerPixel) * source->height;
    const std::optional<uint64_t> held = BlockBytes(source->image);
    if (!held || *held < needed)
        return KRN_ERR_INVALID_ARGUMENT;
    const int32_t status = KrnCreateBitmap(destination, bitmapSize, KRN_MEMORY_PROCESS, source->width,
                                           source->height, source->bitsPerPixel, source->colorOrder,
                                           source->palette, source->viewPerspective, source->image, needed);
    if (status != KRN_SUCCESS)
        return status;
    if (source->paletteCount < destination->paletteCount)
        destination->paletteCount = source->paletteCount;
    destination->xDpi = source->xDpi;
    destination->yDpi = source->yDpi;
    return KRN_SUCCESS;
}

int32_t KrnFreeBitmap(BitmapHandle* bitmap)
{
    if (!bitmap)
        return KRN_ERR_INVALID_ARGUMENT;
    if (HasImage(*bitmap))
        FreeBlock(bitmap->image, "KrnFreeBitmap", {__LINE__, kFile});
    FreeBlock(bitmap->palette, "KrnFreeBitmap", {__LINE__, kFile});
    *bitmap = BitmapHandle{};
    return KRN_SUCCESS;
}

namespace {

constexpr double kMetresPerInch = 0.0254;

}  // namespace

double KrnDpiFromPelsPerMeter(int32_t pelsPerMeter)
{
    if (pelsPerMeter <= 0)
        return 0;
    const double dpi = pelsPerMeter * kMetresPerInch;
    // A header holds whole pixels a metre: within its rounding, a whole number of dots an inch was meant.
    const double whole = std::round(dpi);
    return std::abs(dpi - whole) <= kMetresPerInch / 2 ? whole : dpi;
}

int32_t KrnPelsPerMeterFromDpi(double dpi)
{
    if (!(dpi > 0))
        return 0;
    const double pels = std::round(dpi / kMetresPerInch);
    return pels >= INT32_MAX ? INT32_MAX : static_cast<int32_t>(pels);
}
