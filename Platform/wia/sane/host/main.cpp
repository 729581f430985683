// sane-host APPLICATION: serves SANE's drivers to the process of that id, which started this one. Third-party driver code
// runs here and nowhere else: what goes wrong in it ends with this process.

#include <csignal>
#include <cstdlib>

#include <pthread.h>
#include <sys/resource.h>

#include "../../../process/Channel.h"
#include "PageSender.h"
#include "Watchdog.h"

namespace vorn::sane {

namespace {

using process::Descriptor;
using process::MessageReader;
using process::MessageWriter;

/** A driver that never stops allocating gets no more than this. */
constexpr rlim_t kAddressSpace = rlim_t{4} << 30;

/** Where the driver does not close it by mistake. */
Descriptor Secure(int passed)
{
    return Descriptor{passed}.Raised();
}

void LimitResources()
{
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which reserve more themselves
    const rlimit space{kAddressSpace, kAddressSpace};
    setrlimit(RLIMIT_AS, &space);
#endif
    const rlimit noFile{0, 0};
    setrlimit(RLIMIT_CORE, &noFile);
}

class Host {
public:
    Host(pid_t application, Descriptor control, Descriptor ring, process::SharedMemory memory)
        : channel_{std::move(control)},
          ring_{std::move(ring)},
          memory_{std::move(memory)},
          watchdog_{application, channel_.Get()}
    {
    }

    /** Until the application closes the channel. */
    void Serve()
    try {
        for (;;) {
            MessageReader request = channel_.Receive(process::Clock::time_point::max());
            const int32_t number = request.Number();
            MessageWriter rest;
            const SANE_Status status = Answer(request, rest);
            MessageWriter answer;
            answer.Number(number).Number(status).Append(rest);
            channel_.Send(answer, process::Clock::time_point::max());
        }
    } catch (const process::Lost&) {
        driver_.Close();
    }

private:
    SANE_Status Answer(MessageReader& request, MessageWriter& answer)
    {
        const auto what = static_cast<Request>(request.Number());
        if (what == Request::Search)
            return Search(request.Flag(), answer);
        if (what == Request::Open)
            return Open(request.Text(), answer);
        if (!driver_.Handle())
            return SANE_STATUS_INVAL;
        switch (what) {
            case Request::Set:
                return Set(request, answer);
            case Request::Get:
                return Get(request.Number(), answer);
            case Request::Parameters:
                return Parameters(answer);
            case Request::Start:
                return Start(answer);
            case Request::Read:
                return Read();
            default:
                driver_.Cancel();
                return SANE_STATUS_GOOD;
        }
    }

    SANE_Status Search(bool local, MessageWriter& answer)
    {
        std::vector<FoundScanner> found;
        const SANE_Status status = driver_.Search(local, found);
        Put(answer, found);
        return status;
    }

    SANE_Status Open(const std::string& name, MessageWriter& answer)
    {
        const SANE_Status status = driver_.Open(name);
        if (status == SANE_STATUS_GOOD)
            Put(answer, driver_.Options());
        return status;
    }

    /** Settings change between scans only: a batch ends. */
    SANE_Status Set(MessageReader& request, MessageWriter& answer)
    {
        driver_.Cancel();
        const SANE_Int index = request.Number();
        std::optional<RawValue> value;
        if (request.Flag())
            value = request.Bytes();
        SANE_Int info = 0;
        const SANE_Status status = driver_.Set(index, value, info);
        const bool all = (info & SANE_INFO_RELOAD_OPTIONS) != 0;
        std::vector<Option> changed;
        if (all)
            changed = driver_.Options();
        else if (std::optional<Option> option = driver_.Describe(index))
            changed.push_back(std::move(*option));
        answer.Number(all);
        Put(answer, changed);
        return status;
    }

    SANE_Status Get(SANE_Int index, MessageWriter& answer)
    {
        const std::optional<Option> option = driver_.Describe(index);
        answer.Bytes(option ? option->value : RawValue{});
        return SANE_STATUS_GOOD;
    }

    SANE_Status Parameters(MessageWriter& answer)
    {
        SANE_Parameters parameters{};
        const SANE_Status status = driver_.Parameters(parameters);
        lineBytes_ = parameters.bytes_per_line;
        Put(answer, parameters);
        return status;
    }

    SANE_Status Start(MessageWriter& answer)
    {
        watchdog_.BeginScan(driver_.Handle());
        const SANE_Status status = driver_.Start();
        if (watchdog_.EndScan())
            driver_.NoteCancelled();
        return status == SANE_STATUS_GOOD ? Parameters(answer) : status;
    }

    SANE_Status Read()
    {
        if (lineBytes_ <= 0 || static_cast<size_t>(lineBytes_) > RingLayout::kMostLineBytes)
            return SANE_STATUS_INVAL;
        watchdog_.BeginScan(driver_.Handle());
        const SANE_Status status =
            PageSender{driver_, memory_, ring_.Get(), channel_.Get()}.Send(static_cast<size_t>(lineBytes_));
        if (watchdog_.EndScan())
            driver_.NoteCancelled();
        return status;
    }

    process::Channel channel_;
    Descriptor ring_;
    process::SharedMemory memory_;
    Watchdog watchdog_;
    Driver driver_;
    SANE_Int lineBytes_ = 0;
};

}  // namespace

}  // namespace vorn::sane

/**
 * In place of the C library's: a thread stays cancellable at its system calls only. Some back ends let their reader thread be
 * cancelled wherever it is; one that holds a lock then, of the memory allocation or of the dynamic linker, never gives it back,
 * and the scan never ends.
 */
extern "C" __attribute__((visibility("default"))) int pthread_setcanceltype(int, int* before)
{
    if (before)
        *before = PTHREAD_CANCEL_DEFERRED;
    return 0;
}

int main(int argc, char** argv)
{
    using namespace vorn::sane;
    const pid_t application = argc > 1 ? std::atoi(argv[1]) : 0;
    if (application != getppid() || getpgrp() != getpid())
        return 1;  // the application has gone already, or is none
    LimitResources();
    signal(SIGPIPE, SIG_IGN);  // a network host that has gone is an error of the call that writes to it
    Descriptor control = Secure(kControl), ring = Secure(kRing);
    Host host{application, std::move(control), std::move(ring),
              vorn::process::SharedMemory::Open(Secure(kRingMemory), RingLayout::kBytes)};
    host.Serve();
    kill(0, SIGKILL);  // with the processes that the driver has left behind
}
