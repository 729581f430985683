#include "BitmapUtil.h"

#define UNIT_HERE __LINE__, ".\\Common\\BitmapUtil"

namespace vorn {
namespace {

constexpr uint32_t kCoreHeaderSize = 12;
constexpr uint32_t kKnownHeaderSizes[] = {kCoreHeaderSize, 40, 108, 124};

// Offsets in a core header.
constexpr size_t kCoreWidth = 4, kCoreHeight = 6, kCoreBitCount = 10;
// Offsets in the longer ones.
constexpr size_t kWidth = 4, kHeight = 8, kBitCount = 14, kXPelsPerMeter = 24, kYPelsPerMeter = 28,
                 kColorsUsed = 32;

/** Bytes of an entry in a kernel palette and in the longer headers' table. */
constexpr uint32_t kEntryBytes = 4;

uint16_t Get16(DibBytes dib, size_t offset)
{
    return static_cast<uint16_t>(dib[offset] | dib[offset + 1] << 8);
}

uint32_t Get32(DibBytes dib, size_t offset)
{
    return Get16(dib, offset) | static_cast<uint32_t>(Get16(dib, offset + 2)) << 16;
}

uint32_t Magnitude(uint32_t value)
{
    return static_cast<int32_t>(value) < 0 ? 0u - value : value;
}

template <typename Value>
void Store(Value* out, Value value)
{
    if (out)
        *out = value;
}

/** Colours that a depth can tell apart; 0 for depths without a table. */
uint32_t TableColors(uint32_t bitsPerPixel)
{
    return bitsPerPixel >= 1 && bitsPerPixel <= 8 ? 1u << bitsPerPixel : 0;
}

/** Copies `count` table entries of `entryBytes` that begin at `offset`; null when they are not all at hand.
 */
uint8_t* CopyTable(DibBytes dib, size_t offset, uint32_t count, uint32_t entryBytes)
{
    if (offset + uint64_t{count} * entryBytes > dib.size())
        return nullptr;
    auto* palette = static_cast<uint8_t*>(KrnAlloc(count, kEntryBytes, UNIT_HERE));
    if (!palette)
        return nullptr;
    KrnMemSet(palette, 0, uint64_t{count} * kEntryBytes);
    if (entryBytes == kEntryBytes) {
        KrnMemCopy(palette, &dib[offset], uint64_t{count} * kEntryBytes);
        return palette;
    }
    for (uint32_t i = 0; i < count; ++i)
        KrnMemCopy(palette + i * kEntryBytes, &dib[offset + size_t{i} * entryBytes], entryBytes);
    return palette;
}

}  // namespace

uint32_t GetDibHeaderSize(DibBytes dib) noexcept
{
    if (dib.size() < sizeof(uint32_t))
        return 0;
    const uint32_t size = Get32(dib, 0);
    for (const uint32_t known : kKnownHeaderSizes) {
        if (size == known)
            return size <= dib.size() ? size : 0;
    }
    return 0;
}

int GetDibInfo(DibBytes dib, uint32_t* width, uint32_t* height, uint32_t* bitsPerPixel,
               uint8_t** palette) noexcept
{
    const uint32_t headerSize = GetDibHeaderSize(dib);
    if (!headerSize)
        return 0;
    if (headerSize == kCoreHeaderSize) {
        Store(width, uint32_t{Get16(dib, kCoreWidth)});
        Store(height, uint32_t{Get16(dib, kCoreHeight)});
        Store(bitsPerPixel, uint32_t{Get16(dib, kCoreBitCount)});
        return 1;
    }

    const uint32_t bits = Get16(dib, kBitCount);
    const uint32_t colors = Get32(dib, kColorsUsed);
    if (palette && colors) {
        if (TableColors(bits) && colors > TableColors(bits))
            return 0;
        uint8_t* table = CopyTable(dib, headerSize, colors, kEntryBytes);
        if (!table)
            return 0;
        *palette = table;
    }
    Store(width, Magnitude(Get32(dib, kWidth)));
    Store(height, Magnitude(Get32(dib, kHeight)));
    Store(bitsPerPixel, bits);
    return 1;
}

uint8_t* CopyImpliedPalette(DibBytes dib) noexcept
{
    const uint32_t headerSize = GetDibHeaderSize(dib);
    if (!headerSize)
        return nullptr;
    const bool core = headerSize == kCoreHeaderSize;
    const uint32_t colors = TableColors(Get16(dib, core ? kCoreBitCount : kBitCount));
    return colors ? CopyTable(dib, headerSize, colors, core ? 3 : kEntryBytes) : nullptr;
}

void CopyDibResolution(DibBytes dib, BitmapHandle* bitmap) noexcept
{
    if (GetDibHeaderSize(dib) <= kCoreHeaderSize)
        return;
    bitmap->xDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(Get32(dib, kXPelsPerMeter)));
    bitmap->yDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(Get32(dib, kYPelsPerMeter)));
}

bool CopyBandToBitmap(const uint8_t* band, BitmapHandle* bitmap, int32_t length, int32_t offset,
                      int32_t headerLength) noexcept
{
    const int64_t begin = int64_t{offset} - headerLength;
    if (length < 0 || begin < 0 || !HasImage(bitmap) || !bitmap->image ||
        static_cast<uint64_t>(begin) + static_cast<uint64_t>(length) > bitmap->imageBytes)
        return false;
    if (length > 0)
        KrnMemCopy(static_cast<uint8_t*>(bitmap->image) + begin, band, static_cast<uint64_t>(length));
    return true;
}

int NotifyBitmapCopy(WiaSession* session, const BitmapHandle* bitmap, int32_t state, AcquireCallback callback,
                     void* userData) noexcept
{
    auto* copy = static_cast<BitmapHandle*>(KrnAlloc(1, KRN_BITMAP_SIZE, UNIT_HERE));
    if (!copy)
        return 1;
    if (KrnCopyBitmapHandle(copy, bitmap, KRN_BITMAP_SIZE) != KRN_SUCCESS) {
        KrnFree(copy, UNIT_HERE);
        return 1;
    }
    const int32_t answer = callback(session, copy, nullptr, 100, state, userData);
    KrnFree(copy, UNIT_HERE);
    return answer;
}

BitmapHandle* NewBitmapRecord() noexcept
{
    auto* record = static_cast<BitmapHandle*>(KrnAlloc(1, KRN_BITMAP_SIZE, UNIT_HERE));
    if (record)
        KrnMemSet(record, 0, KRN_BITMAP_SIZE);
    return record;
}

void FreeBitmapRecord(BitmapHandle* bitmap) noexcept
{
    if (!bitmap)
        return;
    KrnFreeBitmap(bitmap);
    KrnFree(bitmap, UNIT_HERE);
}

}  // namespace vorn
