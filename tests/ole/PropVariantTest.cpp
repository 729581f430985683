#include <functional>
#include <new>

#include "OleTest.h"

namespace vorn::test {
namespace {

template <typename Element>
Element* Task(std::initializer_list<Element> elements)
{
    auto* block = static_cast<Element*>(CoTaskMemAlloc(sizeof(Element) * elements.size()));
    std::copy(elements.begin(), elements.end(), block);
    return block;
}

LPSTR Narrow()
{
    return Task<CHAR>({'a', 'b', 0});
}

LPWSTR Wide()
{
    return Task<WCHAR>({u'a', u'b', 0});
}

struct Case {
    const char* name;
    int type;
    std::function<void(PROPVARIANT&)> fill;  // gives the value something to own
};

CLIPDATA Clip()
{
    return {6, -1, Task<BYTE>({1, 2})};
}

void FillVariants(PROPVARIANT& v)
{
    PROPVARIANT inner[3] = {};
    inner[0].vt = VT_BSTR;
    inner[0].bstrVal = SysAllocString(u"inner");
    inner[1].vt = VT_UNKNOWN;
    inner[1].punkVal = new Nothing;
    inner[2].vt = VT_VECTOR | VT_LPWSTR;
    inner[2].calpwstr = {1, Task({Wide()})};
    v.capropvar = {3, Task({inner[0], inner[1], inner[2]})};
}

const Case kOwningTypes[] = {
    {"string", VT_LPSTR, [](PROPVARIANT& v) { v.pszVal = Narrow(); }},
    {"wide string", VT_LPWSTR, [](PROPVARIANT& v) { v.pwszVal = Wide(); }},
    {"automation string", VT_BSTR, [](PROPVARIANT& v) { v.bstrVal = SysAllocStringLen(u"a\0b", 3); }},
    {"class id", VT_CLSID, [](PROPVARIANT& v) { v.puuid = Task({IID_IStream}); }},
    {"blob", VT_BLOB,
     [](PROPVARIANT& v) {
         v.blob = {3, Task<BYTE>({1, 2, 3})};
     }},
    {"clipboard data", VT_CF, [](PROPVARIANT& v) { v.pclipdata = Task({Clip()}); }},
    {"object", VT_UNKNOWN, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"dispatch object", VT_DISPATCH, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"stream", VT_STREAM, [](PROPVARIANT& v) { CreateStreamOnHGlobal(nullptr, TRUE, &v.pStream); }},
    {"streamed object", VT_STREAMED_OBJECT, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"storage", VT_STORAGE, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"versioned stream", VT_VERSIONED_STREAM,
     [](PROPVARIANT& v) {
         v.pVersionedStream = Task({VERSIONEDSTREAM{}});
         CreateStreamOnHGlobal(nullptr, TRUE, &v.pVersionedStream->pStream);
     }},
    {"bytes", VT_VECTOR | VT_UI1,
     [](PROPVARIANT& v) {
         v.caub = {3, Task<UCHAR>({1, 2, 3})};
     }},
    {"shorts", VT_VECTOR | VT_I2,
     [](PROPVARIANT& v) {
         v.cai = {2, Task<SHORT>({1, 2})};
     }},
    {"longs", VT_VECTOR | VT_I4,
     [](PROPVARIANT& v) {
         v.cal = {2, Task<LONG>({1, 2})};
     }},
    {"quads", VT_VECTOR | VT_UI8,
     [](PROPVARIANT& v) {
         v.cauh = {2, Task({Size(1), Size(2)})};
     }},
    {"floats", VT_VECTOR | VT_R4,
     [](PROPVARIANT& v) {
         v.caflt = {2, Task<FLOAT>({1, 2})};
     }},
    {"doubles", VT_VECTOR | VT_R8,
     [](PROPVARIANT& v) {
         v.cadbl = {2, Task<DOUBLE>({1, 2})};
     }},
    {"times", VT_VECTOR | VT_FILETIME,
     [](PROPVARIANT& v) {
         v.cafiletime = {1, Task({FILETIME{1, 2}})};
     }},
    {"class ids", VT_VECTOR | VT_CLSID,
     [](PROPVARIANT& v) {
         v.cauuid = {1, Task({IID_IStream})};
     }},
    {"strings", VT_VECTOR | VT_LPSTR,
     [](PROPVARIANT& v) {
         v.calpstr = {2, Task({Narrow(), Narrow()})};
     }},
    {"wide strings", VT_VECTOR | VT_LPWSTR,
     [](PROPVARIANT& v) {
         v.calpwstr = {2, Task({Wide(), LPWSTR{}})};
     }},
    {"automation strings", VT_VECTOR | VT_BSTR,
     [](PROPVARIANT& v) {
         v.cabstr = {2, Task({SysAllocString(u"a"), SysAllocString(u"b")})};
     }},
    {"clipboard datas", VT_VECTOR | VT_CF,
     [](PROPVARIANT& v) {
         v.caclipdata = {2, Task({Clip(), Clip()})};
     }},
    {"variants of several kinds", VT_VECTOR | VT_VARIANT, FillVariants},
};

class PropVariants : public OleTest {};

// What is freed twice or not at all shows under the address sanitizer, and for objects in the fixture too.
TEST_F(PropVariants, ClearReleasesAllAndACopyIsItsOwn)
{
    for (const Case& row : kOwningTypes) {
        SCOPED_TRACE(row.name);
        PROPVARIANT value{}, copy{};
        value.vt = static_cast<VARTYPE>(row.type);
        row.fill(value);
        EXPECT_EQ(PropVariantCopy(&copy, &value), S_OK);
        EXPECT_EQ(copy.vt, row.type);
        EXPECT_EQ(PropVariantClear(&value), S_OK);
        EXPECT_EQ(value.vt, VT_EMPTY);
        EXPECT_EQ(value.uhVal.QuadPart, 0u);
        EXPECT_EQ(PropVariantClear(&copy), S_OK) << "the copy shares something";
    }
}

TEST_F(PropVariants, NullPointersAreNothingToRelease)
{
    for (const Case& row : kOwningTypes) {
        SCOPED_TRACE(row.name);
        PROPVARIANT value{}, copy{};
        value.vt = static_cast<VARTYPE>(row.type);
        if (row.type & VT_VECTOR)
            value.caub.cElems = 1000;  // a count without elements
        EXPECT_EQ(PropVariantCopy(&copy, &value), S_OK);
        EXPECT_EQ(PropVariantClear(&copy), S_OK);
        EXPECT_EQ(PropVariantClear(&value), S_OK);
    }
}

TEST_F(PropVariants, CopyHasTheContent)
{
    PropVariant value, copy;
    value.vt = VT_VECTOR | VT_VARIANT;
    FillVariants(value);
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    value.Clear();
    ASSERT_EQ(copy.capropvar.cElems, 3u);
    EXPECT_EQ(WStringView{copy.capropvar.pElems[0].bstrVal}, u"inner");
    EXPECT_EQ(WStringView{copy.capropvar.pElems[2].calpwstr.pElems[0]}, u"ab");

    PropVariant text, textCopy;
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocStringLen(u"a\0b", 3);
    ASSERT_EQ(PropVariantCopy(&textCopy, &text), S_OK);
    EXPECT_EQ((WStringView{textCopy.bstrVal, SysStringLen(textCopy.bstrVal)}), (WStringView{u"a\0b", 3}));
}

struct Malformed {
    const char* fault;
    int type;
};

constexpr Malformed kMalformed[] = {
    {"a gap in the type numbers", 15},
    {"a type past all others", 0x500},
    {"vector of blobs", VT_VECTOR | VT_BLOB},
    {"vector of streams", VT_VECTOR | VT_STREAM},
    {"a single variant", VT_VARIANT},
    {"array, which nobody here can free", VT_ARRAY | VT_I4},
    {"vector by reference", VT_VECTOR | VT_BYREF | VT_I4},
    {"the illegal type", VT_ILLEGAL},
};

TEST_F(PropVariants, UnknownTypesAreForgottenWithAnError)
{
    for (const Malformed& row : kMalformed) {
        SCOPED_TRACE(row.fault);
        PROPVARIANT value{}, copy{};
        value.vt = static_cast<VARTYPE>(row.type);
        value.blob = {7, reinterpret_cast<BYTE*>(1)};  // freeing it would crash
        EXPECT_EQ(PropVariantCopy(&copy, &value), STG_E_INVALIDPARAMETER);
        EXPECT_EQ(copy.vt, VT_EMPTY);
        EXPECT_EQ(PropVariantClear(&value), STG_E_INVALIDPARAMETER);
        EXPECT_EQ(value.vt, VT_EMPTY);
    }
}

TEST_F(PropVariants, ValuesByReferenceAreLeftAlone)
{
    BSTR text = SysAllocString(u"kept");
    PROPVARIANT value{};
    value.vt = VT_BYREF | VT_BSTR;
    value.pbstrVal = &text;
    EXPECT_EQ(PropVariantClear(&value), S_OK);
    EXPECT_EQ(WStringView{text}, u"kept");
    SysFreeString(text);
}

TEST_F(PropVariants, ArrayIsClearedBeyondAFailure)
{
    PROPVARIANT values[3] = {};
    values[0].vt = VT_LPWSTR;
    values[0].pwszVal = Wide();
    values[1].vt = 15;
    values[2].vt = VT_UNKNOWN;
    values[2].punkVal = new Nothing;
    EXPECT_EQ(FreePropVariantArray(3, values), STG_E_INVALIDPARAMETER);
    EXPECT_EQ(values[2].vt, VT_EMPTY);
    EXPECT_EQ(FreePropVariantArray(3, values), S_OK);
    EXPECT_EQ(FreePropVariantArray(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(PropVariantClear(nullptr), S_OK);
}

}  // namespace
}  // namespace vorn::test
