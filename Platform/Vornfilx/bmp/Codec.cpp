/*
 * BMP, one page a file. What is stored as a bitmap holds it goes straight from the file into the image and back.
 */
#include <algorithm>

#include "bmp/Header.h"
#include "bmp/Read.h"
#include "io/LittleEndian.h"

namespace vorn::fil {
namespace {

using namespace bmp;

constexpr const char* kExtensions[] = {"bmp", "dib"};

constexpr int32_t kCompressions[] = {FIL_COMPRESSION_NONE};

class BmpCodec final : public Codec {
public:
    int32_t Format() const noexcept override { return FIL_FORMAT_BMP; }
    std::span<const char* const> Extensions() const noexcept override { return kExtensions; }
    bool Recognizes(std::span<const uint8_t> start) const noexcept override
    {
        return start.size() >= 2 && start[0] == 'B' && start[1] == 'M';
    }

    int32_t CountPages(ByteSource&, uint32_t& count) const noexcept override
    {
        count = 1;
        return FIL_SUCCESS;
    }
    int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept override;
    int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept override;
    std::span<const int32_t> Compressions() const noexcept override { return kCompressions; }
    int32_t WritePage(FileUpdate& file, PageRows& bitmap,
                      const SaveSettings& settings) const noexcept override;
};

int32_t BmpCodec::ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept
{
    Header header;
    const int32_t status = page == 1 ? ReadHeader(source, header) : FIL_ERR_NO_SUCH_PAGE;
    if (status == FIL_SUCCESS)
        info = header.page;
    return status;
}

int32_t ReadRows(ByteSource& source, const Header& header, const NewImage& image) noexcept
{
    switch (header.storage) {
        case Storage::Plain:
            return source.ReadAt(header.imageOffset, image.Row(0), image.Bytes());
        case Storage::Masks:
            return DecodeMasks(source, header, image);
        case Storage::Rle4:
        case Storage::Rle8:
            return DecodeRle(source, header, image);
    }
    return FIL_ERR_UNSUPPORTED;
}

int32_t BmpCodec::Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept
{
    Header header;
    if (const int32_t status = page == 1 ? ReadHeader(source, header) : FIL_ERR_NO_SUCH_PAGE;
        status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(header.page); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = ReadRows(source, header, image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

/** Writes the rows as they lie in the bitmap. */
int32_t WriteRows(FileUpdate& file, PageRows& bitmap, uint64_t offset) noexcept
{
    constexpr uint64_t kPieceBytes = 1024 * 1024;
    const auto step =
        static_cast<uint32_t>(std::clamp<uint64_t>(kPieceBytes / bitmap.rowBytes, 1, bitmap.height));
    int32_t status = FIL_SUCCESS;
    for (uint32_t done = 0; status == FIL_SUCCESS && done < bitmap.height; done += step) {
        const uint32_t count = std::min(step, bitmap.height - done);
        const bool bottomUp = bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT;
        const RowSpan rows = bitmap.Rows(bottomUp ? bitmap.height - done - count : done, count);
        status = rows.top ? file.WriteAt(offset + uint64_t{done} * bitmap.rowBytes,
                                         rows[bottomUp ? count - 1 : 0], uint64_t{count} * bitmap.rowBytes)
                          : bitmap.Failure(FIL_ERR_READ);
    }
    return status;
}

int32_t BmpCodec::WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings&) const noexcept
{
    if (file.OldSize() > 0)
        return FIL_ERR_SINGLE_PAGE_FORMAT;

    uint8_t bytes[kFileHeaderBytes + kInfoHeaderBytes + 256 * kPaletteEntryBytes] = {};
    const uint32_t most = bitmap.bitsPerPixel <= 8 ? 1u << bitmap.bitsPerPixel : 0;
    const uint32_t colors = bitmap.palette ? std::min(bitmap.paletteCount, most) : 0;
    if (most > 0 && colors == 0)
        return FIL_ERR_INVALID_ARGUMENT;
    const uint32_t imageOffset = kFileHeaderBytes + kInfoHeaderBytes + colors * kPaletteEntryBytes;

    bytes[0] = 'B';
    bytes[1] = 'M';
    PutU32(bytes + 2, static_cast<uint32_t>(imageOffset + bitmap.imageBytes));
    PutU32(bytes + 10, imageOffset);
    uint8_t* const dib = bytes + kFileHeaderBytes;
    const uint32_t height = bitmap.viewPerspective == KRN_VIEW_TOP_LEFT ? 0u - bitmap.height : bitmap.height;
    PutU32(dib, kInfoHeaderBytes);
    PutU32(dib + 4, bitmap.width);
    PutU32(dib + 8, height);
    PutU16(dib + 12, 1);
    PutU16(dib + 14, bitmap.bitsPerPixel);
    PutU32(dib + 20, static_cast<uint32_t>(bitmap.imageBytes));
    PutU32(dib + 24, static_cast<uint32_t>(KrnPelsPerMeterFromDpi(bitmap.xDpi)));
    PutU32(dib + 28, static_cast<uint32_t>(KrnPelsPerMeterFromDpi(bitmap.yDpi)));
    PutU32(dib + 32, colors);
    for (uint32_t i = 0; i < colors; ++i)
        std::copy_n(bitmap.palette + i * kPaletteEntryBytes, 3,
                    dib + kInfoHeaderBytes + i * kPaletteEntryBytes);

    if (const int32_t status = file.Reserve(imageOffset + bitmap.imageBytes); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = file.WriteAt(0, bytes, imageOffset); status != FIL_SUCCESS)
        return status;
    return WriteRows(file, bitmap, imageOffset);
}

const BmpCodec kCodec;

}  // namespace

const Codec& bmpCodec = kCodec;

}  // namespace vorn::fil
