/**
 * @file FreshBlock.h
 * Memory that nobody has touched.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::bench {

/** Where memory comes from. The library asks the kernel for huge pages where it has them. */
enum class Memory { Malloc, HugePages };

class FreshBlock {
public:
    /** Throws std::bad_alloc. */
    FreshBlock(size_t bytes, Memory memory);
    FreshBlock(const FreshBlock&) = delete;
    FreshBlock& operator=(const FreshBlock&) = delete;
    ~FreshBlock();

    uint8_t* Data() const noexcept { return data_; }

private:
    void MapHugePages();

    uint8_t* data_ = nullptr;
    size_t bytes_;
    bool mapped_;
};

}  // namespace vorn::bench
