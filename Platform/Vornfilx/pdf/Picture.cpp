#include "pdf/Picture.h"

#include <algorithm>

#include "EncodePage.h"
#include "png/Pages.h"
#include "tiff/Strips.h"

namespace vorn::fil::pdf {
namespace {

using tiff::PhotometricOf;

/** Points to the inch; also the resolution of a bitmap that does not tell its own. */
constexpr double kPoints = 72;

double LengthOf(uint32_t pixels, double dpi) noexcept
{
    return pixels * kPoints / (dpi > 0 ? dpi : kPoints);
}

bool HasGreysOnly(const std::vector<uint8_t>& palette) noexcept
{
    for (size_t i = 0; i < palette.size(); i += kPaletteEntryBytes)
        if (palette[i] != palette[i + 1] || palette[i] != palette[i + 2])
            return false;
    return true;
}

/** The colours that indices stand for, as a colour space. */
std::string IndexedSpace(const std::vector<uint8_t>& palette)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string space =
        "[/Indexed /DeviceRGB " + std::to_string(palette.size() / kPaletteEntryBytes - 1) + " <";
    for (size_t i = 0; i < palette.size(); i += kPaletteEntryBytes)
        for (const size_t color : {2, 1, 0}) {
            const uint8_t value = palette[i + color];
            space += kDigits[value >> 4];
            space += kDigits[value & 15];
        }
    return space + ">]";
}

std::string DescribeJpeg(bool grey)
{
    return std::string{"/ColorSpace "} + (grey ? "/DeviceGray" : "/DeviceRGB") +
           " /BitsPerComponent 8 /Filter /DCTDecode";
}

std::string DescribeFax(const BitmapHandle& bitmap)
{
    return "/ColorSpace /DeviceGray /BitsPerComponent 1 /Filter /CCITTFaxDecode\n/DecodeParms << /K -1 "
           "/Columns " +
           std::to_string(bitmap.width) + " /Rows " + std::to_string(bitmap.height) + " >>";
}

std::string DescribeDeflate(const BitmapHandle& bitmap)
{
    const bool color = bitmap.bitsPerPixel == 24;
    const std::string bits = std::to_string(color ? 8 : bitmap.bitsPerPixel);
    std::string space = "/DeviceRGB";
    if (!color) {
        const std::vector<uint8_t> palette = WholePalette(RowImageOf(bitmap));
        space = IsGreyRamp(palette) ? "/DeviceGray" : IndexedSpace(palette);
    }
    return "/BitsPerComponent " + bits + " /ColorSpace " + space +
           " /Filter /FlateDecode\n/DecodeParms << /Predictor 15 /Colors " + (color ? "3" : "1") +
           " /BitsPerComponent " + bits + " /Columns " + std::to_string(bitmap.width) + " >>";
}

/**
 * Takes the compressed rows out of a PNG file that arrives in pieces: the content of its IDAT chunks, which is just what a
 * PDF reader expects of deflated rows.
 */
class PngRows {
public:
    int32_t Take(FileUpdate& update, const std::vector<uint8_t>& bytes)
    {
        for (size_t at = 0; at < bytes.size();) {
            if (left_ == 0) {
                head_[headCount_++] = bytes[at++];
                if (headCount_ == headBytes_)
                    ReadHead();
                continue;
            }
            const size_t count = std::min<uint64_t>(left_, bytes.size() - at);
            if (isRows_)
                if (const int32_t status = update.WriteAt(update.Size(), bytes.data() + at, count);
                    status != FIL_SUCCESS)
                    return status;
            at += count;
            left_ -= count;
        }
        return FIL_SUCCESS;
    }

private:
    static constexpr size_t kSignature = 8, kChecksum = 4, kChunkHead = 8;

    /** The last bytes of what was read are a chunk's length and name. */
    void ReadHead()
    {
        const uint8_t* const chunk = head_ + headCount_ - kChunkHead;
        left_ = uint64_t{chunk[0]} << 24 | uint64_t{chunk[1]} << 16 | uint64_t{chunk[2]} << 8 | chunk[3];
        isRows_ = std::equal(chunk + 4, chunk + 8, "IDAT");
        headCount_ = 0;
        headBytes_ = kChecksum + kChunkHead;
    }

    uint8_t head_[kSignature + kChunkHead];
    size_t headCount_ = 0, headBytes_ = sizeof(head_);
    uint64_t left_ = 0;
    bool isRows_ = false;
};

}  // namespace

int32_t ChooseEncoding(const BitmapHandle& bitmap, int32_t compression, Encoding& encoding) noexcept
{
    const uint32_t bits = bitmap.bitsPerPixel;
    const bool tones = PhotometricOf(bitmap) != tiff::kPalette;
    if (bits == 16 || bits == 32)
        return FIL_ERR_UNSUPPORTED;
    if (compression == FIL_COMPRESSION_DEFAULT)
        compression = tones && bits == 1   ? FIL_COMPRESSION_GROUP4
                      : tones && bits >= 8 ? FIL_COMPRESSION_JPEG
                                           : FIL_COMPRESSION_DEFLATE;
    const bool taken = compression == FIL_COMPRESSION_DEFLATE ||
                       (compression == FIL_COMPRESSION_GROUP4 && tones && bits == 1) ||
                       (compression == FIL_COMPRESSION_JPEG && bits >= 8 &&
                        std::max(bitmap.width, bitmap.height) <= kLongestJpegSide);
    encoding = compression == FIL_COMPRESSION_DEFLATE  ? Encoding::Deflate
               : compression == FIL_COMPRESSION_GROUP4 ? Encoding::Group4
                                                       : Encoding::Jpeg;
    return taken ? FIL_SUCCESS : FIL_ERR_UNSUPPORTED;
}

Picture Describe(const BitmapHandle& bitmap, Encoding encoding)
{
    Picture picture;
    picture.width = bitmap.width;
    picture.height = bitmap.height;
    picture.pageWidth = LengthOf(bitmap.width, bitmap.xDpi);
    picture.pageHeight = LengthOf(bitmap.height, bitmap.yDpi);
    picture.entries =
        encoding == Encoding::Jpeg
            ? DescribeJpeg(bitmap.bitsPerPixel <= 8 && HasGreysOnly(WholePalette(RowImageOf(bitmap))))
        : encoding == Encoding::Group4 ? DescribeFax(bitmap)
                                       : DescribeDeflate(bitmap);
    return picture;
}

int32_t WriteData(FileUpdate& update, PageRows& bitmap, Encoding encoding, int32_t jpegQuality)
{
    if (encoding == Encoding::Group4)
        return WriteFaxData(update, bitmap);
    std::vector<uint8_t> bytes;
    if (encoding == Encoding::Jpeg)
        return EncodePage(update, bitmap, *CreateJpegWriter(RowImageOf(bitmap), bytes, jpegQuality), bytes);
    PngRows rows;
    return EncodeRows(bitmap, *CreatePngWriter(RowImageOf(bitmap), bytes, png::ChooseStrategy(bitmap)), bytes,
                      [&](const std::vector<uint8_t>& piece) { return rows.Take(update, piece); });
}

int32_t ReadWholeJpeg(ByteSource& picture, jpeg::Header& header) noexcept
{
    uint8_t end[2] = {};
    int32_t status = jpeg::ReadHeader(picture, header);
    if (status == FIL_SUCCESS)
        status = picture.ReadAt(picture.Size() - sizeof end, end, sizeof end);
    const bool whole = end[0] == 0xFF && end[1] == 0xD9;
    const bool taken = whole && header.common && header.orientation == Orientation::TopLeft;
    return status == FIL_SUCCESS && !taken ? FIL_ERR_UNSUPPORTED : status;
}

Picture Describe(const jpeg::Header& header)
{
    const PageInfo& page = header.page;
    return {page.width, page.height, LengthOf(page.width, page.xDpi), LengthOf(page.height, page.yDpi),
            DescribeJpeg(header.components == 1)};
}

int32_t CopyData(FileUpdate& update, ByteSource& picture)
{
    constexpr uint64_t kPieceBytes = 256 * 1024;
    std::vector<uint8_t> piece(static_cast<size_t>(std::min(picture.Size(), kPieceBytes)));
    int32_t status = FIL_SUCCESS;
    for (uint64_t at = 0; status == FIL_SUCCESS && at < picture.Size(); at += piece.size()) {
        const uint64_t count = std::min<uint64_t>(piece.size(), picture.Size() - at);
        status = picture.ReadAt(at, piece.data(), count);
        if (status == FIL_SUCCESS)
            status = update.WriteAt(update.Size(), piece.data(), count);
    }
    return status;
}

}  // namespace vorn::fil::pdf
