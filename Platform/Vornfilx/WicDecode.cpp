#include "WicDecode.h"

#include <algorithm>

namespace vorn::fil {
namespace {

int32_t FromResult(HRESULT result) noexcept
{
    switch (result) {
        case E_OUTOFMEMORY:
            return FIL_ERR_OUT_OF_MEMORY;
        case E_NOTIMPL:
        case WINCODEC_ERR_COMPONENTNOTFOUND:
        case WINCODEC_ERR_UNSUPPORTEDOPERATION:
        case WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT:
            return FIL_ERR_UNSUPPORTED;
        case WINCODEC_ERR_IMAGESIZEOUTOFRANGE:
            return FIL_ERR_TOO_LARGE;
        default:
            return FIL_ERR_CORRUPT;
    }
}

}  // namespace

HRESULT SourceStream::Read(void* buffer, ULONG count, ULONG* done)
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

/** What the source answered tells more than what the component makes of it. */
int32_t WicFrame::Failure(HRESULT result) const noexcept
{
    return stream_->Status() != FIL_SUCCESS ? stream_->Status() : FromResult(result);
}

int32_t WicFrame::Open(REFGUID container, uint32_t index) noexcept
{
    if (!stream_)
        return FIL_ERR_OUT_OF_MEMORY;
    HRESULT result = CreateImagingFactory(factory_);
    ComPtr<IWICBitmapDecoder> decoder;
    if (SUCCEEDED(result))
        result = factory_->CreateDecoder(container, nullptr, decoder.Out());
    if (SUCCEEDED(result))
        result = decoder->Initialize(stream_.Get(), WICDecodeMetadataCacheOnDemand);
    if (SUCCEEDED(result))
        result = decoder->GetFrame(index, frame_.Out());
    if (SUCCEEDED(result))
        result = frame_->GetPixelFormat(&format_);
    if (SUCCEEDED(result))
        result = frame_->GetSize(&width_, &height_);
    if (FAILED(result))
        return Failure(result);
    return width_ == 0 || height_ == 0 ? FIL_ERR_CORRUPT : FIL_SUCCESS;
}

int32_t WicFrame::ReadPalette(PageInfo& page) noexcept
{
    WICColor colors[256] = {};
    UINT count = 1u << page.bitsPerPixel;
    ComPtr<IWICPalette> palette;
    HRESULT result = factory_->CreatePalette(palette.Out());
    if (SUCCEEDED(result))
        result = frame_->CopyPalette(palette.Get());
    if (SUCCEEDED(result))
        result = palette->GetColors(count, colors, &count);
    if (FAILED(result))
        return Failure(result);
    page.paletteCount = std::min<uint32_t>(count, 1u << page.bitsPerPixel);
    for (UINT i = 0; i < page.paletteCount; ++i)
        for (UINT color = 0; color < 3; ++color)
            page.palette[i * kPaletteEntryBytes + color] = static_cast<uint8_t>(colors[i] >> 8 * color);
    return FIL_SUCCESS;
}

HRESULT WicFrame::CopyPixels(Formats formats, uint64_t rowBytes, uint8_t* to) noexcept
{
    if (rowBytes > KRN_MAX_IMAGE_BYTES / height_)
        return WINCODEC_ERR_IMAGESIZEOUTOFRANGE;
    ComPtr<IWICBitmapSource> pixels;
    HRESULT result = frame_->QueryInterface(IID_IWICBitmapSource, pixels.OutVoid());
    for (const WICPixelFormatGUID& format : formats) {
        ComPtr<IWICBitmapSource> converted;
        if (SUCCEEDED(result))
            result = WICConvertBitmapSource(format, pixels.Get(), converted.Out());
        pixels = converted;
    }
    return SUCCEEDED(result) ? pixels->CopyPixels(nullptr, static_cast<UINT>(rowBytes),
                                                  static_cast<UINT>(rowBytes * height_), to)
                             : result;
}

int32_t WicFrame::ReadPixels(Formats formats, uint64_t rowBytes, uint8_t* to) noexcept
{
    const HRESULT result = CopyPixels(formats, rowBytes, to);
    return SUCCEEDED(result) ? FIL_SUCCESS : Failure(result);
}

int32_t WicFrame::ReadImage(Formats formats, const PageInfo& page, bool topDown,
                            const NewImage& image) noexcept
{
    const uint64_t rowBytes = KrnRowBytes(page.width, page.bitsPerPixel);
    if (const int32_t status = ReadPixels(formats, rowBytes, image.Row(0)); status != FIL_SUCCESS)
        return status;
    if (topDown)
        for (uint32_t top = 0, bottom = height_ - 1; top < bottom; ++top, --bottom)
            std::swap_ranges(image.Row(top), image.Row(top) + rowBytes, image.Row(bottom));
    return FIL_SUCCESS;
}

}  // namespace vorn::fil
