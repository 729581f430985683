/**
 * @file Busy.h
 * Asking again: a scanner that carries its lamp home says that it is busy.
 */
#pragma once

#include <chrono>
#include <thread>

#include <sane/sane.h>

namespace vorn::wia {

inline bool NeverStopped()
{
    return false;
}

/** Repeats a call for a while as long as it answers that the device is busy, and no one stops it. */
template <typename Call, typename Stopped = bool (*)()>
SANE_Status WhileBusy(Call&& call, Stopped&& stopped = NeverStopped)
{
    constexpr auto kPatience = std::chrono::seconds{15};
    constexpr auto kPause = std::chrono::milliseconds{100};
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const SANE_Status status = call();
        if (status != SANE_STATUS_DEVICE_BUSY || std::chrono::steady_clock::now() >= end)
            return status;
        std::this_thread::sleep_for(kPause);
        if (stopped())
            return SANE_STATUS_CANCELLED;
    }
}

}  // namespace vorn::wia
