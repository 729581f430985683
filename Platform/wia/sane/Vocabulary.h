/**
 * @file Vocabulary.h
 * The words of SANE's back ends: which option is what, and what the values of sources and modes mean.
 */
#pragma once

#include <optional>
#include <string_view>

#include "Scanner.h"

namespace vorn::wia {

/** Options with a meaning of their own, in the order in which they have to be set. */
enum class Role {
    Source,
    DuplexSwitch,
    Mode,
    Depth,
    Resolution,  ///< across, and down as well unless there is another for that
    ResolutionDown,
    Brightness,  ///< and options that have no meaning of their own
    Contrast,
    Threshold,
    PaperSensor,
    PageWidth,  ///< bounds the area
    PageHeight,
    Left,
    Top,
    Right,
    Bottom,
};

/** Null when the scanner has no such option. */
SaneOption* Find(Scanner& scanner, Role role) noexcept;
/** The role of an option by its name, if it has one. */
std::optional<Role> RoleOf(const SaneOption& option) noexcept;

/** Where paper lies. */
enum class SourceKind { Flatbed, Feeder, Duplex, Back, Other };
SourceKind SourceKindOf(std::string_view source) noexcept;

/** The WIA_DATA_ value of a mode; nothing for a mode of another kind. */
std::optional<LONG> DataTypeOf(std::string_view mode) noexcept;

/** The first text of the option that `fits`; empty when there is none. */
template <typename Fits>
std::string FirstText(const std::vector<std::string>& texts, Fits&& fits)
{
    for (const std::string& text : texts) {
        if (fits(text))
            return text;
    }
    return {};
}

/** Whether a text holds a word, whatever the case of ASCII letters. */
bool HasWord(std::string_view text, std::string_view lowerWord) noexcept;

}  // namespace vorn::wia
