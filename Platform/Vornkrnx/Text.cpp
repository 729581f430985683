/*
 * The exported text conversions. A text is measured first and then written, so that nothing is ever cut.
 */
#include "Block.h"
#include "Os.h"

using namespace vorn::krn;

namespace {

constexpr const char* kFile = "Vornkrnx/Text";

/** Answers how `needed` characters go with the caller's buffer; true when they are to be written. */
bool FitsBuffer(uint64_t needed, const void* buffer, uint64_t capacity, uint64_t* neededOut, int32_t& status)
{
    if (neededOut)
        *neededOut = needed;
    status = buffer && needed > capacity ? KRN_ERR_BUFFER_TOO_SMALL : KRN_SUCCESS;
    return buffer && status == KRN_SUCCESS;
}

/** A block of `needed` characters, filled by `write`; null without memory, and for a text that needs none. */
WCHAR* NewWide(const char* text, uint64_t needed, void (*write)(const char*, WCHAR*, uint64_t) noexcept)
{
    WCHAR* const copy =
        needed ? static_cast<WCHAR*>(KrnAlloc(needed, sizeof(WCHAR), __LINE__, kFile)) : nullptr;
    if (copy)
        write(text, copy, needed);
    return copy;
}

}  // namespace

char* KrnAllocAnsiCopy(const WCHAR* text)
{
    if (!text)
        return nullptr;
    const uint64_t needed = AnsiCharsNeeded(text);
    char* const copy = needed ? static_cast<char*>(KrnAlloc(needed, sizeof(char), __LINE__, kFile)) : nullptr;
    if (copy)
        WriteAnsi(text, copy, needed);
    return copy;
}

void KrnFreeAnsiCopy(char* copy)
{
    FreeBlock(copy, "KrnFreeAnsiCopy", {__LINE__, kFile});
}

WCHAR* KrnAllocWideCopy(const char* text)
{
    return text ? NewWide(text, WideCharsNeeded(text), WriteWide) : nullptr;
}

WCHAR* KrnAllocWideName(const char* name)
{
    return name ? NewWide(name, NameCharsNeeded(name), WriteName) : nullptr;
}

int32_t KrnWideToAnsi(const WCHAR* text, char* buffer, uint64_t capacity, uint64_t* needed)
{
    const uint64_t units = text ? AnsiCharsNeeded(text) : 0;
    int32_t status = KRN_SUCCESS;
    if (FitsBuffer(units, buffer, capacity, needed, status) && units > 0)
        WriteAnsi(text, buffer, units);
    return status;
}

int32_t KrnAnsiToWide(const char* text, WCHAR* buffer, uint64_t capacity, uint64_t* needed)
{
    const uint64_t units = text ? WideCharsNeeded(text) : 0;
    int32_t status = KRN_SUCCESS;
    if (FitsBuffer(units, buffer, capacity, needed, status) && units > 0)
        WriteWide(text, buffer, units);
    return status;
}

Vorn_A2W::~Vorn_A2W()
{
    KrnFree(value_, __LINE__, kFile);
}

int32_t Vorn_A2W::Convert(const char* text) noexcept
{
    KrnFree(value_, __LINE__, kFile);
    value_ = text && IsWellFormed(text) ? KrnAllocWideCopy(text) : nullptr;
    return !text || value_ ? KRN_SUCCESS : 0;
}

int32_t Vorn_A2W::Convert(const char* text, WCHAR* buffer, uint64_t capacity) noexcept
{
    if (text && !IsWellFormed(text))
        return KRN_ERR_OUT_OF_MEMORY;
    return KrnAnsiToWide(text, buffer, capacity, nullptr);
}

int32_t Vorn_W2A::Convert(const WCHAR* text, char* buffer, uint64_t capacity) noexcept
{
    return KrnWideToAnsi(text, buffer, capacity, nullptr);
}
