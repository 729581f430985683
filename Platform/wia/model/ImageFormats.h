/**
 * @file ImageFormats.h
 * The formats that items offer, with their media.
 */
#pragma once

#include <vector>

#include "Definition.h"

namespace vorn::wia {

/**
 * Every format that there is an encoder for. A memory stream of the second generation is a BMP file and nothing
 * else.
 * @param documents  several pages may go into one file
 */
VORN_WIA_API std::vector<WIA_FORMAT_INFO> ImageFormats(Generation generation, bool documents);

/** Whether only its end tells how long a file of that format is. */
bool IsCompressed(REFGUID format) noexcept;

/** Those of one medium, in their order. */
std::vector<GUID> FormatsOf(const std::vector<WIA_FORMAT_INFO>& formats, LONG tymed);

}  // namespace vorn::wia
