#include "Text.h"

#include <memory>
#include <new>

#include "Vornkrnx.h"

namespace vornscan {

WideText ToWide(const std::string& text)
{
    Vorn_A2W wide;
    if (!wide.Convert(text.c_str()))
        throw std::bad_alloc{};
    return wide.Value();
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
