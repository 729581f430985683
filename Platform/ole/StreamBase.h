/**
 * @file StreamBase.h
 * What all streams of the runtime have in common.
 */
#pragma once

#include "comobject.h"

namespace vorn::ole {

/** A stream with a position of its own over bytes that it reaches by offset. */
class StreamBase : public ComObject<IStream> {
public:
    HRESULT STDMETHODCALLTYPE Read(void* data, ULONG size, ULONG* read) final;
    HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG size, ULONG* written) final;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) final;
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                     ULARGE_INTEGER* written) final;

    /** Nothing is held back, so there is nothing to commit and nothing to take back. */
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() final { return S_OK; }

    /** Regions are not locked; Stat says so. */
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) final
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) final
    {
        return STG_E_INVALIDFUNCTION;
    }

protected:
    explicit StreamBase(ULONGLONG position = 0) noexcept : position_{position} {}

    ULONGLONG Position() const noexcept { return position_; }

    /** The stream's size now. */
    virtual HRESULT GetSize(ULONGLONG& size) noexcept = 0;
    /** Reads at `offset` what there is, up to `size` bytes; `done` counts it also on failure. */
    virtual HRESULT ReadAt(ULONGLONG offset, void* data, ULONG size, ULONG& done) noexcept = 0;
    /** Writes at `offset`, beyond the end too; offset + size does not wrap. */
    virtual HRESULT WriteAt(ULONGLONG offset, const void* data, ULONG size, ULONG& done) noexcept = 0;

private:
    ULONGLONG position_;
};

}  // namespace vorn::ole
