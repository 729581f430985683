#include "EncodePage.h"

#include <algorithm>

namespace vorn::fil {
namespace {

/** Encoded bytes are written in pieces of about this size; rows are encoded as many at a time. */
constexpr uint64_t kPieceBytes = 256 * 1024;

}  // namespace

RowImage RowImageOf(const BitmapHandle& bitmap) noexcept
{
    return {bitmap.width, bitmap.height,  bitmap.bitsPerPixel, bitmap.xDpi,
            bitmap.yDpi,  bitmap.palette, bitmap.paletteCount};
}

bool WriteBitmapRows(ImageWriter& file, PageRows& bitmap, uint32_t first, uint32_t count)
{
    const RowSpan rows = bitmap.Rows(first, count);
    return rows.top && file.WriteRows(rows.top, count, rows.stride);
}

int32_t EncodeRows(PageRows& bitmap, ImageWriter& file, std::vector<uint8_t>& bytes,
                   const std::function<int32_t(const std::vector<uint8_t>&)>& put)
{
    const auto drain = [&](size_t least) {
        if (bytes.size() < std::max<size_t>(least, 1))
            return FIL_SUCCESS;
        const int32_t status = put(bytes);
        bytes.clear();
        return status;
    };
    if (!file.Begin())
        return FIL_ERR_OUT_OF_MEMORY;
    const uint32_t step =
        static_cast<uint32_t>(std::clamp<uint64_t>(kPieceBytes / bitmap.rowBytes, 1, bitmap.height));
    for (uint32_t y = 0; y < bitmap.height; y += step) {
        if (!WriteBitmapRows(file, bitmap, y, std::min(step, bitmap.height - y)))
            return bitmap.Failure(FIL_ERR_OUT_OF_MEMORY);
        if (const int32_t status = drain(kPieceBytes); status != FIL_SUCCESS)
            return status;
    }
    return file.End() ? drain(1) : FIL_ERR_OUT_OF_MEMORY;
}

int32_t EncodePage(FileUpdate& update, PageRows& bitmap, ImageWriter& file, std::vector<uint8_t>& bytes)
{
    return EncodeRows(bitmap, file, bytes, [&](const std::vector<uint8_t>& piece) {
        return update.WriteAt(update.Size(), piece.data(), piece.size());
    });
}

}  // namespace vorn::fil
