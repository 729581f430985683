// What driver hosts mean for the application that they work for: nothing that it would notice.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <thread>

#include "ScannerDesk.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

size_t Entries(const char* folder)
{
    return static_cast<size_t>(std::distance(fs::directory_iterator{folder}, {}));
}

volatile sig_atomic_t g_reaped = 0;

void ReapAll(int)
{
    const int error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0)
        g_reaped = g_reaped + 1;
    errno = error;
}

TEST_F(ScannerTest, AnApplicationThatReapsAllItsChildrenAndForksIsServedAndLeftAlone)
{
    struct sigaction reap {};
    reap.sa_handler = ReapAll;
    struct sigaction before {};
    sigaction(SIGCHLD, &reap, &before);
    sigset_t maskBefore, mask;
    sigprocmask(SIG_SETMASK, nullptr, &maskBefore);
    const size_t threads = Entries("/proc/self/task"), descriptors = Entries("/proc/self/fd");
    pid_t forked = 0;
    {
        ScannerDesk desk{2, true};
        desk.SetPages(3);
        Notes notes;
        notes.answer = [&](size_t call) {
            if (call == 2 && (forked = fork()) == 0) {
                pause();
                _exit(0);
            }
            EXPECT_EQ(Entries("/proc/self/task"), threads) << "a thread in the application";
            return 1;
        };
        EXPECT_EQ(desk.Acquire("", notes), SUCCESS);
        EXPECT_EQ(Pages("", notes).size(), 3u);
    }
    EXPECT_EQ(HostsLeft(), 0) << "the fork, which has inherited the sockets, keeps the host alive";
    kill(forked, SIGKILL);
    waitpid(forked, nullptr, 0);
    EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int number = 1; number < SIGRTMIN; ++number)
        EXPECT_EQ(sigismember(&mask, number), sigismember(&maskBefore, number)) << number;
    struct sigaction after {};
    sigaction(SIGCHLD, &before, &after);
    EXPECT_EQ(after.sa_handler, ReapAll);
    EXPECT_GT(g_reaped, 0);
}

TEST_F(ScannerTest, AHostEndsWithTheApplicationWhateverEndsThat)
{
    for (const int number : {SIGKILL, SIGSEGV, SIGTERM}) {
        fs::create_directories(Folder() / "out");
        fs::create_directories(Folder() / "tmp");
        ToolRun tool{Folder(),
                     {"-d", "test:0", "--set", "read-delay=1", "--set", "read-delay-duration=200000",
                      "--resolution", "300", "-o", "a.tif"}};
        for (int i = 0; i < 100 && HostsLeft() == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
        EXPECT_GT(HostsLeft(), 0);
        tool.Signal(number);
        tool.Wait();
        const auto begin = Clock::now();
        while (HostsLeft() > 0 && Clock::now() - begin < std::chrono::seconds{15})
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
        EXPECT_EQ(HostsLeft(), 0) << "signal " << number;
    }
}

/** One acquisition may run in a process at a time; all else may run side by side. */
std::mutex g_acquisition;

TEST_F(ScannerTest, SessionsOnSeveralThreadsKeepTheirOwnSettings)
{
    const auto scan = [this](int session, const std::string& device) {
        const uint32_t generation = 1 + static_cast<uint32_t>(session) % 2;
        const std::string resolution = std::to_string(30 + 10 * session);
        std::unique_lock opening{g_acquisition};  // a scan would keep the options from being set
        ScannerDesk desk{generation, false, Wide(device).c_str()};
        opening.unlock();
        for (int round = 0; round < 4; ++round) {
            EXPECT_GT(desk.Get(WIA_IPS_XEXTENT), 0);
            const std::scoped_lock lock{g_acquisition};
            desk.Set({{"resolution", resolution}});
            Notes notes;
            EXPECT_EQ(desk.Acquire("", notes), SUCCESS);
            const auto pages = Pages("", notes);
            ASSERT_EQ(pages.size(), 1u);
            EXPECT_NEAR(pages[0].height, 100 / 25.4 * (30 + 10 * session), 2)
                << "another session's resolution";
        }
    };
    for (const bool oneScanner : {true, false}) {
        std::vector<std::thread> threads;
        for (int session = 0; session < (oneScanner ? 2 : 4); ++session)
            threads.emplace_back(scan, session, "test:" + std::to_string(oneScanner ? 0 : session));
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST_F(ScannerTest, ASecondSessionIsToldThatTheScannerIsBusyWhileAPageIsScanned)
{
    ScannerDesk first{2, false};
    std::atomic<bool> ready = false, scanning = false, heard = false;
    std::thread second{[&] {
        ScannerDesk other{1, false};
        ready = true;
        const auto end = Clock::now() + std::chrono::seconds{20};
        while (!scanning && Clock::now() < end)
            std::this_thread::yield();
        EXPECT_EQ(other.TrySet(WIA_IPS_XRES, 75), ERR_WIA_BUSY);
        heard = true;
    }};
    while (!ready)
        std::this_thread::yield();
    first.Set({{"resolution", "100"}});
    Notes notes;
    notes.answer = [&](size_t call) {
        const auto end = Clock::now() + std::chrono::seconds{20};
        for (scanning = call > 1; scanning && !heard && Clock::now() < end;)
            std::this_thread::yield();
        return 1;
    };
    EXPECT_EQ(first.Acquire("", notes), SUCCESS);
    second.join();
    EXPECT_EQ(first.Get(WIA_IPS_XRES), 100);
}

}  // namespace
}  // namespace vorn::test
