#include "FolderListing.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "../model/FolderEntries.h"
#include "Vornfilx.h"

namespace vorn::wia {

namespace {

bool IsDigit(WCHAR character) noexcept
{
    return character >= '0' && character <= '9';
}

WCHAR Fold(WCHAR character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<WCHAR>(character - 'A' + 'a') : character;
}

/** Takes the digits at the start of `text` and returns them without leading zeros. */
WStringView TakeNumber(WStringView& text) noexcept
{
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    WStringView digits = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    digits.remove_prefix(std::min(digits.find_first_not_of(WCHAR{'0'}), digits.size()));
    return digits;
}

/** As memcmp answers. */
int CompareNaturally(WStringView left, WStringView right) noexcept
{
    while (!left.empty() && !right.empty()) {
        if (IsDigit(left.front()) && IsDigit(right.front())) {
            const WStringView leftNumber = TakeNumber(left), rightNumber = TakeNumber(right);
            if (leftNumber.size() != rightNumber.size())
                return leftNumber.size() < rightNumber.size() ? -1 : 1;
            if (const int order = leftNumber.compare(rightNumber); order != 0)
                return order;
            continue;
        }
        const WCHAR leftLetter = Fold(left.front()), rightLetter = Fold(right.front());
        if (leftLetter != rightLetter)
            return leftLetter < rightLetter ? -1 : 1;
        left.remove_prefix(1);
        right.remove_prefix(1);
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

/** A file name that is no text has no wide form, and nobody could open it by one. */
bool WideName(const std::filesystem::path& path, WString& name)
try {
    name = path.string<WCHAR>();
    return true;
} catch (const std::system_error&) {
    return false;
}

}  // namespace

bool NaturallyBefore(WStringView left, WStringView right) noexcept
{
    const int order = CompareNaturally(left, right);
    return order != 0 ? order < 0 : left < right;
}

std::vector<WString> ListImages(const WCHAR* folder)
{
    std::vector<WString> files;
    for (const std::filesystem::path& entry : FolderEntries(folder)) {
        std::error_code gone;
        WString name;
        if (std::filesystem::is_regular_file(entry, gone) && WideName(entry, name) &&
            FilFormatFromName(name.c_str()) != FIL_FORMAT_UNKNOWN)
            files.push_back(std::move(name));
    }
    std::sort(files.begin(), files.end(), NaturallyBefore);
    return files;
}

}  // namespace vorn::wia
