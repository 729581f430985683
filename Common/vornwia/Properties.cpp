/** Single properties: one value of one item, read or written by type. */
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "Internal.h"

namespace vorn {
namespace {

/** Adds a half and truncates; what does not fit 32 bits becomes their least value, as the processor has it.
 */
int32_t TruncateHalfUp(double value)
{
    const double truncated = std::trunc(value + 0.5);
    if (!(truncated >= INT32_MIN && truncated <= INT32_MAX))
        return INT32_MIN;
    return static_cast<int32_t>(truncated);
}

HRESULT ConvertToLong(const PROPVARIANT& read, int32_t* value)
{
    switch (read.vt) {
        case VT_I1:
            *value = static_cast<int8_t>(read.bVal);
            return S_OK;
        case VT_UI1:
            *value = read.bVal;
            return S_OK;
        case VT_I2:
            *value = read.iVal;
            return S_OK;
        case VT_UI2:
            *value = read.uiVal;
            return S_OK;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
            *value = read.lVal;
            return S_OK;
        case VT_R4:
            *value = TruncateHalfUp(read.fltVal);
            return S_OK;
        case VT_R8:
            *value = TruncateHalfUp(read.dblVal);
            return S_OK;
        default:
            return S_FALSE;
    }
}

/** Reads one value of a storage; 1 means that the item has no such property. */
HRESULT ReadValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, PropVariant& value)
{
    return storage->ReadMultiple(1, &propSpec, &value);
}

HRESULT ReadLongValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, int32_t* value)
{
    PropVariant read;
    const HRESULT result = ReadValue(storage, propSpec, read);
    return result == S_OK ? ConvertToLong(read, value) : result;
}

HRESULT ReadGuidValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, GUID* value)
{
    PropVariant read;
    const HRESULT result = ReadValue(storage, propSpec, read);
    if (result != S_OK)
        return result;
    if (read.vt == VT_CLSID && read.puuid) {
        *value = *read.puuid;
        return S_OK;
    }
    if (read.vt == VT_BSTR && read.bstrVal)
        return CLSIDFromString(read.bstrVal, value);
    return S_FALSE;
}

HRESULT ReadTimeValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, SYSTEMTIME* value)
{
    PropVariant read;
    const HRESULT result = ReadValue(storage, propSpec, read);
    if (result != S_OK)
        return result;
    constexpr ULONG fields = sizeof(SYSTEMTIME) / sizeof(uint16_t);
    if (read.vt != (VT_VECTOR | VT_UI2) || read.caui.cElems < fields || !read.caui.pElems)
        return S_FALSE;
    KrnMemCopy(value, read.caui.pElems, sizeof(SYSTEMTIME));
    return S_OK;
}

/**
 * The size protocol of texts and bytes: a null buffer asks for the size, a small one is told it and left
 * alone, a sufficient one is cleared over its whole capacity and filled.
 */
template <typename Unit>
HRESULT DeliverCounted(const Unit* source, uint64_t needed, Unit* buffer, uint64_t* size)
{
    if (!buffer) {
        *size = needed;
        return S_OK;
    }
    if (*size < needed) {
        *size = needed;
        return ERR_BUFFER_TOO_SMALL;
    }
    KrnMemSet(buffer, 0, *size * sizeof(Unit));
    KrnMemCopy(buffer, source, needed * sizeof(Unit));
    return S_OK;
}

/** A number as the shortest decimal that is read back as the same number: at most 24 characters. */
template <typename Number>
HRESULT DeliverDecimal(Number number, WCHAR* buffer, uint64_t* size)
{
    char digits[32];
    WCHAR text[std::size(digits)] = {};
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    std::copy(digits, end, text);
    return DeliverCounted(text, static_cast<uint64_t>(end - digits) + 1, buffer, size);
}

HRESULT ReadStringValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, WCHAR* buffer, uint64_t* size)
{
    PropVariant read;
    const HRESULT result = ReadValue(storage, propSpec, read);
    if (result != S_OK)
        return result;
    if (read.vt == VT_R4)
        return DeliverDecimal(read.fltVal, buffer, size);
    if (read.vt == VT_R8)
        return DeliverDecimal(read.dblVal, buffer, size);
    if (read.vt != VT_BSTR && read.vt != VT_LPWSTR)
        return S_FALSE;
    const WCHAR* text = read.vt == VT_BSTR ? read.bstrVal : read.pwszVal;
    const uint64_t length = TextLength(text);
    return length ? DeliverCounted(text, length + 1, buffer, size) : S_OK;
}

HRESULT ReadBufferValue(IWiaPropertyStorage* storage, const PROPSPEC& propSpec, uint8_t* buffer,
                        uint64_t* size)
{
    PropVariant read;
    const HRESULT result = ReadValue(storage, propSpec, read);
    if (result != S_OK)
        return result;
    if (read.vt != (VT_VECTOR | VT_UI1))
        return S_FALSE;
    const uint8_t* bytes = read.caub.pElems;
    return read.caub.cElems && bytes ? DeliverCounted(bytes, read.caub.cElems, buffer, size) : S_OK;
}

/** Which property of which item an operation means. */
struct PropertyAddress {
    WiaSession* session;
    WiaItemHandle item;
    const WCHAR* name;
    uint32_t id;
};

/** The frame of the ten operations: checks, storage, address, access, status. */
template <typename Access>
int32_t AccessProperty(const PropertyAddress& address, Access access)
{
    if (!address.session || !address.item)
        return ERR_INVALID_ARGUMENT;
    const PropertyStorageRef storage{address.item};
    if (!storage)
        return ERR_WIA_UNEXPECTED;
    return StatusOf(access(storage.Get(), SpecifyProperty(address.name, address.id)));
}

/** Runs one of the readers above. */
template <typename Reader, typename... Values>
int32_t ReadProperty(const PropertyAddress& address, Reader reader, Values*... values)
{
    return AccessProperty(address, [&](IWiaPropertyStorage* storage, const PROPSPEC& propSpec) {
        return reader(storage, propSpec, values...);
    });
}

/** Writes a value that the caller built and releases. */
int32_t WriteProperty(const PropertyAddress& address, const PROPVARIANT& value)
{
    return AccessProperty(address, [&](IWiaPropertyStorage* storage, const PROPSPEC& propSpec) {
        return storage->WriteMultiple(1, &propSpec, &value, WIA_IPA_FIRST);
    });
}

}  // namespace

PROPSPEC SpecifyProperty(const WCHAR* name, uint32_t id) noexcept
{
    PROPSPEC propSpec{};
    if (name) {
        propSpec.ulKind = PRSPEC_LPWSTR;
        propSpec.lpwstr = const_cast<WCHAR*>(name);
    } else {
        propSpec.ulKind = PRSPEC_PROPID;
        propSpec.propid = id;
    }
    return propSpec;
}

HRESULT ReadLongProperty(IWiaPropertyStorage* storage, uint32_t id, int32_t* value) noexcept
{
    return ReadLongValue(storage, SpecifyProperty(nullptr, id), value);
}

}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaGetPropertyLong(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                int32_t* value)
{
    if (!value)
        return ERR_INVALID_ARGUMENT;
    return ReadProperty({session, item, name, id}, ReadLongValue, value);
}

int32_t Vorn_WiaSetPropertyLong(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                int32_t value)
{
    PROPVARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = value;
    return WriteProperty({session, item, name, id}, variant);
}

int32_t Vorn_WiaGetPropertyGUID(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                GUID* value)
{
    if (!value)
        return ERR_INVALID_ARGUMENT;
    return ReadProperty({session, item, name, id}, ReadGuidValue, value);
}

int32_t Vorn_WiaSetPropertyGUID(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                const GUID* value)
{
    if (!session || !item || !value)
        return ERR_INVALID_ARGUMENT;
    PropVariant variant;
    variant.puuid = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (!variant.puuid)
        return ERR_OUT_OF_MEMORY;
    variant.vt = VT_CLSID;
    *variant.puuid = *value;
    return WriteProperty({session, item, name, id}, variant);
}

int32_t Vorn_WiaGetPropertyString(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                  WCHAR* buffer, uint64_t* size)
{
    if (!size)
        return ERR_INVALID_ARGUMENT;
    return ReadProperty({session, item, name, id}, ReadStringValue, buffer, size);
}

int32_t Vorn_WiaSetPropertyString(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                  const WCHAR* value)
{
    if (!session || !item || !value)
        return ERR_INVALID_ARGUMENT;
    PropVariant variant;
    variant.bstrVal = SysAllocString(value);
    if (!variant.bstrVal)
        return ERR_OUT_OF_MEMORY;
    variant.vt = VT_BSTR;
    return WriteProperty({session, item, name, id}, variant);
}

int32_t Vorn_WiaGetPropertySystemTime(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                      SYSTEMTIME* value)
{
    if (!value)
        return ERR_INVALID_ARGUMENT;
    return ReadProperty({session, item, name, id}, ReadTimeValue, value);
}

int32_t Vorn_WiaSetPropertySystemTime(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                      const SYSTEMTIME* value)
{
    if (!session || !item || !value)
        return ERR_INVALID_ARGUMENT;
    auto* copy = static_cast<USHORT*>(KrnAlloc(1, sizeof(SYSTEMTIME), VORN_HERE));
    if (!copy)
        return ERR_OUT_OF_MEMORY;
    KrnMemCopy(copy, value, sizeof(SYSTEMTIME));
    PROPVARIANT variant{};
    variant.vt = VT_VECTOR | VT_UI2;
    variant.caui.cElems = sizeof(SYSTEMTIME) / sizeof(USHORT);
    variant.caui.pElems = copy;
    const int32_t status = WriteProperty({session, item, name, id}, variant);
    KrnFree(copy, VORN_HERE);
    return status;
}

int32_t Vorn_WiaGetPropertyBuffer(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                  uint8_t* buffer, uint64_t* size)
{
    if (!size)
        return ERR_INVALID_ARGUMENT;
    return ReadProperty({session, item, name, id}, ReadBufferValue, buffer, size);
}

int32_t Vorn_WiaSetPropertyBuffer(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id,
                                  const uint8_t* buffer, uint32_t size)
{
    if (!buffer)
        return ERR_INVALID_ARGUMENT;
    PROPVARIANT variant{};
    variant.vt = VT_VECTOR | VT_UI1;
    variant.caub.cElems = size;
    variant.caub.pElems = const_cast<uint8_t*>(buffer);
    return WriteProperty({session, item, name, id}, variant);
}
