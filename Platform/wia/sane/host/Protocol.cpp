#include "Protocol.h"

#include <algorithm>
#include <cstring>

namespace vorn::sane {

namespace {

using process::MessageReader;
using process::MessageWriter;

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

void Put(MessageWriter& message, const std::vector<FoundScanner>& found)
{
    message.Number(static_cast<int32_t>(found.size()));
    for (const FoundScanner& each : found)
        message.Text(each.name).Text(each.vendor).Text(each.model).Text(each.type);
}

void Take(MessageReader& message, std::vector<FoundScanner>& found)
{
    for (size_t left = message.Count(kMostScanners); left > 0; --left) {
        FoundScanner& scanner = found.emplace_back();
        for (std::string* text : {&scanner.name, &scanner.vendor, &scanner.model, &scanner.type})
            *text = message.Text();
    }
}

void Put(MessageWriter& message, const std::vector<Option>& options)
{
    message.Number(static_cast<int32_t>(options.size()));
    for (const Option& option : options) {
        message.Number(option.index).Text(option.name).Number(option.type).Number(option.unit);
        message.Number(option.size).Number(option.capabilities).Bytes(option.value);
        const SANE_Range range = option.range.value_or(SANE_Range{});
        message.Number(option.range.has_value()).Number(range.min).Number(range.max).Number(range.quant);
        message.Number(static_cast<int32_t>(option.words.size()));
        for (const SANE_Word word : option.words)
            message.Number(word);
        message.Number(static_cast<int32_t>(option.texts.size()));
        for (const std::string& text : option.texts)
            message.Text(text);
    }
}

namespace {

Option TakeOption(MessageReader& message)
{
    Option option;
    option.index = message.Number();
    option.name = message.Text();
    option.type = EnumeratorOf<SANE_Value_Type>(message.Number());
    option.unit = EnumeratorOf<SANE_Unit>(message.Number());
    option.size = message.Number();
    option.capabilities = message.Number();
    option.value = message.Bytes();
    const bool hasRange = message.Flag();
    SANE_Range range{};
    for (SANE_Word* each : {&range.min, &range.max, &range.quant})
        *each = message.Number();
    if (hasRange)
        option.range = range;
    for (size_t left = message.Count(kMostListed); left > 0; --left)
        option.words.push_back(message.Number());
    for (size_t left = message.Count(kMostListed); left > 0; --left)
        option.texts.push_back(message.Text());
    return option;
}

}  // namespace

void Take(MessageReader& message, std::vector<Option>& options)
{
    std::vector<Option> taken;
    for (size_t left = message.Count(kMostOptions); left > 0; --left) {
        Option option = TakeOption(message);
        if (!IsSound(option) || (!taken.empty() && option.index <= taken.back().index))
            throw process::Lost{process::Lost::Reason::BadMessage};
        taken.push_back(std::move(option));
    }
    options = std::move(taken);
}

void Put(MessageWriter& message, const SANE_Parameters& parameters)
{
    message.Number(parameters.format).Number(parameters.last_frame).Number(parameters.bytes_per_line);
    message.Number(parameters.pixels_per_line).Number(parameters.lines).Number(parameters.depth);
}

void Take(MessageReader& message, SANE_Parameters& parameters)
{
    parameters.format = EnumeratorOf<SANE_Frame>(message.Number());
    parameters.last_frame = message.Flag() ? SANE_TRUE : SANE_FALSE;
    for (SANE_Int* each :
         {&parameters.bytes_per_line, &parameters.pixels_per_line, &parameters.lines, &parameters.depth})
        *each = message.Number();
}

}  // namespace vorn::sane
