#include "FreshBlock.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace vorn::bench {

FreshBlock::FreshBlock(size_t bytes, Memory memory) : bytes_{bytes}, mapped_{memory == Memory::HugePages}
{
    if (mapped_)
        MapHugePages();
    else
        data_ = static_cast<uint8_t*>(std::malloc(bytes));
    if (!data_)
        throw std::bad_alloc{};
}

FreshBlock::~FreshBlock()
{
    if (mapped_)
        munmap(data_, bytes_);
    else
        std::free(data_);
}

void FreshBlock::MapHugePages()
{
    constexpr size_t page = size_t{2} << 20;
    bytes_ += page;  // room for the alignment that the kernel gives or does not give
    void* mapped = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        return;
    madvise(mapped, bytes_, MADV_HUGEPAGE);
    data_ = static_cast<uint8_t*>(mapped);
}

}  // namespace vorn::bench
