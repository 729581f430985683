#include "OptionProperty.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "../../include/comobject.h"
#include "Text.h"

namespace vorn::wia {

namespace {

RawValue WordValue(SANE_Word word)
{
    RawValue raw(sizeof word);
    std::memcpy(raw.data(), &word, sizeof word);
    return raw;
}

bool IsFixed(const SaneOption& option) noexcept
{
    return option.type == SANE_TYPE_FIXED;
}

double NumberOf(const SaneOption& option, SANE_Word word) noexcept
{
    return IsFixed(option) ? SANE_UNFIX(word) : word;
}

ULONG AccessOf(const SaneOption& option) noexcept
{
    const ULONG write = option.CanBeSet() ? WIA_PROP_WRITE : 0;
    return WIA_PROP_READ | write;
}

Property Plain(const SaneOption& option, Value value)
{
    Property property;
    property.id = OptionId(option);
    property.name = ToWide(option.name);
    property.value = std::move(value);
    property.access = AccessOf(option) | WIA_PROP_NONE;
    return property;
}

Property WithValid(const SaneOption& option, Value value, ULONG kind, Value valid)
{
    Property property = Plain(option, std::move(value));
    if (!option.CanBeSet())
        return property;
    property.access = AccessOf(option) | kind;
    property.valid = std::move(valid);
    return property;
}

std::vector<LONG> Longs(const std::vector<double>& numbers)
{
    std::vector<LONG> longs;
    for (const double number : numbers)
        longs.push_back(static_cast<LONG>(number));
    return longs;
}

Property Integer(const SaneOption& option)
{
    const LONG value = option.Word();
    NumberRange range;
    if (RangeOf(option, range))
        return WithValid(
            option, Value::I4(value), WIA_PROP_RANGE,
            RangeValues(static_cast<LONG>(range.minimum), value, static_cast<LONG>(range.maximum),
                        std::max<LONG>(1, static_cast<LONG>(range.step))));
    const std::vector<double> numbers = NumbersOf(option);
    if (!numbers.empty())
        return WithValid(option, Value::I4(value), WIA_PROP_LIST, ListValues(value, Longs(numbers)));
    return Plain(option, Value::I4(value));
}

/** Cuts off what is too fine, as SANE_FIX does, so that a fraction becomes the word that a back end made of it. */
SANE_Word Fixed(double number) noexcept
{
    return static_cast<SANE_Word>(
        std::clamp(number * (1 << SANE_FIXED_SCALE_SHIFT), -2147483648.0, 2147483647.0));
}

/** The shortest decimal fraction that is this fixed-point number: what its maker wrote, and people type. */
double Decimal(double number) noexcept
{
    for (double scale = 1; scale <= 100000; scale *= 10) {
        const double decimal = std::round(number * scale) / scale;
        if (Fixed(decimal) == Fixed(number))
            return decimal;
    }
    return number;
}

Property Real(const SaneOption& option)
{
    const double value = Decimal(option.Number());
    NumberRange range;
    if (RangeOf(option, range))
        return WithValid(
            option, Value::Real(VT_R8, value), WIA_PROP_RANGE,
            Value::Reals({Decimal(range.minimum), value, Decimal(range.maximum), Decimal(range.step)}));
    const std::vector<double> numbers = NumbersOf(option);
    if (numbers.empty())
        return Plain(option, Value::Real(VT_R8, value));
    std::vector<double> elements{static_cast<double>(numbers.size()), value};
    std::transform(numbers.begin(), numbers.end(), std::back_inserter(elements), Decimal);
    return WithValid(option, Value::Real(VT_R8, value), WIA_PROP_LIST, Value::Reals(elements));
}

Property Text(const SaneOption& option)
{
    const WString value = ToWide(option.Text());
    std::vector<WString> listed;
    for (const std::string& text : TextsOf(option))
        listed.push_back(ToWide(text));
    return listed.empty() ? Plain(option, Value::Text(value))
                          : WithValid(option, Value::Text(value), WIA_PROP_LIST, ListValues(value, listed));
}

}  // namespace

bool RangeOf(const SaneOption& option, NumberRange& range)
{
    if (!option.IsNumber() || !option.range)
        return false;
    const SANE_Range& limits = *option.range;
    range = {NumberOf(option, limits.min), NumberOf(option, limits.max), NumberOf(option, limits.quant)};
    return true;
}

std::vector<double> NumbersOf(const SaneOption& option)
{
    std::vector<double> numbers;
    if (option.IsNumber())
        for (const SANE_Word word : option.words)
            numbers.push_back(NumberOf(option, word));
    return numbers;
}

std::vector<std::string> TextsOf(const SaneOption& option)
{
    return option.type == SANE_TYPE_STRING ? option.texts : std::vector<std::string>{};
}

Property PropertyOf(const SaneOption& option)
{
    switch (option.type) {
        case SANE_TYPE_BOOL:
            return WithValid(option, Value::I4(option.Word() ? 1 : 0), WIA_PROP_LIST, ListValues(0, {0, 1}));
        case SANE_TYPE_BUTTON:
            return WithValid(option, Value::I4(0), WIA_PROP_LIST, ListValues(0, {0, 1}));
        case SANE_TYPE_STRING:
            return Text(option);
        default:
            break;
    }
    if (!option.IsSingleNumber())
        return Plain(option, Value::Bytes(option.value));
    return IsFixed(option) ? Real(option) : Integer(option);
}

RawValue TextValue(std::string_view text)
{
    RawValue raw(text.begin(), text.end());
    raw.push_back(0);
    return raw;
}

RawValue NearestNumber(const SaneOption& option, double number)
{
    const std::vector<double> numbers = NumbersOf(option);
    if (!numbers.empty())
        number = *std::min_element(numbers.begin(), numbers.end(), [number](double a, double b) {
            return std::abs(a - number) < std::abs(b - number);
        });
    NumberRange range;
    if (RangeOf(option, range)) {
        number = std::clamp(number, range.minimum, std::max(range.minimum, range.maximum));
        if (range.step > 0)
            number = range.minimum + std::round((number - range.minimum) / range.step) * range.step;
        // The largest may be no multiple of the step.
        if (number > range.maximum && range.step > 0)
            number -= range.step;
    }
    // Clamped before it becomes a word: a fixed-point one holds 16 bits before the point.
    const double scaled = IsFixed(option) ? number * (1 << SANE_FIXED_SCALE_SHIFT) : number;
    return WordValue(static_cast<SANE_Word>(std::clamp(std::round(scaled), -2147483648.0, 2147483647.0)));
}

RawValue RawOf(const SaneOption& option, const Value& value)
{
    const PROPVARIANT& variant = value.Get();
    if (value.Type() == VT_BSTR) {
        RawValue text = TextValue(ToNarrow(value.ToText()));
        if (text.size() > static_cast<size_t>(option.size))
            throw Failure{E_INVALIDARG};  // without its end a back end would read on
        return text;
    }
    if (value.Type() == VT_R8)
        return WordValue(Fixed(variant.dblVal));
    if (value.Type() == (VT_VECTOR | VT_UI1) && variant.caub.cElems == option.value.size())
        return {variant.caub.pElems, variant.caub.pElems + variant.caub.cElems};
    return value.Type() == VT_I4 ? WordValue(value.Long()) : RawValue{};
}

}  // namespace vorn::wia
