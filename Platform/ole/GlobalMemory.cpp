#include "GlobalMemory.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "LargeMemory.h"
#include "comobject.h"
#include "winfiles.h"

namespace vorn::ole {
namespace {

struct Block : LiveObjects {
    LargeMemory memory;
    SIZE_T size = 0;
    UINT locks = 0;
    bool movable = false;
};

/**
 * All blocks of the process by their handles, so that a handle that is none is an error and not a crash. A
 * fixed block's handle is its address. A movable one's is an odd number that never comes again: who still
 * holds a freed handle does not reach another block.
 */
class BlockTable {
public:
    /** Never destroyed: blocks may be freed while static objects are destroyed. */
    static BlockTable& Instance()
    {
        static auto* table = new BlockTable;
        return *table;
    }

    HGLOBAL Add(std::unique_ptr<Block> block)
    {
        const std::lock_guard lock{mutex_};
        const HGLOBAL handle = block->movable ? reinterpret_cast<HGLOBAL>(nextHandle_) : block->memory.Data();
        blocks_.emplace(handle, std::move(block));
        nextHandle_ += 2;
        return handle;
    }

    std::unique_ptr<Block> Remove(HGLOBAL handle)
    {
        const std::lock_guard lock{mutex_};
        auto node = blocks_.extract(handle);
        return node ? std::move(node.mapped()) : nullptr;
    }

    /** Runs `action` on a block under the lock; `otherwise`, with the last error set, when there is no such
     * block. */
    template <typename Result, typename Action>
    Result With(HGLOBAL handle, Result otherwise, Action action)
    {
        const std::lock_guard lock{mutex_};
        const auto found = blocks_.find(handle);
        if (found == blocks_.end()) {
            SetLastError(ERROR_INVALID_HANDLE);
            return otherwise;
        }
        return action(*found->second);
    }

private:
    std::mutex mutex_;
    std::unordered_map<HGLOBAL, std::unique_ptr<Block>> blocks_;
    uintptr_t nextHandle_ = 1;
};

/** Gives a block its new size. */
bool ResizeBlock(Block& block, SIZE_T size, UINT flags) noexcept
{
    const bool mayMove = block.movable ? block.locks == 0 : (flags & GMEM_MOVEABLE) != 0;
    if (!mayMove && (size == 0 || size > block.memory.Capacity()))
        return false;
    const SIZE_T oldCapacity = block.memory.Capacity();
    if (mayMove && !block.memory.Resize(size))
        return false;
    // Bytes that the memory did not hold before are zero; others may have been used.
    if (flags & GMEM_ZEROINIT && size > block.size && oldCapacity > block.size)
        std::memset(block.memory.Data() + block.size, 0, std::min(size, oldCapacity) - block.size);
    block.size = size;
    return true;
}

/** Resizes a fixed block, whose handle changes when it moves. */
HGLOBAL ResizeFixed(HGLOBAL handle, SIZE_T size, UINT flags)
{
    BlockTable& table = BlockTable::Instance();
    std::unique_ptr<Block> block = table.Remove(handle);
    if (!block) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const bool resized = ResizeBlock(*block, std::max<SIZE_T>(size, 1), flags);
    if (!resized)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    const HGLOBAL now = table.Add(std::move(block));
    return resized ? now : nullptr;
}

}  // namespace
}  // namespace vorn::ole

using namespace vorn::ole;

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept
try {
    auto block = std::make_unique<Block>();
    block->movable = (flags & GMEM_MOVEABLE) != 0;
    block->size = size;
    // All of it is zero: that costs a large block nothing, and keeps old content from showing through a small
    // one.
    if (!block->memory.Resize(block->movable ? size : std::max<SIZE_T>(size, 1)))
        throw std::bad_alloc{};
    return BlockTable::Instance().Add(std::move(block));
} catch (...) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HGLOBAL GlobalReAlloc(HGLOBAL handle, SIZE_T size, UINT flags) noexcept
try {
    enum class Outcome { Unknown, Fixed, Done, NoMemory };
    const Outcome outcome = BlockTable::Instance().With(handle, Outcome::Unknown, [&](Block& block) noexcept {
        if (flags & GMEM_MODIFY)
            return Outcome::Done;
        if (!block.movable)
            return Outcome::Fixed;
        return ResizeBlock(block, size, flags) ? Outcome::Done : Outcome::NoMemory;
    });
    if (outcome == Outcome::Fixed)
        return ResizeFixed(handle, size, flags);
    if (outcome == Outcome::NoMemory)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return outcome == Outcome::Done ? handle : nullptr;
} catch (...) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

void* GlobalLock(HGLOBAL handle) noexcept
{
    return BlockTable::Instance().With<void*>(handle, nullptr, [](Block& block) -> void* {
        if (block.size == 0 && block.movable)
            return nullptr;
        if (block.movable)
            ++block.locks;
        return block.memory.Data();
    });
}

BOOL GlobalUnlock(HGLOBAL handle) noexcept
{
    return BlockTable::Instance().With<BOOL>(handle, FALSE, [](Block& block) -> BOOL {
        if (!block.movable)
            return TRUE;
        SetLastError(block.locks > 0 ? ERROR_SUCCESS : ERROR_NOT_LOCKED);
        return block.locks > 0 && --block.locks > 0;
    });
}

HGLOBAL GlobalFree(HGLOBAL handle) noexcept
{
    if (!handle || BlockTable::Instance().Remove(handle))
        return nullptr;
    SetLastError(ERROR_INVALID_HANDLE);
    return handle;
}

SIZE_T GlobalSize(HGLOBAL handle) noexcept
{
    return BlockTable::Instance().With<SIZE_T>(handle, 0, [](const Block& block) { return block.size; });
}

UINT GlobalFlags(HGLOBAL handle) noexcept
{
    return BlockTable::Instance().With<UINT>(handle, GMEM_INVALID_HANDLE, [](const Block& block) {
        const UINT discarded = block.movable && block.size == 0 ? GMEM_DISCARDED : 0;
        return discarded | std::min(block.locks, GMEM_LOCKCOUNT);
    });
}
