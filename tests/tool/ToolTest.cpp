#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "ToolRun.h"
#include "Vornfilx.h"
#include "Vornkrnx.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

/** The two media. Files are the default, so that the option stands for nothing but its place. */
constexpr const char* kFiles = "--progress";
constexpr const char* kMemory = "--memory";

/** A folder for one test, in which the tool's temporary directory must be empty at the end. */
class Tool : public testing::Test {
protected:
    Tool()
    {
        std::string pattern = (fs::temp_directory_path() / "vornscan-test-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        for (const char* sub : {"out", "tmp"}) {
            fs::create_directory(folder_ / sub);
            fs::permissions(folder_ / sub, fs::perms::all);
        }
        fs::permissions(folder_, fs::perms::all);
    }

    ~Tool() override
    {
        EXPECT_TRUE(fs::is_empty(folder_ / "tmp")) << "the tool left a temporary file";
        fs::permissions(Out(), fs::perms::all);
        fs::remove_all(folder_);
    }

    ToolResult Run(const Arguments& arguments) { return ToolRun{folder_, arguments}.Wait(); }

    fs::path Out() const { return folder_ / "out"; }
    Names Files() const
    {
        Names names;
        for (const auto& entry : fs::directory_iterator{Out()})
            names.insert(entry.path().filename());
        return names;
    }

    FilFileInfo Info(const std::string& name) const
    {
        FilFileInfo info{};
        Vorn_A2W wide;
        wide.Convert((Out() / name).c_str());
        EXPECT_EQ(FIL_SUCCESS, FilInfo(wide.Value(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr))
            << name;
        return info;
    }

    void Write(const std::string& name, const std::string& content) const
    {
        std::ofstream{Out() / name} << content;
    }
    std::string Read(const std::string& name) const
    {
        std::ostringstream content;
        content << std::ifstream{Out() / name}.rdbuf();
        return content.str();
    }

    fs::path folder_;
};

/** One line a name: what the tool prints for finished files. */
std::string Lines(const std::vector<std::string>& names)
{
    std::string lines;
    for (const std::string& name : names)
        lines += name + "\n";
    return lines;
}

TEST_F(Tool, ListsDevicesOnStandardOutputOnly)
{
    for (const char* generation : {"1", "2"}) {
        const ToolResult result = Run({"-L", "--wia", generation});
        EXPECT_EQ(0, result.exitCode);
        EXPECT_EQ("", result.err);
        EXPECT_NE(std::string::npos, result.out.find("\t"));
        std::istringstream lines{result.out};
        for (std::string line; std::getline(lines, line);)
            EXPECT_EQ(2, std::ranges::count(line, '\t')) << line;
    }
}

/** Every road that a page can take: generation, medium, format. */
class ToolRoads : public Tool,
                  public testing::WithParamInterface<std::tuple<const char*, const char*, const char*>> {
protected:
    Arguments Road(const Arguments& more) const
    {
        const auto [generation, medium, extension] = GetParam();
        return Arguments{"--wia", generation, "-o", std::string{"page"} + extension, medium} + more;
    }
    std::string Name(const char* number = "") const
    {
        return std::string{"page"} + number + std::get<2>(GetParam());
    }
};

std::string RoadName(const testing::TestParamInfo<ToolRoads::ParamType>& info)
{
    const auto [generation, medium, extension] = info.param;
    return std::string{"Wia"} + generation + (medium == kMemory ? "Memory" : "Files") +
           (extension == std::string{".bmp"} ? "Bmp" : "Tiff");
}

INSTANTIATE_TEST_SUITE_P(All, ToolRoads,
                         testing::Combine(testing::Values("1", "2"), testing::Values(kFiles, kMemory),
                                          testing::Values(".bmp", ".tif")),
                         RoadName);

TEST_P(ToolRoads, FlatbedPageHasTheSettingsAskedFor)
{
    const ToolResult result = Run(Road({"--source", "FLAT", "--mode", "g", "--dpi", "100"}));
    ASSERT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(Lines({Name()}), result.out);
    EXPECT_EQ(Names{Name()}, Files());
    const FilFileInfo info = Info(Name());
    EXPECT_EQ(Name() == "page.bmp" ? FIL_FORMAT_BMP : FIL_FORMAT_TIFF, info.format);
    EXPECT_EQ(8u, info.bitsPerPixel);
    EXPECT_NEAR(100, info.xDpi, 0.5);
    EXPECT_NEAR(100, info.yDpi, 0.5);
}

TEST_P(ToolRoads, ResolutionKeepsTheArea)
{
    ASSERT_EQ(0, Run(Road({"--source", "flatbed", "--dpi", "100"})).exitCode);
    ASSERT_EQ(0, Run(Road({"--source", "flatbed", "--dpi", "200"})).exitCode);
    const FilFileInfo coarse = Info(Name());
    const FilFileInfo fine = Info(Name(" (1)"));
    EXPECT_NEAR(2.0 * coarse.width, fine.width, 4);
    EXPECT_NEAR(2.0 * coarse.height, fine.height, 4);
}

TEST_P(ToolRoads, FeederPagesGetFreeNames)
{
    Write(Name(" (1)"), "not ours");
    const ToolResult result = Run(Road({"--source", "feeder", "--pages", "2", "--dpi", "75"}));
    ASSERT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(Lines({Name(), Name(" (2)")}), result.out);
    EXPECT_EQ("not ours", Read(Name(" (1)")));
}

TEST_P(ToolRoads, OverwriteReplacesWhatIsThere)
{
    Write(Name(), "old");
    const ToolResult result = Run(Road({"--overwrite", "--dpi", "75"}));
    ASSERT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ(Names{Name()}, Files());
    EXPECT_EQ(1u, Info(Name()).pageCount);
}

TEST_F(Tool, MultiPageFileGrowsByAppending)
{
    for (const char* generation : {"1", "2"})
        for (const char* medium : {kFiles, kMemory}) {
            const std::string file = std::string{generation} + medium + ".tif";
            SCOPED_TRACE(file);
            const Arguments common{"-o",       file,     "--wia", generation, medium,
                                   "--source", "feeder", "--dpi", "75"};
            ASSERT_EQ(0, Run(common + Arguments{"--multi-page", "--pages", "3"}).exitCode);
            const ToolResult result = Run(common + Arguments{"--append", "--pages", "2"});
            ASSERT_EQ(0, result.exitCode) << result.err;
            EXPECT_EQ(Lines({file}), result.out) << "a file is listed once";
            EXPECT_EQ(5u, Info(file).pageCount);
            EXPECT_EQ(Names{file}, Files());
            fs::remove(Out() / file);
        }
}

struct RefusalCase {
    const char* fault;
    Arguments arguments;
    int exitCode;
    const char* said;
};

TEST_F(Tool, RefusesBeforeAnythingIsScanned)
{
    Write("there.tif", "no image");
    const RefusalCase cases[] = {
        {"unknown option", {"--frobnicate"}, 1, "--frobnicate"},
        {"no output file", {"--dpi", "75"}, 1, "-o"},
        {"no extension", {"-o", "page"}, 1, ".tif"},
        {"unknown extension", {"-o", "page.jpx"}, 1, ".tif"},
        {"missing directory", {"-o", "gone/page.tif"}, 9, "gone"},
        {"directory is a file", {"-o", "there.tif/page.tif"}, 9, "not a directory"},
        {"name too long", {"-o", std::string(300, 'x') + ".tif"}, 1, "259"},
        {"damaged file to append to", {"-o", "there.tif", "--append"}, 9, "there.tif"},
        {"several pages in a BMP", {"-o", "page.bmp", "--multi-page"}, 1, "one page"},
        {"contradicting modes", {"-o", "page.tif", "--append", "--overwrite"}, 1, "--overwrite"},
        {"unknown device", {"-o", "page.tif", "-d", "no such"}, 1, "no such"},
        {"ambiguous device", {"-o", "page.tif", "-d", ""}, 1, "several"},
        {"unknown generation", {"-o", "page.tif", "--wia", "3"}, 1, "--wia"},
        {"ambiguous source", {"-o", "page.tif", "--source", "f"}, 1, "ambiguous"},
        {"unknown mode", {"-o", "page.tif", "--mode", "sepia"}, 1, "lineart"},
        {"resolution out of range", {"-o", "page.tif", "--dpi", "99999"}, 1, "99999"},
        {"resolution is no number", {"-o", "page.tif", "--dpi", "3oo"}, 1, "--resolution"},
        {"several pages of a flatbed",
         {"-o", "page.tif", "--source", "flatbed", "--pages", "2"},
         1,
         "feeder"},
        {"missing virtual pages", {"-o", "page.tif", "--virtual-pages", "gone"}, 1, "gone"},
    };
    for (const RefusalCase& row : cases) {
        SCOPED_TRACE(row.fault);
        const ToolResult result = Run(row.arguments);
        EXPECT_EQ(row.exitCode, result.exitCode);
        EXPECT_EQ("", result.out);
        EXPECT_NE(std::string::npos, result.err.find(row.said)) << result.err;
        EXPECT_EQ(Names{"there.tif"}, Files());
        EXPECT_EQ("no image", Read("there.tif"));
    }
}

TEST_F(Tool, ReadOnlyDirectoryIsRefused)
{
    if (ToolRun{folder_, {"--version"}, true}.Wait().exitCode != 0)
        GTEST_SKIP() << "the unprivileged user cannot reach the tool";
    chmod(Out().c_str(), 0555);
    const ToolResult result = ToolRun{folder_, {"-o", "page.tif"}, true}.Wait();
    EXPECT_EQ(9, result.exitCode) << result.err;
    EXPECT_EQ(Names{}, Files());
}

TEST_F(Tool, BatchesEndByTheRules)
{
    fs::create_directory(Out() / "pages");
    for (const char* name : {"1.tif", "2.tif"})
        ASSERT_EQ(0, Run({"-o", std::string{"pages/"} + name, "--dpi", "75"}).exitCode);

    struct Case {
        const char* fault;
        const char* pages;
        int exitCode;
        Names files;
    };
    const Case cases[] = {
        {"an unlimited batch that ends empty failed", "0", 0, {"a.tif", "a (1).tif"}},
        {"a batch that was met failed", "2", 0, {"a.tif", "a (1).tif"}},
        {"a batch that falls short succeeded", "3", 7, {"a.tif", "a (1).tif"}},
    };
    for (const Case& row : cases)
        for (const char* generation : {"1", "2"})
            for (const char* medium : {kFiles, kMemory}) {
                SCOPED_TRACE(std::string{row.fault} + ", generation " + generation + " " + medium);
                const Arguments arguments{"-o",    "a.tif",   "--source", "feeder", "--virtual-pages",
                                          "pages", "--pages", row.pages,  "--wia",  generation,
                                          medium};
                const ToolResult result = Run(arguments);
                EXPECT_EQ(row.exitCode, result.exitCode) << result.err;
                Names files = Files();
                files.erase("pages");
                EXPECT_EQ(row.files, files);
                for (const std::string& name : files)
                    fs::remove(Out() / name);
            }
}

TEST_F(Tool, ProgressGoesToStandardError)
{
    const ToolResult result = Run({"-o", "page.tif", "--dpi", "75", "-p"});
    EXPECT_EQ("page.tif\n", result.out);
    EXPECT_NE(std::string::npos, result.err.find("page 1: 100%")) << result.err;
    EXPECT_EQ(std::string::npos, result.err.find('\r')) << "a bar was drawn on something that is no terminal";
}

TEST_P(ToolRoads, InterruptKeepsFinishedPagesOnly)
{
    ToolRun run{folder_, Road({"--source", "feeder", "--pages", "0", "--dpi", "600", "--mode", "color"})};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    while (Files().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    run.Interrupt();
    const ToolResult result = run.Wait();
    EXPECT_EQ(2, result.exitCode) << result.err;
    std::string listed;
    for (const std::string& name : Files()) {
        EXPECT_GT(Info(name).width, 0u) << name << " is not finished";
        EXPECT_NE(std::string::npos, result.out.find(name + "\n")) << name << " is not listed";
    }
}

}  // namespace
}  // namespace vorn::test
