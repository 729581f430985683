// Text between the library's UTF-16 and the tool's UTF-8.
#pragma once

#include <string>

#include "vornwia_types.h"

namespace vornscan {

using WideText = std::basic_string<WCHAR>;

WideText ToWide(const std::string& text);
/** Null gives an empty text. */
std::string ToNarrow(const WCHAR* text);

}  // namespace vornscan
