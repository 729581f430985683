/**
 * @file TiffWrite.h
 * Writing one page of a TIFF file.
 */
#pragma once

#include "Codec.h"

namespace vorn::fil::tiff {

/** Adds `bitmap` as the last page of a file that is empty or a TIFF file. */
int32_t WritePage(FileUpdate& file, const BitmapHandle& bitmap) noexcept;

}  // namespace vorn::fil::tiff
