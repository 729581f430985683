/**
 * @file RowFileWrite.h
 * Bitmaps into files that are written row by row.
 */
#pragma once

#include "Codec.h"
#include "RowFile.h"

namespace vorn::fil {

/** A bitmap's geometry, resolution and palette, which stays the bitmap's. */
RowImage RowImageOf(const BitmapHandle& bitmap) noexcept;

/** Writes `count` rows from row `first` on, counted from the top of the picture. */
bool WriteBitmapRows(RowFile& file, const BitmapHandle& bitmap, uint32_t first, uint32_t count);

/** Writes all of a bitmap. `bytes` are those that the file in the making appends to. */
int32_t WriteRowFile(FileUpdate& update, const BitmapHandle& bitmap, RowFile& file,
                     std::vector<uint8_t>& bytes);

}  // namespace vorn::fil
