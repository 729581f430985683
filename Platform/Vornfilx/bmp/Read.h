/**
 * @file bmp/Read.h
 * Rows of a BMP file that are not stored as a bitmap holds them.
 */
#pragma once

#include "bmp/Header.h"

namespace vorn::fil::bmp {

/** Decodes pixels with channel masks into 24 bits (of 16) or 32 bits (of 32). */
int32_t DecodeMasks(ByteSource& source, const Header& header, const NewImage& image) noexcept;

/** Decodes run lengths; pixels that the data skips stay 0. */
int32_t DecodeRle(ByteSource& source, const Header& header, const NewImage& image) noexcept;

}  // namespace vorn::fil::bmp
