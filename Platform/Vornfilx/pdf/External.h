/**
 * @file pdf/External.h
 * PDF files that another program wrote, or changed last: what has to be known to add pages to them. libqpdf reads them.
 */
#pragma once

#include "pdf/Document.h"

namespace vorn::fil::pdf {

/**
 * Reads a whole file's structure; `document` has no page of ours then.
 * @return FIL_ERR_CORRUPT for a file with any fault; FIL_ERR_UNSUPPORTED for an encrypted one, or when the library that
 *         reads it is not there
 */
int32_t ReadExternal(ByteSource& source, Document& document) noexcept;

/** Tells how large a page is, at 72 dpi. `page` counts from 1. */
int32_t ReadExternalPage(ByteSource& source, uint32_t page, PageInfo& info) noexcept;

}  // namespace vorn::fil::pdf
