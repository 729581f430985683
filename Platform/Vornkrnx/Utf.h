/**
 * @file Utf.h
 * UTF-16 to UTF-8 and back, over terminated texts. What is malformed becomes U+FFFD, but for file names: their stray bytes,
 * those that are no UTF-8, are the lone surrogates U+DC80 to U+DCFF in UTF-16, and become the bytes again.
 */
#pragma once

#include <cstdint>

namespace vorn::krn::utf {

constexpr char32_t kReplacement = 0xFFFD;

/** The lone surrogates that stand for a stray byte begin here; the byte is added. */
constexpr char32_t kStrayByte = 0xDC00;

constexpr bool IsStrayByte(char32_t character) noexcept
{
    return character >= kStrayByte + 0x80 && character <= kStrayByte + 0xFF;
}

/** Takes the next character off a UTF-16 text; 0 at its terminator, which stays. */
constexpr char32_t TakeChar(const char16_t*& text) noexcept
{
    const char32_t unit = *text;
    if (unit == 0)
        return 0;
    ++text;
    if (unit < 0xD800 || unit > 0xDFFF)
        return unit;
    if (IsStrayByte(unit))
        return unit;
    if (unit > 0xDBFF || *text < 0xDC00 || *text > 0xDFFF)
        return kReplacement;
    return 0x10000 + ((unit - 0xD800) << 10) + (char32_t{*text++} - 0xDC00);
}

/** Takes the next character off a UTF-8 text. False for a malformed sequence, which is taken up to the byte that breaks it. */
constexpr bool TakeWellFormed(const char*& text, char32_t& character) noexcept
{
    const auto byte = [&text]() noexcept { return static_cast<uint8_t>(*text); };
    const uint8_t lead = byte();
    character = lead;
    if (lead == 0)
        return true;
    ++text;
    if (lead < 0x80)
        return true;
    if (lead < 0xC2 || lead > 0xF4)
        return false;

    int trailing = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    // The second byte's range excludes overlong forms, surrogates and what lies above U+10FFFF.
    uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    character = lead & (0x3F >> trailing);
    for (; trailing > 0; --trailing) {
        if (byte() < low || byte() > high)
            return false;
        character = character << 6 | (byte() & 0x3F);
        ++text;
        low = 0x80;
        high = 0xBF;
    }
    return true;
}

/** As for UTF-16; a malformed sequence gives one replacement. */
constexpr char32_t TakeChar(const char*& text) noexcept
{
    char32_t character = 0;
    return TakeWellFormed(text, character) ? character : kReplacement;
}

/** A file name in UTF-8, of which no byte may be lost. */
struct FileName {
    const char* text;
};

constexpr char32_t TakeChar(FileName& name) noexcept
{
    const char* const start = name.text;
    char32_t character = 0;
    if (TakeWellFormed(name.text, character))
        return character;
    name.text = start + 1;
    return kStrayByte + static_cast<uint8_t>(*start);
}

constexpr bool IsWellFormed(const char* text) noexcept
{
    char32_t character = 1;
    while (character != 0) {
        if (!TakeWellFormed(text, character))
            return false;
    }
    return true;
}

/** Writes a character and returns its length in units. `out` has room for 4. */
constexpr unsigned PutChar(char32_t character, char* out) noexcept
{
    if (character < 0x80 || IsStrayByte(character)) {
        out[0] = static_cast<char>(character);
        return 1;
    }
    const unsigned trailing = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr uint8_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out[0] = static_cast<char>(kLead[trailing] | character >> 6 * trailing);
    for (unsigned i = 1; i <= trailing; ++i)
        out[i] = static_cast<char>(0x80 | (character >> 6 * (trailing - i) & 0x3F));
    return trailing + 1;
}

constexpr unsigned PutChar(char32_t character, char16_t* out) noexcept
{
    if (character < 0x10000) {
        out[0] = static_cast<char16_t>(character);
        return 1;
    }
    out[0] = static_cast<char16_t>(0xD7C0 + (character >> 10));
    out[1] = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    return 2;
}

/** Units of type `To` that `text` needs, terminator included. */
template <typename To, typename Text>
constexpr uint64_t CountUnits(Text text) noexcept
{
    To unused[4];
    uint64_t units = 1;
    while (const char32_t character = TakeChar(text))
        units += PutChar(character, unused);
    return units;
}

/** Writes `text` and a terminator to `out`, which has CountUnits units. */
template <typename Text, typename To>
constexpr void Transcode(Text text, To* out) noexcept
{
    To encoded[4];
    while (const char32_t character = TakeChar(text)) {
        const unsigned units = PutChar(character, encoded);
        for (unsigned i = 0; i < units; ++i)
            *out++ = encoded[i];
    }
    *out = 0;
}

}  // namespace vorn::krn::utf
