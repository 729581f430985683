#include "Vocabulary.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "PropertyIds.h"

namespace vornscan {
namespace {

struct Word {
    uint32_t property;
    int32_t number;
    const char* word;
};

constexpr Word kWords[] = {
    {kHandlingSelect, WIA_SOURCE_FEEDER, "feeder"},
    {kHandlingSelect, WIA_SOURCE_FLATBED, "flatbed"},
    {kHandlingSelect, WIA_SOURCE_DUPLEX, "duplex"},
    {kHandlingSelect, 8, "front-first"},
    {kHandlingSelect, 16, "back-first"},
    {kHandlingSelect, WIA_SOURCE_FRONT_ONLY, "front-only"},
    {kHandlingSelect, WIA_SOURCE_BACK_ONLY, "back-only"},
    {kDataType, kDataLineart, "lineart"},
    {kDataType, 1, "dithered"},
    {kDataType, kDataGray, "gray"},
    {kDataType, kDataColor, "color"},
    {kMedium, WIA_MEDIUM_FILE, "file"},
    {kMedium, WIA_MEDIUM_MEMORY, "memory"},
    {kMedium, WIA_MEDIUM_MULTIPAGE_FILE, "multi-page-file"},
    {kMedium, WIA_MEDIUM_MULTIPAGE_MEMORY, "multi-page-memory"},
    {kCompression, 0, "none"},
    {kRotation, 0, "0"},
    {kRotation, 1, "90"},
    {kRotation, 2, "180"},
    {kRotation, 3, "270"},
};

struct FormatWord {
    GUID guid;
    const char* word;
};

constexpr FormatWord kFormatWords[] = {
    {kFormatMemoryBmp, "memory-bmp"},
    {kFormatBmp, "bmp"},
    {kFormatJpeg, "jpeg"},
    {kFormatPng, "png"},
    {kFormatTiff, "tiff"},
};

const char* FindWord(uint32_t property, int32_t number)
{
    for (const Word& word : kWords)
        if (word.property == property && word.number == number)
            return word.word;
    return nullptr;
}

/** The number without its unit; millimetres to a tenth. */
std::string Bare(int32_t number, const Unit& unit)
{
    if (const char* word = FindWord(unit.property, number))
        return word;
    if (unit.perUnit == 1)
        return std::to_string(number);
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", std::round(number / unit.perUnit * 10) / 10);
    const std::string digits = text;
    return digits.ends_with(".0") ? digits.substr(0, digits.size() - 2) : digits;
}

std::string Symbol(int32_t number, const Unit& unit)
{
    return FindWord(unit.property, number) ? "" : unit.symbol;
}

/** The bits, by their words; those without one as one number. */
std::string Bits(uint32_t bits, const Unit& unit, const char* between)
{
    std::string text;
    const auto add = [&](const std::string& word) { text.append(text.empty() ? "" : between).append(word); };
    uint32_t unnamed = 0;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        if (!(bits & bit))
            continue;
        if (const char* word = FindWord(unit.property, static_cast<int32_t>(bit)))
            add(word);
        else
            unnamed |= bit;
    }
    if (unnamed != 0)
        add(std::to_string(unnamed));
    return text;
}

template <typename Element, typename ToText>
std::string Join(const std::vector<Element>& elements, ToText toText)
{
    std::string text;
    for (const Element& element : elements)
        text.append(text.empty() ? "" : "|").append(toText(element));
    return text;
}

struct ValuesToText {
    const Unit& unit;

    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(const Range& range) const
    {
        const std::string step =
            unit.perUnit == 1 && range.step > 0 ? " (in steps of " + std::to_string(range.step) + ")" : "";
        return Bare(range.minimum, unit) + ".." + Bare(range.maximum, unit) + unit.symbol + step;
    }
    std::string operator()(const RealRange& range) const
    {
        return InWords(range.minimum) + ".." + InWords(range.maximum) +
               (range.step > 0 ? " (in steps of " + InWords(range.step) + ")" : "");
    }
    std::string operator()(const Flags& flags) const { return Bits(flags.valid, unit, ","); }
    std::string operator()(const std::vector<int32_t>& list) const
    {
        return Join(list, [this](int32_t number) { return Bare(number, unit); }) +
               (list.empty() ? "" : Symbol(list.back(), unit));
    }
    std::string operator()(const std::vector<double>& list) const
    {
        return Join(list, [](double number) { return InWords(number); });
    }
    std::string operator()(const std::vector<std::string>& list) const
    {
        return Join(list, [](const std::string& text) { return text; });
    }
    std::string operator()(const std::vector<GUID>& list) const
    {
        return Join(list, [](const GUID& guid) { return InWords(guid); });
    }
};

struct ValueToText {
    const Unit& unit;

    std::string operator()(std::monostate) const { return "not readable"; }
    std::string operator()(int32_t number) const
    {
        const std::string bits = unit.property == kHandlingSelect && number > 0
                                     ? Bits(static_cast<uint32_t>(number), unit, ",")
                                     : std::string{};
        return bits.empty() ? InWords(number, unit) : bits;
    }
    std::string operator()(double number) const { return InWords(number); }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const GUID& guid) const { return InWords(guid); }
    std::string operator()(const SYSTEMTIME& time) const
    {
        char text[64];
        std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", time.wYear, time.wMonth, time.wDay,
                      time.wHour, time.wMinute, time.wSecond);
        return text;
    }
    std::string operator()(const Bytes& bytes) const { return std::to_string(bytes.count) + " bytes"; }
};

}  // namespace

Unit OwnUnit(uint32_t property)
{
    if (property == kXResolution || property == kYResolution)
        return {property, "dpi"};
    if (property >= kXPosition && property <= kYExtent)
        return {property, "px"};
    return {property};
}

std::string InWords(int32_t number, const Unit& unit)
{
    return Bare(number, unit) + Symbol(number, unit);
}

std::string InWords(double number)
{
    char digits[32];
    return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

std::string InWords(const ValidValues& values, const Unit& unit)
{
    return std::visit(ValuesToText{unit}, values);
}

std::string InWords(const Value& value, const Unit& unit)
{
    return std::visit(ValueToText{unit}, value);
}

std::string InWords(const GUID& guid)
{
    for (const FormatWord& word : kFormatWords)
        if (Same(word.guid, guid))
            return word.word;
    char text[40];
    const uint8_t* tail = guid.Data4;
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, tail[0], tail[1], tail[2],
                  tail[3], tail[4], tail[5], tail[6], tail[7]);
    return text;
}

}  // namespace vornscan
