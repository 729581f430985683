/**
 * @file Text.h
 * Text between SANE's bytes and the platform's characters.
 */
#pragma once

#include <string>
#include <string_view>

#include "../../include/com.h"

namespace vorn::wia {

WString ToWide(std::string_view text);
std::string ToNarrow(WStringView text);

}  // namespace vorn::wia
