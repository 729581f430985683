/**
 * @file io/ByteSource.h
 * Where a codec reads from: a file or a buffer, at any offset.
 */
#pragma once

#include <cstdint>
#include <cstring>

#include "Errors.h"

namespace vorn::fil {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual uint64_t Size() const noexcept = 0;

    /** Reads all of `count` bytes. FIL_ERR_CORRUPT when they reach past the end. */
    virtual int32_t ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept = 0;

    /** The whole content when it lies in memory already, else null. */
    virtual const uint8_t* Memory() const noexcept { return nullptr; }

protected:
    bool Holds(uint64_t offset, uint64_t count) const noexcept
    {
        return offset <= Size() && count <= Size() - offset;
    }
};

class MemorySource final : public ByteSource {
public:
    MemorySource(const void* data, uint64_t size) noexcept
        : data_{static_cast<const uint8_t*>(data)}, size_{size}
    {
    }

    uint64_t Size() const noexcept override { return size_; }
    const uint8_t* Memory() const noexcept override { return data_; }

    int32_t ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept override
    {
        if (!Holds(offset, count))
            return FIL_ERR_CORRUPT;
        std::memcpy(buffer, data_ + offset, static_cast<size_t>(count));
        return FIL_SUCCESS;
    }

private:
    const uint8_t* data_;
    uint64_t size_;
};

}  // namespace vorn::fil
