// Words on the command line: in any case, and abbreviated as far as they stay unambiguous.
#pragma once

#include <algorithm>
#include <cctype>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Failure.h"

namespace vornscan {

template <typename Value>
struct Word {
    std::string_view word;  ///< in small letters
    Value value;
};

inline std::string SmallLetters(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/** @throws Failure that lists the words when `typed` fits none of them, or several that differ in value */
template <typename Value>
Value Choose(const std::string& option, const std::string& typed, std::span<const Word<Value>> words)
{
    const std::string start = SmallLetters(typed);
    std::optional<Value> chosen;
    std::string choices;
    bool ambiguous = typed.empty();
    for (const auto& [word, value] : words) {
        if (word == start)
            return value;
        choices.append(choices.empty() ? "" : ", ").append(word);
        if (!word.starts_with(start))
            continue;
        ambiguous = ambiguous || (chosen && *chosen != value);
        chosen = value;
    }
    if (!chosen || ambiguous)
        throw Failure{ExitCode::Usage, option + " '" + typed + "' is " +
                                           (ambiguous ? "ambiguous" : "not known") + ": choose one of " +
                                           choices};
    return *chosen;
}

}  // namespace vornscan
