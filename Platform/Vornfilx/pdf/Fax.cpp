/*
 * Group 4 data for a PDF page, by libtiff: a TIFF file in memory with one strip, of which only the strip is taken.
 */
#include <tiffio.h>

#include <algorithm>
#include <memory>

#include "pdf/Picture.h"
#include "tiff/Strips.h"

namespace vorn::fil::pdf {
namespace {

/** A TIFF file in memory. */
struct MemoryFile {
    std::vector<uint8_t> bytes;
    uint64_t position = 0;

    static MemoryFile& Of(thandle_t self) { return *static_cast<MemoryFile*>(self); }

    static tmsize_t Read(thandle_t, void*, tmsize_t) { return 0; }
    static tmsize_t Write(thandle_t self, void* data, tmsize_t count)
    try {
        MemoryFile& file = Of(self);
        const size_t end = static_cast<size_t>(file.position) + static_cast<size_t>(count);
        if (file.bytes.size() < end)
            file.bytes.resize(end);
        std::copy_n(static_cast<const uint8_t*>(data), count,
                    file.bytes.begin() + static_cast<ptrdiff_t>(file.position));
        file.position = end;
        return count;
    } catch (const std::bad_alloc&) {
        return -1;
    }
    static toff_t Seek(thandle_t self, toff_t offset, int whence)
    {
        MemoryFile& file = Of(self);
        file.position = offset + (whence == SEEK_CUR   ? file.position
                                  : whence == SEEK_END ? file.bytes.size()
                                                       : 0);
        return file.position;
    }
    static toff_t Size(thandle_t self) { return Of(self).bytes.size(); }
    static int Close(thandle_t) { return 0; }
};

struct TiffEnd {
    void operator()(TIFF* tiff) const noexcept { TIFFCleanup(tiff); }
};

bool SetFields(TIFF* tiff, const BitmapHandle& bitmap)
{
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, bitmap.width) &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, bitmap.height) &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1) && TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1) &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE) &&
           TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, bitmap.height);
}

/** Encodes the rows; white is 0 for the codec, whatever it is for the bitmap. */
bool WriteRows(TIFF* tiff, PageRows& bitmap)
{
    const uint8_t invert = tiff::PhotometricOf(bitmap) == tiff::kBlackIsZero ? 0xFF : 0;
    std::vector<uint8_t> row(static_cast<size_t>(tiff::FileRowBytes(bitmap)));
    for (uint32_t y = 0; y < bitmap.height; ++y) {
        if (!tiff::FillStrip(bitmap, y, 1, row.data()))
            return false;
        for (uint8_t& byte : row)
            byte ^= invert;
        if (TIFFWriteScanline(tiff, row.data(), y, 0) < 0)
            return false;
    }
    return TIFFFlushData(tiff) != 0;
}

}  // namespace

int32_t WriteFaxData(FileUpdate& update, PageRows& bitmap)
{
    MemoryFile file;
    const std::unique_ptr<TIFF, TiffEnd> tiff{
        TIFFClientOpen("page", "wm", &file, MemoryFile::Read, MemoryFile::Write, MemoryFile::Seek,
                       MemoryFile::Close, MemoryFile::Size, nullptr, nullptr)};
    if (!tiff || !SetFields(tiff.get(), bitmap) || !WriteRows(tiff.get(), bitmap))
        return bitmap.Failure(FIL_ERR_OUT_OF_MEMORY);
    const uint64_t offset = TIFFGetStrileOffset(tiff.get(), 0), count = TIFFGetStrileByteCount(tiff.get(), 0);
    if (offset > file.bytes.size() || count > file.bytes.size() - offset)
        return FIL_ERR_WRITE;
    return update.WriteAt(update.Size(), file.bytes.data() + offset, count);
}

}  // namespace vorn::fil::pdf
