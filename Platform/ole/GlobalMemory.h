/**
 * @file GlobalMemory.h
 * What the runtime itself needs of the blocks behind handles.
 */
#pragma once

#include "ole.h"

namespace vorn::ole {

/** A block that is locked as long as this object lives. */
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL handle) noexcept : handle_{handle}, data_{GlobalLock(handle)} {}
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;
    ~LockedBlock()
    {
        if (data_)
            GlobalUnlock(handle_);
    }

    /** Null for an empty block. */
    BYTE* Data() const noexcept { return static_cast<BYTE*>(data_); }

private:
    HGLOBAL handle_;
    void* data_;
};

}  // namespace vorn::ole
