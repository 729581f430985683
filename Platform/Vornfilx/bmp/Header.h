/**
 * @file bmp/Header.h
 * The headers of a BMP file, read and checked.
 */
#pragma once

#include "Codec.h"

namespace vorn::fil::bmp {

constexpr uint32_t kFileHeaderBytes = 14;
constexpr uint32_t kInfoHeaderBytes = 40;

/** How the rows are stored. */
enum class Storage {
    Plain,  ///< as they lie in a bitmap of the same depth
    Masks,  ///< 16 or 32 bits with channels anywhere in them
    Rle4,
    Rle8
};

struct Header {
    PageInfo page;
    Storage storage = Storage::Plain;
    uint32_t masks[4] = {};  ///< red, green, blue, alpha; alpha may be 0
    uint64_t imageOffset = 0;
};

/**
 * Reads the headers and the colour table of a file whose first bytes are those of a BMP. On success the geometry is
 * one that a bitmap can have, and the rows of an uncompressed image lie inside the file (or `page.headerOnly` tells).
 */
int32_t ReadHeader(ByteSource& source, Header& header) noexcept;

}  // namespace vorn::fil::bmp
