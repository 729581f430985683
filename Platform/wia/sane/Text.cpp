#include "Text.h"

#include <algorithm>

#include "Vornkrnx.h"

namespace vorn::wia {

WString ToWide(std::string_view text)
{
    const auto isAscii = [](char each) { return static_cast<unsigned char>(each) < 0x80; };
    if (std::ranges::all_of(text, isAscii))  // as nearly all that back ends say
        return {text.begin(), text.end()};
    const std::string terminated{text};
    uint64_t needed = 0;
    KrnAnsiToWide(terminated.c_str(), nullptr, 0, &needed);
    WString wide(static_cast<size_t>(needed), 0);
    KrnAnsiToWide(terminated.c_str(), wide.data(), needed, &needed);
    return wide.c_str();
}

std::string ToNarrow(WStringView text)
{
    const WString terminated{text};
    uint64_t needed = 0;
    KrnWideToAnsi(terminated.c_str(), nullptr, 0, &needed);
    std::string narrow(static_cast<size_t>(needed), 0);
    KrnWideToAnsi(terminated.c_str(), narrow.data(), needed, &needed);
    return narrow.c_str();
}

}  // namespace vorn::wia
