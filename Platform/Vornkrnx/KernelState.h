/**
 * @file KernelState.h
 * All process-wide state of the kernel library: the list of what is tracked, where misuse is reported, and
 * the allocation failures that a test has asked for.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "Vornkrnx.h"

namespace vorn::krn {

/** Where a call came from, for the reports. */
struct Origin {
    int32_t line;
    const char* file;
};

/** A place in the ring of tracked things; alone, it points to itself. */
struct Link {
    Link* older = this;
    Link* newer = this;

    void InsertAsNewest(Link& ring) noexcept
    {
        older = ring.older;
        newer = &ring;
        older->newer = newer->older = this;
    }
    void Remove() noexcept
    {
        older->newer = newer;
        newer->older = older;
        older = newer = this;
    }
};

struct KernelState {
    std::mutex mutex;  ///< guards every field but `failuresPlanned`
    Link ring;         ///< `ring.newer` is the oldest thing tracked, `ring.older` the newest
    uint64_t trackedCount = 0;

    KrnReportSink misuseSink = nullptr;
    void* misuseUserData = nullptr;

    std::atomic<bool> failuresPlanned{
        false};  ///< spares each allocation the lock while no test asks for failures
    uint64_t allocationsBeforeFailure = 0;
    uint64_t failuresLeft = 0;
};

/** The state; it outlives every static object, since blocks are freed by their destructors, too. */
KernelState& State() noexcept;

/** True when a test wants this allocation to fail. */
bool TakePlannedFailure() noexcept;

/** Reports a misuse of `operation` to the sink. Not called with the state locked. */
void ReportMisuse(Origin origin, const char* operation, const void* subject, const char* fault) noexcept;

}  // namespace vorn::krn
