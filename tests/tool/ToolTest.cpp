#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>

#include "ToolFolder.h"

namespace vorn::test {
namespace {

using Json = nlohmann::json;

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

TEST_F(Tool, MultiPageFileGrowsByAppending)
{
    for (const char* generation : {"1", "2"})
        for (const auto& [medium, extension] :
             {std::pair{kFiles, ".tif"}, {kMemory, ".tif"}, {kMemory, ".pdf"}}) {
            const std::string file = std::string{generation} + medium + extension;
            SCOPED_TRACE(file);
            const Arguments common{"-o",       file,     "--wia", generation, medium,
                                   "--source", "feeder", "--dpi", "75"};
            ASSERT_EQ(0, Run(common + Arguments{"--pages", "3"}).exitCode);
            const ToolResult result = Run(common + Arguments{"--append", "--pages", "2"});
            ASSERT_EQ(0, result.exitCode) << result.err;
            EXPECT_EQ(Lines({file}), result.out) << "a file is listed once";
            EXPECT_EQ(5u, Info(file).pageCount);
            EXPECT_EQ(Names{file}, Files());
            fs::remove(Out() / file);
        }
}

TEST_F(Tool, ANameOfAnyBytesIsTheFilesName)
{
    const std::string base = "caf\xe9 \xf0\x9f";
    const struct {
        const char* option;
        const char* extension;
    } rows[] = {{kFiles, ".tif"}, {kMemory, ".png"}, {kMemory, ".pdf"}, {"--overwrite", ".jpg"}};
    for (const char* generation : {"1", "2"})
        for (const auto& row : rows) {
            const std::string file = base + row.extension, next = base + " (1)" + row.extension;
            SCOPED_TRACE(row.option + file + generation);
            const Arguments scan{"-o", file, "--wia", generation, row.option, "--dpi", "75", "--json"};
            ToolResult result = Run(scan);
            EXPECT_EQ(0, result.exitCode) << result.err;
            EXPECT_EQ(Names{file}, Files());
            result = Run(scan);
            EXPECT_EQ(0, result.exitCode) << result.err;
            const bool replaced = row.option == std::string_view{"--overwrite"};
            EXPECT_EQ(replaced ? Names{file} : (Names{file, next}), Files());
            EXPECT_NE(std::string::npos, result.out.find("\"width\"")) << "the file could be read back";
            fs::remove(Out() / file);
            fs::remove(Out() / next);
        }
}

TEST_F(Tool, VirtualDevicesAreThereForThoseWhoAskForThem)
{
    unsetenv("VORNWIA_VIRTUAL_DEVICES");
    struct Case {
        const char* fault;
        Arguments arguments;
        int exitCode;
        const char* said;
        Names files;
    };
    const Case cases[] = {
        {"a script without a scanner files test charts", {"-o", "page.tif"}, 1, "vornscan --virtual", {}},
        {"an id in full does not open", {"-d", "virtual:scanner", "-o", "page.tif"}, 0, "", {"page.tif"}},
        {"the option brings none",
         {"--virtual", "-o", "page.tif"},
         0,
         "scanning with Virtual Flatbed and Feeder Scanner (virtual:scanner)\n",
         {"page.tif"}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.fault);
        const ToolResult result = Run(row.arguments + Arguments{"--dpi", "75"});
        EXPECT_EQ(row.exitCode, result.exitCode);
        EXPECT_NE(std::string::npos, result.err.find(row.said)) << result.err;
        EXPECT_EQ(row.files, Files());
        fs::remove(Out() / "page.tif");
    }
    EXPECT_EQ(std::string::npos, Run({"-L"}).out.find("virtual:"));
    setenv("VORNWIA_VIRTUAL_DEVICES", "1", 1);
}

struct RefusalCase {
    const char* fault;
    Arguments arguments;
    int exitCode;
    const char* said;
};

/** A name of half as many characters. */
std::string ManyBytes(size_t bytes)
{
    std::string name;
    while (name.size() < bytes)
        name += "\u00e4";
    return name;
}

TEST_F(Tool, RefusesBeforeAnythingIsScanned)
{
    Write("there.tif", "no image");
    Write("there.pdf", "%PDF-1.4\n");
    const RefusalCase cases[] = {
        {"unknown option", {"--frobnicate"}, 1, "--frobnicate"},
        {"no output file", {"--dpi", "75"}, 1, "-o"},
        {"no extension", {"-o", "page"}, 1, ".tif"},
        {"unknown extension", {"-o", "page.jpx"}, 1, ".tif"},
        {"missing directory", {"-o", "gone/page.tif"}, 9, "gone"},
        {"directory is a file", {"-o", "there.tif/page.tif"}, 9, "not a directory"},
        {"name too long", {"-o", std::string(300, 'x') + ".tif"}, 1, "259"},
        {"name of too many bytes", {"-o", ManyBytes(252) + ".tif"}, 1, "256 bytes"},
        {"no room for a number", {"--batch", ManyBytes(246) + "%d.tif"}, 1, "bytes"},
        {"damaged file to append to", {"-o", "there.tif", "--append"}, 9, "there.tif"},
        {"damaged PDF to append to", {"-o", "there.pdf", "--append"}, 9, "it is damaged"},
        {"several pages in a BMP", {"-o", "page.bmp", "--multi-page"}, 1, "one page"},
        {"contradicting modes", {"-o", "page.tif", "--append", "--overwrite"}, 1, "--overwrite"},
        {"unknown device", {"-o", "page.tif", "-d", "no such"}, 1, "no such"},
        {"ambiguous device", {"-o", "page.tif", "-d", ""}, 1, "several"},
        {"unknown generation", {"-o", "page.tif", "--wia", "3"}, 1, "--wia"},
        {"ambiguous source", {"-o", "page.tif", "--source", "f"}, 1, "ambiguous"},
        {"size without a unit", {"-o", "page.tif", "--pagesize", "8.5x11"}, 1, "8.5x11in"},
        {"unknown size", {"-o", "page.tif", "--pagesize", "a9"}, 1, "a4"},
        {"ambiguous size", {"-o", "page.tif", "--pagesize", "le"}, 1, "ambiguous"},
        {"two sizes", {"-o", "page.tif", "--pagesize", "a5", "-x", "100"}, 1, "--pagesize"},
        {"size past the glass", {"-o", "page.tif", "--pagesize", "legal"}, 1, "297.2mm"},
        {"edge past the glass", {"-o", "page.tif", "-l", "300"}, 1, "215.7mm"},
        {"negative edge", {"-o", "page.tif", "-t", "-1"}, 1, "-t"},
        {"no width", {"-o", "page.tif", "-x", "0"}, 1, "-x"},
        {"brightness out of range", {"-o", "page.tif", "--brightness", "1001"}, 1, "-1000..1000"},
        {"contrast is no number", {"-o", "page.tif", "--contrast", "high"}, 1, "--contrast"},
        {"depth that the mode does not have",
         {"-o", "page.tif", "--mode", "g", "--depth", "1"},
         1,
         "takes 8"},
        {"resolution not in the list", {"-o", "page.tif", "-d", "compact", "--dpi", "137"}, 1, "100|150|200"},
        {"source that is not there",
         {"-o", "page.tif", "-d", "compact", "--source", "adf"},
         1,
         "takes flatbed"},
        {"settings of a camera", {"-o", "page.tif", "-d", "camera", "--pagesize", "a5"}, 1, "not a scanner"},
        {"unknown compression", {"-o", "page.tif", "--compression", "zip"}, 1, "group4"},
        {"compression of another format", {"-o", "page.bmp", "--compression", "lzw"}, 1, "it has none"},
        {"group 4 of colours", {"-o", "page.tif", "--compression", "g"}, 1, "lineart"},
        {"quality past the scale", {"-o", "page.jpg", "--jpeg-quality", "101"}, 1, "--jpeg-quality"},
        {"quality of what has none", {"-o", "page.tif", "--jpeg-quality", "50"}, 1, "--jpeg-quality"},
        {"unknown format", {"-o", "page", "--format", "gif"}, 1, "tiff"},
        {"standard output", {"-o", "-", "--format", "tiff"}, 1, "standard output"},
        {"a terminal", {"-o", "/dev/ptmx", "--format", "tiff"}, 9, "no file"},
        {"pattern without a number", {"--batch", "page.tif"}, 1, "%03d"},
        {"pattern with another conversion", {"--batch", "page%s.tif"}, 1, "%03d"},
        {"pattern with two numbers", {"--batch", "%d%d.tif"}, 1, "%03d"},
        {"pattern that ends in a percent sign", {"--batch", "page%"}, 1, "%03d"},
        {"batch count of none", {"--batch", "%d.tif", "--batch-count", "0"}, 1, "--batch-count"},
        {"batch count without a batch", {"-o", "page.tif", "--batch-count", "2"}, 1, "--batch"},
        {"batch into one file", {"--batch", "%d.tif", "-o", "page.tif"}, 1, "--output-file"},
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
        EXPECT_EQ((Names{"there.pdf", "there.tif"}), Files());
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

/** A disk of its own for a directory; true when there was the right to mount one. */
class SmallDisk {
public:
    SmallDisk(const fs::path& directory, const char* size)
        : directory_{directory}, mounted_{mount("none", directory.c_str(), "tmpfs", 0, size) == 0}
    {
    }
    SmallDisk(const SmallDisk&) = delete;
    ~SmallDisk()
    {
        if (mounted_)
            umount(directory_.c_str());
    }
    explicit operator bool() const { return mounted_; }

private:
    fs::path directory_;
    bool mounted_;
};

TEST_F(Tool, FullTemporaryDirectoryIsNamed)
{
    const SmallDisk disk{folder_ / "tmp", "size=64k"};
    if (!disk)
        GTEST_SKIP() << "a full disk is not seen: no right to mount one";
    for (const char* generation : {"1", "2"}) {
        const ToolResult result = Run({"-o", "a.tif", "--wia", generation});
        EXPECT_EQ(9, result.exitCode);
        EXPECT_NE(std::string::npos, result.err.find("TMPDIR")) << result.err;
        EXPECT_EQ(Names{}, Files());
        EXPECT_TRUE(fs::is_empty(folder_ / "tmp"));
    }
}

TEST_F(Tool, FullDiskIsNamedAndLeavesTheOldFile)
{
    const fs::path disk = Out() / "small";
    fs::create_directory(disk);
    const SmallDisk mounted{disk, "size=4m"};
    if (!mounted)
        GTEST_SKIP() << "a full disk is not seen: no right to mount one";
    for (const char* medium : {kFiles, kMemory})
        for (const auto& [file, mode] : {std::pair{"small/a.tif", "--append"},
                                         {"small/a.pdf", "--append"},
                                         {"small/a.tif", "--overwrite"},
                                         {"small/a.png", "--overwrite"},
                                         {"small/a.png", "--progress"},
                                         {"small/a.jpg", "--overwrite"},
                                         {"small/a.bmp", "--overwrite"}}) {
            SCOPED_TRACE(std::string{file} + mode + medium);
            const Arguments common{"-o", file, "--source", "feeder", "--dpi", "75", medium};
            ASSERT_EQ(0, Run(common).exitCode);
            const std::string before = Read(file);
            Write("small/rest", std::string(4 << 20, ' '));
            const ToolResult result = Run(common + Arguments{mode});
            EXPECT_EQ(9, result.exitCode);
            EXPECT_NE(std::string::npos, result.err.find("disk")) << result.err;
            EXPECT_TRUE(Read(file) == before);
            fs::remove(Out() / file);
            fs::remove(disk / "rest");
            EXPECT_TRUE(fs::is_empty(disk)) << "a half-written file is left";
        }
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
        {"an unlimited batch that ends empty failed", "0", 0, {"a.bmp", "a (1).bmp"}},
        {"a batch that was met failed", "2", 0, {"a.bmp", "a (1).bmp"}},
        {"a batch that falls short succeeded", "3", 7, {"a.bmp", "a (1).bmp"}},
    };
    for (const Case& row : cases)
        for (const char* generation : {"1", "2"})
            for (const char* medium : {kFiles, kMemory}) {
                SCOPED_TRACE(std::string{row.fault} + ", generation " + generation + " " + medium);
                const Arguments arguments{"-o",    "a.bmp",   "--source", "feeder", "--virtual-pages",
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

TEST_F(Tool, BatchFilesAreNumberedByThePattern)
{
    Write("50% 009.tif", "not ours");
    for (const char* generation : {"1", "2"}) {
        const Arguments batch{
            "--batch=50%% %03d.tif", "--batch-start", "8", "--dpi", "75", "--wia", generation};
        const ToolResult all = Run(batch);
        EXPECT_EQ(0, all.exitCode) << all.err;
        EXPECT_EQ(Lines({"50% 008.tif", "50% 009 (1).tif", "50% 010.tif"}), all.out);
        EXPECT_EQ(7, Run(batch + Arguments{"--batch-count", "4"}).exitCode);
        for (const std::string& name : Files())
            if (name != "50% 009.tif")
                fs::remove(Out() / name);
    }
    EXPECT_EQ("not ours", Read("50% 009.tif"));
}

TEST_F(Tool, QualityAndFormatDecideWhatIsSaved)
{
    ASSERT_EQ(0, Run({"--dpi", "75", "-o", "fine.jpg", "--jpeg-quality", "95"}).exitCode);
    ASSERT_EQ(0, Run({"--dpi", "75", "-o", "coarse.jpg", "--jpeg-quality", "5"}).exitCode);
    EXPECT_EQ(FIL_FORMAT_JPEG, Info("fine.jpg").format);
    EXPECT_LT(2 * fs::file_size(Out() / "coarse.jpg"), fs::file_size(Out() / "fine.jpg"));
    ASSERT_EQ(0, Run({"--dpi", "75", "-o", "page.x", "--format", "pn"}).exitCode);
    EXPECT_EQ(FIL_FORMAT_PNG, Info("page.x").format);
}

/** Settings, and the picture that they must give in both generations. */
struct SettingsCase {
    const char* fault;
    Arguments arguments;
    uint32_t width, height, bitsPerPixel, dpi;
};

TEST_F(Tool, SettingsArriveInThePicture)
{
    const SettingsCase cases[] = {
        {"a page size was rounded wrongly",
         {"--mode", "GR", "--resolution", "150", "--pagesize", "A5"},
         874,
         1240,
         8,
         150},
        {"a size in inches was not one", {"--dpi", "100", "--pagesize", "8.5x11in"}, 850, 1100, 24, 100},
        {"edges were lost",
         {"--dpi", "254", "-l", "10", "-t", "20", "-x", "30", "-y", "40"},
         300,
         400,
         24,
         254},
        {"an edge moved the far side", {"--dpi", "254", "-l", "100"}, 1159, 2972, 24, 254},
        {"the area was kept in dots of another source",
         {"--source", "feeder", "--dpi", "100"},
         850,
         1400,
         24,
         100},
        {"lineart came with another depth",
         {"--mode", "l", "--dpi", "75", "--pagesize", "card"},
         253,
         159,
         1,
         75},
        {"the nearest was not taken", {"--nearest", "--dpi", "20", "--pagesize", "legal"}, 638, 878, 24, 75},
        {"the nearest of a list was not taken",
         {"-d", "compact", "--nearest", "--dpi", "137"},
         1275,
         1755,
         24,
         150},
    };
    for (const SettingsCase& row : cases)
        for (const char* generation : {"1", "2"}) {
            SCOPED_TRACE(std::string{row.fault} + ", generation " + generation);
            const ToolResult result = Run(row.arguments + Arguments{"-o", "page.tif", "--wia", generation});
            ASSERT_EQ(0, result.exitCode) << result.err;
            const FilFileInfo info = Info("page.tif");
            EXPECT_EQ(row.width, info.width);
            EXPECT_EQ(row.height, info.height);
            EXPECT_EQ(row.bitsPerPixel, info.bitsPerPixel);
            EXPECT_NEAR(row.dpi, info.xDpi, 0.01);
            fs::remove(Out() / "page.tif");
        }
}

TEST_F(Tool, DataSheetShowsTheSettingsAsTheyApply)
{
    struct Case {
        Arguments arguments;
        const char* line;
    };
    const Case cases[] = {
        {{}, "  --resolution  75..1200dpi (in steps of 1) [150]\n"},
        {{"-d", "compact"}, "  --resolution  75|100|150|200|300|600|1200dpi [150]\n"},
        {{"--mode", "gray"}, "  --mode        lineart|gray|color [gray]\n"},
        {{"--mode", "gray"}, "  --depth       8 [8]\n"},
        {{"--source", "duplex"}, "  --source      flatbed|feeder|duplex [duplex]\n"},
        {{"--pagesize", "a5"}, "  -x            0.2..215.9mm [148]\n"},
        {{"-d", "compact", "--wia", "2"}, "  --pages       [inactive]\n"},
        {{"-d", "video"}, "Virtual Video Device (virtual:video), generation"},
        {{"--wia", "1"}, "bmp (file)"},
        {{}, "[virtual:scanner] [read-only]\n"},
    };
    for (const Case& row : cases) {
        const ToolResult result = Run(Arguments{"-A"} + row.arguments);
        EXPECT_EQ(0, result.exitCode) << result.err;
        EXPECT_NE(std::string::npos, result.out.find(row.line)) << row.line << result.out;
    }
    EXPECT_EQ(Names{}, Files());
}

TEST_F(Tool, JsonCanBeRead)
{
    for (const char* generation : {"1", "2"}) {
        const Arguments common{"--json", "--wia", generation};
        const Json devices = Json::parse(Run(common + Arguments{"-L"}).out);
        EXPECT_EQ("virtual:scanner", devices.at(0).at("id"));
        const Json sheet = Json::parse(Run(common + Arguments{"-A"}).out);
        const auto& properties = sheet.at("items").at(1).at("properties");
        const auto resolution =
            std::ranges::find_if(properties, [](const Json& property) { return property.at("id") == 6147; });
        ASSERT_NE(properties.end(), resolution);
        EXPECT_EQ(1200, resolution->at("values").at("maximum"));
        EXPECT_FALSE(sheet.at("items").at(1).at("formats").empty());

        const Arguments scan{"--source", "feeder",   "--dpi", "75",     "--pages",
                             "4",        "--append", "-o",    "all.tif"};
        const ToolResult result = Run(common + scan);
        EXPECT_EQ(7, result.exitCode) << "the feeder holds three";
        const Json outcome = Json::parse(result.out);
        ASSERT_EQ(3u, outcome.at("pages").size());
        EXPECT_EQ(generation == std::string{"1"} ? 3 : 6, outcome.at("pages").at(2).at("page"));
        EXPECT_EQ(75, outcome.at("pages").at(2).at("xDpi"));
        EXPECT_EQ(7, outcome.at("error").at("exitCode"));
        const Json refused = Json::parse(Run(common + Arguments{"--dpi", "137000", "-o", "a.tif"}).out);
        EXPECT_EQ(1, refused.at("error").at("exitCode")) << "it did not begin";
    }
}

TEST_F(Tool, FailedScanLeavesTheFileToBeReplaced)
{
    fs::create_directory(Out() / "pages");
    for (const char* generation : {"1", "2"})
        for (const char* medium : {kFiles, kMemory}) {
            SCOPED_TRACE(std::string{generation} + medium);
            std::ofstream{Out() / "pages" / "1.tif"} << "no picture";
            Write("page.tif", "old");
            const ToolResult result = Run({"-o", "page.tif", "--overwrite", "--source", "feeder", "--wia",
                                           generation, medium, "--virtual-pages", "pages"});
            EXPECT_NE(0, result.exitCode);
            EXPECT_EQ("old", Read("page.tif"));
            EXPECT_EQ((Names{"page.tif", "pages"}), Files());
        }
}

TEST_F(Tool, ProgressGoesToStandardError)
{
    const ToolResult result = Run({"-o", "page.tif", "--dpi", "75", "-p"});
    EXPECT_EQ("page.tif\n", result.out);
    EXPECT_NE(std::string::npos, result.err.find("page 1: 100%")) << result.err;
    EXPECT_EQ(std::string::npos, result.err.find('\r')) << "a bar was drawn on something that is no terminal";
}

TEST_F(Tool, WaitsForPaperUntilItComesOrTheTimeIsOver)
{
    ASSERT_EQ(0, Run({"--dpi", "75", "-o", "sheet.tif"}).exitCode);
    for (const char* generation : {"1", "2"}) {
        fs::create_directory(Out() / "tray");
        const Arguments common{"--source",    "feeder",          "--pages", "0",     "-o", "page.tif",
                               "--overwrite", "--virtual-pages", "tray",    "--dpi", "75", "--wia",
                               generation,    "--wait-for-paper"};
        const ToolResult none = Run(common + Arguments{"1"});
        EXPECT_EQ(7, none.exitCode);
        EXPECT_NE(std::string::npos, none.err.find("put paper in")) << none.err;

        ToolRun stopped = RunUntil("waiting for paper", common + Arguments{"60"});
        stopped.Signal(SIGINT);
        EXPECT_EQ(2, stopped.Wait().exitCode);

        ToolRun run = RunUntil("waiting for paper", common + Arguments{"60"});
        fs::copy(Out() / "sheet.tif", Out() / "arriving");
        fs::rename(Out() / "arriving", Out() / "tray" / "sheet.tif");
        EXPECT_EQ(0, run.Wait().exitCode);
        EXPECT_EQ(1u, Info("page.tif").pageCount);
        fs::remove_all(Out() / "tray");
    }
}

}  // namespace
}  // namespace vorn::test
