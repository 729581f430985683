/**
 * @file CompressedEncoder.h
 * JPEG and PNG pages.
 */
#pragma once

#include "PageEncoder.h"

namespace vorn::wia {

/** The encoder of `WiaImgFmt_JPEG` or `WiaImgFmt_PNG`; null for another format. */
std::unique_ptr<PageEncoder> MakeCompressedEncoder(REFGUID format, LONG jpegQuality);

}  // namespace vorn::wia
