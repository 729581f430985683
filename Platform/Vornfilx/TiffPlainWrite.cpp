/*
 * Writing a page of a TIFF file where libtiff is not at hand: uncompressed strips, then the directory, then the
 * link to it. The system's imaging component cannot add a page to a file in place.
 */
#include <array>
#include <cmath>
#include <new>

#include "TiffChain.h"
#include "TiffFields.h"
#include "TiffPages.h"
#include "TiffStrips.h"

namespace vorn::fil::tiff {
namespace {

/** Where the page's parts go, and in which kind of file. */
struct Layout {
    Chain chain;
    uint64_t stripsAt = 0;
    uint64_t valuesAt = 0;

    const Widths& Sizes() const noexcept { return chain.big ? kBig : kClassic; }
};

/** Finds a sound chain to add to, and checks that the page's offsets fit the kind of file. */
int32_t PlanLayout(FileUpdate& file, const BitmapHandle& bitmap, Layout& layout) noexcept
{
    constexpr uint64_t kHeaderBytes = 8, kFieldsAndColors = 4096;
    if (file.OldSize() > 0)
        if (const int32_t status = FindEnd(file, layout.chain); status != FIL_SUCCESS)
            return status;
    layout.stripsAt = file.OldSize() > 0 ? (file.OldSize() + 1) / 2 * 2 : kHeaderBytes;
    layout.valuesAt = (layout.stripsAt + FileRowBytes(bitmap) * bitmap.height + 1) / 2 * 2;
    const uint64_t strips = bitmap.height / RowsPerStrip(bitmap) + 1;
    const uint64_t end = layout.valuesAt + strips * 2 * sizeof(uint64_t) + kFieldsAndColors;
    return !layout.chain.big && end > UINT32_MAX ? FIL_ERR_TOO_LARGE : FIL_SUCCESS;
}

int32_t WriteStrips(FileUpdate& file, PageRows& bitmap, const Layout& layout) noexcept
{
    const uint64_t fileRowBytes = FileRowBytes(bitmap);
    const uint32_t rowsPerStrip = RowsPerStrip(bitmap);
    const Buffer strip{fileRowBytes * rowsPerStrip};
    if (!strip.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    for (uint32_t y = 0; y < bitmap.height; y += rowsPerStrip) {
        const uint32_t rows = std::min(rowsPerStrip, bitmap.height - y);
        if (!FillStrip(bitmap, y, rows, strip.Get()))
            return bitmap.Failure(FIL_ERR_READ);
        if (const int32_t status =
                file.WriteAt(layout.stripsAt + y * fileRowBytes, strip.Get(), rows * fileRowBytes);
            status != FIL_SUCCESS)
            return status;
    }
    return FIL_SUCCESS;
}

std::vector<uint64_t> ColorMapOf(const BitmapHandle& bitmap)
{
    constexpr uint32_t kWiden = 257;  // entries have 16 bits
    const uint32_t entries = 1u << bitmap.bitsPerPixel;
    const uint32_t count = std::min(bitmap.paletteCount, entries);
    std::vector<uint64_t> map(size_t{3} * entries);
    for (uint32_t i = 0; i < count; ++i)
        for (uint32_t color = 0; color < 3; ++color)
            map[color * entries + i] = bitmap.palette[i * kPaletteEntryBytes + 2 - color] * kWiden;
    return map;
}

/** The fraction for a resolution: whole numbers, as nearly all are, stay exact. */
std::vector<uint64_t> FractionOf(double dpi)
{
    constexpr double kMostDenominator = 10000;
    const double most = static_cast<double>(UINT32_MAX);
    const double denominator = dpi == std::floor(dpi) || dpi > most / kMostDenominator ? 1 : kMostDenominator;
    return {static_cast<uint64_t>(std::round(std::min(dpi * denominator, most))),
            static_cast<uint64_t>(denominator)};
}

void AddFields(FieldWriter& fields, const BitmapHandle& bitmap, const Layout& layout)
{
    constexpr uint32_t kUncompressed = 1, kTopLeft = 1, kOnePlane = 1, kInches = 2;
    const Type offsetType = layout.chain.big ? Type::Long8 : Type::Long;
    const Photometric photometric = PhotometricOf(bitmap);
    const uint64_t rowBytes = FileRowBytes(bitmap);
    const uint32_t rowsPerStrip = RowsPerStrip(bitmap);
    std::vector<uint64_t> offsets, counts;
    for (uint32_t y = 0; y < bitmap.height; y += rowsPerStrip) {
        offsets.push_back(layout.stripsAt + y * rowBytes);
        counts.push_back(std::min(rowsPerStrip, bitmap.height - y) * rowBytes);
    }

    fields.Add(Tag::ImageWidth, Type::Long, {bitmap.width});
    fields.Add(Tag::ImageLength, Type::Long, {bitmap.height});
    if (photometric == kRgb)
        fields.Add(Tag::BitsPerSample, Type::Short, {8, 8, 8});
    else
        fields.Add(Tag::BitsPerSample, Type::Short, {bitmap.bitsPerPixel});
    fields.Add(Tag::Compression, Type::Short, {kUncompressed});
    fields.Add(Tag::Photometric, Type::Short, {photometric});
    fields.Add(Tag::StripOffsets, offsetType, offsets);
    fields.Add(Tag::Orientation, Type::Short, {kTopLeft});
    fields.Add(Tag::SamplesPerPixel, Type::Short, {photometric == kRgb ? 3u : 1u});
    fields.Add(Tag::RowsPerStrip, Type::Long, {rowsPerStrip});
    fields.Add(Tag::StripByteCounts, offsetType, counts);
    const bool known = bitmap.xDpi > 0 && bitmap.yDpi > 0;
    if (known) {
        fields.Add(Tag::XResolution, Type::Rational, FractionOf(bitmap.xDpi));
        fields.Add(Tag::YResolution, Type::Rational, FractionOf(bitmap.yDpi));
    }
    fields.Add(Tag::PlanarConfiguration, Type::Short, {kOnePlane});
    if (known)
        fields.Add(Tag::ResolutionUnit, Type::Short, {kInches});
    fields.Add(Tag::Software, Type::Text, {'v', 'o', 'r', 'n', 'w', 'i', 'a', 0});
    if (photometric == kPalette)
        fields.Add(Tag::ColorMap, Type::Short, ColorMapOf(bitmap));
}

int32_t WriteNumber(FileUpdate& file, uint64_t at, uint64_t number, uint32_t bytes, bool bigEndian) noexcept
{
    uint8_t raw[sizeof number];
    for (uint32_t i = 0; i < bytes; ++i)
        raw[i] = static_cast<uint8_t>(number >> 8 * (bigEndian ? bytes - 1 - i : i));
    return file.WriteAt(at, raw, bytes);
}

int32_t WriteHeader(FileUpdate& file, uint64_t directoryAt) noexcept
{
    constexpr std::array<uint8_t, 4> kLittleEndianClassic = {'I', 'I', 42, 0};
    const int32_t status = file.WriteAt(0, kLittleEndianClassic.data(), kLittleEndianClassic.size());
    return status != FIL_SUCCESS
               ? status
               : WriteNumber(file, kLittleEndianClassic.size(), directoryAt, kClassic.offset, false);
}

int32_t WriteDirectory(FileUpdate& file, const BitmapHandle& bitmap, const Layout& layout)
{
    const Chain& chain = layout.chain;
    FieldWriter fields{layout.Sizes(), chain.bigEndian, layout.valuesAt};
    AddFields(fields, bitmap, layout);
    const std::vector<uint8_t> bytes = fields.Bytes();
    if (const int32_t status = file.WriteAt(layout.valuesAt, bytes.data(), bytes.size());
        status != FIL_SUCCESS)
        return status;
    const uint64_t directoryAt = fields.DirectoryOffset();
    return file.OldSize() > 0
               ? WriteNumber(file, chain.nextAt, directoryAt, layout.Sizes().offset, chain.bigEndian)
               : WriteHeader(file, directoryAt);
}

}  // namespace

std::span<const int32_t> Compressions() noexcept
{
    static constexpr int32_t kCompressions[] = {FIL_COMPRESSION_NONE};
    return kCompressions;
}

int32_t WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings&) noexcept
{
    if (bitmap.bitsPerPixel == 16 || bitmap.bitsPerPixel == 32)
        return FIL_ERR_UNSUPPORTED;
    Layout layout;
    if (const int32_t status = PlanLayout(file, bitmap, layout); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = WriteStrips(file, bitmap, layout); status != FIL_SUCCESS)
        return status;
    try {
        return WriteDirectory(file, bitmap, layout);
    } catch (const std::bad_alloc&) {
        return FIL_ERR_OUT_OF_MEMORY;
    }
}

}  // namespace vorn::fil::tiff
