/**
 * @file Library.h
 * libsane, loaded when a scanner is first needed: a process that uses none does not pay for it, and a system without
 * it has no real scanners.
 */
#pragma once

#include <csignal>
#include <optional>

#include <sane/sane.h>

namespace vorn::wia {

/** The calls of libsane. Their contract is SANE's. */
struct SaneCalls {
    decltype(&sane_init) init;
    decltype(&sane_exit) exit;
    decltype(&sane_open) open;
    decltype(&sane_close) close;
    decltype(&sane_get_option_descriptor) describe;
    decltype(&sane_control_option) control;
    decltype(&sane_get_parameters) parameters;
    decltype(&sane_start) start;
    decltype(&sane_read) read;
    decltype(&sane_cancel) cancel;
    decltype(&sane_set_io_mode) setIoMode;
    decltype(&sane_get_select_fd) selectFd;
};

/** The library, initialised; null when it is not there. It stays for the life of the process. */
const SaneCalls* Sane();

/**
 * Has the library forget all that it knows. No scanner may be open.
 * @return false when that is not ours to do, as others used the library in this process before
 */
bool RestartSane();

/**
 * Meanwhile a host that has gone ends no process: back ends write to its connection, and the signal that this raises is
 * taken back.
 */
class NoBrokenPipe {
public:
    NoBrokenPipe() noexcept;
    NoBrokenPipe(const NoBrokenPipe&) = delete;
    ~NoBrokenPipe();

private:
    bool mayRaise_;  ///< no such signal was waiting before
    sigset_t before_{};
};

/** Around the making of a thread: signals are the application's, and go to a thread of its. */
class NoSignals {
public:
    NoSignals() noexcept;
    NoSignals(const NoSignals&) = delete;
    ~NoSignals();

private:
    sigset_t before_{};
};

/** From now on a call is under way that nobody waits for any more. */
void KeepSane() noexcept;
/** It has returned. */
void ReleaseSane() noexcept;

/** Held around calls of the library, which knows no threads. */
class SaneLock {
public:
    /**
     * Throws Failure with WIA_ERROR_BUSY when a call of another thread does not end for long, or keeps SANE.
     * @param signals  Blocked for a thread made under NoSignals, with which a signal of a broken pipe ends
     */
    enum class Signals { Open, Blocked };
    explicit SaneLock(Signals signals = Signals::Open);
    SaneLock(const SaneLock&) = delete;
    ~SaneLock();

private:
    std::optional<NoBrokenPipe> noBrokenPipe_;
};

}  // namespace vorn::wia
