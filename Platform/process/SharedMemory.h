/**
 * @file SharedMemory.h
 * Memory that two processes see. Its size is sealed: neither can take it away under the other.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "Descriptor.h"

namespace vorn::process {

class SharedMemory {
public:
    /** New memory of zeros. Throws std::bad_alloc. */
    static SharedMemory Create(size_t bytes);
    /** The memory behind a descriptor that another process passed. Throws std::bad_alloc. */
    static SharedMemory Open(Descriptor descriptor, size_t bytes);

    SharedMemory(SharedMemory&& other) noexcept;
    SharedMemory& operator=(SharedMemory&& other) = delete;
    ~SharedMemory();

    uint8_t* Data() const noexcept { return data_; }
    size_t Size() const noexcept { return bytes_; }
    int Get() const noexcept { return descriptor_.Get(); }

private:
    SharedMemory(Descriptor descriptor, size_t bytes);

    Descriptor descriptor_;
    size_t bytes_;
    uint8_t* data_;
};

}  // namespace vorn::process
