/**
 * @file Value.h
 * A property's value: a PROPVARIANT that owns and copies what it holds.
 */
#pragma once

#include <cstdint>
#include <vector>

#include "../Export.h"
#include "com.h"

namespace vorn::wia {

class VORN_WIA_API Value {
public:
    /** Empty: `VT_EMPTY`. */
    Value() noexcept : variant_{} {}
    /** Copies deeply; throws `std::bad_alloc`. */
    Value(const Value& other);
    Value(Value&& other) noexcept;
    Value& operator=(Value other) noexcept;
    ~Value();

    /** A deep copy of a well-formed PROPVARIANT of any type. */
    static Value Of(const PROPVARIANT& variant);
    /** Takes the variant over as it is, without looking at it. */
    static Value Adopt(const PROPVARIANT& variant) noexcept;

    static Value I4(LONG value) noexcept;
    /** Any integer type: VT_I1 to VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT, VT_BOOL, VT_ERROR. */
    static Value Integer(VARTYPE type, int64_t value) noexcept;
    static Value Real(VARTYPE type, double value) noexcept;
    static Value Text(WStringView text);
    static Value Guid(REFGUID guid);

    static Value Bytes(const std::vector<uint8_t>& values);
    static Value Words(const std::vector<uint16_t>& values);
    static Value Longs(const std::vector<LONG>& values);
    static Value Reals(const std::vector<double>& values);
    static Value Guids(const std::vector<GUID>& values);
    static Value Texts(const std::vector<WString>& values);

    const PROPVARIANT& Get() const noexcept { return variant_; }
    VARTYPE Type() const noexcept { return variant_.vt; }

    /** Copies deeply into `out`, which is overwritten. */
    HRESULT CopyTo(PROPVARIANT* out) const noexcept { return PropVariantCopy(out, &variant_); }

    /** True when the value is an integer, which is then stored in `number`. */
    bool ToInteger(int64_t& number) const noexcept;
    LONG Long(LONG fallback = 0) const noexcept;
    /** The text of a VT_BSTR or VT_LPWSTR; empty for another type. */
    WStringView ToText() const noexcept;
    /** The identifier of a VT_CLSID; all zero for another type. */
    GUID ToGuid() const noexcept;

private:
    PROPVARIANT variant_;
};

/** The integer that a PROPVARIANT holds, whatever its width; false for another type. */
VORN_WIA_API bool IntegerOf(const PROPVARIANT& variant, int64_t& number) noexcept;

}  // namespace vorn::wia
