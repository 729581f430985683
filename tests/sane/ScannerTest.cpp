// Scanners of SANE through the exported functions: the same pixels as SANE's own program delivers, whatever the
// scanner's manners; the ends of its feeder; each of its failures; and what cannot be told of it in advance.

#include "ScannerDesk.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

struct PixelCase {
    const char* what;
    SaneOptions options;
};

class PixelsTest : public ScannerTest {
protected:
    /** In both generations, into memory and into a file. */
    void ExpectScanimagesPixels(const std::string& device, const PixelCase& row)
    {
        const SeenPage expected = ScanimagePage(row.options, device);
        for (const uint32_t generation : {1u, 2u}) {
            for (const bool toFile : {false, true}) {
                SCOPED_TRACE(std::string{row.what} + (toFile ? ", file, " : ", memory, ") +
                             std::to_string(generation));
                const std::filesystem::path file = toFile ? Folder() / "a.tif" : "";
                ScannerDesk desk{generation, false, Wide(device).c_str()};
                desk.Set(row.options);
                Notes notes;
                ASSERT_EQ(desk.Acquire(file, notes), SUCCESS);
                const std::vector<SeenPage> pages = Pages(file, notes);
                ASSERT_EQ(pages.size(), 1u);
                EXPECT_EQ(pages[0].width, expected.width);
                EXPECT_EQ(pages[0].height, expected.height);
                EXPECT_EQ(pages[0].bitsPerPixel, expected.bitsPerPixel);
                EXPECT_TRUE(pages[0].pixels == expected.pixels);
                EXPECT_NEAR(pages[0].xDpi, desk.Get(WIA_IPS_XRES), 0.02);
            }
        }
    }
};

TEST_F(PixelsTest, PixelsAreThoseThatScanimageDelivers)
{
    const PixelCase kCases[] = {
        {"colour", {{"mode", "Color"}, {"resolution", "75"}}},
        {"grey", {{"mode", "Gray"}, {"resolution", "60"}}},
        {"one bit, a width of no whole bytes", {{"mode", "Gray"}, {"depth", "1"}, {"resolution", "41"}}},
        {"grey of 16 bits", {{"mode", "Gray"}, {"depth", "16"}}},
        {"colour of 16 bits", {{"mode", "Color"}, {"depth", "16"}}},
        {"another picture", {{"test-picture", "Grid"}, {"mode", "Color"}}},
        {"unknown height", {{"hand-scanner", "yes"}}},
        {"three frames", {{"mode", "Color"}, {"three-pass", "yes"}, {"three-pass-order", "GBR"}}},
        {"three frames of unknown height",
         {{"mode", "Color"}, {"hand-scanner", "yes"}, {"three-pass", "yes"}}},
        {"a byte at a time",
         {{"mode", "Color"}, {"resolution", "20"}, {"read-limit", "yes"}, {"read-limit-size", "1"}}},
        {"parameters that are a guess before the scan", {{"mode", "Color"}, {"fuzzy-parameters", "yes"}}},
        {"lost pixels at the ends of lines", {{"mode", "Color"}, {"ppl-loss", "7"}}},
        {"nothing to read yet", {{"mode", "Gray"}, {"non-blocking", "yes"}}},
    };
    for (const PixelCase& row : kCases)
        ExpectScanimagesPixels("test:0", row);
}

/** A back end whose scanner is a file, of which it knows neither area nor size before. */
TEST_F(PixelsTest, PixelsOfFilesAreThoseThatScanimageDelivers)
{
    std::string samples(53 * 31 * 3, 0), bits(7 * 31, 0);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<char>(i * i % 251);
    for (size_t i = 0; i < bits.size(); ++i)
        bits[i] = static_cast<char>(i * 37);
    const std::string colour = (Folder() / "colour.ppm").string(),
                      lineart = (Folder() / "lineart.pbm").string();
    WriteBytes(colour, "P6\n53 31\n255\n" + samples);
    WriteBytes(lineart, "P4\n53 31\n" + bits);
    const PixelCase kCases[] = {
        {"colour", {{"filename", colour}}},
        {"grey", {{"filename", colour}, {"grayify", "yes"}}},
        {"three frames", {{"filename", colour}, {"grayify", "no"}, {"three-pass", "yes"}}},
        {"unknown height", {{"filename", colour}, {"three-pass", "no"}, {"hand-scanner", "yes"}}},
        {"one bit", {{"filename", lineart}, {"hand-scanner", "no"}}},
    };
    for (const PixelCase& row : kCases)
        ExpectScanimagesPixels("pnm:0", row);
}

TEST_F(ScannerTest, TheFeederGivesTenPagesWithoutAStopBetweenThem)
{
    for (const uint32_t generation : {1u, 2u}) {
        for (const bool toFile : {false, true}) {
            SCOPED_TRACE(std::to_string(generation) + (toFile ? " file" : " memory"));
            const std::filesystem::path file = toFile ? Folder() / "a.tif" : "";
            ScannerDesk desk{generation, true};
            desk.Set({{"resolution", "20"}});
            desk.SetPages(0);
            Notes notes;
            EXPECT_EQ(desk.Acquire(file, notes), SUCCESS);
            EXPECT_EQ(Pages(file, notes).size(), 10u);
            desk.SetPages(3);
            Notes three;
            EXPECT_EQ(desk.Acquire(file, three), SUCCESS);
            EXPECT_EQ(Pages(file, three).size(), 3u);
        }
    }
}

ToolResult RunTool(const std::filesystem::path& folder, const Arguments& arguments)
{
    for (const char* sub : {"out", "tmp"})
        std::filesystem::create_directory(folder / sub);
    return ToolRun{folder, arguments}.Wait();
}

TEST_F(ScannerTest, APageThatAFileCannotHoldIsRefusedBeforeTheScan)
{
    const std::string conf = BytesOf(SaneFolder() / "test.conf");
    WriteBytes(SaneFolder() / "test.conf", conf + "geometry_max 2000\n");
    constexpr struct {
        const char* file;
        const char* width;  ///< at 1200 dpi, as long as wide
        const char* said;
    } kCases[] = {
        {"a.bmp", "600", "a BMP file holds (2 GiB); use a lower --resolution or a smaller area, or .tif"},
        {"a.tif", "900", "a TIFF file holds (4 GiB); use a lower --resolution or a smaller area, or .png"},
        {"a.jpg", "1500", "a JPEG file holds (65500 pixels a side)"},
        {"a.pdf", "1500", "the JPEG data in which it comes can hold"},
    };
    for (const auto& row : kCases) {
        const ToolResult result =
            RunTool(Folder(), {"-d", "test:0", "--mode", "color", "--resolution", "1200", "-x", row.width,
                               "-y", row.width, "-o", row.file});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.err.find(row.said), std::string::npos) << result.err;
        EXPECT_TRUE(std::filesystem::is_empty(Folder() / "out"));
    }
    WriteBytes(SaneFolder() / "test.conf", conf);
}

TEST_F(ScannerTest, EachFailureHasItsStatusAndTheNextScanWorks)
{
    constexpr struct {
        const char* status;
        int32_t expected;
        int exitCode;
        const char* advice;
    } kCases[] = {
        {"SANE_STATUS_UNSUPPORTED", ERR_WIA_INVALID_COMMAND, 9, "choose other settings"},
        {"SANE_STATUS_INVAL", ERR_WIA_INCORRECT_HARDWARE_SETTING, 9, "-A lists them"},
        {"SANE_STATUS_EOF", ERR_WIA_INVALID_DRIVER_RESPONSE, 9, "driver"},
        {"SANE_STATUS_JAMMED", ERR_WIA_PAPER_JAM, 6, "clear it"},
        {"SANE_STATUS_NO_DOCS", ERR_WIA_PAPER_EMPTY, 7, "put paper in"},
        {"SANE_STATUS_COVER_OPEN", ERR_WIA_COVER_OPEN, 8, "close it"},
        {"SANE_STATUS_IO_ERROR", ERR_WIA_DEVICE_COMMUNICATION, 9, "cable"},
        {"SANE_STATUS_NO_MEM", ERR_WIA_UNEXPECTED, 9, "try again"},
        {"SANE_STATUS_ACCESS_DENIED", ERR_ACCESS_DENIED, 1, "right"},
        {"SANE_STATUS_DEVICE_BUSY", ERR_WIA_BUSY, 3, "try again"},
        {"SANE_STATUS_CANCELLED", ERR_ABORTED, 2, "cancelled"},
    };
    const std::filesystem::path file = Folder() / "a.tif";
    for (const auto& row : kCases) {
        for (const uint32_t generation : {1u, 2u}) {
            for (const bool toFile : {false, true}) {
                SCOPED_TRACE(std::string{row.status} + (toFile ? " file " : " memory ") +
                             std::to_string(generation));
                ScannerDesk desk{generation, false};
                desk.Set({{"resolution", "20"}, {"read-return-value", row.status}});
                Notes notes;
                EXPECT_EQ(desk.Acquire(toFile ? file : "", notes), row.expected);
                EXPECT_FALSE(std::filesystem::exists(file));
                desk.Set({{"read-return-value", "Default"}});
                EXPECT_EQ(desk.Acquire("", notes), SUCCESS);
            }
            const Arguments arguments{"-d",    "test:0",
                                      "--wia", std::to_string(generation),
                                      "--set", std::string{"read-return-value="} + row.status,
                                      "-o",    "a.tif"};
            const ToolResult told = RunTool(Folder(), arguments);
            EXPECT_EQ(told.exitCode, row.exitCode) << told.err;
            EXPECT_NE(told.err.find("test:0: "), std::string::npos) << told.err;
            EXPECT_NE(told.err.find(row.advice), std::string::npos) << told.err;
            EXPECT_TRUE(std::filesystem::is_empty(Folder() / "out"));
        }
    }
}

TEST_F(ScannerTest, SettingsFollowWhatTheScannerMakesOfThem)
{
    for (const uint32_t generation : {1u, 2u}) {
        ScannerDesk desk{generation, false};
        desk.Set(WIA_IPS_XRES, 100);
        EXPECT_EQ(desk.Get(WIA_IPS_YRES), 100);
        desk.Set(WIA_IPS_XPOS, 100);
        desk.Set(WIA_IPS_XEXTENT, 201);
        EXPECT_EQ(desk.Get(WIA_IPS_XEXTENT), 201);
        EXPECT_EQ(desk.Get(WIA_IPA_PIXELS_PER_LINE), 201);
        desk.Set(WIA_IPS_XRES, 200);  // the same piece of paper
        EXPECT_EQ(desk.Get(WIA_IPS_XPOS), 200);
        EXPECT_EQ(desk.Get(WIA_IPS_XEXTENT), 402);
        desk.Set(WIA_IPA_DATATYPE, WIA_DATA_THRESHOLD);
        EXPECT_EQ(desk.Get(WIA_IPA_DEPTH), 1);
        Notes notes;
        ASSERT_EQ(desk.Acquire("", notes), SUCCESS);
        EXPECT_EQ(Pages("", notes).at(0).width, 402u);
        EXPECT_EQ(Pages("", notes).at(0).bitsPerPixel, 1u);

        // Another session on the same scanner has settings of its own.
        ScannerDesk other{3 - generation, true};
        other.Set({{"mode", "Color"}, {"resolution", "20"}});
        Notes colour;
        ASSERT_EQ(other.Acquire("", colour), SUCCESS);
        EXPECT_EQ(Pages("", colour).at(0).bitsPerPixel, 24u);
        ASSERT_EQ(desk.Acquire("", notes), SUCCESS);
        EXPECT_EQ(Pages("", notes).back().width, 402u);
    }
}

TEST_F(ScannerTest, TheAreaInForceStaysToTheLastPixelAtAnyResolution)
{
    for (const char* dpi : {"50", "37", "300"}) {
        const ToolResult told =
            RunTool(Folder(), {"-d", "test:0", "--overwrite", "--dpi", dpi, "-o", "a.tif"});
        ASSERT_EQ(told.exitCode, 0) << told.err;
        Notes notes;
        const SeenPage page = Pages(Folder() / "out" / "a.tif", notes).at(0);
        const SeenPage expected = ScanimagePage({{"resolution", dpi}});
        EXPECT_EQ(page.width, expected.width) << dpi;
        EXPECT_EQ(page.height, expected.height) << dpi;
        EXPECT_TRUE(page.pixels == expected.pixels) << dpi;
    }
}

TEST_F(ScannerTest, OptionsTakeFractionsAndNoMoreTextThanTheyHaveRoomFor)
{
    const struct {
        std::string setting;
        int exitCode;
        const char* said = "";
    } kCases[] = {{"br-x=63.5", 0},
                  {"br-x=63,5", 1},
                  {"fixed-constraint-word-list=12.1", 0},  // no binary fraction
                  {"fixed-constraint-word-list=12", 0, "made it 12.1"},
                  {"fixed-constraint-word-list=-33", 0, "made it -32.7"},
                  {"fixed-constraint-word-list=1000", 1, "it takes -32.7|12.1|42|129.5 and is at 42"},
                  {"fixed-constraint-range=-42.17", 0},
                  {"fixed-constraint-range=-42.18", 1},
                  {"string=short", 0},
                  {"string=" + std::string(5000, 'x'), 1}};
    for (const auto& row : kCases) {
        const Arguments arguments{"-n",    "-d",       "test:0", "--set", "enable-test-options=yes",
                                  "--set", row.setting};
        const ToolResult told = RunTool(Folder(), arguments);
        EXPECT_EQ(told.exitCode, row.exitCode) << row.setting.substr(0, 40) << told.err;
        EXPECT_NE(told.err.find(row.said), std::string::npos) << told.err;
    }
    const Arguments all{"-A", "-d", "test:0", "--set", "enable-test-options=yes"};
    const ToolResult shown = RunTool(Folder(), all);
    for (const char* line : {"-32.7|12.1|42|129.5 [42]", "-42.17..32767.9999 (in steps of 2) [41.83]"})
        EXPECT_NE(shown.out.find(line), std::string::npos) << shown.out;

    // What an application is shown as a whole number can be written, and becomes what the scanner has.
    ScannerDesk desk{2, false};
    desk.Set({{"enable-test-options", "yes"}});
    for (const auto& [written, read] : {std::pair{12, 12}, {130, 130}, {-33, -32}, {42, 42}}) {
        desk.Set({{"fixed-constraint-word-list", std::to_string(written)}});
        int32_t value = 0;
        EXPECT_EQ(
            Vorn_WiaGetPropertyLong(desk.Session(), desk.item, u"fixed-constraint-word-list", 0, &value),
            SUCCESS);
        EXPECT_EQ(value, read);
    }
}

TEST_F(ScannerTest, DepthThatNoFileGetsIsRefusedOrReported)
{
    for (const char* generation : {"1", "2"})
        for (const char* file : {"a.png", "a.tif", "a.pdf"}) {
            const ToolResult told = RunTool(Folder(), {"-d", "test:0", "--wia", generation, "--mode", "gray",
                                                       "--set", "depth=16", "-o", file});
            EXPECT_EQ(told.exitCode, 1) << told.err;
            EXPECT_NE(told.err.find("depth=8"), std::string::npos) << told.err;
            EXPECT_TRUE(std::filesystem::is_empty(Folder() / "out"));
        }
    const std::string conf = BytesOf(SaneFolder() / "test.conf");
    WriteBytes(SaneFolder() / "test.conf", conf + "depth 16\n");
    const ToolResult own = RunTool(Folder(), {"-d", "test:0", "--resolution", "50", "-o", "a.png"});
    EXPECT_EQ(own.exitCode, 0);
    EXPECT_NE(own.err.find("16 bits a sample; files get 8"), std::string::npos) << own.err;
    WriteBytes(SaneFolder() / "test.conf", conf);
}

TEST_F(ScannerTest, TextOfADeviceNeverReachesATerminalRaw)
{
    const std::string folder = "pa\x1B[2Jge\ns\t\xE2\x80\xAE\xC2\x9B";
    RunTool(Folder(), {"-V"});
    std::filesystem::create_directory(Folder() / "out" / folder);
    WriteBytes(SaneFolder() / "dll.aliases", "alias \"Net\x1B]0;x\a\xE2\x80\xAE\xFFwork\" test:0\n");
    const struct {
        Arguments arguments;
        const char* said;  ///< on either output
    } kCases[] = {{{"-L"}, "Net?]0;x??\xEF\xBF\xBDwork\t"},
                  {{"-d", "nothing", "-n"}, "\n  Net?]0;x??\xEF\xBF\xBDwork  "},
                  {{"-n"}, "scanning with "},
                  {{"-A", "-d", "virtual:scanner", "--virtual-pages", folder}, "pa?[2Jge?s???"},
                  {{"-d", "virtual:scanner", "--virtual-pages", folder + "x", "-n"}, "no such folder"}};
    for (const auto& row : kCases) {
        const ToolResult told = RunTool(Folder(), row.arguments);
        const std::string all = told.out + told.err;
        EXPECT_NE(all.find(row.said), std::string::npos) << all;
        for (const char* raw : {"\x1B", "\a", "\xE2\x80\xAE", "\xC2\x9B", "\xFF"})
            EXPECT_EQ(all.find(raw), std::string::npos) << row.said;
    }
    const std::string json = RunTool(Folder(), {"-L", "--json"}).out;
    EXPECT_NE(json.find("Net\\u001b]0;x\\u0007\xE2\x80\xAE"), std::string::npos)
        << "programs get the name as it is";
    std::filesystem::remove(SaneFolder() / "dll.aliases");
}

}  // namespace
}  // namespace vorn::test
