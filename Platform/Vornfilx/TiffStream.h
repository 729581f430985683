/**
 * @file TiffStream.h
 * libtiff on our sources, silent, with its failures told by our codes.
 */
#pragma once

#include <tiffio.h>

#include "Codec.h"

namespace vorn::fil::tiff {

/** An open libtiff handle. The object stays where it is while the handle lives: libtiff calls it back. */
class Stream {
public:
    /** Reads the header only, no directory. */
    explicit Stream(ByteSource& source) noexcept;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream();

    TIFF* Get() const noexcept { return handle_; }

    /** Why libtiff gave up or had to do without: what the source answered, else `otherwise`. */
    int32_t Failure(int32_t otherwise) const noexcept { return status_ != FIL_SUCCESS ? status_ : otherwise; }

private:
    static tmsize_t Read(thandle_t self, void* buffer, tmsize_t count);
    static toff_t Seek(thandle_t self, toff_t offset, int whence);
    static toff_t Size(thandle_t self);

    ByteSource& source_;
    uint64_t position_ = 0;
    int32_t status_ = FIL_SUCCESS;
    TIFF* handle_ = nullptr;
};

}  // namespace vorn::fil::tiff
