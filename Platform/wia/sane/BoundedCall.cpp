#include "BoundedCall.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "Library.h"

namespace vorn::wia {

namespace {

/** What the call and who waits for it share. */
class Shared {
public:
    void Run(const std::function<void()>& call, const std::function<void()>& after)
    {
        const NoBrokenPipe noBrokenPipe;
        call();
        std::unique_lock lock{mutex_};
        done_ = true;
        ended_.notify_one();
        if (!givenUp_)
            return;
        after();
        ReleaseSane();
    }

    /** @return false when the call was given up */
    bool Await(std::chrono::milliseconds patience)
    {
        std::unique_lock lock{mutex_};
        givenUp_ = !ended_.wait_for(lock, patience, [this] { return done_; });
        if (givenUp_)
            KeepSane();
        return !givenUp_;
    }

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool done_ = false, givenUp_ = false;
};

}  // namespace

bool MayTakeForever(std::string_view name) noexcept
{
    return name.starts_with("net:");
}

bool CallWithin(std::chrono::milliseconds patience, std::function<void()> call, std::function<void()> after)
{
    const auto shared = std::make_shared<Shared>();
    std::thread thread = [&] {
        const NoSignals forTheThread;
        return std::thread{
            [shared, call = std::move(call), after = std::move(after)] { shared->Run(call, after); }};
    }();
    const bool returned = shared->Await(patience);
    if (returned)
        thread.join();
    else
        thread.detach();
    return returned;
}

}  // namespace vorn::wia
