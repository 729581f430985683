// Scanners of SANE through the exported functions: the same pixels as SANE's own program delivers, whatever the
// scanner's manners; the ends of its feeder; each of its failures; and what cannot be told of it in advance.

#include <arpa/inet.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <future>
#include <thread>

#include "Scanimage.h"
#include "Vornfilx.h"
#include "com.h"
#include "tool/ToolRun.h"
#include "wia/sane/FindScanners.h"

extern char** environ;

namespace vorn::test {
namespace {

using Clock = std::chrono::steady_clock;

/** A session on a scanner, and its item. */
class Desk {
public:
    Desk(uint32_t generation, bool feeder, const WCHAR* device = VORN_TEXT("test:0"))
    {
        EXPECT_EQ(Vorn_WiaInitSession(generation, &session_), SUCCESS);
        EXPECT_EQ(Vorn_WiaSelectDevice(session_, device), SUCCESS);
        EXPECT_EQ(Vorn_WiaGetRootItem(session_, nullptr, &root_), SUCCESS);
        const auto keep = [](WiaSession*, uint32_t, WiaItemHandle child, void* children) -> int32_t {
            static_cast<std::vector<WiaItemHandle>*>(children)->push_back(child);
            return SUCCESS;
        };
        EXPECT_EQ(Vorn_WiaEnumChildItems(session_, root_, keep, &children_), SUCCESS);
        item = children_.at(generation == 2 && feeder ? 1 : 0);
        if (generation == 1) {
            Set(WIA_DPS_DOCUMENT_HANDLING_SELECT, feeder ? FEEDER : FLATBED, root_);
        }
        if (WStringView{device}.find(u"test") == WStringView::npos)
            return;
        // The back end keeps its settings in the process.
        Set({{"hand-scanner", "no"},
             {"mode", "Color"},
             {"depth", "8"},
             {"three-pass", "no"},
             {"resolution", "50"},
             {"tl-x", "0"},
             {"br-x", "80"},
             {"tl-y", "0"},
             {"br-y", "100"},
             {"read-limit", "no"},
             {"read-delay", "no"},
             {"ppl-loss", "0"},
             {"fuzzy-parameters", "no"},
             {"non-blocking", "no"},
             {"select-fd", "no"},
             {"test-picture", "Color pattern"},
             {"read-return-value", "Default"}});
    }
    Desk(const Desk&) = delete;
    ~Desk()
    {
        for (WiaItemHandle child : children_)
            Vorn_WiaFreeItem(session_, child);
        Vorn_WiaEndSession(session_);
    }

    /** By SANE's names and in SANE's words. */
    void Set(const SaneOptions& options)
    {
        for (const Option& option : options) {
            const bool number = option.value.find_first_not_of("0123456789") == std::string::npos;
            const bool is = option.value == "yes";
            const WString name = Wide(option.name);
            const int32_t status =
                number || is || option.value == "no"
                    ? Vorn_WiaSetPropertyLong(session_, item, name.c_str(), 0,
                                              number ? std::stoi(option.value) : is)
                    : Vorn_WiaSetPropertyString(session_, item, name.c_str(), 0, Wide(option.value).c_str());
            EXPECT_EQ(status, SUCCESS) << option.name;
        }
    }
    void Set(PROPID id, LONG value, WiaItemHandle target = nullptr)
    {
        EXPECT_EQ(Vorn_WiaSetPropertyLong(session_, target ? target : item, nullptr, id, value), SUCCESS)
            << id;
    }
    LONG Get(PROPID id)
    {
        int32_t value = -1;
        EXPECT_EQ(Vorn_WiaGetPropertyLong(session_, item, nullptr, id, &value), SUCCESS) << id;
        return value;
    }
    std::string RootText(PROPID id)
    {
        std::array<WCHAR, 64> text{};
        uint64_t characters = text.size();
        EXPECT_EQ(Vorn_WiaGetPropertyString(session_, root_, nullptr, id, text.data(), &characters), SUCCESS);
        return Narrow(text.data());
    }
    void SetPages(LONG pages) { Set(WIA_DPS_PAGES, pages, root_); }

    /** Into memory, or into a file and from there. */
    int32_t Acquire(const std::filesystem::path& file, Notes& notes)
    {
        Set(WIA_IPA_TYMED, file.empty() ? TYMED_CALLBACK : TYMED_FILE);
        AcquireOptions options{};
        options.structSize = sizeof options;
        options.overwriteFile = 1;
        options.multiPageFile = 1;
        Wide(file).copy(options.fileName, VORNWIA_NAME_CHARS - 1);
        if (!file.empty()) {
            EXPECT_EQ(Vorn_WiaSetPropertyGUID(session_, item, nullptr, WIA_IPA_FORMAT, &WiaImgFmt_TIFF),
                      SUCCESS);
        }
        return Vorn_WiaAcquire(session_, nullptr, 0, item, &options, nullptr, nullptr, &Notes::Callback,
                               &notes);
    }

    WiaItemHandle item = nullptr;

private:
    WiaSession* session_ = nullptr;
    WiaItemHandle root_ = nullptr;
    std::vector<WiaItemHandle> children_;
};

struct PixelCase {
    const char* what;
    SaneOptions options;
};

class ScannerTest : public LibraryTest {
protected:
    void SetUp() override
    {
        setenv("SANE_CONFIG_DIR", SaneFolder().c_str(), 1);
        if (const std::string missing = WhatIsMissing(); !missing.empty())
            GTEST_SKIP() << missing;
    }

    void TearDown() override
    {
        LibraryTest::TearDown();
        setenv("SANE_CONFIG_DIR", "/nonexistent", 1);  // other tests see no scanner
    }

    void ExpectScanimagesPixels(const std::string& device, const PixelCase& row);

    /** The bitmaps of a scan, or the pages of the file that it gave. */
    std::vector<SeenPage> Pages(const std::filesystem::path& file, Notes& notes)
    {
        if (file.empty()) {
            std::erase_if(notes.pages, [](const SeenPage& page) { return page.pixels.empty(); });
            return notes.pages;
        }
        Notes saved;
        FilLoadOptions load{};
        FilDefaultLoadOptions(&load, sizeof load);
        for (load.page = 1;; ++load.page) {
            BitmapHandle bitmap{};
            if (FilLoad(Wide(file).c_str(), &bitmap, sizeof bitmap, 0, KRN_COLOR_ORDER_BGR, &load, nullptr) !=
                FIL_SUCCESS)
                return saved.pages;
            saved.Note(&bitmap, nullptr, 100, 2);
            KrnFreeBitmap(&bitmap);
        }
    }
};

/** In both generations, into memory and into a file. */
void ScannerTest::ExpectScanimagesPixels(const std::string& device, const PixelCase& row)
{
    const SeenPage expected = ScanimagePage(row.options, device);
    for (const uint32_t generation : {1u, 2u}) {
        for (const bool toFile : {false, true}) {
            SCOPED_TRACE(std::string{row.what} + (toFile ? ", file, " : ", memory, ") +
                         std::to_string(generation));
            const std::filesystem::path file = toFile ? Folder() / "a.tif" : "";
            Desk desk{generation, false, Wide(device).c_str()};
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

TEST_F(ScannerTest, PixelsAreThoseThatScanimageDelivers)
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
TEST_F(ScannerTest, PixelsOfFilesAreThoseThatScanimageDelivers)
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
            Desk desk{generation, true};
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

/**
 * A run of the tool. SANE's test device stops its own thread wherever that is, and a few times in a hundred waits for ever
 * for a lock that the thread had just taken: such a run is ended and repeated.
 */
ToolResult RunTool(const std::filesystem::path& folder, const Arguments& arguments)
{
    for (const char* sub : {"out", "tmp"})
        std::filesystem::create_directory(folder / sub);
    for (int tries = 0;; ++tries) {
        ToolRun run{folder, arguments};
        std::promise<void> ended;
        std::thread watch{[&, end = ended.get_future()] {
            if (end.wait_for(std::chrono::seconds{5}) == std::future_status::timeout)
                run.Signal(SIGKILL);
        }};
        ToolResult result = run.Wait();
        ended.set_value();
        watch.join();
        if (result.exitCode != -SIGKILL || tries == 3)
            return result;
    }
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
                Desk desk{generation, false};
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

TEST_F(ScannerTest, AStopFromAnyCallEndsTheScanSoonAndTheNextOneWorks)
{
    const SaneOptions kManners[] = {
        {{"read-delay", "yes"}},                           // its reads wait
        {{"read-delay", "yes"}, {"select-fd", "yes"}},     // tells when data has come
        {{"read-delay", "yes"}, {"non-blocking", "yes"}},  // answers that there is none yet
        {{"read-delay", "yes"}, {"hand-scanner", "yes"}},  // the page is stored before it is delivered
        {{"read-delay", "yes"}, {"three-pass", "yes"}},
    };
    for (const SaneOptions& manner : kManners) {
        for (const uint32_t generation : {1u, 2u}) {
            for (const bool toFile : {false, true}) {
                const size_t nth = toFile == (generation == 1) ? 1 : 3;
                SCOPED_TRACE(manner.back().name + " " + std::to_string(generation) +
                             (toFile ? " file " : " memory ") + std::to_string(nth));
                Desk desk{generation, false};
                desk.Set({{"resolution", "300"}});
                desk.Set(manner);
                desk.Set({{"read-delay-duration", "200000"}});
                Notes notes;
                notes.answer = [nth](size_t call) { return call == nth ? ERR_ABORTED : 1; };
                const auto begin = Clock::now();
                const int32_t status = desk.Acquire(toFile ? Folder() / "a.tif" : "", notes);
                // The second generation answers a stop of a memory transfer with success.
                EXPECT_EQ(status, generation == 2 && !toFile ? SUCCESS : ERR_ABORTED);
                EXPECT_LT(Clock::now() - begin, std::chrono::seconds{2});
                desk.Set({{"read-delay", "no"}, {"resolution", "20"}});
                Notes next;
                EXPECT_EQ(desk.Acquire("", next), SUCCESS);
                EXPECT_EQ(Pages("", next).size(), 1u);
            }
        }
    }
}

TEST_F(ScannerTest, ADeviceThatKeepsOrLosesACallIsFreeForTheNextScan)
{
    const struct {
        std::string manner;
        int32_t status;  ///< of the scan that the device spoils
    } kCases[] = {
        {"start", ERR_ABORTED},
        {"read", ERR_ABORTED},
        {"deaf", ERR_ABORTED},
        {"lost", ERR_WIA_DEVICE_COMMUNICATION},
        {"exited", ERR_WIA_DEVICE_COMMUNICATION},
    };
    setenv("LD_LIBRARY_PATH", VORN_BACK_ENDS, 1);
    for (const auto& row : kCases) {
        for (const uint32_t generation : {1u, 2u}) {
            const std::string device = "manners:" + row.manner + std::to_string(generation);
            SCOPED_TRACE(device);
            Desk desk{generation, false, Wide(device).c_str()};
            Notes notes;
            const auto begin = Clock::now();
            notes.answer = [&](size_t) {
                return Clock::now() - begin > std::chrono::milliseconds{100} ? ERR_ABORTED : 1;
            };
            EXPECT_EQ(desk.Acquire(Folder() / "a.tif", notes), row.status);
            EXPECT_LT(Clock::now() - begin, std::chrono::seconds{2});
            EXPECT_FALSE(std::filesystem::exists(Folder() / "a.tif"));
            Notes next;
            int32_t status = desk.Acquire("", next);
            while (status == ERR_WIA_BUSY && Clock::now() - begin < std::chrono::seconds{5}) {
                std::this_thread::sleep_for(std::chrono::milliseconds{100});
                status = desk.Acquire("", next);
            }
            EXPECT_EQ(status, SUCCESS);
            EXPECT_EQ(Pages("", next).size(), 1u);
        }
    }
    unsetenv("LD_LIBRARY_PATH");
}

TEST_F(ScannerTest, SettingsFollowWhatTheScannerMakesOfThem)
{
    for (const uint32_t generation : {1u, 2u}) {
        Desk desk{generation, false};
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
        Desk other{3 - generation, true};
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
    } kCases[] = {{"br-x=63.5", 0},
                  {"br-x=63,5", 1},
                  {"fixed-constraint-word-list=12.1", 0},  // no binary fraction
                  {"fixed-constraint-range=-42.17", 0},
                  {"fixed-constraint-range=-42.18", 1},
                  {"string=short", 0},
                  {"string=" + std::string(5000, 'x'), 1}};
    for (const auto& row : kCases) {
        const Arguments arguments{"-n",    "-d",       "test:0", "--set", "enable-test-options=yes",
                                  "--set", row.setting};
        const ToolResult told = RunTool(Folder(), arguments);
        EXPECT_EQ(told.exitCode, row.exitCode) << row.setting.substr(0, 40) << told.err;
    }
}

/** A process that ends with the object. */
class Process {
public:
    explicit Process(std::vector<std::string> words)
    {
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        if (posix_spawnp(&id_, arguments[0], nullptr, &attributes, arguments.data(), environ) != 0)
            id_ = 0;
        posix_spawnattr_destroy(&attributes);
    }
    Process(const Process&) = delete;
    ~Process()
    {
        if (id_ <= 0)
            return;
        kill(id_, SIGTERM);
        waitpid(id_, nullptr, 0);
    }
    /** With the processes that it has started. */
    void Kill() const { kill(-id_, SIGKILL); }
    bool Started() const { return id_ > 0; }

private:
    pid_t id_ = 0;
};

/** A socket on loopback: who connects waits for ever. */
struct SilentHost {
    explicit SilentHost(in_addr_t where)
    {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(where);
        address.sin_port = htons(6566);
        bound = bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                listen(socket, 8) == 0;
    }
    ~SilentHost() { close(socket); }
    int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool bound = false;
};

TEST_F(ScannerTest, AHostThatNeverAnswersHidesNoScanner)
{
    auto host = std::make_unique<SilentHost>(INADDR_LOOPBACK + 1);
    if (!host->bound)
        GTEST_SKIP() << "something listens at 127.0.0.2:6566 already";
    WriteBytes(SaneFolder() / "net.conf", "127.0.0.2\n");
    auto begin = Clock::now();
    Desk desk{2, false};
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{2}) << "what has an id needs no search";
    begin = Clock::now();
    const auto found = wia::FindScanners(std::chrono::seconds{2});
    WriteBytes(SaneFolder() / "net.conf", "");
    EXPECT_EQ(desk.RootText(WIA_DIP_DEV_NAME), "Noname frontend-tester");
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{8});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].name, "test:0");

    WiaSession* session = nullptr;
    ASSERT_EQ(Vorn_WiaInitSession(2, &session), SUCCESS);
    begin = Clock::now();
    const auto select = [session] {
        return Vorn_WiaSelectDevice(session, VORN_TEXT("net:127.0.0.2:test:0"));
    };
    EXPECT_EQ(select(), ERR_WIA_OFFLINE);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{20});
    EXPECT_EQ(select(), ERR_WIA_BUSY) << "the first call has not come back yet";
    host.reset();
    Notes notes;
    int32_t status = ERR_WIA_BUSY;
    for (int i = 0; i < 50 && status == ERR_WIA_BUSY; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        status = desk.Acquire("", notes);
    }
    EXPECT_EQ(status, SUCCESS);
    Vorn_WiaEndSession(session);
}

TEST_F(ScannerTest, AScannerOfAnotherMachineIsOneOfOurs)
{
    if (!SilentHost{INADDR_LOOPBACK}.bound)
        GTEST_SKIP() << "something listens at 127.0.0.1:6566 already";
    const std::vector<std::string> command{"/usr/sbin/saned", "-l", "-b", "127.0.0.1", "-e"};
    auto saned = std::make_unique<Process>(command);
    if (!saned->Started())
        GTEST_SKIP() << "saned (package sane-utils) is not installed";
    WriteBytes(SaneFolder() / "net.conf", "127.0.0.1\n");
    bool listed = false;
    for (int i = 0; i < 50 && !listed; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        for (const auto& scanner : wia::FindScanners(std::chrono::seconds{5}))
            listed = listed || scanner.name == "net:127.0.0.1:test:0";
    }
    ASSERT_TRUE(listed);
    const SaneOptions options{{"mode", "Color"}, {"resolution", "75"}};
    const SeenPage expected = ScanimagePage(options);
    for (const uint32_t generation : {1u, 2u}) {
        Desk desk{generation, true, VORN_TEXT("net:127.0.0.1:test:0")};
        desk.Set(options);
        desk.Set({{"read-limit", "yes"}, {"read-limit-size", "20000"}});  // the one allows the other
        desk.SetPages(2);
        Notes notes;
        EXPECT_EQ(desk.Acquire("", notes), SUCCESS);
        const std::vector<SeenPage> pages = Pages("", notes);
        ASSERT_EQ(pages.size(), 2u);
        EXPECT_TRUE(pages[0].pixels == expected.pixels && pages[1].pixels == expected.pixels);
    }
    Desk desk{2, false, VORN_TEXT("net:127.0.0.1:test:0")};
    desk.Set({{"resolution", "300"}, {"read-delay", "yes"}, {"read-delay-duration", "50000"}});
    auto killed = Clock::time_point::max();
    Notes notes;
    notes.answer = [&](size_t call) {
        if (call == 3) {
            saned->Kill();
            killed = Clock::now();
        }
        return 1;
    };
    EXPECT_EQ(desk.Acquire("", notes), ERR_WIA_DEVICE_COMMUNICATION) << "its host has gone";
    EXPECT_LT(Clock::now() - killed, std::chrono::seconds{2});

    saned.reset();
    EXPECT_EQ(desk.Acquire("", notes), ERR_WIA_DEVICE_COMMUNICATION) << "it is not back yet";
    saned = std::make_unique<Process>(command);
    notes.answer = [](size_t) { return 1; };
    int32_t status = ERR_WIA_DEVICE_COMMUNICATION;
    for (int i = 0; i < 50 && status != SUCCESS; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        status = desk.Acquire("", notes);
    }
    EXPECT_EQ(status, SUCCESS) << "it is back";
    WriteBytes(SaneFolder() / "net.conf", "");
}

}  // namespace
}  // namespace vorn::test
