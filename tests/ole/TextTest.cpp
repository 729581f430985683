#include <array>

#include "OleTest.h"

namespace vorn::test {
namespace {

struct GuidCase {
    const char* fault;
    LPCWSTR text;
    HRESULT expected;
};

constexpr GuidCase kGuids[] = {
    {"none: upper case", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D}", S_OK},
    {"none: lower case", u"{0c733a30-2a1c-11ce-ade5-00aa0044773d}", S_OK},
    {"empty", u"", CO_E_CLASSSTRING},
    {"no braces", u"0C733A30-2A1C-11CE-ADE5-00AA0044773D", CO_E_CLASSSTRING},
    {"no closing brace", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D", CO_E_CLASSSTRING},
    {"trailing text", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773D}x", CO_E_CLASSSTRING},
    {"leading space", u" {0C733A30-2A1C-11CE-ADE5-00AA0044773D}", CO_E_CLASSSTRING},
    {"not a digit", u"{0C733A30-2A1C-11CE-ADE5-00AA0044773G}", CO_E_CLASSSTRING},
    {"dash moved", u"{0C733A302-A1C-11CE-ADE5-00AA0044773D}", CO_E_CLASSSTRING},
    {"cut short", u"{0C733A30-2A1C", CO_E_CLASSSTRING},
    {"digit of another script", u"{\u0660C733A30-2A1C-11CE-ADE5-00AA0044773}", CO_E_CLASSSTRING},
};

TEST(GuidText, IsReadStrictly)
{
    for (const GuidCase& row : kGuids) {
        SCOPED_TRACE(row.fault);
        GUID guid = IID_IStream;
        EXPECT_EQ(CLSIDFromString(row.text, &guid), row.expected);
        EXPECT_EQ(guid, row.expected == S_OK ? IID_ISequentialStream : GUID_NULL);
    }
}

TEST(GuidText, NullTextIsTheNullGuid)
{
    GUID guid = IID_IStream;
    EXPECT_EQ(CLSIDFromString(nullptr, &guid), S_OK);
    EXPECT_EQ(guid, GUID_NULL);
    EXPECT_EQ(CLSIDFromString(u"", nullptr), E_INVALIDARG);
}

TEST(GuidText, IsWrittenAsItIsRead)
{
    std::array<WCHAR, 39> text{};
    EXPECT_EQ(StringFromGUID2(IID_ISequentialStream, text.data(), 39), 39);
    EXPECT_EQ(WStringView{text.data()}, kGuids[0].text);
    EXPECT_EQ(StringFromGUID2(IID_ISequentialStream, text.data(), 38), 0) << "the terminator does not fit";
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
    const Bstr empty{u""};
    ASSERT_TRUE(empty);
    EXPECT_EQ(SysStringLen(empty.Get()), 0u);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr) << "the byte length wraps";
}

struct Path {
    LPCWSTR whole, drive, directory, name, extension;
};

constexpr Path kPaths[] = {
    {u"/home/a/scan.tif", u"", u"/home/a/", u"scan", u".tif"},
    {u"C:\\a b\\scan.v2.tif", u"C:", u"\\a b\\", u"scan.v2", u".tif"},
    {u"C:scan", u"C:", u"", u"scan", u""},
    {u"a/b\\c.d/e", u"", u"a/b\\c.d/", u"e", u""},
    {u"/tmp.d/", u"", u"/tmp.d/", u"", u""},
    {u".hidden", u"", u"", u"", u".hidden"},
    {u"scan.", u"", u"", u"scan", u"."},
    {u"\u30DA\u30FC\u30B8.\u00E9", u"", u"", u"\u30DA\u30FC\u30B8", u".\u00E9"},
    {u"", u"", u"", u"", u""},
};

struct Parts {
    WCHAR drive[3], directory[256], name[256], extension[256];
};

TEST(SplitPath, FindsTheParts)
{
    for (const Path& row : kPaths) {
        Parts parts;
        EXPECT_EQ(_wsplitpath_s(row.whole, parts.drive, 3, parts.directory, 256, parts.name, 256,
                                parts.extension, 256),
                  0);
        EXPECT_EQ(WStringView{parts.drive}, row.drive);
        EXPECT_EQ(WStringView{parts.directory}, row.directory);
        EXPECT_EQ(WStringView{parts.name}, row.name);
        EXPECT_EQ(WStringView{parts.extension}, row.extension);
    }
}

TEST(SplitPath, PartThatDoesNotFitEmptiesAll)
{
    constexpr LPCWSTR kPath = u"C:/dir/name.ext";  // needs 3, 6, 5 and 5 characters
    constexpr size_t kNeeded[] = {3, 6, 5, 5};
    for (size_t small = 0; small < 4; ++small) {
        SCOPED_TRACE(small);
        size_t room[4];
        std::copy(std::begin(kNeeded), std::end(kNeeded), room);
        Parts parts{u"x", u"x", u"x", u"x"};
        const auto split = [&] {
            return _wsplitpath_s(kPath, parts.drive, room[0], parts.directory, room[1], parts.name, room[2],
                                 parts.extension, room[3]);
        };
        EXPECT_EQ(split(), 0);
        --room[small];
        EXPECT_EQ(split(), ERANGE);
        EXPECT_EQ(parts.drive[0] | parts.directory[0] | parts.name[0] | parts.extension[0], 0);
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
    EXPECT_EQ(_wsplitpath_s(nullptr, nullptr, 0, nullptr, 0, name, 8, nullptr, 0), EINVAL);
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
