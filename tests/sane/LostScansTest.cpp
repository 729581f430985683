// Scans that end before their time: stopped, kept by the device, or left by the host that a scanner is reached through.
// The next one works.

#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "Saned.h"
#include "ScannerDesk.h"
#include "tool/ToolRun.h"
#include "wia/sane/FindScanners.h"

namespace vorn::test {
namespace {

using Clock = std::chrono::steady_clock;

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
                ScannerDesk desk{generation, false};
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
        {"start-wait", ERR_ABORTED},  // ends when it is cancelled
        {"start-hang", ERR_ABORTED},
        {"read-wait", ERR_ABORTED},
        {"read-hang", ERR_ABORTED},
        {"read-spin", ERR_ABORTED},
        {"read-lost", ERR_WIA_DEVICE_COMMUNICATION},
        {"read-crash", ERR_WIA_EXCEPTION_IN_DRIVER},
    };
    setenv("LD_LIBRARY_PATH", VORN_BACK_ENDS, 1);
    for (const auto& row : kCases) {
        for (const uint32_t generation : {1u, 2u}) {
            const std::string device = "misbehaving:" + row.manner;
            SCOPED_TRACE(device + " " + std::to_string(generation));
            std::filesystem::remove(SaneFolder() / ("shown-" + row.manner));
            ScannerDesk desk{generation, false, Wide(device).c_str()};
            Notes notes;
            const auto begin = Clock::now();
            notes.answer = [&](size_t) {
                return Clock::now() - begin > std::chrono::milliseconds{100} ? ERR_ABORTED : 1;
            };
            EXPECT_EQ(desk.Acquire(Folder() / "a.tif", notes), row.status);
            EXPECT_LT(Clock::now() - begin, std::chrono::seconds{2});
            EXPECT_FALSE(std::filesystem::exists(Folder() / "a.tif"));
            Notes next;
            EXPECT_EQ(desk.Acquire("", next), SUCCESS);
            EXPECT_EQ(Pages("", next).size(), 1u);
        }
    }
    unsetenv("LD_LIBRARY_PATH");
}

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
    std::filesystem::create_directory(Folder() / "out");  // where the tool works
    ToolRun tool{Folder(), {"-L"}};
    auto begin = Clock::now();
    ScannerDesk desk{2, false};
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{2}) << "what has an id needs no search";
    begin = Clock::now();
    const auto found = wia::FindScanners(std::chrono::seconds{2}).scanners;
    WriteBytes(SaneFolder() / "net.conf", "");
    EXPECT_EQ(desk.RootText(WIA_DIP_DEV_NAME), "Noname frontend-tester");
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{8});
    ASSERT_EQ(found.size(), 4u);
    EXPECT_EQ(found[0].name, "test:0");

    WiaSession* session = nullptr;
    ASSERT_EQ(Vorn_WiaInitSession(2, &session), SUCCESS);
    begin = Clock::now();
    const auto select = [session] {
        return Vorn_WiaSelectDevice(session, VORN_TEXT("net:127.0.0.2:test:0"));
    };
    EXPECT_EQ(select(), ERR_WIA_OFFLINE);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{20});
    const ToolResult told = tool.Wait();
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_EQ(told.out.find("test:0\t"), 0u);
    EXPECT_NE(told.err.find("still looking for devices"), std::string::npos);
    host.reset();
    Notes notes;
    EXPECT_EQ(desk.Acquire("", notes), SUCCESS) << "a machine that is silent keeps no other scanner";
    Vorn_WiaEndSession(session);
}

TEST_F(ScannerTest, AScannerOfAnotherMachineIsOneOfOurs)
{
    if (!SilentHost{INADDR_LOOPBACK}.bound)
        GTEST_SKIP() << "something listens at 127.0.0.1:6566 already";
    const std::vector<std::string> command = SanedCommand();
    auto saned = std::make_unique<Process>(command);
    if (!saned->Started())
        GTEST_SKIP() << "saned (package sane-utils) is not installed";
    WriteBytes(SaneFolder() / "net.conf", "127.0.0.1\n");
    bool listed = false;
    for (int i = 0; i < 50 && !listed; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        for (const auto& scanner : wia::FindScanners(std::chrono::seconds{5}).scanners)
            listed = listed || scanner.name == "net:127.0.0.1:test:0";
    }
    ASSERT_TRUE(listed);
    const SaneOptions options{{"mode", "Color"}, {"resolution", "75"}};
    const SeenPage expected = ScanimagePage(options);
    for (const uint32_t generation : {1u, 2u}) {
        ScannerDesk desk{generation, true, VORN_TEXT("net:127.0.0.1:test:0")};
        desk.Set(options);
        desk.Set({{"read-limit", "yes"}, {"read-limit-size", "20000"}});  // the one allows the other
        desk.SetPages(2);
        Notes notes;
        EXPECT_EQ(desk.Acquire("", notes), SUCCESS);
        const std::vector<SeenPage> pages = Pages("", notes);
        ASSERT_EQ(pages.size(), 2u);
        EXPECT_TRUE(pages[0].pixels == expected.pixels && pages[1].pixels == expected.pixels);
    }
    ScannerDesk desk{2, false, VORN_TEXT("net:127.0.0.1:test:0")};
    desk.Set({{"resolution", "300"}, {"read-delay", "yes"}, {"read-delay-duration", "50000"}});
    auto killed = Clock::time_point::max();
    Notes stopped;
    stopped.answer = [&](size_t call) {
        if (call == 3) {
            saned->Signal(SIGSTOP);
            killed = Clock::now();
        }
        return call < 3 || Clock::now() - killed < std::chrono::milliseconds{300} ? 1 : ERR_ABORTED;
    };
    EXPECT_EQ(desk.Acquire(Folder() / "a.tif", stopped), ERR_ABORTED)
        << "a host that stands still keeps no one from a stop";
    EXPECT_LT(Clock::now() - killed, std::chrono::seconds{7});
    saned->Signal(SIGCONT);
    Notes notes;
    notes.answer = [&](size_t call) {
        if (call == 3) {
            saned->Signal(SIGKILL);
            killed = Clock::now();
        }
        return 1;
    };
    const int32_t status = desk.Acquire("", notes);
    EXPECT_TRUE(status == ERR_WIA_DEVICE_COMMUNICATION || status == ERR_WIA_EXCEPTION_IN_DRIVER)
        << status << ": its host has gone, and the driver may crash on that";
    EXPECT_LT(Clock::now() - killed, std::chrono::seconds{2});

    saned.reset();
    EXPECT_EQ(desk.Acquire("", notes), ERR_WIA_DEVICE_COMMUNICATION) << "it is not back yet";
    saned = std::make_unique<Process>(command);
    notes.answer = [](size_t) { return 1; };
    int32_t back = ERR_WIA_DEVICE_COMMUNICATION;
    for (int i = 0; i < 50 && back != SUCCESS; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        back = desk.Acquire("", notes);
    }
    EXPECT_EQ(back, SUCCESS) << "it is back";
    WriteBytes(SaneFolder() / "net.conf", "");
}

}  // namespace
}  // namespace vorn::test
