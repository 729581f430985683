#include "SharedMemory.h"

#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>

namespace vorn::process {

SharedMemory::SharedMemory(Descriptor descriptor, size_t bytes)
    : descriptor_{std::move(descriptor)}, bytes_{bytes}, data_{nullptr}
{
    void* const mapped = descriptor_
                             ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_.Get(), 0)
                             : MAP_FAILED;
    if (mapped == MAP_FAILED)
        throw std::bad_alloc{};
    data_ = static_cast<uint8_t*>(mapped);
}

SharedMemory::SharedMemory(SharedMemory&& other) noexcept
    : descriptor_{std::move(other.descriptor_)},
      bytes_{other.bytes_},
      data_{std::exchange(other.data_, nullptr)}
{
}

SharedMemory::~SharedMemory()
{
    if (data_)
        munmap(data_, bytes_);
}

SharedMemory SharedMemory::Create(size_t bytes)
{
    Descriptor descriptor{memfd_create("vornwia", MFD_CLOEXEC | MFD_ALLOW_SEALING)};
    if (!descriptor || ftruncate(descriptor.Get(), static_cast<off_t>(bytes)) != 0 ||
        fcntl(descriptor.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        throw std::bad_alloc{};
    return {std::move(descriptor), bytes};
}

SharedMemory SharedMemory::Open(Descriptor descriptor, size_t bytes)
{
    return {std::move(descriptor), bytes};
}

}  // namespace vorn::process
