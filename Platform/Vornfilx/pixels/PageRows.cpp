#include "pixels/PageRows.h"

#include <algorithm>
#include <new>

namespace vorn::fil {

RowSpan PageRows::Rows(uint32_t first, uint32_t count) noexcept
{
    const bool bottomUp = viewPerspective == KRN_VIEW_BOTTOM_LEFT;
    const auto distance = static_cast<ptrdiff_t>(rowBytes);
    const uint64_t stored = bottomUp ? uint64_t{height} - first - count : first;
    if (file_ && !Fill(stored, count))
        return {};
    const uint8_t* const lowest = file_ ? piece_.data() + (stored - pieceFirst_) * rowBytes
                                        : static_cast<const uint8_t*>(image) + stored * rowBytes;
    return bottomUp ? RowSpan{lowest + distance * (static_cast<ptrdiff_t>(count) - 1), -distance}
                    : RowSpan{lowest, distance};
}

/** Reads rows that are not at hand, with those that are asked for next. */
bool PageRows::Fill(uint64_t first, uint32_t count) noexcept
try {
    constexpr uint64_t kPieceBytes = 256 * 1024;
    if (first >= pieceFirst_ && first + count <= pieceFirst_ + pieceCount_)
        return true;
    const uint64_t most = std::min<uint64_t>(std::max<uint64_t>(kPieceBytes / rowBytes, count), height);
    const bool bottomUp = viewPerspective == KRN_VIEW_BOTTOM_LEFT;
    const uint64_t from = bottomUp ? first + count - std::min(first + count, most) : first;
    pieceCount_ = 0;
    pieceFirst_ = from;
    const uint64_t rows = std::min(most, height - from);
    piece_.resize(static_cast<size_t>(rows * rowBytes));
    failure_ = file_->ReadAt(offset_ + from * rowBytes, piece_.data(), piece_.size());
    pieceCount_ = failure_ == FIL_SUCCESS ? rows : 0;
    return failure_ == FIL_SUCCESS;
} catch (const std::bad_alloc&) {
    failure_ = FIL_ERR_OUT_OF_MEMORY;
    return false;
}

}  // namespace vorn::fil
