/**
 * @file EncodePage.h
 * Bitmaps into files that are written row by row.
 */
#pragma once

#include <functional>

#include "Codec.h"
#include "ImageWriter.h"

namespace vorn::fil {

/** A bitmap's geometry, resolution and palette, which stays the bitmap's. */
RowImage RowImageOf(const BitmapHandle& bitmap) noexcept;

/** Writes `count` rows from row `first` on, counted from the top of the picture; false when they cannot be read, or memory is short. */
bool WriteBitmapRows(ImageWriter& file, PageRows& bitmap, uint32_t first, uint32_t count);

/**
 * Encodes all of a bitmap. `bytes` are those that the file in the making appends to; `put` takes them piece by piece, and
 * what it answers other than FIL_SUCCESS ends the work.
 */
int32_t EncodeRows(PageRows& bitmap, ImageWriter& file, std::vector<uint8_t>& bytes,
                   const std::function<int32_t(const std::vector<uint8_t>&)>& put);

/** The same into the end of a file. */
int32_t EncodePage(FileUpdate& update, PageRows& bitmap, ImageWriter& file, std::vector<uint8_t>& bytes);

}  // namespace vorn::fil
