#include "TiffStream.h"

#include <algorithm>
#include <cstdio>

namespace vorn::fil::tiff {
namespace {

int KeepSilent(TIFF*, void*, const char*, const char*, va_list) noexcept
{
    return 1;  // handled: the process-wide handlers, which print, are not asked
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t)
{
    return -1;
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
    TIFFOpenOptions* const options = TIFFOpenOptionsAlloc();
    if (!options) {
        status_ = FIL_ERR_OUT_OF_MEMORY;
        return;
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options, KeepSilent, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, KeepSilent, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, KRN_MAX_IMAGE_BYTES);
    handle_ = TIFFClientOpenExt("", "rh", this, Read, WriteNothing, Seek, CloseNothing, Size, MapNothing,
                                UnmapNothing, options);
    TIFFOpenOptionsFree(options);
}

Stream::~Stream()
{
    if (handle_)
        TIFFClose(handle_);
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
    stream.position_ += wanted;
    return static_cast<tmsize_t>(wanted);
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
