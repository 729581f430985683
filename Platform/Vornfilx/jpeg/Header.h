/**
 * @file jpeg/Header.h
 * What a JPEG file tells before its picture begins.
 */
#pragma once

#include "Codec.h"
#include "pixels/Orientation.h"

namespace vorn::fil::jpeg {

struct Header {
    PageInfo page;  ///< the picture upright, as a load delivers it
    uint32_t storedWidth = 0;
    uint32_t storedHeight = 0;
    uint32_t components = 0;
    Orientation orientation = Orientation::TopLeft;
    bool common = false;    ///< Huffman codes, grey or luminance with two colour differences
    uint64_t frameEnd = 0;  ///< where tables and the picture's data begin
};

/** Reads up to the frame header. On success the picture is one that can be decoded, and fits a bitmap. */
int32_t ReadHeader(ByteSource& source, Header& header) noexcept;

/** As the codec's operation of this name, of a file with that header. */
int32_t Load(ByteSource& source, const Header& header, BitmapHandle& bitmap) noexcept;

}  // namespace vorn::fil::jpeg
