#include "OleTest.h"

namespace vorn::test {
namespace {

LPSTR Text()
{
    return Task<CHAR>({'a', 'b', 0});
}

LPWSTR WideText()
{
    return Task<WCHAR>({u'a', u'b', 0});
}

CLIPDATA Clip()
{
    return {6, -1, Task<BYTE>({1, 2})};
}

PROPVARIANT Variant(int type)
{
    PROPVARIANT value{};
    value.vt = static_cast<VARTYPE>(type);
    return value;
}

/** Gives a value its elements: all counted arrays and blobs have one layout. */
template <typename Element>
void Fill(PROPVARIANT& value, std::initializer_list<Element> elements)
{
    value.caub = {static_cast<ULONG>(elements.size()), reinterpret_cast<UCHAR*>(Task(elements))};
}

void FillStream(PROPVARIANT& value)
{
    value.pVersionedStream = Task({VERSIONEDSTREAM{}});
    CreateStreamOnHGlobal(nullptr, TRUE, &value.pVersionedStream->pStream);
}

void FillVariants(PROPVARIANT& value)
{
    PROPVARIANT text = Variant(VT_BSTR), object = Variant(VT_UNKNOWN), texts = Variant(VT_VECTOR | VT_LPWSTR);
    text.bstrVal = SysAllocString(u"inner");
    object.punkVal = new Nothing;
    Fill(texts, {WideText()});
    Fill(value, {text, object, texts});
}

struct OwningType {
    const char* name;
    int type;
    void (*fill)(PROPVARIANT&);  // gives the value something to own
};

const OwningType kOwningTypes[] = {
    {"string", VT_LPSTR, [](PROPVARIANT& v) { v.pszVal = Text(); }},
    {"wide string", VT_LPWSTR, [](PROPVARIANT& v) { v.pwszVal = WideText(); }},
    {"automation string", VT_BSTR, [](PROPVARIANT& v) { v.bstrVal = SysAllocString(u"a"); }},
    {"class id", VT_CLSID, [](PROPVARIANT& v) { v.puuid = Task({IID_IStream}); }},
    {"blob", VT_BLOB,
     [](PROPVARIANT& v) {
         Fill<BYTE>(v, {1, 2, 3});
     }},
    {"clipboard data", VT_CF, [](PROPVARIANT& v) { v.pclipdata = Task({Clip()}); }},
    {"object", VT_UNKNOWN, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"dispatch object", VT_DISPATCH, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"stream", VT_STREAM, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"streamed object", VT_STREAMED_OBJECT, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"storage", VT_STORAGE, [](PROPVARIANT& v) { v.punkVal = new Nothing; }},
    {"versioned stream", VT_VERSIONED_STREAM, FillStream},
    {"bytes", VT_VECTOR | VT_UI1,
     [](PROPVARIANT& v) {
         Fill<BYTE>(v, {1, 2, 3});
     }},
    {"times", VT_VECTOR | VT_FILETIME,
     [](PROPVARIANT& v) {
         Fill(v, {FILETIME{1, 2}});
     }},
    {"class ids", VT_VECTOR | VT_CLSID, [](PROPVARIANT& v) { Fill(v, {IID_IStream}); }},
    {"strings", VT_VECTOR | VT_LPSTR,
     [](PROPVARIANT& v) {
         Fill(v, {Text(), Text()});
     }},
    {"wide strings", VT_VECTOR | VT_LPWSTR,
     [](PROPVARIANT& v) {
         Fill(v, {WideText(), LPWSTR{}});
     }},
    {"automation strings", VT_VECTOR | VT_BSTR, [](PROPVARIANT& v) { Fill(v, {SysAllocString(u"a")}); }},
    {"clipboard datas", VT_VECTOR | VT_CF,
     [](PROPVARIANT& v) {
         Fill(v, {Clip(), Clip()});
     }},
    {"variants of several kinds", VT_VECTOR | VT_VARIANT, FillVariants},
};

class PropVariants : public OleTest {};

// What is freed twice or not at all shows under the address sanitizer, and for objects in the fixture too.
TEST_F(PropVariants, ClearReleasesAllAndACopyIsItsOwn)
{
    for (const OwningType& row : kOwningTypes) {
        SCOPED_TRACE(row.name);
        PROPVARIANT value = Variant(row.type), copy{};
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
    for (const OwningType& row : kOwningTypes) {
        SCOPED_TRACE(row.name);
        PROPVARIANT value = Variant(row.type), copy{};
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

    value.vt = VT_BSTR;
    value.bstrVal = SysAllocStringLen(u"a\0b", 3);
    copy.Clear();
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    EXPECT_EQ((WStringView{copy.bstrVal, SysStringLen(copy.bstrVal)}), (WStringView{u"a\0b", 3}));
}

TEST_F(PropVariants, UnknownTypesAreForgottenWithAnError)
{
    const struct {
        const char* fault;
        int type;
    } kMalformed[] = {
        {"a gap in the type numbers", 15},
        {"a type past all others", 0x500},
        {"vector of blobs", VT_VECTOR | VT_BLOB},
        {"vector of streams", VT_VECTOR | VT_STREAM},
        {"a single variant", VT_VARIANT},
        {"array, which nobody here can free", VT_ARRAY | VT_I4},
        {"vector by reference", VT_VECTOR | VT_BYREF | VT_I4},
        {"the illegal type", VT_ILLEGAL},
    };
    for (const auto& row : kMalformed) {
        SCOPED_TRACE(row.fault);
        PROPVARIANT value = Variant(row.type), copy{};
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
    PROPVARIANT value = Variant(VT_BYREF | VT_BSTR);
    value.pbstrVal = &text;
    EXPECT_EQ(PropVariantClear(&value), S_OK);
    EXPECT_EQ(WStringView{text}, u"kept");
    SysFreeString(text);
}

TEST_F(PropVariants, ArrayIsClearedBeyondAFailure)
{
    PROPVARIANT values[] = {Variant(VT_LPWSTR), Variant(15), Variant(VT_UNKNOWN)};
    values[0].pwszVal = WideText();
    values[2].punkVal = new Nothing;
    EXPECT_EQ(FreePropVariantArray(3, values), STG_E_INVALIDPARAMETER);
    EXPECT_EQ(FreePropVariantArray(3, values), S_OK);
    EXPECT_EQ(FreePropVariantArray(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(PropVariantClear(nullptr), S_OK);
}

}  // namespace
}  // namespace vorn::test
