/*
 * Reading a page of a TIFF file by libtiff.
 */
#include <algorithm>
#include <cmath>

#include "pixels/Pixels.h"
#include "tiff/Chain.h"
#include "tiff/Pages.h"
#include "tiff/StoredFields.h"
#include "tiff/Stream.h"

namespace vorn::fil::tiff {
namespace {

/** How a page gets into a bitmap. */
enum class Route {
    Rows,      ///< its rows are those of a bitmap, but for order and byte order
    Converted  ///< libtiff makes red, green, blue of whatever it is
};

struct Page {
    PageInfo info;
    Route route = Route::Rows;
    bool topDown = true;  ///< the file's first row is the picture's top
};

/** The fields of a directory that decide how a page is read. */
struct Fields {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bits = 1;
    uint16_t samples = 1;
    uint16_t planes = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    uint16_t orientation = ORIENTATION_TOPLEFT;
    uint16_t compression = COMPRESSION_NONE;
    bool hasPhotometric = false;
};

Fields ReadFields(TIFF* tiff) noexcept
{
    Fields fields;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &fields.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &fields.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &fields.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &fields.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &fields.planes);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &fields.orientation);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &fields.compression);
    fields.hasPhotometric = TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &fields.photometric) != 0;
    return fields;
}

bool HasBitmapRows(TIFF* tiff, const Fields& fields) noexcept
{
    if (TIFFIsTiled(tiff) || fields.planes != PLANARCONFIG_CONTIG || !fields.hasPhotometric ||
        (fields.orientation != ORIENTATION_TOPLEFT && fields.orientation != ORIENTATION_BOTLEFT) ||
        fields.compression == COMPRESSION_OJPEG)
        return false;
    const bool color = fields.photometric == PHOTOMETRIC_RGB ||
                       (fields.photometric == PHOTOMETRIC_YCBCR && fields.compression == COMPRESSION_JPEG);
    if (color)
        return fields.samples == 3 && fields.bits == 8;
    const bool indexed = fields.photometric == PHOTOMETRIC_MINISBLACK ||
                         fields.photometric == PHOTOMETRIC_MINISWHITE ||
                         fields.photometric == PHOTOMETRIC_PALETTE;
    return indexed && fields.samples == 1 && (fields.bits == 1 || fields.bits == 4 || fields.bits == 8);
}

double ReadDpi(TIFF* tiff, uint32_t tag) noexcept
{
    float value = 0;
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (!TIFFGetField(tiff, tag, &value) || !(value > 0) || !std::isfinite(value))
        return 0;
    return DpiOf(double{value}, unit);
}

void SetEntry(PageInfo& info, uint32_t index, uint32_t red, uint32_t green, uint32_t blue) noexcept
{
    uint8_t* const entry = info.palette.data() + index * kPaletteEntryBytes;
    entry[0] = static_cast<uint8_t>(blue);
    entry[1] = static_cast<uint8_t>(green);
    entry[2] = static_cast<uint8_t>(red);
}

void FillGreys(PageInfo& info, bool whiteFirst) noexcept
{
    const uint32_t last = info.paletteCount - 1;
    for (uint32_t i = 0; i <= last; ++i) {
        const uint32_t grey = (whiteFirst ? last - i : i) * 255 / last;
        SetEntry(info, i, grey, grey, grey);
    }
}

bool FillColors(TIFF* tiff, PageInfo& info) noexcept
{
    uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue))
        return false;
    uint32_t highest = 0;
    for (uint32_t i = 0; i < info.paletteCount; ++i)
        highest = std::max<uint32_t>({highest, red[i], green[i], blue[i]});
    // Entries have 16 bits, but some old programs write 8.
    const int shift = highest > 255 ? 8 : 0;
    for (uint32_t i = 0; i < info.paletteCount; ++i)
        SetEntry(info, i, red[i] >> shift, green[i] >> shift, blue[i] >> shift);
    return true;
}

int32_t FillPalette(TIFF* tiff, const Fields& fields, PageInfo& info) noexcept
{
    if (info.bitsPerPixel > 8)
        return FIL_SUCCESS;
    info.paletteCount = 1u << info.bitsPerPixel;
    if (fields.photometric != PHOTOMETRIC_PALETTE)
        FillGreys(info, fields.photometric == PHOTOMETRIC_MINISWHITE);
    else if (!FillColors(tiff, info))
        return FIL_ERR_CORRUPT;
    return FIL_SUCCESS;
}

bool CanConvert(TIFF* tiff, const Fields& fields) noexcept
{
    // libtiff takes wrong pixels from tiles of 16-bit grey that reach past the picture.
    uint32_t tileWidth = 0;
    if (TIFFIsTiled(tiff) && fields.bits == 16 && fields.samples == 1 &&
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth) &&
        (tileWidth == 0 || fields.width % tileWidth != 0))
        return false;
    char message[1024];
    return TIFFRGBAImageOK(tiff, message) != 0;
}

int32_t ReadBitmapRows(Stream& stream, const Page& page, const NewImage& image) noexcept
{
    TIFF* const tiff = stream.Get();
    const uint64_t fileRowBytes = (uint64_t{page.info.width} * page.info.bitsPerPixel + 7) / 8;
    const tmsize_t scanline = TIFFScanlineSize(tiff);
    // Rows are decoded in place, and an image's row is never shorter than the file's.
    if (scanline < 0 || static_cast<uint64_t>(scanline) != fileRowBytes)
        return FIL_ERR_UNSUPPORTED;
    for (uint32_t y = 0; y < page.info.height; ++y) {
        uint8_t* const row = image.Row(page.topDown ? page.info.height - 1 - y : y);
        if (TIFFReadScanline(tiff, row, y, 0) != 1)
            return stream.Failure(FIL_ERR_CORRUPT);
        if (page.info.bitsPerPixel == 24)
            SwapRedBlue(row, row, page.info.width);
    }
    return FIL_SUCCESS;
}

/** Ends libtiff's conversion on every way out. */
struct Conversion {
    TIFFRGBAImage image{};
    bool begun = false;

    ~Conversion()
    {
        if (begun)
            TIFFRGBAImageEnd(&image);
    }
};

/** Rows that are converted at a time: those of a tile or a strip, so that none is decoded twice. */
uint32_t RowsAtATime(TIFF* tiff, uint32_t height) noexcept
{
    uint32_t rows = 0;
    if (TIFFIsTiled(tiff))
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &rows);
    else
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
    return rows == 0 ? height : std::min(rows, height);
}

int32_t ConvertRows(Stream& stream, const Page& page, const NewImage& image) noexcept
{
    const uint32_t width = page.info.width, height = page.info.height;
    const uint32_t step = RowsAtATime(stream.Get(), height);
    const uint64_t rasterBytes = uint64_t{width} * step * sizeof(uint32_t);
    if (rasterBytes > KRN_MAX_IMAGE_BYTES)
        return FIL_ERR_TOO_LARGE;
    const Buffer raster{rasterBytes};
    if (!raster.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    uint32_t* const pixels = reinterpret_cast<uint32_t*>(raster.Get());

    Conversion conversion;
    char message[1024];
    conversion.begun = TIFFRGBAImageBegin(&conversion.image, stream.Get(), 1, message) != 0;
    if (!conversion.begun)
        return stream.Failure(FIL_ERR_UNSUPPORTED);
    conversion.image.req_orientation = ORIENTATION_TOPLEFT;
    for (uint32_t y = 0; y < height; y += step) {
        const uint32_t rows = std::min(step, height - y);
        conversion.image.row_offset = static_cast<int>(y);
        if (!TIFFRGBAImageGet(&conversion.image, pixels, width, rows))
            return stream.Failure(FIL_ERR_CORRUPT);
        for (uint32_t i = 0; i < rows; ++i) {
            uint8_t* to = image.Row(page.topDown ? height - 1 - (y + i) : y + i);
            for (const uint32_t* from = pixels + uint64_t{i} * width;
                 from != pixels + uint64_t{i + 1} * width; ++from, to += 3) {
                to[0] = static_cast<uint8_t>(TIFFGetB(*from));
                to[1] = static_cast<uint8_t>(TIFFGetG(*from));
                to[2] = static_cast<uint8_t>(TIFFGetR(*from));
            }
        }
    }
    return FIL_SUCCESS;
}

/** Reads the directory of page `number`, counted from 1, and leaves the stream there. */
int32_t ReadPage(ByteSource& source, Stream& stream, uint32_t number, Page& page) noexcept
{
    Chain chain;
    if (const int32_t status = WalkChain(source, number, chain); status != FIL_SUCCESS)
        return status;
    TIFF* const tiff = stream.Get();
    if (!tiff || !TIFFSetSubDirectory(tiff, chain.offset))
        return stream.Failure(FIL_ERR_CORRUPT);
    if (const int32_t status = stream.Failure(FIL_SUCCESS); status != FIL_SUCCESS)
        return status;

    const Fields fields = ReadFields(tiff);
    if (fields.width == 0 || fields.height == 0)
        return FIL_ERR_CORRUPT;
    page.route = HasBitmapRows(tiff, fields) ? Route::Rows : Route::Converted;
    if (fields.compression == COMPRESSION_JPEG)
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);  // its own codec knows best
    if (page.route == Route::Converted && !CanConvert(tiff, fields))
        return FIL_ERR_UNSUPPORTED;
    page.info.width = fields.width;
    page.info.height = fields.height;
    page.info.storedBits = uint32_t{fields.bits} * fields.samples;
    page.info.bitsPerPixel = page.route == Route::Rows ? page.info.storedBits : 24;
    page.info.xDpi = ReadDpi(tiff, TIFFTAG_XRESOLUTION);
    page.info.yDpi = ReadDpi(tiff, TIFFTAG_YRESOLUTION);
    page.topDown = page.route == Route::Converted || fields.orientation == ORIENTATION_TOPLEFT;
    if (!FitsBitmap(page.info))
        return FIL_ERR_TOO_LARGE;
    return FillPalette(tiff, fields, page.info);
}

int32_t ReadRows(Stream& stream, const Page& page, const NewImage& image) noexcept
{
    return page.route == Route::Rows ? ReadBitmapRows(stream, page, image) : ConvertRows(stream, page, image);
}

}  // namespace

int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) noexcept
{
    Stream stream{source};
    Page read;
    const int32_t status = ReadPage(source, stream, page, read);
    if (status == FIL_SUCCESS)
        info = read.info;
    return status;
}

int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) noexcept
{
    Stream stream{source};
    Page read;
    if (const int32_t status = ReadPage(source, stream, page, read); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(read.info); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = ReadRows(stream, read, image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::tiff
