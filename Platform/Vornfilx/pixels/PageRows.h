/**
 * @file pixels/PageRows.h
 * A picture to be saved: a bitmap's record, and its rows from memory or, some at a time, from a file.
 */
#pragma once

#include "Vornkrnx.h"
#include "io/ByteSource.h"

#include <vector>

namespace vorn::fil {

/** Rows of a picture from the top down, `stride` bytes from one to the next. */
struct RowSpan {
    const uint8_t* top = nullptr;  ///< null when the rows could not be read
    ptrdiff_t stride = 0;

    const uint8_t* operator[](uint32_t row) const noexcept
    {
        return top + stride * static_cast<ptrdiff_t>(row);
    }
};

/** The record's image is null when the rows are in a file. */
class PageRows : public BitmapHandle {
public:
    explicit PageRows(const BitmapHandle& bitmap) noexcept : BitmapHandle{bitmap} {}
    /** `file`, lent, holds the rows from `offset` on as a bitmap does; `record` tells how. */
    PageRows(const BitmapHandle& record, ByteSource& file, uint64_t offset) noexcept
        : BitmapHandle{record}, file_{&file}, offset_{offset}
    {
        image = nullptr;
    }
    PageRows(const PageRows&) = delete;
    PageRows& operator=(const PageRows&) = delete;

    /** Rows from `first` on, counted from the top; good until the next call. Null rows: see Failure. */
    RowSpan Rows(uint32_t first, uint32_t count) noexcept;

    /** Why rows could not be read; `otherwise` when they all were. */
    int32_t Failure(int32_t otherwise) const noexcept
    {
        return failure_ != FIL_SUCCESS ? failure_ : otherwise;
    }

private:
    bool Fill(uint64_t first, uint32_t count) noexcept;

    ByteSource* file_ = nullptr;
    uint64_t offset_ = 0;
    std::vector<uint8_t> piece_;
    uint64_t pieceFirst_ = 0, pieceCount_ = 0;  ///< rows in the order of the file
    int32_t failure_ = FIL_SUCCESS;
};

}  // namespace vorn::fil
