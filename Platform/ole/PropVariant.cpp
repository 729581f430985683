#include "propvariant.h"

#include <array>
#include <iterator>
#include <string_view>

#include "ole.h"

namespace {

/** What a value, or an element of a vector of them, owns. */
enum class Owns {
    Nothing,
    TaskBlock,
    Text,
    WideText,
    AutomationText,
    Reference,
    Blob,
    Clip,
    Versioned,
    Variant
};

struct TypeRow {
    VARTYPE type;
    Owns owns;
    BYTE elementSize;  // in a vector; 0: no vectors of this type
    bool scalar = true;
};

constexpr TypeRow kTypes[] = {
    {VT_EMPTY, Owns::Nothing, 0},
    {VT_NULL, Owns::Nothing, 0},
    {VT_I1, Owns::Nothing, 1},
    {VT_UI1, Owns::Nothing, 1},
    {VT_I2, Owns::Nothing, 2},
    {VT_UI2, Owns::Nothing, 2},
    {VT_BOOL, Owns::Nothing, sizeof(VARIANT_BOOL)},
    {VT_I4, Owns::Nothing, 4},
    {VT_UI4, Owns::Nothing, 4},
    {VT_R4, Owns::Nothing, 4},
    {VT_ERROR, Owns::Nothing, sizeof(SCODE)},
    {VT_INT, Owns::Nothing, 4},
    {VT_UINT, Owns::Nothing, 4},
    {VT_I8, Owns::Nothing, 8},
    {VT_UI8, Owns::Nothing, 8},
    {VT_R8, Owns::Nothing, 8},
    {VT_CY, Owns::Nothing, sizeof(CY)},
    {VT_DATE, Owns::Nothing, sizeof(DATE)},
    {VT_FILETIME, Owns::Nothing, sizeof(FILETIME)},
    {VT_DECIMAL, Owns::Nothing, 0},
    {VT_CLSID, Owns::TaskBlock, sizeof(CLSID)},
    {VT_LPSTR, Owns::Text, sizeof(LPSTR)},
    {VT_LPWSTR, Owns::WideText, sizeof(LPWSTR)},
    {VT_BSTR, Owns::AutomationText, sizeof(BSTR)},
    {VT_BLOB, Owns::Blob, 0},
    {VT_BLOB_OBJECT, Owns::Blob, 0},
    {VT_CF, Owns::Clip, sizeof(CLIPDATA)},
    {VT_UNKNOWN, Owns::Reference, 0},
    {VT_DISPATCH, Owns::Reference, 0},
    {VT_STREAM, Owns::Reference, 0},
    {VT_STREAMED_OBJECT, Owns::Reference, 0},
    {VT_STORAGE, Owns::Reference, 0},
    {VT_STORED_OBJECT, Owns::Reference, 0},
    {VT_VERSIONED_STREAM, Owns::Versioned, 0},
    {VT_VARIANT, Owns::Variant, sizeof(PROPVARIANT), false},
};

constexpr int kNoRow = -1;

/** The place of each type in the table above. */
constexpr auto kRowOf = [] {
    std::array<signed char, VT_VERSIONED_STREAM + 1> rows{};
    rows.fill(kNoRow);
    for (size_t i = 0; i < std::size(kTypes); ++i)
        rows[kTypes[i].type] = static_cast<signed char>(i);
    return rows;
}();

/** The row of the type without its vector or reference bit; null when no PROPVARIANT can have the type. */
const TypeRow* FindType(VARTYPE type) noexcept
{
    const unsigned plain = type & VT_TYPEMASK;
    if (plain >= kRowOf.size() || kRowOf[plain] == kNoRow)
        return nullptr;
    const TypeRow& row = kTypes[kRowOf[plain]];
    switch (type & ~VT_TYPEMASK) {
        case 0:
            return row.scalar ? &row : nullptr;
        case VT_VECTOR:
            return row.elementSize ? &row : nullptr;
        case VT_BYREF:
            return &row;
        default:
            return nullptr;
    }
}

/** The bytes of the data behind a CLIPDATA, whose size counts its format too. */
ULONG ClipBytes(const CLIPDATA& clip) noexcept
{
    return clip.cbSize > sizeof(clip.ulClipFmt) ? clip.cbSize - static_cast<ULONG>(sizeof(clip.ulClipFmt))
                                                : 0;
}

void* CopyBlock(const void* block, size_t size) noexcept
{
    void* copy = CoTaskMemAlloc(size);
    if (copy && size > 0)
        std::memcpy(copy, block, size);
    return copy;
}

template <typename Character>
Character* CopyText(const Character* text) noexcept
{
    const size_t length = std::basic_string_view<Character>{text}.size();
    return static_cast<Character*>(CopyBlock(text, (length + 1) * sizeof(Character)));
}

/** Replaces a pointer by one to a copy of what it points to. A null one stays; without memory it becomes
 * null. */
template <typename Pointer, typename Copier>
bool Deepen(Pointer& pointer, Copier copier) noexcept
{
    if (!pointer)
        return true;
    pointer = static_cast<Pointer>(copier(pointer));
    return pointer != nullptr;
}

bool DeepenClip(CLIPDATA& clip) noexcept
{
    return Deepen(clip.pClipData, [&](const void* data) { return CopyBlock(data, ClipBytes(clip)); });
}

// ---- Vectors. All counted arrays have the layout of a CAUB. --------------------------------------------

template <typename Element>
Element* Elements(const CAUB& vector) noexcept
{
    return reinterpret_cast<Element*>(vector.pElems);
}

void FreeElement(const CAUB& vector, Owns owns, ULONG index) noexcept
{
    switch (owns) {
        case Owns::Text:
        case Owns::WideText:
            return CoTaskMemFree(Elements<void*>(vector)[index]);
        case Owns::AutomationText:
            return SysFreeString(Elements<BSTR>(vector)[index]);
        case Owns::Clip:
            return CoTaskMemFree(Elements<CLIPDATA>(vector)[index].pClipData);
        case Owns::Variant:
            PropVariantClear(&Elements<PROPVARIANT>(vector)[index]);
            return;
        default:
            return;
    }
}

void FreeVector(const CAUB& vector, const TypeRow& row) noexcept
{
    if (!vector.pElems)
        return;
    for (ULONG i = 0; row.owns != Owns::Nothing && i < vector.cElems; ++i)
        FreeElement(vector, row.owns, i);
    CoTaskMemFree(vector.pElems);
}

/** Copies what the copied element still shares with its source. */
bool DeepenElement(const CAUB& vector, Owns owns, ULONG index) noexcept
{
    switch (owns) {
        case Owns::Text:
            return Deepen(Elements<LPSTR>(vector)[index], CopyText<CHAR>);
        case Owns::WideText:
            return Deepen(Elements<LPWSTR>(vector)[index], CopyText<WCHAR>);
        case Owns::AutomationText:
            return Deepen(Elements<BSTR>(vector)[index],
                          [](BSTR text) { return SysAllocStringLen(text, SysStringLen(text)); });
        case Owns::Clip:
            return DeepenClip(Elements<CLIPDATA>(vector)[index]);
        case Owns::Variant: {
            PROPVARIANT copy;
            const HRESULT result = PropVariantCopy(&copy, &Elements<PROPVARIANT>(vector)[index]);
            Elements<PROPVARIANT>(vector)[index] = copy;
            return SUCCEEDED(result);
        }
        default:
            return true;
    }
}

/** A failure leaves `vector` holding only the elements that were copied. */
bool DeepenVector(CAUB& vector, const TypeRow& row) noexcept
{
    const ULONG count = vector.pElems ? vector.cElems : 0;
    vector.cElems = 0;
    if (!Deepen(vector.pElems,
                [&](const void* data) { return CopyBlock(data, size_t{count} * row.elementSize); }))
        return false;
    while (row.owns != Owns::Nothing && vector.cElems < count) {
        if (!DeepenElement(vector, row.owns, vector.cElems))
            return false;
        ++vector.cElems;
    }
    vector.cElems = count;
    return true;
}

// ---- Single values -------------------------------------------------------------------------------------

void Release(IUnknown* object) noexcept
{
    if (object)
        object->Release();
}

void AddRef(IUnknown* object) noexcept
{
    if (object)
        object->AddRef();
}

void FreeScalar(const PROPVARIANT& value, Owns owns) noexcept
{
    switch (owns) {
        case Owns::TaskBlock:
        case Owns::Text:
        case Owns::WideText:
            return CoTaskMemFree(value.pszVal);
        case Owns::AutomationText:
            return SysFreeString(value.bstrVal);
        case Owns::Reference:
            return Release(value.punkVal);
        case Owns::Blob:
            return CoTaskMemFree(value.blob.pBlobData);
        case Owns::Clip:
            if (value.pclipdata)
                CoTaskMemFree(value.pclipdata->pClipData);
            return CoTaskMemFree(value.pclipdata);
        case Owns::Versioned:
            if (value.pVersionedStream)
                Release(value.pVersionedStream->pStream);
            return CoTaskMemFree(value.pVersionedStream);
        case Owns::Nothing:
        case Owns::Variant:
            return;
    }
}

/** A failure leaves nothing that has to be freed. */
bool DeepenScalar(PROPVARIANT& value, Owns owns) noexcept
{
    switch (owns) {
        case Owns::TaskBlock:
            return Deepen(value.puuid, [](const void* id) { return CopyBlock(id, sizeof(CLSID)); });
        case Owns::Text:
            return Deepen(value.pszVal, CopyText<CHAR>);
        case Owns::WideText:
            return Deepen(value.pwszVal, CopyText<WCHAR>);
        case Owns::AutomationText:
            return Deepen(value.bstrVal,
                          [](BSTR text) { return SysAllocStringLen(text, SysStringLen(text)); });
        case Owns::Reference:
            AddRef(value.punkVal);
            return true;
        case Owns::Blob:
            return Deepen(value.blob.pBlobData,
                          [&](const void* data) { return CopyBlock(data, value.blob.cbSize); });
        case Owns::Clip:
            if (!Deepen(value.pclipdata, [](const void* clip) { return CopyBlock(clip, sizeof(CLIPDATA)); }))
                return false;
            if (!value.pclipdata || DeepenClip(*value.pclipdata))
                return true;
            CoTaskMemFree(value.pclipdata);
            return false;
        case Owns::Versioned:
            if (!Deepen(value.pVersionedStream,
                        [](const void* stream) { return CopyBlock(stream, sizeof(VERSIONEDSTREAM)); }))
                return false;
            if (value.pVersionedStream)
                AddRef(value.pVersionedStream->pStream);
            return true;
        case Owns::Nothing:
        case Owns::Variant:
            return true;
    }
    return true;
}

}  // namespace

HRESULT PropVariantClear(PROPVARIANT* value) noexcept
{
    if (!value)
        return S_OK;
    const TypeRow* row = FindType(value->vt);
    if (row && value->vt & VT_VECTOR)
        FreeVector(value->caub, *row);
    else if (row && !(value->vt & VT_BYREF))
        FreeScalar(*value, row->owns);
    PropVariantInit(value);
    return row ? S_OK : STG_E_INVALIDPARAMETER;
}

HRESULT PropVariantCopy(PROPVARIANT* destination, const PROPVARIANT* source) noexcept
{
    if (!destination || !source)
        return E_INVALIDARG;
    const TypeRow* row = FindType(source->vt);
    if (!row) {
        PropVariantInit(destination);
        return STG_E_INVALIDPARAMETER;
    }
    *destination = *source;
    if (source->vt & VT_BYREF)
        return S_OK;
    if (source->vt & VT_VECTOR) {
        if (DeepenVector(destination->caub, *row))
            return S_OK;
        FreeVector(destination->caub, *row);
    } else if (DeepenScalar(*destination, row->owns)) {
        return S_OK;
    }
    PropVariantInit(destination);
    return E_OUTOFMEMORY;
}

HRESULT FreePropVariantArray(ULONG count, PROPVARIANT* values) noexcept
{
    if (!values)
        return count == 0 ? S_OK : E_INVALIDARG;
    HRESULT result = S_OK;
    for (ULONG i = 0; i < count; ++i) {
        if (const HRESULT cleared = PropVariantClear(&values[i]); FAILED(cleared))
            result = cleared;
    }
    return result;
}
