/**
 * @file JpegPages.h
 * Reading and writing the page of a JPEG file: by libjpeg, or by what Windows has of its own.
 */
#pragma once

#include "Codec.h"
#include "JpegHeader.h"

namespace vorn::fil::jpeg {

/** As the codec's operation of this name, of a file with that header. */
int32_t Load(ByteSource& source, const Header& header, BitmapHandle& bitmap) noexcept;

/** @param quality  1 to 100 */
int32_t WritePage(FileUpdate& file, PageRows& bitmap, int32_t quality) noexcept;

}  // namespace vorn::fil::jpeg
