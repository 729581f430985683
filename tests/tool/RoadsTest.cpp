#include <signal.h>

#include "ToolFolder.h"

namespace vorn::test {
namespace {

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

TEST_P(ToolRoads, FeederPagesGetFreeNamesOrOneFileThatHoldsThem)
{
    Write(Name(" (1)"), "not ours");
    const ToolResult result = Run(Road({"--source", "feeder", "--pages", "2", "--dpi", "75"}));
    ASSERT_EQ(0, result.exitCode) << result.err;
    const bool oneFile = fs::path{Name()}.extension() == ".tif";
    EXPECT_EQ(oneFile ? Lines({Name()}) : Lines({Name(), Name(" (2)")}), result.out);
    EXPECT_EQ(oneFile ? 2u : 1u, Info(Name()).pageCount);
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

TEST_P(ToolRoads, InterruptKeepsFinishedPagesOnly)
{
    ToolRun run{folder_, Road({"--source", "feeder", "--pages", "0", "--dpi", "600", "--mode", "color"})};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{20};
    while (Files().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    run.Signal(SIGINT);
    const ToolResult result = run.Wait();
    EXPECT_EQ(2, result.exitCode) << result.err;
    std::string listed;
    for (const std::string& name : Files()) {
        EXPECT_GT(Info(name).width, 0u) << name << " is not finished";
        EXPECT_NE(std::string::npos, result.out.find(name + "\n")) << name << " is not listed";
    }
}

TEST_F(Tool, EveryWayIntoAFileGivesTheSameFileAndKeepsItsModeAndLinks)
{
    for (const char* generation : {"1", "2"})
        for (const std::string extension : {".tif", ".png", ".jpg", ".bmp", ".pdf"}) {
            SCOPED_TRACE(generation + extension);
            const Arguments common{"-d", "virtual:scanner", "--wia", generation, "--dpi", "75"};
            const std::string page = "page" + extension, link = "link" + extension, lost = "lost" + extension;
            ASSERT_EQ(0, Run(common + Arguments{"-o", page}).exitCode);
            Write("old", "old");
            fs::permissions(Out() / "old", fs::perms::owner_read | fs::perms::owner_write);
            fs::create_symlink("old", Out() / link);
            fs::create_symlink("new", Out() / lost);
            const ToolResult replaced = Run(common + Arguments{"--overwrite", "-o", link});
            EXPECT_EQ(Lines({link}), replaced.out) << replaced.err;
            EXPECT_EQ(0, Run(common + Arguments{"--overwrite", "-o", lost}).exitCode);
            EXPECT_EQ(0, Run(common + Arguments{"--source", "flatbed", "--batch=b%d" + extension,
                                                "--batch-count", "1"})
                             .exitCode);
            for (const std::string& file : {std::string{"old"}, std::string{"new"}, "b1" + extension})
                EXPECT_TRUE(Read(file) == Read(page)) << file;
            EXPECT_TRUE(fs::is_symlink(Out() / link) && fs::is_symlink(Out() / lost));
            EXPECT_EQ(fs::perms{0600}, fs::status(Out() / "old").permissions());
            EXPECT_EQ((Names{page, link, lost, "old", "new", "b1" + extension}), Files());
            for (const std::string& name : Files())
                fs::remove(Out() / name);
        }
}

TEST_F(Tool, LargePagesPassThroughLittleMemory)
{
    if (!ToolRun::kBounded)
        GTEST_SKIP() << "the sanitizer needs the memory";
    constexpr unsigned kMegabytes = 16;  // a page has 107
    const Arguments common{"-d", "virtual:scanner", "--mode", "color", "--dpi", "600"};
    const Arguments ways[] = {
        {"--overwrite", "-o", "a.png"},
        {"--overwrite", "-o", "a.jpg"},
        {"--overwrite", "-o", "a.tif"},
        {"--append", "-o", "a.tif"},
        {"--wia", "1", "--append", "-o", "a.pdf"},
        {"--append", "-o", "a.pdf"},
        {"--compression", "deflate", "-o", "b.pdf"},
        {"--compression", "lzw", "-o", "b.tif"},
        {"--mode", "lineart", "-o", "c.pdf"},
    };
    for (const Arguments& way : ways) {
        const bool lineart = way.front() == "--mode";
        const ToolResult result = RunIn(
            kMegabytes, lineart ? Arguments{"-d", "virtual:scanner", "--dpi", "600"} + way : common + way);
        EXPECT_EQ(0, result.exitCode) << way.back() << way.front() << result.err;
    }
    EXPECT_EQ(2u, Info("a.tif").pageCount);
    EXPECT_EQ(2u, Info("a.pdf").pageCount);
}

TEST_F(Tool, APageForWhichMemoryFailsIsAnError)
{
    if (!ToolRun::kBounded)
        GTEST_SKIP() << "the sanitizer needs the memory";
    const struct {
        const char* generation;
        unsigned megabytes;  ///< for the stream of a page there is room in 160, but not for its bitmap too
    } cases[] = {{"1", 64}, {"2", 64}, {"2", 160}};
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string{row.generation} + ", " + std::to_string(row.megabytes));
        const ToolResult result =
            RunIn(row.megabytes, {"-d", "virtual:scanner", "--source", "feeder", "--pages", "0", "--memory",
                                  "--mode", "color", "--dpi", "600", "--wia", row.generation, "-o", "a.tif"});
        EXPECT_EQ(9, result.exitCode) << result.err;
        EXPECT_NE(std::string::npos, result.err.find("memory")) << result.err;
        EXPECT_EQ("", result.out);
        EXPECT_EQ(Names{}, Files());
    }
}

#ifdef VORN_FAILING_SYSTEM
TEST_F(Tool, AFileThatCannotBeFinishedIsAnErrorAndLeavesNothingBehind)
{
    setenv("LD_PRELOAD", VORN_FAILING_SYSTEM, 1);
    for (const char* call : {"close", "fstat", "open", "write"}) {
        setenv("VORN_FAIL", call, 1);
        for (const std::string name : {"a.tif", "a.png", "a.jpg", "a.pdf", "a.bmp"}) {
            for (const bool overwrite : {false, true}) {
                SCOPED_TRACE(std::string{call} + " " + name + (overwrite ? " --overwrite" : ""));
                if (overwrite)
                    Write(name, "as it was");
                const ToolResult result = Run({"-d", "virtual:scanner", "--dpi", "75",
                                               overwrite ? "--overwrite" : "--progress", "-o", name});
                EXPECT_EQ(result.exitCode, 9) << result.err;
                EXPECT_EQ(result.err.find("the device"), std::string::npos) << result.err;
                EXPECT_EQ(Files(), overwrite ? Names{name} : Names{});
                if (overwrite) {
                    EXPECT_EQ(Read(name), "as it was");
                }
                fs::remove(Out() / name);
            }
        }
    }
    unsetenv("VORN_FAIL");
    unsetenv("LD_PRELOAD");
}

TEST_F(Tool, APageLostAmongOthersIsAnErrorAndThoseBeforeItStay)
{
    setenv("LD_PRELOAD", VORN_FAILING_SYSTEM, 1);
    for (const char* generation : {"1", "2"}) {
        int lostLater = 0;
        for (int block = 40; block < 64; ++block) {
            SCOPED_TRACE(std::string{generation} + ", " + std::to_string(block));
            setenv("VORN_FAIL", std::to_string(block).c_str(), 1);
            const ToolResult result =
                Run({"-d", "virtual:scanner", "--source", "feeder", "--pages", "3", "--memory", "--mode",
                     "color", "--dpi", "75", "--wia", generation, "--overwrite", "-o", "a.tif"});
            const uint32_t pages = Files().empty() ? 0 : Info("a.tif").pageCount;
            EXPECT_EQ(result.exitCode, pages == 3 ? 0 : 9) << pages << result.err;
            EXPECT_EQ(result.err.find("memory") == std::string::npos, pages == 3) << result.err;
            lostLater += pages == 1 || pages == 2;
            fs::remove(Out() / "a.tif");
        }
        EXPECT_GT(lostLater, 0) << "no page after the first was lost";
    }
    unsetenv("VORN_FAIL");
    unsetenv("LD_PRELOAD");
}
#endif

}  // namespace
}  // namespace vorn::test
