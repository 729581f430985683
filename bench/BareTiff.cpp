/*
 * TIFF files as a program makes them with libtiff alone, in strips as large as the file library's.
 */
#include <benchmark/benchmark.h>

#include <tiffio.h>
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

#include "BareCodecs.h"
#include "FreshBlock.h"
#include "pixels/Pixels.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kStripBytes = 128 * 1024;
constexpr uint32_t kJpegRows = 16;

struct CloseTiff {
    void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

TiffPtr Open(const fs::path& name, const char* mode)
{
    TiffPtr tiff{TIFFOpen(name.c_str(), mode)};
    if (!tiff)
        throw std::runtime_error{"cannot open " + name.string()};
    return tiff;
}

uint8_t* RowFromTop(uint8_t* image, const BitmapHandle& page, uint32_t y)
{
    return image + uint64_t{page.height - 1 - y} * page.rowBytes;
}

void SetFields(TIFF* tiff, const BitmapHandle& page, uint16_t compression)
{
    const bool color = page.bitsPerPixel == 24;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, color ? 8 : page.bitsPerPixel);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, color ? 3 : 1);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, color ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    uint32_t rows = std::min(std::max(kStripBytes / page.rowBytes, 1u), page.height);
    if (compression == COMPRESSION_JPEG) {
        rows = (rows + kJpegRows - 1) / kJpegRows * kJpegRows;
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
        TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
        TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, 90);
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    } else if (color && compression != COMPRESSION_NONE) {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
}

template <uint16_t compression>
void Save(const BitmapHandle& page, const fs::path& name)
{
    const TiffPtr tiff = Open(name, "w");
    SetFields(tiff.get(), page, compression);
    std::vector<uint8_t> swapped(page.rowBytes);
    for (uint32_t y = 0; y < page.height; ++y) {
        uint8_t* row = RowFromTop(static_cast<uint8_t*>(page.image), page, y);
        if (page.bitsPerPixel == 24)
            fil::SwapRedBlue(row, swapped.data(), page.width);
        else
            std::copy_n(row, page.rowBytes, swapped.data());
        if (TIFFWriteScanline(tiff.get(), swapped.data(), y, 0) != 1)
            throw std::runtime_error{"cannot write " + name.string()};
    }
}

}  // namespace

void SaveTiffDeflate(const BitmapHandle& page, const fs::path& name)
{
    Save<COMPRESSION_ADOBE_DEFLATE>(page, name);
}

void SaveTiffLzw(const BitmapHandle& page, const fs::path& name)
{
    Save<COMPRESSION_LZW>(page, name);
}

void SaveTiffJpeg(const BitmapHandle& page, const fs::path& name)
{
    Save<COMPRESSION_JPEG>(page, name);
}

void SaveTiffGroup4(const BitmapHandle& page, const fs::path& name)
{
    Save<COMPRESSION_CCITTFAX4>(page, name);
}

void LoadTiff(const BitmapHandle& page, const fs::path& name)
{
    const TiffPtr tiff = Open(name, "r");
    const FreshBlock image{page.imageBytes, Memory::HugePages};
    uint16_t compression = COMPRESSION_NONE;
    if (TIFFGetField(tiff.get(), TIFFTAG_COMPRESSION, &compression) && compression == COMPRESSION_JPEG)
        TIFFSetField(tiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    for (uint32_t y = 0; y < page.height; ++y) {
        uint8_t* row = RowFromTop(image.Data(), page, y);
        if (TIFFReadScanline(tiff.get(), row, y, 0) != 1)
            throw std::runtime_error{"cannot read " + name.string()};
        if (page.bitsPerPixel == 24)
            fil::SwapRedBlue(row, row, page.width);
    }
    benchmark::ClobberMemory();
}

}  // namespace vorn::bench
