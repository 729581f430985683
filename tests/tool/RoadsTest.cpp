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

}  // namespace
}  // namespace vorn::test
