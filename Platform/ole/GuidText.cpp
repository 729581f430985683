#include "ole.h"

namespace {

// Where the digits of each byte of a GUID stand in its text, in the order of memory: the first three fields
// are numbers, and lie with their low byte first.
constexpr BYTE kDigitsOfByte[16] = {7, 5, 3, 1, 12, 10, 17, 15, 20, 22, 25, 27, 29, 31, 33, 35};
constexpr OLECHAR kShape[] = u"{00000000-0000-0000-0000-000000000000}";
constexpr INT kLength = 38;

static_assert(sizeof(kShape) / sizeof(kShape[0]) == kLength + 1);

int DigitValue(OLECHAR digit) noexcept
{
    if (digit >= u'0' && digit <= u'9')
        return digit - u'0';
    if (digit >= u'A' && digit <= u'F')
        return digit - u'A' + 10;
    if (digit >= u'a' && digit <= u'f')
        return digit - u'a' + 10;
    return -1;
}

/** True for a text of just the right length with its marks and digits in place. */
bool HasGuidShape(LPCOLESTR text) noexcept
{
    for (INT i = 0; i < kLength; ++i) {
        if (kShape[i] == u'0' ? DigitValue(text[i]) < 0 : text[i] != kShape[i])
            return false;
    }
    return text[kLength] == 0;
}

}  // namespace

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) noexcept
{
    if (!clsid)
        return E_INVALIDARG;
    *clsid = GUID{};
    if (!text)
        return S_OK;
    if (!HasGuidShape(text))
        return CO_E_CLASSSTRING;
    BYTE bytes[sizeof(GUID)];
    for (size_t i = 0; i < sizeof(GUID); ++i) {
        const OLECHAR* digits = text + kDigitsOfByte[i];
        bytes[i] = static_cast<BYTE>(DigitValue(digits[0]) << 4 | DigitValue(digits[1]));
    }
    std::memcpy(clsid, bytes, sizeof(GUID));
    return S_OK;
}

HRESULT IIDFromString(LPCOLESTR text, IID* iid) noexcept
{
    const HRESULT result = CLSIDFromString(text, iid);
    return result == CO_E_CLASSSTRING ? E_INVALIDARG : result;
}

INT StringFromGUID2(REFGUID guid, LPOLESTR buffer, INT capacity) noexcept
{
    if (!buffer || capacity <= kLength)
        return 0;
    std::memcpy(buffer, kShape, sizeof(kShape));
    BYTE bytes[sizeof(GUID)];
    std::memcpy(bytes, &guid, sizeof(GUID));
    for (size_t i = 0; i < sizeof(GUID); ++i) {
        OLECHAR* digits = buffer + kDigitsOfByte[i];
        digits[0] = u"0123456789ABCDEF"[bytes[i] >> 4];
        digits[1] = u"0123456789ABCDEF"[bytes[i] & 15];
    }
    return kLength + 1;
}
