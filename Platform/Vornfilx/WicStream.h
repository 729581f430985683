/**
 * @file WicStream.h
 * A source as the stream that the system's imaging component reads.
 */
#pragma once

#include "ByteSource.h"
#include "comobject.h"

namespace vorn::fil {

/** The source outlives the stream. It is read only; what the source answered last is kept. */
class WicStream final : public ComObject<IStream> {
public:
    explicit WicStream(ByteSource& source) noexcept : source_{source} {}

    /** Why reading failed: what the source answered, else `otherwise`. */
    int32_t Failure(int32_t otherwise) const noexcept { return status_ != FIL_SUCCESS ? status_ : otherwise; }

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* done) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER distance, DWORD origin, ULARGE_INTEGER* position) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD flags) override;

    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

private:
    ByteSource& source_;
    uint64_t position_ = 0;
    int32_t status_ = FIL_SUCCESS;
};

}  // namespace vorn::fil
