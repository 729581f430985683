/**
 * @file PngHeader.h
 * What a PNG file tells before its pixels begin, and whether it is whole: for codecs that leave that open.
 */
#pragma once

#include "Codec.h"

namespace vorn::fil::png {

struct Header {
    PageInfo page;
    bool hasPalette = false;
};

/** Reads up to the first data. On success the picture fits a bitmap. */
int32_t ReadHeader(ByteSource& source, Header& header) noexcept;

/** FIL_ERR_CORRUPT unless every chunk of the file up to its end has its checksum. */
int32_t CheckWhole(ByteSource& source) noexcept;

}  // namespace vorn::fil::png
