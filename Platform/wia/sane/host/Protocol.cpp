#include "Protocol.h"

#include <algorithm>
#include <cstring>

#include <nlohmann/json.hpp>

namespace vorn::sane {

namespace {

using nlohmann::json;

/** Large enough that passing a slot costs nothing beside filling it, small enough to stay in the cache. */
constexpr size_t kSlotBytes = 256 * 1024;
constexpr size_t kSlots = 4;

}  // namespace

RingLayout::RingLayout(size_t lineBytes) noexcept
    : slotBytes{std::max<size_t>(1, kSlotBytes / lineBytes) * lineBytes},
      slots{std::min(kSlots, kBytes / slotBytes)}
{
}

SANE_Word Option::Word() const noexcept
{
    SANE_Word word = 0;
    if (value.size() >= sizeof word)
        std::memcpy(&word, value.data(), sizeof word);
    return word;
}

double Option::Number() const noexcept
{
    return type == SANE_TYPE_FIXED ? SANE_UNFIX(Word()) : Word();
}

std::string Option::Text() const
{
    const auto* text = reinterpret_cast<const char*>(value.data());
    return value.empty() ? std::string{} : std::string{text, strnlen(text, value.size())};
}

bool IsSound(const Option& option) noexcept
{
    constexpr SANE_Int kWordBytes = sizeof(SANE_Word);
    const bool listed = option.words.size() <= kMostListed && option.texts.size() <= kMostListed;
    if (option.index < 1 || option.size < 0 || option.size > kMostValueBytes || !listed ||
        (!option.value.empty() && option.value.size() != static_cast<size_t>(option.size)))
        return false;
    switch (option.type) {
        case SANE_TYPE_BOOL:
            return option.size == kWordBytes;
        case SANE_TYPE_INT:
        case SANE_TYPE_FIXED:
            return option.size >= kWordBytes && option.size % kWordBytes == 0;
        case SANE_TYPE_STRING:
            return option.size > 0;
        case SANE_TYPE_BUTTON:
            return option.value.empty();
        default:
            return false;
    }
}

json ToMessage(const FoundScanner& found)
{
    return json::array({found.name, found.vendor, found.model, found.type});
}

void FromMessage(const json& message, FoundScanner& found)
{
    found = {message.at(0), message.at(1), message.at(2), message.at(3)};
}

json ToMessage(const Option& option)
{
    json message{{"index", option.index},
                 {"name", option.name},
                 {"type", static_cast<int>(option.type)},
                 {"unit", static_cast<int>(option.unit)},
                 {"size", option.size},
                 {"cap", option.capabilities},
                 {"value", json::binary(option.value)}};
    if (option.range)
        message["range"] = json::array({option.range->min, option.range->max, option.range->quant});
    if (!option.words.empty())
        message["words"] = option.words;
    if (!option.texts.empty())
        message["texts"] = option.texts;
    return message;
}

void FromMessage(const json& message, Option& option)
{
    option = {};
    message.at("index").get_to(option.index);
    message.at("name").get_to(option.name);
    option.type = EnumeratorOf<SANE_Value_Type>(message.at("type"));
    option.unit = EnumeratorOf<SANE_Unit>(message.at("unit"));
    message.at("size").get_to(option.size);
    message.at("cap").get_to(option.capabilities);
    option.value = message.at("value").get_binary();
    if (const auto range = message.find("range"); range != message.end())
        option.range = SANE_Range{range->at(0), range->at(1), range->at(2)};
    if (const auto words = message.find("words"); words != message.end())
        words->get_to(option.words);
    if (const auto texts = message.find("texts"); texts != message.end())
        texts->get_to(option.texts);
}

json ToMessage(const SANE_Parameters& parameters)
{
    return json::array({static_cast<int>(parameters.format), parameters.last_frame != 0,
                        parameters.bytes_per_line, parameters.pixels_per_line, parameters.lines,
                        parameters.depth});
}

void FromMessage(const json& message, SANE_Parameters& parameters)
{
    parameters.format = EnumeratorOf<SANE_Frame>(message.at(0));
    parameters.last_frame = message.at(1).get<bool>() ? SANE_TRUE : SANE_FALSE;
    message.at(2).get_to(parameters.bytes_per_line);
    message.at(3).get_to(parameters.pixels_per_line);
    message.at(4).get_to(parameters.lines);
    message.at(5).get_to(parameters.depth);
}

}  // namespace vorn::sane
