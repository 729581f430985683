/**
 * @file pdf/Picture.h
 * A bitmap as the picture of a PDF page: in which encoding, and what a reader has to know of it.
 */
#pragma once

#include "Codec.h"
#include "jpeg/Header.h"
#include "pdf/PageWriter.h"

namespace vorn::fil::pdf {

enum class Encoding { Jpeg, Group4, Deflate };

/**
 * Chooses the encoding: for the default, Group 4 for black and white, JPEG for greys and colours, deflate for what neither
 * keeps. FIL_ERR_UNSUPPORTED for a bitmap that the compression does not take.
 */
int32_t ChooseEncoding(const BitmapHandle& bitmap, int32_t compression, Encoding& encoding) noexcept;

/** The size of the page and the entries of the picture's dictionary. May throw std::bad_alloc. */
Picture Describe(const BitmapHandle& bitmap, Encoding encoding);

/** Appends the picture's data to the file. May throw std::bad_alloc. */
int32_t WriteData(FileUpdate& update, PageRows& bitmap, Encoding encoding, int32_t jpegQuality);

/**
 * Reads the header of a JPEG file that a PDF file can hold as it is: upright, without inks, and with its end. Others give
 * FIL_ERR_UNSUPPORTED.
 */
int32_t ReadWholeJpeg(ByteSource& picture, jpeg::Header& header) noexcept;
/** As the function above of this name. */
Picture Describe(const jpeg::Header& header);
/** Appends the whole of `picture` to the file. */
int32_t CopyData(FileUpdate& update, ByteSource& picture);

/** Appends the picture's rows as Group 4 data. May throw std::bad_alloc. */
int32_t WriteFaxData(FileUpdate& update, PageRows& bitmap);

}  // namespace vorn::fil::pdf
