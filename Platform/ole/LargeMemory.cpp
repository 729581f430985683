#include "LargeMemory.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vorn::ole {
namespace {

// The first write to a fresh page costs more than the bytes written. Huge pages make that rare, and need
// their own alignment.
constexpr size_t kHugePage = size_t{2} << 20;
constexpr size_t kMapFrom = 2 * kHugePage;
constexpr size_t kLargest = SIZE_MAX / 4;

constexpr size_t RoundUp(size_t size) noexcept
{
    return (size + kHugePage - 1) / kHugePage * kHugePage;
}

/** A mapping of `size` bytes, a multiple of a huge page, aligned to one; null without memory. */
unsigned char* MapAligned(size_t size) noexcept
{
    const size_t reserved = size + kHugePage;
    void* mapped = mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    auto* begin = static_cast<unsigned char*>(mapped);
    const size_t before = (kHugePage - reinterpret_cast<uintptr_t>(begin) % kHugePage) % kHugePage;
    if (before > 0)
        munmap(begin, before);
    munmap(begin + before + size, reserved - before - size);
    madvise(begin + before, size, MADV_HUGEPAGE);
    return begin + before;
}

}  // namespace

LargeMemory::~LargeMemory()
{
    Free();
}

bool LargeMemory::IsMapped() const noexcept
{
    return capacity_ >= kMapFrom;
}

void LargeMemory::Free() noexcept
{
    if (IsMapped())
        munmap(data_, capacity_);
    else
        std::free(data_);
    data_ = nullptr;
    capacity_ = 0;
}

bool LargeMemory::Resize(size_t size) noexcept
{
    if (size > kLargest)
        return false;
    if (size == 0) {
        Free();
        return true;
    }
    if (IsMapped())
        return ResizePages(size);
    return size < kMapFrom ? ResizeHeap(size) : MoveToPages(size);
}

bool LargeMemory::ResizeHeap(size_t size) noexcept
{
    void* block = data_ ? std::realloc(data_, size) : std::calloc(1, size);
    if (!block)
        return false;
    const bool grown = data_ && size > capacity_;
    data_ = static_cast<unsigned char*>(block);
    if (grown)
        std::memset(data_ + capacity_, 0, size - capacity_);
    capacity_ = size;
    return true;
}

bool LargeMemory::MoveToPages(size_t size) noexcept
{
    unsigned char* pages = MapAligned(RoundUp(size));
    if (!pages)
        return false;
    if (data_)
        std::memcpy(pages, data_, capacity_);
    std::free(data_);
    data_ = pages;
    capacity_ = RoundUp(size);
    return true;
}

/** Stays with pages even when it becomes small: the size that a block once had it may well reach again. */
bool LargeMemory::ResizePages(size_t size) noexcept
{
    const size_t wanted = size < kMapFrom ? kMapFrom : RoundUp(size);
    if (wanted == capacity_)
        return true;
    if (wanted < capacity_) {
        munmap(data_ + wanted, capacity_ - wanted);
        capacity_ = wanted;
        return true;
    }
    // The new place is aligned like the old one, so that the kernel moves whole huge pages.
    unsigned char* place = MapAligned(wanted);
    if (!place)
        return false;
    void* moved = mremap(data_, capacity_, wanted, MREMAP_MAYMOVE | MREMAP_FIXED, place);
    if (moved == MAP_FAILED) {
        munmap(place, wanted);
        return false;
    }
    data_ = place;
    capacity_ = wanted;
    return true;
}

}  // namespace vorn::ole
