/**
 * @file Busy.h
 * Asking again: a scanner that carries its lamp home says that it is busy.
 */
#pragma once

#include <chrono>
#include <thread>

#include <sane/sane.h>

namespace vorn::wia {

/** Repeats a call for a while as long as it answers that the device is busy. */
template <typename Call>
SANE_Status WhileBusy(Call&& call)
{
    constexpr auto kPatience = std::chrono::seconds{15};
    constexpr auto kPause = std::chrono::milliseconds{200};
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        const SANE_Status status = call();
        if (status != SANE_STATUS_DEVICE_BUSY || std::chrono::steady_clock::now() >= end)
            return status;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace vorn::wia
