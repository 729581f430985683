// Text between the library's UTF-16 and the tool's UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "vornwia_types.h"

namespace vornscan {

using WideText = std::basic_string<WCHAR>;

WideText ToWide(const std::string& text);
/** Null gives an empty text. */
std::string ToNarrow(const WCHAR* text);

/** Which control characters stay when a text is shown. */
enum class Keep { None, LineBreaks };

/**
 * A text of a device as it may be shown to a person: what a terminal would act on (control characters, escape sequences,
 * changes of the writing direction, line breaks) and what is no UTF-8 becomes a question mark each.
 */
std::string Printable(std::string_view text, Keep keep = Keep::None);

}  // namespace vornscan
