#include "bmp/Header.h"

#include <algorithm>
#include <bit>

#include "io/LittleEndian.h"

namespace vorn::fil::bmp {
namespace {

constexpr uint32_t kCoreHeaderBytes = 12;
constexpr uint32_t kOs2HeaderBytes = 64;
constexpr uint32_t kHeaderSizes[] = {kCoreHeaderBytes, kInfoHeaderBytes, 52, 56, kOs2HeaderBytes, 108, 124};

enum Compression : uint32_t {
    kRgb = 0,
    kRle8 = 1,
    kRle4 = 2,
    kBitFields = 3,
    kJpeg = 4,
    kPng = 5,
    kAlphaBitFields = 6
};

/** The fields as the file has them, whatever the header's kind. */
struct RawHeader {
    uint64_t fileBytes = 0;
    uint64_t imageOffset = 0;
    uint32_t headerBytes = 0;
    int64_t width = 0;
    int64_t height = 0;  ///< negative: rows run from the top down
    uint32_t bits = 0;
    uint32_t compression = kRgb;
    int32_t xPelsPerMeter = 0;
    int32_t yPelsPerMeter = 0;
    uint32_t colorsUsed = 0;
    uint64_t tableOffset = 0;  ///< of the colour table: behind the header and masks that follow it
};

int32_t ReadRaw(ByteSource& source, RawHeader& raw) noexcept
{
    uint8_t bytes[kFileHeaderBytes + kInfoHeaderBytes] = {};
    raw.fileBytes = source.Size();
    if (const int32_t status = source.ReadAt(0, bytes, kFileHeaderBytes + 4); status != FIL_SUCCESS)
        return status;
    raw.imageOffset = GetU32(bytes + 10);
    const uint8_t* const dib = bytes + kFileHeaderBytes;
    raw.headerBytes = GetU32(dib);
    if (std::find(std::begin(kHeaderSizes), std::end(kHeaderSizes), raw.headerBytes) ==
        std::end(kHeaderSizes))
        return FIL_ERR_UNSUPPORTED;
    raw.tableOffset = kFileHeaderBytes + raw.headerBytes;
    if (raw.imageOffset < raw.tableOffset || raw.imageOffset > raw.fileBytes)
        return FIL_ERR_CORRUPT;
    const uint32_t wanted = kFileHeaderBytes + std::min(raw.headerBytes, kInfoHeaderBytes);
    if (const int32_t status = source.ReadAt(0, bytes, wanted); status != FIL_SUCCESS)
        return status;
    if (raw.headerBytes == kCoreHeaderBytes) {
        raw.width = GetU16(dib + 4);
        raw.height = GetU16(dib + 6);
        raw.bits = GetU16(dib + 10);
        return FIL_SUCCESS;
    }
    raw.width = GetI32(dib + 4);
    raw.height = GetI32(dib + 8);
    raw.bits = GetU16(dib + 14);
    raw.compression = GetU32(dib + 16);
    raw.xPelsPerMeter = GetI32(dib + 24);
    raw.yPelsPerMeter = GetI32(dib + 28);
    raw.colorsUsed = GetU32(dib + 32);
    return FIL_SUCCESS;
}

int32_t CheckDepth(const RawHeader& raw) noexcept
{
    switch (raw.bits) {
        case 1:
        case 4:
        case 8:
        case 24:
            return FIL_SUCCESS;
        case 16:
        case 32:
            return raw.headerBytes == kCoreHeaderBytes ? FIL_ERR_CORRUPT : FIL_SUCCESS;
        case 2:
            return FIL_ERR_UNSUPPORTED;
        case 0:  // a compressed file of another format stands in for the rows
            return raw.compression == kJpeg || raw.compression == kPng ? FIL_ERR_UNSUPPORTED
                                                                       : FIL_ERR_CORRUPT;
        default:
            return FIL_ERR_CORRUPT;
    }
}

int32_t TakeGeometry(const RawHeader& raw, PageInfo& page) noexcept
{
    const int64_t height = raw.height < 0 ? -raw.height : raw.height;
    if (raw.width <= 0 || height == 0)
        return FIL_ERR_CORRUPT;
    page.width = static_cast<uint32_t>(raw.width);
    page.height = static_cast<uint32_t>(height);
    page.storedBits = raw.bits;
    page.bitsPerPixel = raw.bits == 16 ? 24 : raw.bits;
    page.viewPerspective = raw.height < 0 ? KRN_VIEW_TOP_LEFT : KRN_VIEW_BOTTOM_LEFT;
    page.xDpi = KrnDpiFromPelsPerMeter(raw.xPelsPerMeter);
    page.yDpi = KrnDpiFromPelsPerMeter(raw.yPelsPerMeter);
    const uint32_t widest = std::max(page.storedBits, page.bitsPerPixel);
    return KrnRowBytes(page.width, widest) > KRN_MAX_IMAGE_BYTES / page.height ? FIL_ERR_TOO_LARGE
                                                                               : FIL_SUCCESS;
}

/** A channel's mask is one run of bits inside the pixel. */
bool IsMask(uint32_t mask, uint32_t bits) noexcept
{
    if (mask == 0)
        return false;
    const uint32_t run = mask >> std::countr_zero(mask);
    return (run & (run + 1)) == 0 && (bits == 32 || mask >> bits == 0);
}

int32_t TakeMasks(ByteSource& source, RawHeader& raw, Header& header) noexcept
{
    const bool withAlpha = raw.compression == kAlphaBitFields || raw.headerBytes >= 56;
    uint8_t bytes[16] = {};
    const uint32_t count = withAlpha ? 16 : 12;
    const uint64_t offset = kFileHeaderBytes + kInfoHeaderBytes;
    if (raw.headerBytes == kInfoHeaderBytes)
        raw.tableOffset += count;
    if (raw.tableOffset > raw.imageOffset)
        return FIL_ERR_CORRUPT;
    if (const int32_t status = source.ReadAt(offset, bytes, count); status != FIL_SUCCESS)
        return status;
    uint32_t taken = 0;
    for (int channel = 0; channel < 4; ++channel) {
        const uint32_t mask = GetU32(bytes + 4 * channel);
        const bool absentAlpha = channel == 3 && mask == 0;
        if (!absentAlpha && (!IsMask(mask, raw.bits) || (mask & taken)))
            return FIL_ERR_CORRUPT;
        taken |= mask;
        header.masks[channel] = mask;
    }
    return FIL_SUCCESS;
}

void SetMasks(Header& header, const uint32_t (&masks)[4]) noexcept
{
    std::copy(std::begin(masks), std::end(masks), header.masks);
}

int32_t TakeStorage(ByteSource& source, RawHeader& raw, Header& header) noexcept
{
    constexpr uint32_t kMasks555[4] = {0x7C00, 0x03E0, 0x001F, 0};
    constexpr uint32_t kMasks888[4] = {0xFF0000, 0x00FF00, 0x0000FF, 0};
    constexpr uint32_t kMasks8888[4] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFF000000};

    const bool os2 = raw.headerBytes == kOs2HeaderBytes;
    switch (raw.compression) {
        case kRgb:
            header.storage = raw.bits == 16 ? Storage::Masks : Storage::Plain;
            SetMasks(header, kMasks555);
            return FIL_SUCCESS;
        case kRle8:
        case kRle4:
            header.storage = raw.compression == kRle8 ? Storage::Rle8 : Storage::Rle4;
            return raw.bits == (raw.compression == kRle8 ? 8u : 4u) && raw.height > 0 ? FIL_SUCCESS
                                                                                      : FIL_ERR_CORRUPT;
        case kBitFields:
        case kAlphaBitFields:
            break;
        default:
            return FIL_ERR_UNSUPPORTED;
    }
    if (os2)  // there the code means a fax compression
        return FIL_ERR_UNSUPPORTED;
    if (raw.bits != 16 && raw.bits != 32)
        return FIL_ERR_CORRUPT;
    if (const int32_t status = TakeMasks(source, raw, header); status != FIL_SUCCESS)
        return status;
    const bool plain =
        raw.bits == 32 && (std::equal(std::begin(kMasks888), std::end(kMasks888), header.masks) ||
                           std::equal(std::begin(kMasks8888), std::end(kMasks8888), header.masks));
    header.storage = plain ? Storage::Plain : Storage::Masks;
    return FIL_SUCCESS;
}

/**
 * Reads the colour table. A count that the header gives must fit the depth and the room before the rows; where it
 * gives none, a short table is taken as it is, since old programs write such.
 */
int32_t TakePalette(ByteSource& source, const RawHeader& raw, PageInfo& page) noexcept
{
    if (raw.bits > 8)
        return FIL_SUCCESS;
    const uint32_t most = 1u << raw.bits;
    const uint32_t entryBytes = raw.headerBytes == kCoreHeaderBytes ? 3 : 4;
    const uint64_t room = (raw.imageOffset - raw.tableOffset) / entryBytes;
    if (raw.colorsUsed > most || raw.colorsUsed > room || room == 0)
        return FIL_ERR_CORRUPT;
    page.paletteCount =
        raw.colorsUsed ? raw.colorsUsed : static_cast<uint32_t>(std::min<uint64_t>(most, room));
    uint8_t table[256 * kPaletteEntryBytes];
    if (const int32_t status =
            source.ReadAt(raw.tableOffset, table, uint64_t{page.paletteCount} * entryBytes);
        status != FIL_SUCCESS)
        return status;
    for (uint32_t i = 0; i < page.paletteCount; ++i)
        std::copy_n(table + i * entryBytes, 3, page.palette.data() + i * kPaletteEntryBytes);
    return FIL_SUCCESS;
}

/** Checks that the rows lie in the file. How long compressed rows are shows only when they are decoded. */
int32_t CheckRows(const RawHeader& raw, Header& header) noexcept
{
    const bool compressed = header.storage == Storage::Rle4 || header.storage == Storage::Rle8;
    if (compressed)
        return FIL_SUCCESS;
    header.page.headerOnly = raw.imageOffset == raw.fileBytes;
    const uint64_t needed = KrnRowBytes(header.page.width, raw.bits) * header.page.height;
    return header.page.headerOnly || needed <= raw.fileBytes - raw.imageOffset ? FIL_SUCCESS
                                                                               : FIL_ERR_CORRUPT;
}

}  // namespace

int32_t ReadHeader(ByteSource& source, Header& header) noexcept
{
    RawHeader raw;
    int32_t status = ReadRaw(source, raw);
    if (status == FIL_SUCCESS)
        status = CheckDepth(raw);
    if (status == FIL_SUCCESS)
        status = TakeGeometry(raw, header.page);
    if (status == FIL_SUCCESS)
        status = TakeStorage(source, raw, header);
    if (status == FIL_SUCCESS)
        status = TakePalette(source, raw, header.page);
    if (status == FIL_SUCCESS)
        status = CheckRows(raw, header);
    header.imageOffset = raw.imageOffset;
    return status;
}

}  // namespace vorn::fil::bmp
