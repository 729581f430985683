#include "WicStream.h"

#include <algorithm>

namespace vorn::fil {

HRESULT WicStream::Read(void* buffer, ULONG count, ULONG* done)
{
    const uint64_t size = source_.Size();
    const uint64_t wanted = std::min<uint64_t>(size - std::min(position_, size), count);
    if (done)
        *done = 0;
    if (!buffer)
        return STG_E_INVALIDPOINTER;
    if (const int32_t status = source_.ReadAt(std::min(position_, size), buffer, wanted);
        status != FIL_SUCCESS) {
        status_ = status;
        return STG_E_READFAULT;
    }
    position_ += wanted;
    if (done)
        *done = static_cast<ULONG>(wanted);
    return wanted == count ? S_OK : S_FALSE;
}

HRESULT WicStream::Seek(LARGE_INTEGER distance, DWORD origin, ULARGE_INTEGER* position)
{
    if (origin > STREAM_SEEK_END)
        return STG_E_INVALIDFUNCTION;
    const uint64_t from = origin == STREAM_SEEK_SET   ? 0
                          : origin == STREAM_SEEK_CUR ? position_
                                                      : source_.Size();
    const uint64_t to = from + static_cast<uint64_t>(distance.QuadPart);
    const bool backwards = distance.QuadPart < 0;
    if ((to < from) != backwards && distance.QuadPart != 0)
        return STG_E_INVALIDFUNCTION;
    position_ = to;
    if (position)
        position->QuadPart = to;
    return S_OK;
}

HRESULT WicStream::Stat(STATSTG* status, DWORD)
{
    if (!status)
        return STG_E_INVALIDPOINTER;
    *status = STATSTG{};
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = source_.Size();
    return S_OK;
}

}  // namespace vorn::fil
