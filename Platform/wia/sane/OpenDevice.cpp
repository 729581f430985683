#include "OpenDevice.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>

#include "../../include/comobject.h"
#include "../../include/platform.h"
#include "Busy.h"
#include "Library.h"
#include "Statuses.h"

namespace vorn::wia {

namespace {

constexpr auto kPatience = std::chrono::seconds{15};

/** What the call and who waits for it share. */
class Opening {
public:
    explicit Opening(std::string name) : name_{std::move(name)} {}

    void Run()
    {
        const NoBrokenPipe noBrokenPipe;
        SANE_Handle handle = nullptr;
        const SANE_Status status = Sane()->open(name_.c_str(), &handle);
        std::unique_lock lock{mutex_};
        status_ = status;
        handle_ = handle;
        done_ = true;
        ended_.notify_one();
        if (!givenUp_)
            return;
        if (status == SANE_STATUS_GOOD)
            Sane()->close(handle);
        ReleaseSane();
    }

    /** @return false when the device was given up */
    bool Await()
    {
        std::unique_lock lock{mutex_};
        givenUp_ = !ended_.wait_for(lock, kPatience, [this] { return done_; });
        if (givenUp_)
            KeepSane();
        return !givenUp_;
    }

    SANE_Status Status() const noexcept { return status_; }
    SANE_Handle Handle() const noexcept { return handle_; }

private:
    std::string name_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool done_ = false, givenUp_ = false;
    SANE_Status status_ = SANE_STATUS_GOOD;
    SANE_Handle handle_ = nullptr;
};

/** The other back ends bound their waiting themselves, and a thread takes its time. */
bool MayTakeForever(std::string_view name) noexcept
{
    return name.starts_with("net:");
}

SANE_Status OpenWithin(const std::string& name, SANE_Handle& handle)
try {
    const auto opening = std::make_shared<Opening>(name);
    std::thread thread = [&] {
        const NoSignals forTheThread;
        return std::thread{[opening] { opening->Run(); }};
    }();
    if (!opening->Await()) {
        thread.detach();
        throw Failure{WIA_ERROR_OFFLINE};
    }
    thread.join();
    handle = opening->Handle();
    return opening->Status();
} catch (const std::system_error&) {
    throw Failure{E_OUTOFMEMORY};
}

}  // namespace

SANE_Handle OpenDevice(const std::string& name)
{
    SANE_Handle handle = nullptr;
    const SANE_Status status = WhileBusy([&] {
        return MayTakeForever(name) ? OpenWithin(name, handle) : Sane()->open(name.c_str(), &handle);
    });
    if (status != SANE_STATUS_GOOD)
        throw Failure{status == SANE_STATUS_INVAL ? WIA_S_NO_DEVICE_AVAILABLE : ResultOf(status)};
    return handle;
}

}  // namespace vorn::wia
