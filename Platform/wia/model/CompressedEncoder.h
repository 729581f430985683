/**
 * @file CompressedEncoder.h
 * JPEG and PNG pages, as far as the system has codecs for them.
 */
#pragma once

#include "PageEncoder.h"

namespace vorn::wia {

/** The encoder of `WiaImgFmt_JPEG` or `WiaImgFmt_PNG`; null for another format, and where there is no codec. */
std::unique_ptr<PageEncoder> MakeCompressedEncoder(REFGUID format);

}  // namespace vorn::wia
