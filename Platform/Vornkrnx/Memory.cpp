/*
 * The exported functions of tracked memory: they check and delegate to Block.
 */
#include <cstring>

#include "Block.h"

using namespace vorn::krn;

void* KrnAlloc(uint64_t count, uint64_t size, int32_t line, const char* file)
{
    if (size != 0 && count > UINT64_MAX / size)
        return nullptr;
    return AllocateBlock(count * size, BlockUse::General, {line, file});
}

void* KrnRealloc(void* block, uint64_t size, int32_t line, const char* file)
{
    if (!block)
        return KrnAlloc(1, size, line, file);
    return ResizeBlock(block, size, {line, file});
}

void KrnFree(void* block, int32_t line, const char* file)
{
    FreeBlock(block, "KrnFree", {line, file});
}

void* KrnAllocArray(uint64_t count, uint64_t size, int32_t line, const char* file)
{
    return KrnAlloc(count, size, line, file);
}

void KrnFreeArray(void* block, int32_t line, const char* file)
{
    FreeBlock(block, "KrnFreeArray", {line, file});
}

void KrnMemSet(void* block, int32_t value, uint64_t size)
{
    if (block && size > 0)
        std::memset(block, value & 0xFF, static_cast<size_t>(size));
}

void KrnMemCopy(void* destination, const void* source, uint64_t size)
{
    if (destination && source && size > 0)
        std::memcpy(destination, source, static_cast<size_t>(size));
}

void KrnTrackResource(uint32_t kind, void* resource, int32_t line, const char* file)
{
    TrackResource(kind, resource, {line, file});
}

void KrnUntrackResource(uint32_t kind, void* resource, int32_t line, const char* file)
{
    UntrackResource(kind, resource, {line, file});
}

uint64_t KrnTrackedCount(void)
{
    KernelState& state = State();
    const std::lock_guard lock{state.mutex};
    return state.trackedCount;
}

void KrnReportTracked(KrnReportSink sink, void* userData)
{
    if (sink)
        ReportTracked(sink, userData);
}

void KrnSetMisuseSink(KrnReportSink sink, void* userData)
{
    KernelState& state = State();
    const std::lock_guard lock{state.mutex};
    state.misuseSink = sink;
    state.misuseUserData = userData;
}

void KrnFailAllocations(uint64_t nth, uint64_t count)
{
    KernelState& state = State();
    const std::lock_guard lock{state.mutex};
    state.allocationsBeforeFailure = nth > 0 ? nth - 1 : 0;
    state.failuresLeft = nth > 0 ? count : 0;
    state.failuresPlanned.store(state.failuresLeft > 0, std::memory_order_relaxed);
}
