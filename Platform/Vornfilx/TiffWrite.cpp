/*
 * Writing a page of a TIFF file by libtiff.
 */
#include <algorithm>

#include "TiffChain.h"
#include "TiffPages.h"
#include "TiffStream.h"
#include "TiffStrips.h"

namespace vorn::fil::tiff {
namespace {

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

bool SetFields(TIFF* tiff, const BitmapHandle& bitmap) noexcept
{
    const bool color = bitmap.bitsPerPixel == 24;
    const Photometric photometric = PhotometricOf(bitmap);
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width) &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height) &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, color ? 8 : bitmap.bitsPerPixel) &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, color ? 3 : 1) &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, RowsPerStrip(bitmap)) &&
           TIFFSetField(tiff, TIFFTAG_SOFTWARE, "vornwia") &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, static_cast<uint16_t>(photometric)) &&
           (photometric != kPalette || SetColorMap(tiff, bitmap)) && SetResolution(tiff, bitmap);
}

int32_t WriteStrips(Stream& stream, const BitmapHandle& bitmap) noexcept
{
    const uint64_t fileRowBytes = FileRowBytes(bitmap);
    const uint32_t rowsPerStrip = RowsPerStrip(bitmap);
    const Buffer strip{fileRowBytes * rowsPerStrip};
    if (!strip.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    uint32_t number = 0;
    for (uint32_t y = 0; y < bitmap.height; y += rowsPerStrip, ++number) {
        const uint32_t rows = std::min(rowsPerStrip, bitmap.height - y);
        FillStrip(bitmap, y, rows, strip.Get());
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
