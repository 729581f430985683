#include "StreamBase.h"

#include <algorithm>
#include <memory>

namespace vorn::ole {
namespace {

constexpr ULONGLONG kLastOffset = INT64_MAX;
constexpr ULONG kCopyBytes = 1u << 16;

}  // namespace

HRESULT StreamBase::Read(void* data, ULONG size, ULONG* read)
{
    if (read)
        *read = 0;
    if (!data && size > 0)
        return STG_E_INVALIDPOINTER;
    ULONG done = 0;
    const HRESULT result = size > 0 ? ReadAt(position_, data, size, done) : S_OK;
    position_ += done;
    if (read)
        *read = done;
    return result;
}

HRESULT StreamBase::Write(const void* data, ULONG size, ULONG* written)
{
    if (written)
        *written = 0;
    if (!data && size > 0)
        return STG_E_INVALIDPOINTER;
    if (size > kLastOffset - position_)
        return STG_E_MEDIUMFULL;
    ULONG done = 0;
    const HRESULT result = size > 0 ? WriteAt(position_, data, size, done) : S_OK;
    position_ += done;
    if (written)
        *written = done;
    return result;
}

HRESULT StreamBase::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position)
{
    ULONGLONG base = 0;
    if (origin > STREAM_SEEK_END)
        return STG_E_INVALIDFUNCTION;
    if (origin == STREAM_SEEK_CUR)
        base = position_;
    if (origin == STREAM_SEEK_END) {
        if (const HRESULT result = GetSize(base); FAILED(result))
            return result;
    }
    LONGLONG moved = 0;
    if (__builtin_add_overflow(static_cast<LONGLONG>(base), move.QuadPart, &moved) || moved < 0)
        return STG_E_INVALIDFUNCTION;
    position_ = static_cast<ULONGLONG>(moved);
    if (position)
        position->QuadPart = position_;
    return S_OK;
}

HRESULT StreamBase::CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                           ULARGE_INTEGER* written)
{
    if (!target)
        return STG_E_INVALIDPOINTER;
    ULONGLONG end = 0;
    HRESULT result = GetSize(end);
    const std::unique_ptr<BYTE[]> buffer{new (std::nothrow) BYTE[kCopyBytes]};
    if (SUCCEEDED(result) && !buffer)
        result = E_OUTOFMEMORY;

    // The end is that of now: the target may be a clone of this stream, which then grows while it is copied.
    ULONGLONG left = std::min(size.QuadPart, end - std::min(end, position_));
    ULONGLONG totalRead = 0, totalWritten = 0;
    while (SUCCEEDED(result) && left > 0) {
        ULONG got = 0, put = 0;
        result = Read(buffer.get(), static_cast<ULONG>(std::min<ULONGLONG>(left, kCopyBytes)), &got);
        if (FAILED(result) || got == 0)
            break;
        totalRead += got;
        left -= got;
        result = target->Write(buffer.get(), got, &put);
        totalWritten += std::min(put, got);
        if (SUCCEEDED(result) && put < got)
            result = STG_E_MEDIUMFULL;
    }
    if (read)
        read->QuadPart = totalRead;
    if (written)
        written->QuadPart = totalWritten;
    return result;
}

}  // namespace vorn::ole
