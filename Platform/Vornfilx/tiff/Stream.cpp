#include "tiff/Stream.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace vorn::fil::tiff {
namespace {

int KeepSilent(TIFF*, void*, const char*, const char*, va_list) noexcept
{
    return 1;  // handled: the process-wide handlers, which print, are not asked
}

/** libtiff has no error codes: the text alone says that memory failed. */
int NoteError(TIFF*, void* status, const char*, const char* format, va_list) noexcept
{
    const std::string_view text = format;
    if (text.starts_with("Failed to allocate") || text.starts_with("No space for") ||
        text.starts_with("Out of memory"))
        *static_cast<int32_t*>(status) = FIL_ERR_OUT_OF_MEMORY;
    return 1;
}

int CloseNothing(thandle_t)
{
    return 0;
}

int MapNothing(thandle_t, void**, toff_t*)
{
    return 0;
}

void UnmapNothing(thandle_t, void*, toff_t) {}

Stream& Self(thandle_t self) noexcept
{
    return *static_cast<Stream*>(self);
}

}  // namespace

Stream::Stream(ByteSource& source) noexcept : source_{source}
{
    Open("rh");
}

Stream::Stream(FileUpdate& update, const Chain& chain) noexcept
    : source_{update}, update_{&update}, chain_{chain}
{
    Open(update.OldSize() > 0 ? "a" : "wl");
}

void Stream::Open(const char* mode) noexcept
{
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    if (!options) {
        status_ = FIL_ERR_OUT_OF_MEMORY;
        return;
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options, NoteError, &status_);
    TIFFOpenOptionsSetWarningHandlerExtR(options, KeepSilent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, KRN_MAX_IMAGE_BYTES);
    handle_ = TIFFClientOpenExt("", mode, this, Read, Write, Seek, CloseNothing, Size, MapNothing,
                                UnmapNothing, options);
    TIFFOpenOptionsFree(options);
}

void Stream::Close() noexcept
{
    if (TIFF* const handle = std::exchange(handle_, nullptr))
        TIFFClose(handle);
}

/**
 * libtiff walks the chain from the first directory to link a new one behind the last, which the caller has
 * found already: it is told that the last one is the first.
 */
void Stream::ShowLastAsFirst(uint8_t* start, uint64_t count) const noexcept
{
    constexpr uint32_t kOffsetAt = 4, kOffsetBytes = 4;
    if (!update_ || chain_.pageCount == 0 || chain_.big || count < kOffsetAt + kOffsetBytes)
        return;
    const bool bigEndian = start[0] == 'M';
    for (uint32_t i = 0; i < kOffsetBytes; ++i)
        start[kOffsetAt + i] =
            static_cast<uint8_t>(chain_.offset >> 8 * (bigEndian ? kOffsetBytes - 1 - i : i));
}

tmsize_t Stream::Read(thandle_t self, void* buffer, tmsize_t count)
{
    Stream& stream = Self(self);
    const uint64_t size = stream.source_.Size();
    const uint64_t left = stream.position_ < size ? size - stream.position_ : 0;
    const uint64_t wanted = std::min(left, static_cast<uint64_t>(count));
    if (const int32_t status = stream.source_.ReadAt(std::min(stream.position_, size), buffer, wanted);
        status != FIL_SUCCESS) {
        stream.status_ = status;
        return -1;
    }
    if (wanted < static_cast<uint64_t>(count))
        stream.status_ = FIL_ERR_CORRUPT;  // libtiff goes on without a tag that is cut off
    if (stream.position_ == 0)
        stream.ShowLastAsFirst(static_cast<uint8_t*>(buffer), wanted);
    stream.position_ += wanted;
    return static_cast<tmsize_t>(wanted);
}

tmsize_t Stream::Write(thandle_t self, void* data, tmsize_t count)
{
    Stream& stream = Self(self);
    if (!stream.update_)
        return -1;
    if (const int32_t status = stream.update_->WriteAt(stream.position_, data, static_cast<uint64_t>(count));
        status != FIL_SUCCESS) {
        stream.status_ = status;
        return -1;
    }
    stream.position_ += static_cast<uint64_t>(count);
    return count;
}

toff_t Stream::Seek(thandle_t self, toff_t offset, int whence)
{
    Stream& stream = Self(self);
    // libtiff passes negative distances as wrapped numbers; the sum wraps back.
    const uint64_t from = whence == SEEK_SET   ? 0
                          : whence == SEEK_CUR ? stream.position_
                                               : stream.source_.Size();
    stream.position_ = from + offset;
    return stream.position_;
}

toff_t Stream::Size(thandle_t self)
{
    return Self(self).source_.Size();
}

}  // namespace vorn::fil::tiff
