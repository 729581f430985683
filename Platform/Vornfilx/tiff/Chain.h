/**
 * @file tiff/Chain.h
 * The chain of a TIFF file's directories, one a page, walked without reading what is in them.
 */
#pragma once

#include "io/ByteSource.h"

namespace vorn::fil::tiff {

struct Chain {
    bool big = false;        ///< 64-bit offsets
    uint32_t pageCount = 0;  ///< directories walked
    uint64_t offset = 0;     ///< of the last directory walked
    uint64_t nextAt = 0;     ///< where that directory tells the next one's offset
    bool bigEndian = false;  ///< numbers have their highest byte first
};

/**
 * Walks to directory `page`, counted from 1, or to the last one with `page` 0.
 * @return FIL_ERR_NO_SUCH_PAGE when the chain ends before; FIL_ERR_CORRUPT when it leads out of the file, runs in a
 *         circle or is empty.
 */
int32_t WalkChain(ByteSource& source, uint32_t page, Chain& chain) noexcept;

/**
 * Walks to the end of a chain that a page is to be added to. FIL_ERR_CORRUPT also when the last directory's link lies in
 * another one, which would then be changed with it.
 */
int32_t FindEnd(ByteSource& source, Chain& chain) noexcept;

}  // namespace vorn::fil::tiff
