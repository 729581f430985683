/**
 * @file WicDecode.h
 * Reading a picture by the system's imaging component, which tells what pixels it has and gives them from the top down.
 */
#pragma once

#include <initializer_list>

#include "Codec.h"
#include "Wic.h"

namespace vorn::fil {

/** A source as the stream that the component reads. What the source answered last is kept. */
class SourceStream final : public WicStream {
public:
    explicit SourceStream(ByteSource& source) noexcept : source_{source} {}

    int32_t Status() const noexcept { return status_; }

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* done) override;

private:
    uint64_t Size() const noexcept override { return source_.Size(); }

    ByteSource& source_;
    int32_t status_ = FIL_SUCCESS;
};

/** A picture that is open in the component. Operations answer the codes of the file library. */
class WicFrame {
public:
    /** The source outlives the frame. */
    explicit WicFrame(ByteSource& source) noexcept
        : stream_{ComPtr<SourceStream>::Adopt(new (std::nothrow) SourceStream{source})}
    {
    }

    /** @param index  of the picture in the file, from 0 */
    int32_t Open(REFGUID container, uint32_t index) noexcept;

    uint32_t Width() const noexcept { return width_; }
    uint32_t Height() const noexcept { return height_; }
    REFGUID Format() const noexcept { return format_; }

    /** Blue, green, red and nothing for each entry of a picture with a palette. */
    int32_t ReadPalette(PageInfo& page) noexcept;

    /** Formats to convert to, one after the other. */
    using Formats = std::initializer_list<WICPixelFormatGUID>;

    /** All rows from the top down, of so many bytes each as the last format has, or without one the picture's own. */
    int32_t ReadPixels(Formats formats, uint64_t rowBytes, uint8_t* to) noexcept;

    /** The same into an image of the picture's size and of that format. */
    int32_t ReadImage(Formats formats, const PageInfo& page, bool topDown, const NewImage& image) noexcept;

private:
    HRESULT CopyPixels(Formats formats, uint64_t rowBytes, uint8_t* to) noexcept;
    int32_t Failure(HRESULT result) const noexcept;

    Apartment apartment_;
    ComPtr<SourceStream> stream_;
    ComPtr<IWICImagingFactory> factory_;
    ComPtr<IWICBitmapFrameDecode> frame_;
    WICPixelFormatGUID format_{};
    UINT width_ = 0, height_ = 0;
};

}  // namespace vorn::fil
