/**
 * @file tiff/Pages.h
 * Reading and writing the pages of a TIFF file by libtiff.
 */
#pragma once

#include "Codec.h"

namespace vorn::fil::tiff {

/** As the codec's operations of these names. */
int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) noexcept;
int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) noexcept;
int32_t WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings& settings) noexcept;
/** The compressions that WritePage has. */
std::span<const int32_t> Compressions() noexcept;

}  // namespace vorn::fil::tiff
