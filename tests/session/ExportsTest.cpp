/** The export list: the headers, the linker's map and the shared library name the same operations. */
#include <cstdio>
#include <regex>

#include "support/LibraryTest.h"

namespace vorn::test {
namespace {

using Names = std::set<std::string>;

/** What the expression's first group finds in a text. */
Names Find(const std::string& text, const char* expression)
{
    const std::regex regex{expression};
    Names names;
    for (std::sregex_iterator match{text.begin(), text.end(), regex}, end; match != end; ++match)
        names.insert((*match)[1]);
    return names;
}

/** What a command prints; it must succeed. */
std::string OutputOf(const std::string& command)
{
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    char part[4096];
    while (const size_t length = std::fread(part, 1, sizeof(part), pipe))
        output.append(part, length);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/** The public headers, one after the other. */
std::string Headers()
{
    std::string text;
    for (const auto& header : std::filesystem::directory_iterator{VORNWIA_HEADERS})
        text += BytesOf(header.path());
    return text;
}

TEST(ExportsTest, TheHeadersTheLibraryAndAProgramInCAgreeOnTheMap)
{
    const Names listed = Find(BytesOf(VORNWIA_MAP), R"(\b(Vorn_\w+);)");
    EXPECT_GE(listed.size(), 28u);
    EXPECT_EQ(Find(Headers(), R"(VORNWIA_API [^;(]*\b(Vorn_\w+)\()"), listed);
    EXPECT_EQ(Find(OutputOf("nm -D --defined-only '" VORNWIA_LIBRARY "'"), R"(\s[A-Za-z]\s+(\S+))"), listed);
    EXPECT_EQ(Find(OutputOf("'" VORNWIA_EXPORTS_PROGRAM "'"), R"((\S+))"), listed);
}

}  // namespace
}  // namespace vorn::test
