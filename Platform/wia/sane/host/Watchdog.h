/**
 * @file Watchdog.h
 * The thread that acts while the driver keeps the other one: it cancels a start or a read when a message comes meanwhile,
 * and it ends the process when the application has gone and the driver does not let go.
 */
#pragma once

#include <chrono>
#include <mutex>

#include <sane/sane.h>
#include <sys/types.h>

#include "../../../process/Descriptor.h"

namespace vorn::sane {

class Watchdog {
public:
    /** @param control  the socket to the application */
    Watchdog(pid_t application, int control);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /** From now on the driver may be in a call that waits for the device. */
    void BeginScan(SANE_Handle handle);
    /** @return true when the scan was cancelled from here */
    bool EndScan();

private:
    [[noreturn]] void Run();
    bool IsScanning();
    bool HasMessage() const;
    void Interrupt();
    [[noreturn]] void EndProcess();
    bool ApplicationEndsWithin(std::chrono::milliseconds time) const;

    process::Descriptor application_;
    int control_;
    process::Descriptor wake_;
    std::mutex mutex_;                ///< a scan does not end while it is cancelled
    SANE_Handle scanning_ = nullptr;  ///< of the call that may wait; null in between
    bool cancelled_ = false;
};

}  // namespace vorn::sane
