// Text between the library's UTF-16 and the tool's UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "vornwia_types.h"

namespace vornscan {

using WideText = std::basic_string<WCHAR>;

/** Any bytes, as a file's name may have them; ToNarrow gives the same bytes. */
WideText ToWide(const std::string& text);
/** The file of that name, which need not be valid UTF-8. */
std::filesystem::path ToPath(const std::string& name);
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
