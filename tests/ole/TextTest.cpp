#include <array>

#include "OleTest.h"

namespace vorn::test {
namespace {

TEST(GuidText, IsReadStrictlyAndWrittenTheSame)
{
    const struct {
        const char* fault;
        LPCWSTR text;
        HRESULT expected;
    } kRows[] = {
        {"none: upper case", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D}", S_OK},
        {"none: lower case", u"{0c733a30-2a1c-11ce-ade5-00aa0044773d}", S_OK},
        {"empty", u"", CO_E_CLASSSTRING},
        {"no braces", u"0C733A30-2A1C-11CE-ADE5-00AA0044773D", CO_E_CLASSSTRING},
        {"trailing text", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D}x", CO_E_CLASSSTRING},
        {"not a digit", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773G}", CO_E_CLASSSTRING},
        {"dash moved", u"{0C733A302-A1C-11CE-ADE5-00AA0044773D}", CO_E_CLASSSTRING},
        {"cut short", u"{0C733A30-2A1C", CO_E_CLASSSTRING},
        {"digit of another script", u"{\u0660C733A30-2A1C-11CE-ADE5-00AA0044773}", CO_E_CLASSSTRING},
        {"none: null is the null GUID", nullptr, S_OK},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fault);
        GUID guid = IID_IStream;
        EXPECT_EQ(CLSIDFromString(row.text, &guid), row.expected);
        EXPECT_EQ(guid, row.text && row.expected == S_OK ? IID_ISequentialStream : GUID_NULL);
    }
    EXPECT_EQ(CLSIDFromString(u"", nullptr), E_INVALIDARG);

    WCHAR text[39] = u"";
    EXPECT_EQ(StringFromGUID2(IID_ISequentialStream, text, 38), 0) << "the terminator does not fit";
    EXPECT_EQ(StringFromGUID2(IID_ISequentialStream, text, 39), 39);
    EXPECT_EQ(WStringView{text}, kRows[0].text);
}

TEST(AutomationText, CarriesItsLengthThroughEmbeddedNulls)
{
    BSTR text = SysAllocStringLen(u"ab\0cd", 5);
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(SysStringByteLen(text), 10u);
    EXPECT_EQ(reinterpret_cast<const DWORD*>(text)[-1], 10u) << "the prefix is part of the binary contract";
    EXPECT_EQ((WStringView{text, 5}), (WStringView{u"ab\0cd", 5}));
    EXPECT_EQ(text[5], 0);
    EXPECT_TRUE(SysReAllocStringLen(&text, text + 3, 2)) << "a part of the text may replace it";
    EXPECT_EQ(WStringView{text}, u"cd");
    SysFreeString(text);
}

TEST(AutomationText, NullAndEmptyDiffer)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
    EXPECT_TRUE(Bstr{u""});
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr) << "the byte length wraps";
}

/** The parts of a path with bars between them; each has `room` characters. */
WString Split(LPCWSTR path, const std::array<size_t, 4>& room = {3, 32, 32, 32}, errno_t expected = 0)
{
    WCHAR parts[4][32] = {u"x", u"x", u"x", u"x"};
    EXPECT_EQ(_wsplitpath_s(path, parts[0], room[0], parts[1], room[1], parts[2], room[2], parts[3], room[3]),
              expected);
    return WString{parts[0]} + u'|' + parts[1] + u'|' + parts[2] + u'|' + parts[3];
}

TEST(SplitPath, FindsTheParts)
{
    const struct {
        LPCWSTR path, parts;
    } kRows[] = {
        {u"/home/a/scan.tif", u"|/home/a/|scan|.tif"},
        {u"C:\\a b\\scan.v2.tif", u"C:|\\a b\\|scan.v2|.tif"},
        {u"C:scan", u"C:||scan|"},
        {u"a/b\\c.d/e", u"|a/b\\c.d/|e|"},
        {u"/tmp.d/", u"|/tmp.d/||"},
        {u".hidden", u"|||.hidden"},
        {u"scan.", u"||scan|."},
        {u"", u"|||"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(Split(row.path), row.parts);
}

TEST(SplitPath, PartThatDoesNotFitEmptiesAll)
{
    constexpr std::array<size_t, 4> kNeeded = {3, 6, 5, 5};
    EXPECT_EQ(Split(u"C:/dir/name.ext", kNeeded), u"C:|/dir/|name|.ext");
    for (size_t small = 0; small < 4; ++small) {
        std::array<size_t, 4> room = kNeeded;
        --room[small];
        EXPECT_EQ(Split(u"C:/dir/name.ext", room, ERANGE), u"|||") << small;
    }
}

TEST(SplitPath, BadArgumentsAreRefused)
{
    WCHAR name[8] = u"x";
    EXPECT_EQ(_wsplitpath_s(u"a.b", nullptr, 0, nullptr, 0, name, 8, nullptr, 0), 0)
        << "parts may be left out";
    EXPECT_EQ(WStringView{name}, u"a");
    EXPECT_EQ(_wsplitpath_s(u"a.b", nullptr, 3, nullptr, 0, name, 8, nullptr, 0), EINVAL);
    EXPECT_EQ(name[0], 0);
    EXPECT_EQ(Split(nullptr, {3, 32, 32, 32}, EINVAL), u"|||");
}

TEST(Format, FillsTheBufferAndNeverMore)
{
    constexpr WStringView kExpected = u"a/page (42)-7%";
    std::array<WCHAR, 32> buffer;
    for (size_t room = 0; room < buffer.size(); ++room) {
        buffer.fill(u'#');
        const int length = swprintf_s(buffer.data(), room, u"%s%s (%u)%d%%", u"a/", u"page", 42u, -7);
        if (room > kExpected.size()) {
            EXPECT_EQ(length, int(kExpected.size()));
            EXPECT_EQ(WStringView{buffer.data()}, kExpected);
        } else {
            EXPECT_EQ(length, -1);
            EXPECT_EQ(buffer[0], room > 0 ? u'\0' : u'#');
        }
        EXPECT_EQ(WStringView(buffer.data() + room, buffer.size() - room).find_first_not_of(u'#'),
                  WStringView::npos);
    }
}

TEST(Format, RefusesWhatItDoesNotKnow)
{
    WCHAR buffer[32];
    for (const LPCWSTR format : {u"%", u"%x", u"%5u", u"%n"}) {
        EXPECT_EQ(swprintf_s(buffer, 32, format, 1u), -1);
        EXPECT_EQ(buffer[0], 0);
    }
    EXPECT_EQ(swprintf_s(buffer, 32, u"%d %u", INT32_MIN, UINT32_MAX), 22);
    EXPECT_EQ(WStringView{buffer}, u"-2147483648 4294967295");
}

}  // namespace
}  // namespace vorn::test
