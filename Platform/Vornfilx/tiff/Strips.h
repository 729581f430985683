/**
 * @file tiff/Strips.h
 * A bitmap as a TIFF file holds it: what its palette is called, and its rows in strips.
 */
#pragma once

#include "pixels/PageRows.h"

namespace vorn::fil::tiff {

/** The values of the photometric interpretation, as TIFF numbers them. */
enum Photometric : uint32_t { kWhiteIsZero = 0, kBlackIsZero = 1, kRgb = 2, kPalette = 3 };

/** The photometric interpretation that tells the palette: a grey ramp needs no table. */
Photometric PhotometricOf(const BitmapHandle& bitmap) noexcept;

/** Bytes of a row in the file: without the padding that a bitmap's row has. */
uint64_t FileRowBytes(const BitmapHandle& bitmap) noexcept;

uint32_t RowsPerStrip(const BitmapHandle& bitmap) noexcept;

/** Puts `rows` rows, from row `first` counted from the top of the picture, into a strip in the file's order; false when they cannot be read. */
bool FillStrip(PageRows& bitmap, uint32_t first, uint32_t rows, uint8_t* strip) noexcept;

}  // namespace vorn::fil::tiff
