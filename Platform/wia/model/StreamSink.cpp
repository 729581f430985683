#include "StreamSink.h"

#include <algorithm>

namespace vorn::wia {

HRESULT DestinationResult(HRESULT result) noexcept
{
    constexpr HRESULT kFacilityMask = 0x1FFF0000, kWin32 = 7 << 16;
    const bool ofClient = result == E_OUTOFMEMORY || result == E_INVALIDARG || result == E_ACCESSDENIED;
    const bool ofSystem = (result & kFacilityMask) == kWin32 && !ofClient;
    return FAILED(result) && (result == STG_E_MEDIUMFULL || ofSystem) ? WIA_ERROR_DESTINATION : result;
}

HRESULT StreamSink::Keep()
{
    const HRESULT result = stream_.Commit(STGC_DEFAULT);
    if (FAILED(result) && result != E_NOTIMPL)
        return DestinationResult(result);
    kept_ = size_;
    return S_OK;
}

HRESULT StreamSink::SetSize(uint64_t size)
{
    ULARGE_INTEGER wanted{};
    wanted.QuadPart = size;
    return DestinationResult(stream_.SetSize(wanted));
}

HRESULT StreamSink::Begin(uint64_t totalBytes, uint32_t)
{
    size_ = kept_ + (totalBytes == kUnknownBytes ? 0 : totalBytes);
    pageBytes_ = 0;
    // A stream that cannot be told its size grows as it is written.
    const HRESULT result = SetSize(size_);
    return result == E_NOTIMPL ? S_OK : result;
}

HRESULT StreamSink::WriteAll(const uint8_t* data, uint32_t size)
{
    while (size > 0) {
        ULONG written = 0;
        if (const HRESULT result = stream_.Write(data, size, &written); FAILED(result))
            return DestinationResult(result);
        if (written == 0 || written > size)
            return WIA_ERROR_DESTINATION;
        data += written;
        size -= written;
        position_ += written;
        pageBytes_ += written;
    }
    return S_OK;
}

HRESULT StreamSink::Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent)
{
    if (const auto fault = device_.Pass(Step::Band))
        return fault->result;
    if (offset != position_) {
        LARGE_INTEGER place{};
        place.QuadPart = static_cast<LONGLONG>(offset);
        if (const HRESULT result = stream_.Seek(place, STREAM_SEEK_SET, nullptr); FAILED(result))
            return result;
        position_ = offset;
    }
    if (const HRESULT result = WriteAll(data, size); result != S_OK)
        return result;
    size_ = std::max(size_, position_);
    return progress_ ? progress_(percent, pageBytes_) : S_OK;
}

}  // namespace vorn::wia
