/** The export list: the header, the linker's map and the shared library name the same operations. */
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace vorn::test {
namespace {

using Names = std::set<std::string>;

/** What the expression's first group finds in a text. */
Names Find(const std::string& text, const char* expression)
{
    const std::regex regex{expression};
    Names names;
    for (auto match = std::sregex_iterator{text.begin(), text.end(), regex}; match != std::sregex_iterator{};
         ++match)
        names.insert((*match)[1]);
    return names;
}

std::string ContentOf(const char* file)
{
    std::ostringstream content;
    content << std::ifstream{file}.rdbuf();
    return content.str();
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

class ExportsTest : public ::testing::Test {
protected:
    const Names listed_ = Find(ContentOf(VORNWIA_MAP), R"(\b(Vorn_\w+);)");
};

TEST_F(ExportsTest, TheHeaderDeclaresWhatIsExported)
{
    EXPECT_GE(listed_.size(), 24u);
    EXPECT_EQ(Find(ContentOf(VORNWIA_HEADER), R"(VORNWIA_API [^;(]*\b(Vorn_\w+)\()"), listed_);
}

TEST_F(ExportsTest, TheLibraryExportsNothingElse)
{
    EXPECT_EQ(Find(OutputOf("nm -D --defined-only '" VORNWIA_LIBRARY "'"), R"(\s[A-Za-z]\s+(\S+))"), listed_);
}

TEST_F(ExportsTest, AProgramInCFindsAndCallsThem)
{
    EXPECT_EQ(Find(OutputOf("'" VORNWIA_EXPORTS_PROGRAM "'"), R"((\S+))"), listed_);
}

}  // namespace
}  // namespace vorn::test
