/*
 * Writing a page of a TIFF file by libtiff.
 */
#include <algorithm>

#include "Pixels.h"
#include "TiffChain.h"
#include "TiffPages.h"
#include "TiffStream.h"

namespace vorn::fil::tiff {
namespace {

/** Strips of this size are few enough for large pages and small enough for readers that hold one at a time. */
constexpr uint64_t kStripBytes = 128 * 1024;

uint8_t GreyOfRamp(uint32_t index, uint32_t last) noexcept
{
    return static_cast<uint8_t>(index * 255 / last);
}

/** The photometric interpretation that tells the palette: a grey ramp needs no table. */
uint16_t PhotometricOf(const BitmapHandle& bitmap) noexcept
{
    if (bitmap.bitsPerPixel > 8)
        return PHOTOMETRIC_RGB;
    const uint32_t last = (1u << bitmap.bitsPerPixel) - 1;
    if (!bitmap.palette)
        return PHOTOMETRIC_MINISBLACK;
    if (bitmap.paletteCount <= last)
        return PHOTOMETRIC_PALETTE;
    bool rising = true, falling = true;
    for (uint32_t i = 0; i <= last; ++i) {
        const uint8_t* const entry = bitmap.palette + i * kPaletteEntryBytes;
        const bool grey = entry[0] == entry[1] && entry[1] == entry[2];
        rising = rising && grey && entry[0] == GreyOfRamp(i, last);
        falling = falling && grey && entry[0] == GreyOfRamp(last - i, last);
    }
    return rising ? PHOTOMETRIC_MINISBLACK : falling ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_PALETTE;
}

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

/** Bytes of a row in the file: without the padding that a bitmap's row has. */
uint64_t FileRowBytes(const BitmapHandle& bitmap) noexcept
{
    return (uint64_t{bitmap.width} * bitmap.bitsPerPixel + 7) / 8;
}

uint32_t RowsPerStrip(const BitmapHandle& bitmap) noexcept
{
    return static_cast<uint32_t>(std::clamp<uint64_t>(kStripBytes / FileRowBytes(bitmap), 1, bitmap.height));
}

bool SetFields(TIFF* tiff, const BitmapHandle& bitmap) noexcept
{
    const bool color = bitmap.bitsPerPixel == 24;
    const uint16_t photometric = PhotometricOf(bitmap);
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width) &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height) &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, color ? 8 : bitmap.bitsPerPixel) &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, color ? 3 : 1) &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, RowsPerStrip(bitmap)) &&
           TIFFSetField(tiff, TIFFTAG_SOFTWARE, "vornwia") &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric) &&
           (photometric != PHOTOMETRIC_PALETTE || SetColorMap(tiff, bitmap)) && SetResolution(tiff, bitmap);
}

int32_t WriteStrips(Stream& stream, const BitmapHandle& bitmap) noexcept
{
    const uint64_t fileRowBytes = FileRowBytes(bitmap);
    const uint32_t rowsPerStrip = RowsPerStrip(bitmap);
    const Buffer strip{fileRowBytes * rowsPerStrip};
    if (!strip.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    const bool bottomUp = bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT;
    const uint8_t* const image = static_cast<const uint8_t*>(bitmap.image);
    uint32_t number = 0;
    for (uint32_t y = 0; y < bitmap.height; y += rowsPerStrip, ++number) {
        const uint32_t rows = std::min(rowsPerStrip, bitmap.height - y);
        for (uint32_t i = 0; i < rows; ++i) {
            const uint32_t row = bottomUp ? bitmap.height - 1 - (y + i) : y + i;
            const uint8_t* const from = image + uint64_t{row} * bitmap.rowBytes;
            uint8_t* const to = strip.Get() + i * fileRowBytes;
            if (bitmap.bitsPerPixel == 24)
                SwapRedBlue(from, to, bitmap.width);
            else
                std::memcpy(to, from, static_cast<size_t>(fileRowBytes));
        }
        if (TIFFWriteEncodedStrip(stream.Get(), number, strip.Get(),
                                  static_cast<tmsize_t>(rows * fileRowBytes)) < 0)
            return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    }
    return FIL_SUCCESS;
}

/** Checks that the file has a sound chain to add to, and that the page's offsets will fit its kind. */
int32_t CheckRoom(FileUpdate& file, const BitmapHandle& bitmap, Chain& chain) noexcept
{
    if (file.OldSize() > 0)
        if (const int32_t status = WalkChain(file, 0, chain); status != FIL_SUCCESS)
            return status;
    const uint64_t strips = bitmap.height / RowsPerStrip(bitmap) + 1;
    const uint64_t directory = 16 * 1024 + strips * 8;
    const uint64_t end = file.OldSize() + FileRowBytes(bitmap) * bitmap.height + directory;
    return !chain.big && end > UINT32_MAX ? FIL_ERR_TOO_LARGE : FIL_SUCCESS;
}

}  // namespace

int32_t WritePage(FileUpdate& file, const BitmapHandle& bitmap) noexcept
{
    if (bitmap.bitsPerPixel == 16 || bitmap.bitsPerPixel == 32)
        return FIL_ERR_UNSUPPORTED;
    Chain chain;
    if (const int32_t status = CheckRoom(file, bitmap, chain); status != FIL_SUCCESS)
        return status;
    Stream stream{file, chain};
    if (!stream.Get() || !SetFields(stream.Get(), bitmap))
        return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    if (const int32_t status = WriteStrips(stream, bitmap); status != FIL_SUCCESS)
        return status;
    if (!TIFFWriteDirectory(stream.Get()))
        return stream.Failure(FIL_ERR_OUT_OF_MEMORY);
    stream.Close();
    return stream.Failure(FIL_SUCCESS);
}

}  // namespace vorn::fil::tiff
