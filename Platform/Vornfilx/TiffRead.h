/**
 * @file TiffRead.h
 * Reading one page of a TIFF file.
 */
#pragma once

#include "TiffStream.h"

namespace vorn::fil::tiff {

/** How a page gets into a bitmap. */
enum class Route {
    Rows,      ///< its rows are those of a bitmap, but for order and byte order
    Converted  ///< libtiff makes red, green, blue of whatever it is
};

struct Page {
    PageInfo info;
    Route route = Route::Rows;
    bool topDown = true;  ///< the file's first row is the picture's top
};

/** Reads the directory of page `number`, counted from 1, and leaves the stream there. */
int32_t ReadPage(ByteSource& source, Stream& stream, uint32_t number, Page& page) noexcept;

int32_t ReadRows(Stream& stream, const Page& page, const NewImage& image) noexcept;

}  // namespace vorn::fil::tiff
