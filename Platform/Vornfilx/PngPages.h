/**
 * @file PngPages.h
 * Reading and writing the page of a PNG file: by libpng, or by what Windows has of its own.
 */
#pragma once

#include "Codec.h"
#include "RowFile.h"

namespace vorn::fil::png {

/** As the codec's operations of these names. */
int32_t ReadInfo(ByteSource& source, PageInfo& info) noexcept;
int32_t Load(ByteSource& source, BitmapHandle& bitmap) noexcept;
int32_t WritePage(FileUpdate& file, const BitmapHandle& bitmap) noexcept;

/** The fastest way to a file that is hardly larger than the smallest. May throw std::bad_alloc. */
PngEffort ChooseEffort(const BitmapHandle& bitmap);

}  // namespace vorn::fil::png
