#include <cstdlib>

#include "ole.h"

void* CoTaskMemAlloc(SIZE_T size) noexcept
{
    return std::malloc(size > 0 ? size : 1);
}

void* CoTaskMemRealloc(void* block, SIZE_T size) noexcept
{
    if (block && size == 0) {
        std::free(block);
        return nullptr;
    }
    return std::realloc(block, size > 0 ? size : 1);
}

void CoTaskMemFree(void* block) noexcept
{
    std::free(block);
}
