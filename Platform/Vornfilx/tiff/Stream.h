/**
 * @file tiff/Stream.h
 * libtiff on our sources and updates, silent, with its failures told by our codes.
 */
#pragma once

#include <tiffio.h>

#include <utility>

#include "Codec.h"
#include "tiff/Chain.h"

namespace vorn::fil::tiff {

/** An open libtiff handle. The object stays where it is while the handle lives: libtiff calls it back. */
class Stream {
public:
    /** For reading; the header only is read, no directory. */
    explicit Stream(ByteSource& source) noexcept;
    /** For adding a page behind the last one of `chain`; an empty file has an empty chain. */
    Stream(FileUpdate& update, const Chain& chain) noexcept;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { Close(); }

    TIFF* Get() const noexcept { return handle_; }
    void Close() noexcept;

    /** Why libtiff gave up or had to do without: what the source or the update answered, else `otherwise`. */
    int32_t Failure(int32_t otherwise) const noexcept { return status_ != FIL_SUCCESS ? status_ : otherwise; }

private:
    void Open(const char* mode) noexcept;
    void ShowLastAsFirst(uint8_t* start, uint64_t count) const noexcept;

    static tmsize_t Read(thandle_t self, void* buffer, tmsize_t count);
    static tmsize_t Write(thandle_t self, void* data, tmsize_t count);
    static toff_t Seek(thandle_t self, toff_t offset, int whence);
    static toff_t Size(thandle_t self);

    ByteSource& source_;
    FileUpdate* update_ = nullptr;
    Chain chain_;
    uint64_t position_ = 0;
    int32_t status_ = FIL_SUCCESS;
    TIFF* handle_ = nullptr;
};

}  // namespace vorn::fil::tiff
