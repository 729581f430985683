/**
 * @file tiff/Numbers.h
 * Numbers of a TIFF file, whatever their size and byte order.
 */
#pragma once

#include <algorithm>

#include "io/ByteSource.h"

namespace vorn::fil::tiff {

/** The sizes in which the two kinds of file count and point. */
struct Widths {
    uint32_t count, entry, offset;
};
inline constexpr Widths kClassic{2, 12, 4};
inline constexpr Widths kBig{8, 20, 8};

/** Reads numbers in the file's byte order. What follows a number comes with it: most directories take one read. */
class NumberReader {
public:
    explicit NumberReader(ByteSource& source) noexcept : source_{source} {}

    void SetBigEndian(bool bigEndian) noexcept { bigEndian_ = bigEndian; }
    bool IsBigEndian() const noexcept { return bigEndian_; }

    int32_t Read(uint64_t offset, uint32_t bytes, uint64_t& value) noexcept
    {
        if (offset < start_ || offset - start_ > filled_ || bytes > filled_ - (offset - start_))
            if (const int32_t status = Fill(offset, bytes); status != FIL_SUCCESS)
                return status;
        const uint8_t* const raw = buffer_ + (offset - start_);
        value = 0;
        for (uint32_t i = 0; i < bytes; ++i)
            value = value << 8 | raw[bigEndian_ ? i : bytes - 1 - i];
        return FIL_SUCCESS;
    }

private:
    int32_t Fill(uint64_t offset, uint32_t least) noexcept
    {
        const uint64_t size = source_.Size();
        filled_ = 0;
        if (offset > size || least > size - offset)
            return FIL_ERR_CORRUPT;
        const uint64_t count = std::min<uint64_t>(size - offset, sizeof buffer_);
        if (const int32_t status = source_.ReadAt(offset, buffer_, count); status != FIL_SUCCESS)
            return status;
        start_ = offset;
        filled_ = count;
        return FIL_SUCCESS;
    }

    ByteSource& source_;
    bool bigEndian_ = false;
    uint64_t start_ = 0;
    uint64_t filled_ = 0;
    uint8_t buffer_[256];
};

}  // namespace vorn::fil::tiff
