#include "Text.h"

#include <algorithm>
#include <memory>
#include <new>

#include "Vornkrnx.h"

namespace vornscan {
namespace {

struct CodeRange {
    char32_t first, last;
};

/** What a terminal acts on, or what changes the order or the lines of the text around it. */
constexpr CodeRange kControls[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                   {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},
                                   {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};

/** How many bytes the character at the start of `text` has; 0 when they are no UTF-8. */
size_t TakeCharacter(std::string_view text, char32_t& code)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const size_t length = lead < 0x80   ? 1
                          : lead < 0xC2 ? 0
                          : lead < 0xE0 ? 2
                          : lead < 0xF0 ? 3
                          : lead < 0xF5 ? 4
                                        : 0;
    if (length == 0 || length > text.size())
        return 0;
    code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (const char next : text.substr(1, length - 1)) {
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3Fu);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kLeast[length] || code > 0x10FFFF || surrogate ? 0 : length;
}

bool IsControl(char32_t code)
{
    return std::ranges::any_of(
        kControls, [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

}  // namespace

std::string Printable(std::string_view text, Keep keep)
{
    std::string shown;
    while (!text.empty()) {
        char32_t code = 0;
        const size_t length = TakeCharacter(text, code);
        const bool kept = length > 0 && (!IsControl(code) || (code == '\n' && keep == Keep::LineBreaks));
        shown.append(kept ? text.substr(0, length) : "?");
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return shown;
}

WideText ToWide(const std::string& text)
{
    const auto free = [](WCHAR* block) { KrnFree(block, __LINE__, "Text"); };
    const std::unique_ptr<WCHAR, decltype(free)> wide{KrnAllocWideName(text.c_str()), free};
    if (!wide)
        throw std::bad_alloc{};
    return wide.get();
}

std::filesystem::path ToPath(const std::string& name)
{
#ifdef _WIN32
    return ToWide(name);
#else
    return name;
#endif
}

std::string ToNarrow(const WCHAR* text)
{
    if (!text)
        return {};
    const std::unique_ptr<char, decltype(&KrnFreeAnsiCopy)> copy{KrnAllocAnsiCopy(text), &KrnFreeAnsiCopy};
    if (!copy)
        throw std::bad_alloc{};
    return copy.get();
}

}  // namespace vornscan
