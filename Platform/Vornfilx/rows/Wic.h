/**
 * @file Wic.h
 * The system's imaging component, and what it needs to work on: Windows only.
 */
#pragma once

#include "com.h"

#include <wincodec.h>

#include "comobject.h"

namespace vorn::fil {

/** The component is made by COM, which the caller's thread may or may not have entered. */
class Apartment {
public:
    Apartment() noexcept : entered_{SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))} {}
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment()
    {
        if (entered_)
            CoUninitialize();
    }

private:
    bool entered_;
};

inline HRESULT CreateImagingFactory(ComPtr<IWICImagingFactory>& factory) noexcept
{
    return CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                            factory.OutVoid());
}

/** A stream for the component: a place among bytes, and no more than the component asks of a stream. */
class WicStream : public ComObject<IStream> {
public:
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER distance, DWORD origin, ULARGE_INTEGER* position) override
    {
        if (origin > STREAM_SEEK_END)
            return STG_E_INVALIDFUNCTION;
        const uint64_t from = origin == STREAM_SEEK_SET ? 0 : origin == STREAM_SEEK_CUR ? position_ : Size();
        const uint64_t to = from + static_cast<uint64_t>(distance.QuadPart);
        const bool backwards = distance.QuadPart < 0;
        if ((to < from) != backwards && distance.QuadPart != 0)
            return STG_E_INVALIDFUNCTION;
        position_ = to;
        if (position)
            position->QuadPart = to;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD) override
    {
        if (!status)
            return STG_E_INVALIDPOINTER;
        *status = STATSTG{};
        status->type = STGTY_STREAM;
        status->cbSize.QuadPart = Size();
        return S_OK;
    }
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

protected:
    virtual uint64_t Size() const noexcept = 0;

    uint64_t position_ = 0;
};

}  // namespace vorn::fil
