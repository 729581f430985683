#include <cstdlib>
#include <string_view>

#include "ole.h"

namespace {

// The block is aligned for the characters and for whatever the byte length stands in front of.
constexpr size_t kPrefix = sizeof(DWORD) * 2;

/** The text's length in bytes, which stands right before its first character. */
DWORD* ByteLength(BSTR text) noexcept
{
    return reinterpret_cast<DWORD*>(text) - 1;
}

UINT TextLength(const OLECHAR* text) noexcept
{
    return text ? static_cast<UINT>(std::u16string_view{text}.size()) : 0;
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept
{
    const uint64_t bytes = uint64_t{length} * sizeof(OLECHAR);
    if (bytes > UINT32_MAX - kPrefix - sizeof(OLECHAR))
        return nullptr;
    auto* block = static_cast<BYTE*>(std::malloc(kPrefix + bytes + sizeof(OLECHAR)));
    if (!block)
        return nullptr;
    BSTR made = reinterpret_cast<BSTR>(block + kPrefix);
    *ByteLength(made) = static_cast<DWORD>(bytes);
    if (text)
        std::memcpy(made, text, bytes);
    made[length] = 0;
    return made;
}

BSTR SysAllocString(const OLECHAR* text) noexcept
{
    return text ? SysAllocStringLen(text, TextLength(text)) : nullptr;
}

INT SysReAllocStringLen(BSTR* text, const OLECHAR* replacement, UINT length) noexcept
{
    // The replacement may be a part of the old text, which therefore goes last.
    BSTR made = text ? SysAllocStringLen(replacement, length) : nullptr;
    if (!made)
        return FALSE;
    SysFreeString(*text);
    *text = made;
    return TRUE;
}

INT SysReAllocString(BSTR* text, const OLECHAR* replacement) noexcept
{
    return SysReAllocStringLen(text, replacement, TextLength(replacement));
}

void SysFreeString(BSTR text) noexcept
{
    if (text)
        std::free(reinterpret_cast<BYTE*>(text) - kPrefix);
}

UINT SysStringByteLen(BSTR text) noexcept
{
    return text ? *ByteLength(text) : 0;
}

UINT SysStringLen(BSTR text) noexcept
{
    return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR));
}
