#include "Watchdog.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>

namespace vorn::sane {

namespace {

/** A call that waits for the device gets so long to return by itself before it is cancelled. */
constexpr auto kToReturn = std::chrono::milliseconds{300};

/** Then, and when the application has gone, the driver gets so long to put the device to rest. */
constexpr auto kToRest = std::chrono::seconds{5};

/** No signal interrupts this thread: they are the driver's. */
class NoSignals {
public:
    NoSignals() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    NoSignals(const NoSignals&) = delete;
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

}  // namespace

Watchdog::Watchdog(pid_t application, int control)
    : application_{process::Descriptor{static_cast<int>(syscall(SYS_pidfd_open, application, 0))}.Raised()},
      control_{control},
      wake_{process::Descriptor{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}.Raised()}
{
    const NoSignals forTheThread;
    std::thread{[this] { Run(); }}.detach();
}

void Watchdog::BeginScan(SANE_Handle handle)
{
    {
        const std::scoped_lock lock{mutex_};
        cancelled_ = false;
        scanning_ = handle;
    }
    eventfd_write(wake_.Get(), 1);
}

bool Watchdog::EndScan()
{
    const std::scoped_lock lock{mutex_};
    scanning_ = nullptr;
    return cancelled_;
}

bool Watchdog::IsScanning()
{
    const std::scoped_lock lock{mutex_};
    return scanning_ != nullptr;
}

bool Watchdog::HasMessage() const
{
    pollfd control{control_, POLLIN, 0};
    return poll(&control, 1, 0) > 0;
}

bool Watchdog::ApplicationEndsWithin(std::chrono::milliseconds time) const
{
    std::array<pollfd, 2> waiting{{{application_.Get(), POLLIN, 0}, {control_, POLLRDHUP, 0}}};
    return poll(waiting.data(), waiting.size(), static_cast<int>(time.count())) > 0;
}

void Watchdog::Run()
{
    bool interrupted = false;
    for (;;) {
        const short messages = IsScanning() && !interrupted ? POLLIN : 0;
        std::array<pollfd, 3> waiting{{{application_.Get(), POLLIN, 0},
                                       {control_, static_cast<short>(messages | POLLRDHUP), 0},
                                       {wake_.Get(), POLLIN, 0}}};
        if (poll(waiting.data(), waiting.size(), -1) < 0)
            continue;
        if (waiting[0].revents || (waiting[1].revents & (POLLRDHUP | POLLHUP | POLLERR)))
            EndProcess();
        if (waiting[2].revents) {
            eventfd_t ignored = 0;
            eventfd_read(wake_.Get(), &ignored);
            interrupted = false;
        } else if (waiting[1].revents & POLLIN) {
            // A message that the other thread reads meanwhile was a request for it.
            interrupted = !ApplicationEndsWithin(kToReturn) && HasMessage();
            if (interrupted)
                Interrupt();
        }
    }
}

/** SANE allows to cancel a scan at any time, also while another call waits. */
void Watchdog::Interrupt()
{
    const std::scoped_lock lock{mutex_};
    if (scanning_ && !std::exchange(cancelled_, true))
        sane_cancel(scanning_);
}

/** The other thread finds the socket closed, and puts the device to rest if the driver lets it. */
void Watchdog::EndProcess()
{
    shutdown(control_, SHUT_RDWR);
    std::this_thread::sleep_for(kToReturn);
    std::thread{[this] { Interrupt(); }}.detach();
    std::this_thread::sleep_for(kToRest);
    kill(0, SIGKILL);  // with the processes that the driver has started
    for (;;)
        pause();
}

}  // namespace vorn::sane
