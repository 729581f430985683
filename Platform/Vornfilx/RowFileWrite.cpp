#include "RowFileWrite.h"

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

bool WriteBitmapRows(RowFile& file, const BitmapHandle& bitmap, uint32_t first, uint32_t count)
{
    const bool bottomUp = bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT;
    const auto rowBytes = static_cast<ptrdiff_t>(bitmap.rowBytes);
    const uint8_t* const top = static_cast<const uint8_t*>(bitmap.image) +
                               (bottomUp ? uint64_t{bitmap.height - 1} * bitmap.rowBytes : 0);
    const ptrdiff_t stride = bottomUp ? -rowBytes : rowBytes;
    return file.WriteRows(top + stride * static_cast<ptrdiff_t>(first), count, stride);
}

int32_t EncodeRows(const BitmapHandle& bitmap, RowFile* file, std::vector<uint8_t>& bytes,
                   const std::function<int32_t(const std::vector<uint8_t>&)>& put)
{
    const auto drain = [&](size_t least) {
        if (bytes.size() < std::max<size_t>(least, 1))
            return FIL_SUCCESS;
        const int32_t status = put(bytes);
        bytes.clear();
        return status;
    };
    if (!file)
        return FIL_ERR_UNSUPPORTED;
    if (!file->Begin())
        return FIL_ERR_OUT_OF_MEMORY;
    const uint32_t step =
        static_cast<uint32_t>(std::clamp<uint64_t>(kPieceBytes / bitmap.rowBytes, 1, bitmap.height));
    for (uint32_t y = 0; y < bitmap.height; y += step) {
        if (!WriteBitmapRows(*file, bitmap, y, std::min(step, bitmap.height - y)))
            return FIL_ERR_OUT_OF_MEMORY;
        if (const int32_t status = drain(kPieceBytes); status != FIL_SUCCESS)
            return status;
    }
    return file->End() ? drain(1) : FIL_ERR_OUT_OF_MEMORY;
}

int32_t WriteRowFile(FileUpdate& update, const BitmapHandle& bitmap, RowFile* file,
                     std::vector<uint8_t>& bytes)
{
    return EncodeRows(bitmap, file, bytes, [&](const std::vector<uint8_t>& piece) {
        return update.WriteAt(update.Size(), piece.data(), piece.size());
    });
}

}  // namespace vorn::fil
