#include "Value.h"

#include <cstring>
#include <new>
#include <utility>

namespace vorn::wia {

namespace {

/** A block of task memory that holds a copy of the elements; null for none. */
template <typename Element>
Element* CopyElements(const Element* elements, size_t count)
{
    if (count == 0)
        return nullptr;
    auto* block = static_cast<Element*>(CoTaskMemAlloc(count * sizeof(Element)));
    if (!block)
        throw std::bad_alloc{};
    std::memcpy(block, elements, count * sizeof(Element));
    return block;
}

BSTR CopyText(WStringView text)
{
    BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!copy)
        throw std::bad_alloc{};
    return copy;
}

PROPVARIANT Typed(VARTYPE type) noexcept
{
    PROPVARIANT variant{};
    variant.vt = type;
    return variant;
}

}  // namespace

Value::Value(const Value& other) : variant_{}
{
    if (FAILED(PropVariantCopy(&variant_, &other.variant_)))
        throw std::bad_alloc{};
}

Value::Value(Value&& other) noexcept : variant_{std::exchange(other.variant_, PROPVARIANT{})} {}

Value& Value::operator=(Value other) noexcept
{
    std::swap(variant_, other.variant_);
    return *this;
}

Value::~Value()
{
    PropVariantClear(&variant_);
}

Value Value::Of(const PROPVARIANT& variant)
{
    Value value;
    if (FAILED(PropVariantCopy(&value.variant_, &variant)))
        throw std::bad_alloc{};
    return value;
}

Value Value::Adopt(const PROPVARIANT& variant) noexcept
{
    Value value;
    value.variant_ = variant;
    return value;
}

Value Value::I4(LONG number) noexcept
{
    return Integer(VT_I4, number);
}

Value Value::Integer(VARTYPE type, int64_t number) noexcept
{
    PROPVARIANT variant = Typed(type);
    switch (type) {
        case VT_I1:
        case VT_UI1:
            variant.bVal = static_cast<UCHAR>(number);
            break;
        case VT_I2:
        case VT_UI2:
            variant.uiVal = static_cast<USHORT>(number);
            break;
        case VT_BOOL:
            variant.boolVal = number ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case VT_I8:
        case VT_UI8:
            variant.hVal.QuadPart = number;
            break;
        default:
            variant.lVal = static_cast<LONG>(number);
            break;
    }
    return Adopt(variant);
}

Value Value::Real(VARTYPE type, double number) noexcept
{
    PROPVARIANT variant = Typed(type);
    if (type == VT_R4)
        variant.fltVal = static_cast<FLOAT>(number);
    else
        variant.dblVal = number;
    return Adopt(variant);
}

Value Value::Text(WStringView text)
{
    PROPVARIANT variant = Typed(VT_BSTR);
    variant.bstrVal = CopyText(text);
    return Adopt(variant);
}

Value Value::Guid(REFGUID guid)
{
    PROPVARIANT variant = Typed(VT_CLSID);
    variant.puuid = CopyElements(&guid, 1);
    return Adopt(variant);
}

Value Value::Bytes(const std::vector<uint8_t>& values)
{
    PROPVARIANT variant = Typed(VT_VECTOR | VT_UI1);
    variant.caub.cElems = static_cast<ULONG>(values.size());
    variant.caub.pElems = CopyElements(values.data(), values.size());
    return Adopt(variant);
}

Value Value::Words(const std::vector<uint16_t>& values)
{
    PROPVARIANT variant = Typed(VT_VECTOR | VT_UI2);
    variant.caui.cElems = static_cast<ULONG>(values.size());
    variant.caui.pElems = CopyElements(values.data(), values.size());
    return Adopt(variant);
}

Value Value::Longs(const std::vector<LONG>& values)
{
    PROPVARIANT variant = Typed(VT_VECTOR | VT_I4);
    variant.cal.cElems = static_cast<ULONG>(values.size());
    variant.cal.pElems = CopyElements(values.data(), values.size());
    return Adopt(variant);
}

Value Value::Reals(const std::vector<double>& values)
{
    PROPVARIANT variant = Typed(VT_VECTOR | VT_R8);
    variant.cadbl.cElems = static_cast<ULONG>(values.size());
    variant.cadbl.pElems = CopyElements(values.data(), values.size());
    return Adopt(variant);
}

Value Value::Guids(const std::vector<GUID>& values)
{
    PROPVARIANT variant = Typed(VT_VECTOR | VT_CLSID);
    variant.cauuid.cElems = static_cast<ULONG>(values.size());
    variant.cauuid.pElems = CopyElements(values.data(), values.size());
    return Adopt(variant);
}

Value Value::Texts(const std::vector<WString>& values)
{
    // The elements start as nulls, so that a copy that fails half way is freed like a whole one.
    const std::vector<BSTR> nulls(values.size(), nullptr);
    PROPVARIANT variant = Typed(VT_VECTOR | VT_BSTR);
    variant.cabstr.cElems = static_cast<ULONG>(values.size());
    variant.cabstr.pElems = CopyElements(nulls.data(), nulls.size());
    Value value = Adopt(variant);
    for (size_t i = 0; i < values.size(); ++i)
        value.variant_.cabstr.pElems[i] = CopyText(values[i]);
    return value;
}

bool IntegerOf(const PROPVARIANT& variant, int64_t& number) noexcept
{
    switch (variant.vt) {
        case VT_I1:
            number = static_cast<signed char>(variant.bVal);
            return true;
        case VT_UI1:
            number = variant.bVal;
            return true;
        case VT_I2:
        case VT_BOOL:
            number = variant.iVal;
            return true;
        case VT_UI2:
            number = variant.uiVal;
            return true;
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
            number = variant.lVal;
            return true;
        case VT_UI4:
        case VT_UINT:
            number = variant.ulVal;
            return true;
        case VT_I8:
        case VT_UI8:
            number = variant.hVal.QuadPart;
            return true;
        default:
            return false;
    }
}

bool Value::ToInteger(int64_t& number) const noexcept
{
    return IntegerOf(variant_, number);
}

LONG Value::Long(LONG fallback) const noexcept
{
    int64_t number = 0;
    return ToInteger(number) ? static_cast<LONG>(number) : fallback;
}

WStringView Value::ToText() const noexcept
{
    if (variant_.vt == VT_BSTR && variant_.bstrVal)
        return {variant_.bstrVal, SysStringLen(variant_.bstrVal)};
    if (variant_.vt == VT_LPWSTR && variant_.pwszVal)
        return variant_.pwszVal;
    return {};
}

GUID Value::ToGuid() const noexcept
{
    return variant_.vt == VT_CLSID && variant_.puuid ? *variant_.puuid : GUID{};
}

}  // namespace vorn::wia
