/**
 * @file io/ChunkReader.h
 * Sources in chunks, for codecs that ask for a few bytes at a time.
 */
#pragma once

#include <algorithm>

#include "io/Buffer.h"
#include "io/ByteSource.h"

namespace vorn::fil {

constexpr uint64_t kChunkBytes = 64 * 1024;

/** Reads from the start to the end. Memory is read where it lies. */
class ChunkReader {
public:
    explicit ChunkReader(ByteSource& source) noexcept
        : source_{source}, buffer_{source.Memory() ? 0 : kChunkBytes}
    {
    }

    /** The next bytes, one at least. FIL_ERR_CORRUPT at the end. */
    int32_t Next(const uint8_t*& data, size_t& count) noexcept
    {
        const uint64_t left = source_.Size() - position_;
        if (left == 0)
            return FIL_ERR_CORRUPT;
        if (!buffer_.Get())
            return FIL_ERR_OUT_OF_MEMORY;
        count = static_cast<size_t>(source_.Memory() ? left : std::min(left, kChunkBytes));
        data = source_.Memory() ? source_.Memory() + position_ : buffer_.Get();
        const int32_t status =
            source_.Memory() ? FIL_SUCCESS : source_.ReadAt(position_, buffer_.Get(), count);
        position_ += count;
        return status;
    }

    /** Leaves out `count` of the bytes that come next. */
    void Skip(uint64_t count) noexcept { position_ += std::min(count, source_.Size() - position_); }

private:
    ByteSource& source_;
    Buffer buffer_;
    uint64_t position_ = 0;
};

}  // namespace vorn::fil
