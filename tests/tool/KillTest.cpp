/** The tool is killed at random moments while it adds pages to a file, or several add at once: what others read then. */
#include <gtest/gtest.h>
#include <signal.h>
#include <tiffio.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <ranges>
#include <set>
#include <thread>
#include <utility>

#include "ToolRun.h"
#include "support/Files.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

/** What each page shows, as a hash. */
using Pages = std::vector<size_t>;

/** False when a page or the chain of pages cannot be read. */
bool ReadTiff(TIFF* tiff, Pages& pages)
{
    std::string strip, page;
    for (bool more = true; more; more = !TIFFLastDirectory(tiff) && TIFFReadDirectory(tiff)) {
        strip.resize(static_cast<size_t>(TIFFStripSize(tiff)));
        page.clear();
        for (uint32_t number = 0; number < TIFFNumberOfStrips(tiff); ++number) {
            const tmsize_t count = TIFFReadEncodedStrip(tiff, number, strip.data(), -1);
            if (count <= 0)
                return false;
            page.append(strip, 0, static_cast<size_t>(count));
        }
        pages.push_back(std::hash<std::string>{}(page));
    }
    return TIFFLastDirectory(tiff) != 0;
}

bool PagesOfTiff(const fs::path& file, Pages& pages)
{
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff{TIFFOpen(file.c_str(), "r"), TIFFClose};
    return tiff && ReadTiff(tiff.get(), pages);
}

bool PagesOfPdf(const fs::path& file, Pages& pages)
{
    const fs::path pictures = file.parent_path() / "pictures";
    fs::create_directory(pictures);
    std::string read{"cd '"};
    read.append(file.parent_path()).append("' && qpdf --check a.pdf >pictures/said 2>&1");
    read.append(" && rm pictures/said && pdfimages -all a.pdf pictures/page");
    const bool sound = std::system(read.c_str()) == 0;
    for (const std::string& picture : NamesIn(pictures))
        pages.push_back(std::hash<std::string>{}(BytesOf(pictures / picture)));
    fs::remove_all(pictures);
    return sound;
}

struct Road {
    const char* name;
    Arguments arguments;
    bool (*read)(const fs::path& file, Pages& pages);
};

class Kills : public testing::Test {
protected:
    Kills()
    {
        for (const char* sub : {"out", "tmp"})
            fs::create_directory(folder.Path() / sub);
    }

    /** Starts the tool and waits until it says that the first page begins. */
    ToolRun Add(const Road& road) const
    {
        const fs::path said = folder.Path() / "stderr";
        fs::remove(said);
        const ToolRun tool{folder.Path(), Arguments{"-d", "virtual:scanner", "--source", "feeder", "--dpi",
                                                    "75", "--pages", "3", "--append", "--progress"} +
                                              road.arguments};
        std::error_code notThere;
        for (int i = 0; i < 50000 && (fs::file_size(said, notThere) == 0 || notThere); ++i)
            std::this_thread::sleep_for(std::chrono::microseconds{200});
        return tool;
    }

    /** The least that must be in the file: a page begins when the one before it is saved. */
    static size_t PagesTold(const std::string& progress)
    {
        size_t begun = 0;
        for (size_t at = 0; (at = progress.find(": 0%", at)) != progress.npos; ++at)
            ++begun;
        return begun > 0 ? begun - 1 : 0;
    }

    /** Adds to the number of kills that left a piece of the first page behind. */
    void Kill(const Road& road, int& torn) const;

    ScratchFolder folder;
};

void Kills::Kill(const Road& road, int& torn) const
{
    constexpr int kFiles = 6, kKills = 6;
    const fs::path file = folder.Path() / "out" / road.arguments.back();
    ToolRun undisturbed = Add(road);
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_EQ(undisturbed.Wait().exitCode, 0);
    const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - begun;
    std::minstd_rand random{std::random_device{}()};
    std::uniform_real_distribution<double> moment{0, whole.count()};
    Pages pages;
    uintmax_t bytes = 0;
    for (int kill = 0; kill < kFiles * kKills; ++kill) {
        if (kill % kKills == 0) {
            fs::remove(file);
            pages.clear();
            bytes = 0;
        }
        ToolRun tool = Add(road);
        std::this_thread::sleep_for(std::chrono::duration<double>{moment(random)});
        tool.Signal(SIGKILL);
        const ToolResult result = tool.Wait();
        ASSERT_TRUE(result.exitCode == -SIGKILL || result.exitCode == 0) << result.err;
        const Pages before = std::exchange(pages, {});
        ASSERT_TRUE(!fs::exists(file) || road.read(file, pages)) << "kill " << kill;
        ASSERT_GE(pages.size(), before.size() + PagesTold(result.err)) << "kill " << kill;
        ASSERT_TRUE(std::ranges::equal(before, pages | std::views::take(before.size()))) << "kill " << kill;
        if (pages.empty())
            continue;
        torn += pages.size() == before.size() && fs::file_size(file) > bytes;
        bytes = fs::file_size(file);
    }
}

TEST_F(Kills, WhilePagesAreAddedLoseNothing)
{
    const Road roads[] = {
        {"TIFF of the device", {"-o", "a.tif"}, PagesOfTiff},
        {"TIFF of the tool", {"--compression", "deflate", "-o", "a.tif"}, PagesOfTiff},
        {"PDF", {"-o", "a.pdf"}, PagesOfPdf},
    };
    int torn = 0;
    for (const Road& road : roads) {
        SCOPED_TRACE(road.name);
        Kill(road, torn);
        fs::remove(folder.Path() / "out" / road.arguments.back());
    }
    EXPECT_GT(torn, 0) << "no kill came while a page was added";
}

/** Tools that write at the same time, each with a folder of its own for what it says. */
class Writers : public Kills {
protected:
    std::vector<ToolResult> RunSideBySide(const Arguments& arguments) const
    {
        constexpr int kWriters = 8;
        std::vector<ToolRun> tools;
        for (int writer = 0; writer < kWriters; ++writer) {
            const fs::path own = folder.Path() / std::to_string(writer);
            fs::create_directories(own / "tmp");
            fs::create_directories(own / "out");
            tools.emplace_back(own, Arguments{"-d", "virtual:scanner", "--dpi", "75"} + arguments);
        }
        std::vector<ToolResult> results;
        for (ToolRun& tool : tools)
            results.push_back(tool.Wait());
        return results;
    }
};

TEST_F(Writers, OfOneFileTakeTurnsAndLoseNoPage)
{
    const std::pair<const char*, bool (*)(const fs::path&, Pages&)> kFormats[] = {{"a.pdf", PagesOfPdf},
                                                                                  {"a.tif", PagesOfTiff}};
    for (const auto& [name, read] : kFormats) {
        const fs::path file = folder.Path() / "out" / name;
        size_t successes = 0;
        for (int round = 0; round < 5; ++round) {
            for (const ToolResult& result : RunSideBySide({"--append", "-o", file})) {
                EXPECT_EQ(result.exitCode, 0) << result.err;
                successes += result.exitCode == 0;
            }
            Pages pages;
            EXPECT_TRUE(read(file, pages)) << name << ", round " << round;
            EXPECT_EQ(pages.size(), successes) << name << ", round " << round;
        }
    }
}

TEST_F(Writers, OfOneNameEachTakeTheNextFreeOne)
{
    for (const char* name : {"page.png", "page.tif", "page.pdf", "page.bmp"}) {
        std::set<std::string> named;
        for (const ToolResult& result : RunSideBySide({"-o", folder.Path() / "out" / name})) {
            EXPECT_EQ(result.exitCode, 0) << result.err;
            named.insert(result.out);
        }
        EXPECT_EQ(named.size(), 8u) << name;
    }
    EXPECT_EQ(NamesIn(folder.Path() / "out").size(), 4 * 8u);
}

}  // namespace
}  // namespace vorn::test
