#include "TiffEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ByteWriter.h"
#include "RowStream.h"
#include "Software.h"
#include "TiffDirectory.h"
#include "pixels/GreyRamp.h"
#include "pixels/Pixels.h"

namespace vorn::wia {

namespace {

constexpr uint32_t kFileHeaderBytes = 8;
constexpr uint64_t kLimit = 0xFFFFFFFF;  // what the format's 32-bit offsets reach

/** Large enough that a reader is not slowed by the number of strips, small enough to hold in a cache. */
constexpr uint64_t kStripBytes = 64 * 1024;

enum Photometric : uint32_t { kWhiteIsZero = 0, kBlackIsZero = 1, kRgb = 2, kPalette = 3 };

/** How a page is cut into strips of whole rows. Rows are padded to bytes only. */
struct Strips {
    explicit Strips(const PageGeometry& geometry) noexcept
        : rowBytes{(uint64_t{geometry.width} * geometry.bitsPerPixel + 7) / 8},
          totalBytes{rowBytes * geometry.height},
          rowsPerStrip{
              static_cast<uint32_t>(std::clamp<uint64_t>(kStripBytes / rowBytes, 1, geometry.height))}
    {
    }

    uint64_t rowBytes;
    uint64_t totalBytes;
    uint32_t rowsPerStrip;

    uint64_t StripBytes() const noexcept { return rowsPerStrip * rowBytes; }
    std::vector<uint32_t> Offsets(uint64_t firstByte) const;
    std::vector<uint32_t> ByteCounts() const;
};

std::vector<uint32_t> Strips::Offsets(uint64_t firstByte) const
{
    std::vector<uint32_t> offsets;
    for (uint64_t done = 0; done < totalBytes; done += StripBytes())
        offsets.push_back(static_cast<uint32_t>(firstByte + done));
    return offsets;
}

std::vector<uint32_t> Strips::ByteCounts() const
{
    std::vector<uint32_t> counts;
    for (uint64_t done = 0; done < totalBytes; done += StripBytes())
        counts.push_back(static_cast<uint32_t>(std::min(StripBytes(), totalBytes - done)));
    return counts;
}

Photometric PhotometricOf(const PageGeometry& geometry, const std::vector<PaletteEntry>& palette)
{
    if (geometry.bitsPerPixel > 8)
        return kRgb;
    if (palette.size() != size_t{1} << geometry.bitsPerPixel)
        return kPalette;
    using fil::GreyRamp;
    const GreyRamp ramp = fil::GreyRampOf(reinterpret_cast<const uint8_t*>(palette.data()), palette.size());
    return ramp == GreyRamp::Rising ? kBlackIsZero : ramp == GreyRamp::Falling ? kWhiteIsZero : kPalette;
}

/** All red values first, then green, then blue; 16 bits each. */
std::vector<uint32_t> ColorMap(const std::vector<PaletteEntry>& palette, uint32_t bitsPerPixel)
{
    const size_t count = size_t{1} << bitsPerPixel;
    std::vector<uint32_t> map(3 * count);
    for (size_t i = 0; i < palette.size(); ++i) {
        map[i] = palette[i].red * 257u;
        map[count + i] = palette[i].green * 257u;
        map[2 * count + i] = palette[i].blue * 257u;
    }
    return map;
}

/** A fraction; the format demands one even where the resolution is not known. */
std::vector<uint32_t> Resolution(double dpi)
{
    if (!(dpi > 0))
        return {1, 1};
    const uint32_t denominator = dpi == std::floor(dpi) ? 1 : 1000;
    return {static_cast<uint32_t>(std::min(std::round(dpi * denominator), double{kLimit})), denominator};
}

/** The directory of a page; its strips follow right behind it. `offset` is its own in the file. */
TiffDirectory DirectoryOf(const PageGeometry& geometry, const Strips& strips, uint64_t offset)
{
    const std::vector<PaletteEntry> palette = PaletteOf(geometry);
    const Photometric photometric = PhotometricOf(geometry, palette);
    const uint32_t samples = photometric == kRgb ? 3 : 1;
    const bool resolutionKnown = geometry.xDpi > 0 && geometry.yDpi > 0;

    using Type = TiffDirectory::Type;
    TiffDirectory directory;
    directory.Add(TiffTag::NewSubfileType, Type::Long, {0});
    directory.Add(TiffTag::ImageWidth, Type::Long, {geometry.width});
    directory.Add(TiffTag::ImageLength, Type::Long, {geometry.height});
    directory.Add(TiffTag::BitsPerSample, Type::Short,
                  std::vector<uint32_t>(samples, geometry.bitsPerPixel / samples));
    directory.Add(TiffTag::Compression, Type::Short, {1});
    directory.Add(TiffTag::Photometric, Type::Short, {photometric});
    directory.Add(TiffTag::StripOffsets, Type::Long, strips.Offsets(0));
    directory.Add(TiffTag::SamplesPerPixel, Type::Short, {samples});
    directory.Add(TiffTag::RowsPerStrip, Type::Long, {strips.rowsPerStrip});
    directory.Add(TiffTag::StripByteCounts, Type::Long, strips.ByteCounts());
    directory.Add(TiffTag::XResolution, Type::Rational, Resolution(geometry.xDpi));
    directory.Add(TiffTag::YResolution, Type::Rational, Resolution(geometry.yDpi));
    directory.Add(TiffTag::ResolutionUnit, Type::Short, {resolutionKnown ? 2u : 1u});
    directory.Add(TiffTag::Software, Type::Ascii, {std::begin(fil::kSoftware), std::end(fil::kSoftware)});
    if (photometric == kPalette)
        directory.Add(TiffTag::ColorMap, Type::Short, ColorMap(palette, geometry.bitsPerPixel));

    directory.Replace(TiffTag::StripOffsets, strips.Offsets(offset + directory.Size()));
    return directory;
}

/** All of a page that precedes its strips, from byte `start` of the file on. */
std::vector<uint8_t> HeaderOf(const TiffDirectory& directory, uint32_t start, uint32_t directoryOffset)
{
    ByteWriter header;
    if (start == 0) {
        header.Put8('I');
        header.Put8('I');
        header.Put16(42);
        header.Put32(directoryOffset);
    } else {
        header.PutZeros(directoryOffset - start);
    }
    header.Put(directory.Bytes(directoryOffset));
    return header.Bytes();
}

/** Red and blue change places, and the padding of a DIB's rows goes. */
void PackRows(const PageGeometry& geometry, uint8_t* rows, uint32_t count)
{
    const size_t paddedBytes = static_cast<size_t>(geometry.RowBytes());
    const size_t packedBytes = static_cast<size_t>(Strips{geometry}.rowBytes);
    uint8_t* packed = rows;
    for (; count > 0; --count, rows += paddedBytes, packed += packedBytes) {
        if (geometry.bitsPerPixel == 24)
            fil::SwapRedBlue(rows, packed, geometry.width);
        else if (packed != rows)
            std::memmove(packed, rows, packedBytes);
    }
}

}  // namespace

uint64_t TiffEncoder::EncodedBytes(const PageGeometry& geometry) const noexcept
try {
    if (!IsPlausible(geometry) || Strips{geometry}.totalBytes > kLimit)
        return 0;
    const Strips strips{geometry};
    const uint64_t total =
        kFileHeaderBytes + DirectoryOf(geometry, strips, kFileHeaderBytes).Size() + strips.totalBytes;
    return total <= kLimit ? total : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

HRESULT TiffEncoder::Encode(Page& page, PageSink& sink, uint32_t chunkBytes)
try {
    const PageGeometry& geometry = page.Geometry();
    if (!IsPlausible(geometry) || chunkBytes == 0)
        return E_INVALIDARG;
    if (Strips{geometry}.totalBytes > kLimit)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;

    const Strips strips{geometry};
    const bool first = fileBytes_ == 0;
    const uint64_t start = fileBytes_;
    const uint64_t directoryOffset = first ? kFileHeaderBytes : start + start % 2;  // on an even byte
    const TiffDirectory directory = DirectoryOf(geometry, strips, directoryOffset);
    const uint64_t firstStrip = directoryOffset + directory.Size();
    const uint64_t end = firstStrip + strips.totalBytes;
    if (end > kLimit)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;

    const std::vector<uint8_t> header =
        HeaderOf(directory, static_cast<uint32_t>(start), static_cast<uint32_t>(directoryOffset));
    const uint32_t headerBytes = static_cast<uint32_t>(header.size());
    if (const HRESULT result = sink.Begin(end - start, headerBytes); result != S_OK)
        return result;
    if (const HRESULT result = sink.Write(start, header.data(), headerBytes, 0); result != S_OK)
        return result;

    const RowLayout rows{firstStrip, strips.rowBytes, RowOrder::TopDown, PackRows,
                         geometry.bitsPerPixel == 24};
    if (const HRESULT result = StreamRows(page, rows, sink, chunkBytes); result != S_OK)
        return result;
    if (!first) {
        ByteWriter link;
        link.Put32(static_cast<uint32_t>(directoryOffset));
        if (const HRESULT result = sink.Write(linkOffset_, link.Bytes().data(), 4, 100); result != S_OK)
            return result;
    }

    if (pages_ == Pages::Chained) {
        fileBytes_ = end;
        linkOffset_ = directoryOffset + directory.LinkOffset();
    }
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace vorn::wia
