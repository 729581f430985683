// What takes many runs to show, or minutes to wait for. With VORN_LONG_TESTS in the environment: thousands of them.

#include <thread>

#include "DamagingProxy.h"
#include "Saned.h"
#include "ScannerDesk.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

bool IsLong()
{
    return std::getenv("VORN_LONG_TESTS") != nullptr;
}

class EnduranceTest : public ScannerTest {
protected:
    /** The tool with a folder of its own, so that several run side by side. */
    ToolRun Tool(const std::string& name, const Arguments& arguments)
    {
        const fs::path folder = Folder() / name;
        fs::create_directories(folder / "out");
        fs::create_directories(folder / "tmp");
        return {folder, arguments};
    }
};

/** The first frame of an address sanitizer's report that is not the sanitizer's own. */
std::string PlaceOf(const fs::path& report)
{
    std::ifstream lines{report};
    for (std::string line; std::getline(lines, line);)
        if (line.find(" in ") != std::string::npos && line.find("    #") == 0 &&
            line.find("libsanitizer") == std::string::npos)
            return line;
    return {};
}

TEST_F(EnduranceTest, AnswersThatArriveDamagedHarmNobodyButTheDriverHost)
{
    WriteBytes(SaneFolder() / "saned.conf", "data_portrange = 16570 - 16629\n127.0.0.1\n");
    Process saned{SanedCommand()};
    DamagingProxy proxy;
    if (!saned.Started() || !proxy.Listens())
        GTEST_SKIP() << "saned (package sane-utils) is not installed, or its port is taken";
    std::this_thread::sleep_for(std::chrono::milliseconds{300});
    constexpr int kAtOnce = 25;
    const int runs = IsLong() ? 3000 : 100;
    int successes = 0, failures = 0;
    const fs::path reports = Folder() / "reports";
    fs::create_directory(reports);
    setenv("ASAN_OPTIONS", ("log_path=" + (reports / "report").string()).c_str(), 1);
    for (int first = 0; first < runs; first += kAtOnce) {
        std::vector<ToolRun> tools;
        for (int i = 0; i < kAtOnce; ++i)
            tools.push_back(Tool(std::to_string(i), {"-d", "net:127.0.0.3:test:0", "--resolution", "50", "-y",
                                                     "50", "--overwrite", "-o", i % 2 ? "a.tif" : "a.bmp"}));
        for (ToolRun& tool : tools) {
            const ToolResult result = tool.Wait();
            EXPECT_GE(result.exitCode, 0) << "signal " << -result.exitCode << ' ' << result.err;
            ++(result.exitCode == 0 ? successes : failures);
        }
    }
    EXPECT_GT(successes, 0);
    EXPECT_GT(failures, 0) << "nothing was damaged";
    unsetenv("ASAN_OPTIONS");
    for (const std::string& report : NamesIn(reports))
        EXPECT_NE(PlaceOf(reports / report).find("/sane/libsane"), std::string::npos)
            << BytesOf(reports / report);
    WriteBytes(SaneFolder() / "saned.conf", "127.0.0.1\n");
}

TEST_F(EnduranceTest, FeederBatchesNeverHang)
{
    const int runs = IsLong() ? 1000 : 20;
    for (int run = 0; run < runs; ++run) {
        ScannerDesk desk{1 + static_cast<uint32_t>(run) % 2, true};
        desk.SetPages(0);
        Notes notes;
        const auto begin = Clock::now();
        EXPECT_EQ(desk.Acquire(run % 4 < 2 ? "" : Folder() / "a.tif", notes), SUCCESS);
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds{30});
    }
}

TEST_F(EnduranceTest, APageThatDoesNotGoOnIsGivenUpAfterAMinute)
{
    if (!IsLong())
        GTEST_SKIP() << "takes minutes: set VORN_LONG_TESTS";
    setenv("LD_LIBRARY_PATH", VORN_BACK_ENDS, 1);
    const std::vector<std::string> devices{"start-hang", "start-spin", "read-hang", "read-spin"};
    std::vector<ToolRun> tools;
    const auto begin = Clock::now();
    for (const std::string& device : devices)
        tools.push_back(Tool(device, {"-d", "misbehaving:" + device, "-o", "a.bmp"}));
    for (ToolRun& tool : tools) {
        const ToolResult result = tool.Wait();
        EXPECT_EQ(result.exitCode, 9);
        EXPECT_NE(result.err.find("does not answer"), std::string::npos) << result.err;
    }
    EXPECT_GT(Clock::now() - begin, std::chrono::seconds{55});
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{120});
    unsetenv("LD_LIBRARY_PATH");
}

}  // namespace
}  // namespace vorn::test
