#include "KernelState.h"

#include <cstdio>
#include <new>

namespace vorn::krn {

KernelState& State() noexcept
{
    alignas(KernelState) static unsigned char storage[sizeof(KernelState)];
    static KernelState& state = *new (storage) KernelState;  // no allocation that could fail
    return state;
}

bool TakePlannedFailure() noexcept
{
    KernelState& state = State();
    if (!state.failuresPlanned.load(std::memory_order_relaxed))
        return false;
    const std::lock_guard lock{state.mutex};
    if (state.allocationsBeforeFailure > 0) {
        --state.allocationsBeforeFailure;
        return false;
    }
    if (state.failuresLeft == 0)
        return false;
    if (state.failuresLeft != UINT64_MAX)
        --state.failuresLeft;
    return true;
}

void ReportMisuse(Origin origin, const char* operation, const void* subject, const char* fault) noexcept
{
    char line[512];
    std::snprintf(line, sizeof line, "%.200s:%d: %s(%p): %s", origin.file ? origin.file : "?", origin.line,
                  operation, subject, fault);
    KrnReportSink sink = nullptr;
    void* userData = nullptr;
    {
        KernelState& state = State();
        const std::lock_guard lock{state.mutex};
        sink = state.misuseSink;
        userData = state.misuseUserData;
    }
    if (sink)
        sink(line, userData);
    else
        std::fprintf(stderr, "Vornkrnx: %s\n", line);
}

}  // namespace vorn::krn
