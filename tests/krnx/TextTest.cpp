#include <gtest/gtest.h>

#include <string>

#include "Vornkrnx.h"

namespace {

using WString = std::basic_string<WCHAR>;

#ifndef _WIN32  // there ANSI is whatever code page the system has

struct TextCase {
    const char* fault;
    WString wide;
    std::string ansi;
    bool back;  // the ANSI text converts to just the wide one
};
const TextCase kTexts[] = {
    {"empty text", u"", "", true},
    {"ASCII", u"page.tif", "page.tif", true},
    {"two bytes", u"\u00df\u00e9\u07ff\u0080", "\xc3\x9f\xc3\xa9\xdf\xbf\xc2\x80", true},
    {"three bytes", u"\u0800\u65e5\uffff", "\xe0\xa0\x80\xe6\x97\xa5\xef\xbf\xbf", true},
    {"four bytes", u"\U00010000\U0001f5a8\U0010ffff", "\xf0\x90\x80\x80\xf0\x9f\x96\xa8\xf4\x8f\xbf\xbf",
     true},
    {"high surrogate at the end", WString{u'a', 0xD83D}, "a\xef\xbf\xbd", false},
    {"high surrogate before another character", WString{0xD83D, u'z'}, "\xef\xbf\xbdz", false},
    {"low surrogate alone", WString{0xDDA8, u'z'}, "\xef\xbf\xbdz", false},
    {"surrogates in the wrong order", WString{0xDDA8, 0xD83D}, "\xef\xbf\xbd\xef\xbf\xbd", false},
};

TEST(Text, WideToAnsiAndBack)
{
    for (const TextCase& row : kTexts) {
        char* const ansi = KrnAllocAnsiCopy(row.wide.c_str());
        ASSERT_NE(ansi, nullptr) << row.fault;
        EXPECT_EQ(ansi, row.ansi) << row.fault;
        WCHAR* const wide = KrnAllocWideCopy(ansi);
        ASSERT_NE(wide, nullptr);
        EXPECT_EQ(WString{wide} == row.wide, row.back) << row.fault;
        KrnFree(wide, __LINE__, "TextTest");
        KrnFreeAnsiCopy(ansi);
    }
}

struct MalformedCase {
    const char* fault;
    const char* ansi;
    WString wide;
};
const MalformedCase kMalformed[] = {
    {"trailing byte alone", "a\x80z", u"a\ufffdz"},
    {"sequence cut by the terminator", "\xe6\x97", u"\ufffd"},
    {"four bytes cut by the terminator", "\xf0\x9f\x96", u"\ufffd"},
    {"sequence cut by a letter", "\xe6\x97z", u"\ufffdz"},
    {"overlong slash", "\xc0\xaf", u"\ufffd\ufffd"},
    {"overlong three bytes", "\xe0\x80\xaf", u"\ufffd\ufffd\ufffd"},
    {"encoded surrogate", "\xed\xa0\xbd", u"\ufffd\ufffd\ufffd"},
    {"above U+10FFFF", "\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},
    {"bytes that never occur", "\xff\xfe", u"\ufffd\ufffd"},
};

TEST(Text, MalformedBytesBecomeReplacementsAndAreRefusedAndKeptInNames)
{
    for (const MalformedCase& row : kMalformed) {
        SCOPED_TRACE(row.fault);
        WCHAR* const wide = KrnAllocWideCopy(row.ansi);
        EXPECT_TRUE(wide && WString{wide} == row.wide);
        KrnFree(wide, __LINE__, "TextTest");
        Vorn_A2W converter;
        WCHAR buffer[16] = {'#'};
        EXPECT_EQ(converter.Convert(row.ansi), 0);
        EXPECT_EQ(converter.Value(), nullptr);
        EXPECT_EQ(Vorn_A2W::Convert(row.ansi, buffer, 16), KRN_ERR_OUT_OF_MEMORY);
        EXPECT_EQ(buffer[0], '#');
        // Between characters of two and four bytes, which must not be taken for a part of the strays.
        const std::string name = std::string{"\xc3\xa9"} + row.ansi + "/\xf0\x9f\x96\xa8" + row.ansi;
        WCHAR* const wideName = KrnAllocWideName(name.c_str());
        char* const back = KrnAllocAnsiCopy(wideName);
        EXPECT_EQ(back, name);
        KrnFreeAnsiCopy(back);
        KrnFree(wideName, __LINE__, "TextTest");
    }
}

/** Converts into buffers of that capacity, with a mark in and behind them; 0 when the text did not fit. */
template <typename To, typename From>
uint64_t Convert(int32_t (*convert)(const From*, To*, uint64_t, uint64_t*), const From* text,
                 uint64_t capacity)
{
    To units[16];
    std::fill(std::begin(units), std::end(units), To{'#'});
    uint64_t needed = 0;
    const int32_t status = convert(text, units, capacity, &needed);
    const uint64_t written = status == KRN_SUCCESS ? needed : 0;
    EXPECT_EQ(status, needed <= capacity ? KRN_SUCCESS : KRN_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(std::count(units + written, std::end(units), To{'#'}), static_cast<ptrdiff_t>(16 - written));
    return written;
}

TEST(Text, BuffersFitOrStayAsTheyWere)
{
    const char* const ansi = "\xc3\xa9\xf0\x9f\x96\xa8";      // 6 bytes and the terminator
    const WCHAR* const wide = VORN_TEXT("\u00e9\U0001f5a8");  // 3 units and the terminator
    char narrow[16];
    WCHAR broad[16];
    for (const uint64_t capacity : {0u, 1u, 3u, 4u, 6u, 7u, 12u}) {
        SCOPED_TRACE(capacity);
        EXPECT_EQ(Convert(KrnWideToAnsi, wide, capacity), capacity < 7 ? 0u : 7u);
        EXPECT_EQ(Convert(KrnAnsiToWide, ansi, capacity), capacity < 4 ? 0u : 4u);
        EXPECT_EQ(Vorn_W2A::Convert(wide, narrow, capacity) == KRN_SUCCESS, capacity >= 7);
        EXPECT_EQ(Vorn_A2W::Convert(ansi, broad, capacity) == KRN_SUCCESS, capacity >= 4);
    }
    uint64_t needed = 0;
    EXPECT_EQ(KrnWideToAnsi(wide, nullptr, 0, &needed), KRN_SUCCESS);
    EXPECT_EQ(needed, 7u) << "a size query";
}

#endif

TEST(Text, NullIsATextThatIsNotThere)
{
    char buffer[] = "#";
    EXPECT_EQ(KrnAllocAnsiCopy(nullptr), nullptr);
    EXPECT_EQ(KrnAllocWideCopy(nullptr), nullptr);
    EXPECT_EQ(KrnAllocWideName(nullptr), nullptr);
    KrnFreeAnsiCopy(nullptr);
    EXPECT_EQ(Vorn_W2A::Convert(nullptr, buffer, 1), KRN_SUCCESS);
    EXPECT_STREQ(buffer, "#");
    Vorn_A2W converter;
    EXPECT_NE(converter.Convert("x"), 0);
    EXPECT_NE(converter.Convert(nullptr), 0);
    EXPECT_EQ(converter.Value(), nullptr) << "the former text is still held";
}

TEST(Text, WithoutMemoryNothingIsHeld)
{
    Vorn_A2W converter;
    ASSERT_NE(converter.Convert("first"), 0);
    KrnFailAllocations(1, UINT64_MAX);
    EXPECT_EQ(converter.Convert("second"), 0);
    EXPECT_EQ(converter.Value(), nullptr);
    EXPECT_EQ(KrnAllocAnsiCopy(VORN_TEXT("x")), nullptr);
    KrnFailAllocations(0, 0);
}

}  // namespace
