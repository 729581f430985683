/**
 * @file LargeMemory.h
 * Raw memory that is cheap to make large: what is never written costs nothing, and a resize moves pages, not
 * bytes.
 */
#pragma once

#include <cstddef>
#include <utility>

namespace vorn::ole {

/** One resizable piece of memory. Small ones come from the heap, large ones straight from the kernel. */
class LargeMemory {
public:
    LargeMemory() noexcept = default;
    LargeMemory(LargeMemory&& other) noexcept
        : data_{std::exchange(other.data_, nullptr)}, capacity_{std::exchange(other.capacity_, 0)}
    {
    }
    LargeMemory& operator=(LargeMemory&& other) noexcept
    {
        std::swap(data_, other.data_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }
    ~LargeMemory();

    unsigned char* Data() const noexcept { return data_; }
    /** At least what was asked for last. */
    size_t Capacity() const noexcept { return capacity_; }

    /**
     * Makes room for `size` bytes, perhaps elsewhere, keeping what is there; bytes that are new are zero. 0
     * frees.
     * @return false without memory; all is then as it was
     */
    bool Resize(size_t size) noexcept;

private:
    bool IsMapped() const noexcept;
    void Free() noexcept;
    bool ResizeHeap(size_t size) noexcept;
    bool MoveToPages(size_t size) noexcept;
    bool ResizePages(size_t size) noexcept;

    unsigned char* data_ = nullptr;
    size_t capacity_ = 0;
};

}  // namespace vorn::ole
