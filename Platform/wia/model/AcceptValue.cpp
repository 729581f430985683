#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>
#include <string>

#include "PropertyTable.h"

namespace vorn::wia {

namespace {

struct IntegerLimits {
    int64_t lowest, highest;
};

/** What an integer type can hold; false for a type that is none. */
bool LimitsOf(VARTYPE type, IntegerLimits& limits) noexcept
{
    switch (type) {
        case VT_I1:
            limits = {INT8_MIN, INT8_MAX};
            return true;
        case VT_UI1:
            limits = {0, UINT8_MAX};
            return true;
        case VT_I2:
        case VT_BOOL:
            limits = {INT16_MIN, INT16_MAX};
            return true;
        case VT_UI2:
            limits = {0, UINT16_MAX};
            return true;
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
            limits = {INT32_MIN, INT32_MAX};
            return true;
        case VT_UI4:
        case VT_UINT:
            limits = {0, UINT32_MAX};
            return true;
        case VT_I8:
        case VT_UI8:
            limits = {INT64_MIN, INT64_MAX};
            return true;
        default:
            return false;
    }
}

template <typename CountedArray>
std::vector<int64_t> Widened(const CountedArray& array)
{
    return array.pElems ? std::vector<int64_t>(array.pElems, array.pElems + array.cElems)
                        : std::vector<int64_t>{};
}

/** The valid values as numbers, whatever their width; empty when they are none. */
std::vector<int64_t> Numbers(const PROPVARIANT& valid)
{
    switch (valid.vt) {
        case VT_VECTOR | VT_I4:
            return Widened(valid.cal);
        case VT_VECTOR | VT_UI4:
            return Widened(valid.caul);
        case VT_VECTOR | VT_I2:
            return Widened(valid.cai);
        case VT_VECTOR | VT_UI2:
            return Widened(valid.caui);
        case VT_VECTOR | VT_UI1:
            return Widened(valid.caub);
        default:
            return {};
    }
}

bool IsInRange(int64_t number, const std::vector<int64_t>& valid) noexcept
{
    if (valid.size() < WIA_RANGE_NUM_ELEMS)
        return true;
    const int64_t minimum = valid[WIA_RANGE_MIN];
    const int64_t step = valid[WIA_RANGE_STEP];
    if (number < minimum || number > valid[WIA_RANGE_MAX])
        return false;
    return step <= 0 || (number - minimum) % step == 0;
}

bool IsValidInteger(const Property& property, int64_t number)
{
    const std::vector<int64_t> valid = Numbers(property.valid.Get());
    if (property.access & WIA_PROP_RANGE)
        return IsInRange(number, valid);
    if (property.access & WIA_PROP_LIST)
        return valid.size() < WIA_LIST_NUM_ELEMS ||
               std::find(valid.begin() + WIA_LIST_VALUES, valid.end(), number) != valid.end();
    if (property.access & WIA_PROP_FLAG)
        return valid.size() < WIA_FLAG_NUM_ELEMS || (number & ~valid[WIA_FLAG_VALUES]) == 0;
    return true;
}

/** The listed values of a counted array, without the two elements before them. */
template <typename CountedArray>
auto Listed(const CountedArray& array) noexcept
{
    return std::span{array.pElems, array.cElems}.subspan(std::min<size_t>(WIA_LIST_VALUES, array.cElems));
}

bool IsListedGuid(const Property& property, REFGUID guid) noexcept
{
    const PROPVARIANT& valid = property.valid.Get();
    if (!(property.access & WIA_PROP_LIST) || valid.vt != (VT_VECTOR | VT_CLSID) || !valid.cauuid.pElems)
        return true;
    const auto listed = Listed(valid.cauuid);
    return std::any_of(listed.begin(), listed.end(),
                       [&](const GUID& value) { return IsEqualGUID(value, guid); });
}

bool IsListedText(const Property& property, WStringView text) noexcept
{
    const PROPVARIANT& valid = property.valid.Get();
    if (!(property.access & WIA_PROP_LIST) || valid.vt != (VT_VECTOR | VT_BSTR) || !valid.cabstr.pElems)
        return true;
    const auto listed = Listed(valid.cabstr);
    return std::any_of(listed.begin(), listed.end(), [&](BSTR value) {
        return value && text == WStringView{value, SysStringLen(value)};
    });
}

HRESULT AcceptInteger(const Property& property, const IntegerLimits& limits, const PROPVARIANT& value,
                      Value& accepted)
{
    int64_t number = 0;
    if (!IntegerOf(value, number) || number < limits.lowest || number > limits.highest ||
        !IsValidInteger(property, number))
        return E_INVALIDARG;
    accepted = Value::Integer(property.Type(), number);
    return S_OK;
}

/** A number of any type, or the text of one: clients can write no other fraction. */
bool ToReal(const PROPVARIANT& value, double& number)
{
    int64_t integer = 0;
    if (IntegerOf(value, integer))
        number = static_cast<double>(integer);
    else if (value.vt == VT_R8)
        number = value.dblVal;
    else if (value.vt == VT_R4)
        number = static_cast<double>(value.fltVal);
    else if (value.vt == VT_BSTR && value.bstrVal) {
        std::string text;
        for (const WCHAR character : WStringView{value.bstrVal, SysStringLen(value.bstrVal)})
            text += character < 0x80 ? static_cast<char>(character) : '?';
        const char* const end = text.data() + text.size();
        const auto read = std::from_chars(text.data(), end, number);
        return read.ec == std::errc{} && read.ptr == end && std::isfinite(number);
    } else {
        return false;
    }
    return std::isfinite(number);
}

/** The numbers of a list; empty when the property has none. */
std::span<const double> ListedReals(const Property& property) noexcept
{
    const PROPVARIANT& valid = property.valid.Get();
    if (!(property.access & WIA_PROP_LIST) || valid.vt != (VT_VECTOR | VT_R8) || !valid.cadbl.pElems)
        return {};
    return Listed(valid.cadbl);
}

bool IsInRealRange(const Property& property, double number) noexcept
{
    const PROPVARIANT& valid = property.valid.Get();
    if (!(property.access & WIA_PROP_RANGE) || valid.vt != (VT_VECTOR | VT_R8) || !valid.cadbl.pElems ||
        valid.cadbl.cElems < WIA_RANGE_NUM_ELEMS)
        return true;
    return number >= valid.cadbl.pElems[WIA_RANGE_MIN] && number <= valid.cadbl.pElems[WIA_RANGE_MAX];
}

/** Brings a whole number to the nearest listed one: clients see a list rounded. One beyond the list is refused. */
bool TakeNearestListed(std::span<const double> listed, double& number)
{
    const auto [least, greatest] = std::minmax_element(listed.begin(), listed.end());
    if (number < std::round(*least) || number > std::round(*greatest))
        return false;
    const auto distance = [number](double value) { return std::abs(value - number); };
    number = *std::min_element(listed.begin(), listed.end(),
                               [&](double a, double b) { return distance(a) < distance(b); });
    return true;
}

HRESULT AcceptReal(const Property& property, const PROPVARIANT& value, Value& accepted)
{
    double number = 0;
    int64_t integer = 0;
    if (!ToReal(value, number) || !IsInRealRange(property, number))
        return E_INVALIDARG;
    const std::span<const double> listed = ListedReals(property);
    const bool valid = listed.empty() || (IntegerOf(value, integer) ? TakeNearestListed(listed, number)
                                                                    : std::find(listed.begin(), listed.end(),
                                                                                number) != listed.end());
    if (!valid)
        return E_INVALIDARG;
    accepted = Value::Real(property.Type(), number);
    return S_OK;
}

HRESULT AcceptText(const Property& property, const PROPVARIANT& value, Value& accepted)
{
    WStringView text;
    if (value.vt == VT_BSTR && value.bstrVal)
        text = {value.bstrVal, SysStringLen(value.bstrVal)};
    else if (value.vt == VT_LPWSTR && value.pwszVal)
        text = value.pwszVal;
    else if (value.vt != VT_BSTR)
        return E_INVALIDARG;
    if (!IsListedText(property, text))
        return E_INVALIDARG;
    accepted = Value::Text(text);
    return S_OK;
}

HRESULT AcceptGuid(const Property& property, const PROPVARIANT& value, Value& accepted)
{
    if (value.vt != VT_CLSID || !value.puuid || !IsListedGuid(property, *value.puuid))
        return E_INVALIDARG;
    accepted = Value::Guid(*value.puuid);
    return S_OK;
}

/** A vector that says it has elements, and has none to show. */
bool IsBrokenVector(const PROPVARIANT& value) noexcept
{
    return (value.vt & VT_VECTOR) && value.caub.cElems > 0 && !value.caub.pElems;
}

}  // namespace

HRESULT AcceptValue(const Property& property, const PROPVARIANT& value, Value& accepted)
{
    IntegerLimits limits{};
    if (LimitsOf(property.Type(), limits))
        return AcceptInteger(property, limits, value, accepted);
    if (property.Type() == VT_BSTR)
        return AcceptText(property, value, accepted);
    if (property.Type() == VT_R8)
        return AcceptReal(property, value, accepted);
    if (property.Type() == VT_CLSID)
        return AcceptGuid(property, value, accepted);
    if (value.vt != property.Type() || IsBrokenVector(value))
        return E_INVALIDARG;
    accepted = Value::Of(value);
    return S_OK;
}

}  // namespace vorn::wia
