/**
 * @file Utf.h
 * UTF-16 to UTF-8 and back, over terminated texts. What is malformed becomes U+FFFD.
 */
#pragma once

#include <cstdint>

namespace vorn::krn::utf {

constexpr char32_t kReplacement = 0xFFFD;

/** Takes the next character off a UTF-16 text; 0 at its terminator, which stays. */
constexpr char32_t TakeChar(const char16_t*& text) noexcept
{
    const char32_t unit = *text;
    if (unit == 0)
        return 0;
    ++text;
    if (unit < 0xD800 || unit > 0xDFFF)
        return unit;
    if (unit > 0xDBFF || *text < 0xDC00 || *text > 0xDFFF)
        return kReplacement;
    return 0x10000 + ((unit - 0xD800) << 10) + (char32_t{*text++} - 0xDC00);
}

/** The same for UTF-8. A malformed sequence is taken up to the byte that breaks it and gives one replacement.
 */
constexpr char32_t TakeChar(const char*& text) noexcept
{
    const auto byte = [&text]() noexcept { return static_cast<uint8_t>(*text); };
    const uint8_t lead = byte();
    if (lead == 0)
        return 0;
    ++text;
    if (lead < 0x80)
        return lead;
    if (lead < 0xC2 || lead > 0xF4)
        return kReplacement;

    int trailing = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    // The second byte's range excludes overlong forms, surrogates and what lies above U+10FFFF.
    uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t character = lead & (0x3F >> trailing);
    for (; trailing > 0; --trailing) {
        if (byte() < low || byte() > high)
            return kReplacement;
        character = character << 6 | (byte() & 0x3F);
        ++text;
        low = 0x80;
        high = 0xBF;
    }
    return character;
}

/** Writes a character and returns its length in units. `out` has room for 4. */
constexpr unsigned PutChar(char32_t character, char* out) noexcept
{
    if (character < 0x80) {
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
template <typename To, typename From>
constexpr uint64_t CountUnits(const From* text) noexcept
{
    To unused[4];
    uint64_t units = 1;
    while (const char32_t character = TakeChar(text))
        units += PutChar(character, unused);
    return units;
}

/** Writes `text` and a terminator to `out`, which has CountUnits units. */
template <typename To, typename From>
constexpr void Transcode(const From* text, To* out) noexcept
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
