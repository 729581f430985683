/*
 * Writing a page of a TIFF file by libtiff.
 */
#include <algorithm>

#include "tiff/Chain.h"
#include "tiff/Pages.h"
#include "tiff/Stream.h"
#include "tiff/Strips.h"

namespace vorn::fil::tiff {
namespace {

constexpr uint64_t kPageBytes = 4096;

bool SetColorMap(TIFF* tiff, const BitmapHandle& bitmap) noexcept
{
    uint16_t red[256] = {}, green[256] = {}, blue[256] = {};
    const uint32_t count = std::min(bitmap.paletteCount, 1u << bitmap.bitsPerPixel);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* const entry = bitmap.palette + i * kPaletteEntryBytes;
        blue[i] = static_cast<uint16_t>(entry[0] * 257);
        green[i] = static_cast<uint16_t>(entry[1] * 257);
        red[i] = static_cast<uint16_t>(entry[2] * 257);
    }
    return TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue) != 0;
}

bool SetResolution(TIFF* tiff, const BitmapHandle& bitmap) noexcept
{
    if (!(bitmap.xDpi > 0) || !(bitmap.yDpi > 0))
        return true;
    return TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) &&
           TIFFSetField(tiff, TIFFTAG_XRESOLUTION, bitmap.xDpi) &&
           TIFFSetField(tiff, TIFFTAG_YRESOLUTION, bitmap.yDpi);
}

struct Scheme {
    int32_t compression;
    uint16_t tiff;
};
constexpr Scheme kSchemes[] = {{FIL_COMPRESSION_DEFAULT, COMPRESSION_NONE},
                               {FIL_COMPRESSION_NONE, COMPRESSION_NONE},
                               {FIL_COMPRESSION_DEFLATE, COMPRESSION_ADOBE_DEFLATE},
                               {FIL_COMPRESSION_LZW, COMPRESSION_LZW},
                               {FIL_COMPRESSION_JPEG, COMPRESSION_JPEG},
                               {FIL_COMPRESSION_GROUP4, COMPRESSION_CCITTFAX4}};

uint16_t SchemeOf(int32_t compression) noexcept
{
    return std::find_if(std::begin(kSchemes), std::end(kSchemes),
                        [&](const Scheme& row) { return row.compression == compression; })
        ->tiff;
}

/** Which bitmaps a scheme takes: the fax codes know white and black only, JPEG continuous tones. */
bool Takes(uint16_t scheme, const BitmapHandle& bitmap) noexcept
{
    const bool ramp = PhotometricOf(bitmap) != kPalette;
    switch (scheme) {
        case COMPRESSION_CCITTFAX4:
            return bitmap.bitsPerPixel == 1 && ramp;
        case COMPRESSION_JPEG:
            return bitmap.bitsPerPixel >= 8 && ramp;
        default:
            return true;
    }
}

/** The settings of the scheme, and what it makes of the rows. */
bool SetScheme(TIFF* tiff, const BitmapHandle& bitmap, uint16_t scheme, int32_t jpegQuality) noexcept
{
    const Photometric photometric = PhotometricOf(bitmap);
    if (!TIFFSetField(tiff, TIFFTAG_COMPRESSION, scheme))
        return false;
    if (scheme == COMPRESSION_JPEG) {
        // Rows go in as RGB; the file holds luminance and colour differences, as every reader of JPEG expects.
        if (!TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, jpegQuality) ||
            !TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB))
            return false;
        // Colours keep their full resolution from the quality on that asks for them.
        const int sampling = jpegQuality >= 90 ? 1 : 2;
        if (photometric == kRgb)
            return TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR) &&
                   TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, sampling, sampling);
    }
    // Neighbouring samples of grey and colour are alike: their differences pack better.
    const bool differences = bitmap.bitsPerPixel >= 8 && photometric != kPalette &&
                             (scheme == COMPRESSION_LZW || scheme == COMPRESSION_ADOBE_DEFLATE);
    if (differences && !TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL))
        return false;
    return TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, static_cast<uint16_t>(photometric)) != 0;
}

/**
 * JPEG data comes in blocks, of 16 rows where colours have half the resolution. Rows that stay as they are take a third
 * longer when they are written in pieces of the usual size.
 */
uint32_t StripRows(const BitmapHandle& bitmap, uint16_t scheme) noexcept
{
    constexpr uint32_t kBlockRows = 16;
    constexpr uint64_t kPlainStripBytes = 1024 * 1024;
    if (scheme == COMPRESSION_NONE)
        return static_cast<uint32_t>(
            std::clamp<uint64_t>(kPlainStripBytes / FileRowBytes(bitmap), 1, bitmap.height));
    const uint32_t rows = RowsPerStrip(bitmap);
    return scheme == COMPRESSION_JPEG ? (rows + kBlockRows - 1) / kBlockRows * kBlockRows : rows;
}

bool SetFields(TIFF* tiff, const BitmapHandle& bitmap, uint32_t rowsPerStrip) noexcept
{
    const bool color = bitmap.bitsPerPixel == 24;
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width) &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height) &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, color ? 8 : bitmap.bitsPerPixel) &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, color ? 3 : 1) &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip) &&
           TIFFSetField(tiff, TIFFTAG_SOFTWARE, "vornwia") &&
           (PhotometricOf(bitmap) != kPalette || SetColorMap(tiff, bitmap)) && SetResolution(tiff, bitmap);
}

/**
 * A place for a strip that lies in its page of memory as the strip will in the file's. Where both ends of a copy lie
 * nearly alike, but not quite, processors take twice as long.
 */
uint8_t* PlaceLike(uint64_t fileOffset, const Buffer& room) noexcept
{
    const uint64_t address = reinterpret_cast<uintptr_t>(room.Get());
    return room.Get() + (fileOffset - address) % kPageBytes;
}

int32_t WriteStrips(Stream& stream, const FileUpdate& file, PageRows& bitmap, uint16_t scheme,
                    uint32_t rowsPerStrip) noexcept
{
    // Rows that stay as they are need not pass through the codec's own buffer.
    const auto write = scheme == COMPRESSION_NONE ? TIFFWriteRawStrip : TIFFWriteEncodedStrip;
    const uint64_t fileRowBytes = FileRowBytes(bitmap);
    const Buffer room{fileRowBytes * rowsPerStrip + kPageBytes};
    if (!room.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    uint32_t number = 0;
    for (uint32_t y = 0; y < bitmap.height; y += rowsPerStrip, ++number) {
        const uint32_t rows = std::min(rowsPerStrip, bitmap.height - y);
        uint8_t* const strip = PlaceLike(file.Size(), room);
        if (!FillStrip(bitmap, y, rows, strip))
            return bitmap.Failure(FIL_ERR_READ);
        if (write(stream.Get(), number, strip, static_cast<tmsize_t>(rows * fileRowBytes)) < 0)
            return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    }
    return FIL_SUCCESS;
}

/** Checks that the file has a sound chain to add to, and that the page's offsets will fit its kind. */
int32_t CheckRoom(FileUpdate& file, const BitmapHandle& bitmap, Chain& chain) noexcept
{
    if (file.OldSize() > 0)
        if (const int32_t status = FindEnd(file, chain); status != FIL_SUCCESS)
            return status;
    const uint64_t strips = bitmap.height / RowsPerStrip(bitmap) + 1;
    const uint64_t directory = 16 * 1024 + strips * 8;
    const uint64_t end = file.OldSize() + FileRowBytes(bitmap) * bitmap.height + directory;
    return !chain.big && end > UINT32_MAX ? FIL_ERR_TOO_LARGE : FIL_SUCCESS;
}

}  // namespace

std::span<const int32_t> Compressions() noexcept
{
    static constexpr int32_t kCompressions[] = {FIL_COMPRESSION_NONE, FIL_COMPRESSION_DEFLATE,
                                                FIL_COMPRESSION_LZW, FIL_COMPRESSION_JPEG,
                                                FIL_COMPRESSION_GROUP4};
    return kCompressions;
}

int32_t WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings& settings) noexcept
{
    const uint16_t scheme = SchemeOf(settings.compression);
    if (bitmap.bitsPerPixel == 16 || bitmap.bitsPerPixel == 32 || !Takes(scheme, bitmap))
        return FIL_ERR_UNSUPPORTED;
    Chain chain;
    int32_t status = CheckRoom(file, bitmap, chain);
    if (status == FIL_SUCCESS && scheme == COMPRESSION_NONE)
        status = file.Reserve(FileRowBytes(bitmap) * bitmap.height);
    if (status != FIL_SUCCESS)
        return status;
    const uint32_t rowsPerStrip = StripRows(bitmap, scheme);
    Stream stream{file, chain};
    if (!stream.Get() || !SetFields(stream.Get(), bitmap, rowsPerStrip) ||
        !SetScheme(stream.Get(), bitmap, scheme, settings.jpegQuality))
        return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    status = WriteStrips(stream, file, bitmap, scheme, rowsPerStrip);
    if (status != FIL_SUCCESS)
        return status;
    if (!TIFFWriteDirectory(stream.Get()))
        return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    stream.Close();
    return stream.Failure(FIL_SUCCESS);
}

}  // namespace vorn::fil::tiff
