/**
 * @file Child.h
 * A program of ours that works for this process.
 *
 * The application is left alone: no thread, no signal handler. It may reap the program with a `waitpid` of its own, and a
 * fork of it neither ends the program nor has to reap it.
 */
#pragma once

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Descriptor.h"

namespace vorn::process {

class Child {
public:
    /**
     * Starts a program in a process group of its own, with default signal handlers and an empty input.
     * What it prints goes to this process's standard error when `verbose`, else nowhere.
     * @param descriptors  the program has them as 3, 4, ..., and no others
     * Throws std::system_error when it cannot be started.
     */
    Child(const std::string& program, const std::vector<std::string>& arguments,
          std::span<const int> descriptors, bool verbose);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    /** End at once. */
    ~Child();

    /** Readable once the program has ended; -1 where the kernel has no such descriptors. */
    int EndDescriptor() const noexcept { return pidDescriptor_.Get(); }

    /** Whether it could not be loaded, since one of its libraries is missing. */
    bool FailedToLoad() const noexcept;

    /** Waits so long for the program to end by itself, then kills it and all processes that it has started. */
    void End(std::chrono::milliseconds patience) noexcept;

private:
    bool AwaitEnd(std::chrono::milliseconds patience) const noexcept;
    void KillGroup() const noexcept;

    pid_t owner_;  ///< in a fork of that process the program is not ours
    pid_t process_ = -1;
    Descriptor pidDescriptor_;
};

}  // namespace vorn::process
