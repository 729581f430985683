/*
 * Reading a page of a TIFF file by the system's imaging component. Resolution and depth as stored come from the
 * page's own fields: the component tells 96 dpi of a page that has none.
 */
#include <cstring>
#include <initializer_list>

#include "com.h"

#include <wincodec.h>

#include "TiffChain.h"
#include "TiffPages.h"
#include "TiffStoredFields.h"
#include "WicStream.h"

namespace vorn::fil::tiff {
namespace {

/** The component makes its decoders by COM, which the caller's thread may or may not have entered. */
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

enum class Colors { Grey, Indexed, Direct };

/** The component's pixel formats that are a bitmap's; every other is converted to 24 bits. */
struct FormatRow {
    const GUID& format;
    uint32_t bitsPerPixel;
    Colors colors;
};
const FormatRow kFormats[] = {
    {GUID_WICPixelFormatBlackWhite, 1, Colors::Grey},  {GUID_WICPixelFormat1bppIndexed, 1, Colors::Indexed},
    {GUID_WICPixelFormat4bppGray, 4, Colors::Grey},    {GUID_WICPixelFormat4bppIndexed, 4, Colors::Indexed},
    {GUID_WICPixelFormat8bppGray, 8, Colors::Grey},    {GUID_WICPixelFormat8bppIndexed, 8, Colors::Indexed},
    {GUID_WICPixelFormat24bppBGR, 24, Colors::Direct},
};
const FormatRow kConverted = {GUID_WICPixelFormat24bppBGR, 24, Colors::Direct};

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

/** A page that is open in the component. */
class Page {
public:
    explicit Page(ByteSource& source) noexcept
        : source_{source}, stream_{ComPtr<WicStream>::Adopt(new (std::nothrow) WicStream{source})}
    {
    }

    int32_t Open(uint32_t number) noexcept;
    const PageInfo& Info() const noexcept { return info_; }
    int32_t ReadRows(const NewImage& image) noexcept;

private:
    int32_t OpenFrame(uint32_t index) noexcept;
    int32_t ReadInfo(const StoredFields& fields) noexcept;
    int32_t ReadPalette() noexcept;
    HRESULT CopyPixels(std::initializer_list<WICPixelFormatGUID> formats, const NewImage& image) noexcept;
    int32_t Failure(HRESULT result) const noexcept { return stream_->Failure(FromResult(result)); }

    Apartment apartment_;
    ByteSource& source_;
    ComPtr<WicStream> stream_;
    ComPtr<IWICImagingFactory> factory_;
    ComPtr<IWICBitmapFrameDecode> frame_;
    const FormatRow* format_ = nullptr;
    bool topDown_ = true;
    PageInfo info_;
};

int32_t Page::Open(uint32_t number) noexcept
{
    if (!stream_)
        return FIL_ERR_OUT_OF_MEMORY;
    Chain chain;
    if (const int32_t status = WalkChain(source_, number, chain); status != FIL_SUCCESS)
        return status;
    StoredFields fields;
    if (const int32_t status = ReadStoredFields(source_, chain, fields); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = OpenFrame(number - 1); status != FIL_SUCCESS)
        return status;
    return ReadInfo(fields);
}

int32_t Page::OpenFrame(uint32_t index) noexcept
{
    HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IWICImagingFactory, factory_.OutVoid());
    ComPtr<IWICBitmapDecoder> decoder;
    if (SUCCEEDED(result))
        result = factory_->CreateDecoder(GUID_ContainerFormatTiff, nullptr, decoder.Out());
    if (SUCCEEDED(result))
        result = decoder->Initialize(stream_.Get(), WICDecodeMetadataCacheOnDemand);
    if (SUCCEEDED(result))
        result = decoder->GetFrame(index, frame_.Out());
    return SUCCEEDED(result) ? FIL_SUCCESS : Failure(result);
}

int32_t Page::ReadInfo(const StoredFields& fields) noexcept
{
    constexpr uint32_t kTopLeft = 1, kBottomLeft = 4;
    WICPixelFormatGUID pixelFormat{};
    UINT width = 0, height = 0;
    HRESULT result = frame_->GetPixelFormat(&pixelFormat);
    if (SUCCEEDED(result))
        result = frame_->GetSize(&width, &height);
    if (FAILED(result))
        return Failure(result);
    if (width == 0 || height == 0)
        return FIL_ERR_CORRUPT;
    if (fields.orientation != kTopLeft && fields.orientation != kBottomLeft)
        return FIL_ERR_UNSUPPORTED;

    topDown_ = fields.orientation == kTopLeft;
    format_ = &kConverted;
    for (const FormatRow& row : kFormats)
        if (row.format == pixelFormat)
            format_ = &row;
    info_.width = width;
    info_.height = height;
    info_.bitsPerPixel = format_->bitsPerPixel;
    info_.storedBits = fields.bits * fields.samples;
    info_.xDpi = DpiOf(fields.xResolution, fields.unit);
    info_.yDpi = DpiOf(fields.yResolution, fields.unit);
    if (!FitsBitmap(info_))
        return FIL_ERR_TOO_LARGE;
    return ReadPalette();
}

int32_t Page::ReadPalette() noexcept
{
    if (format_->colors == Colors::Direct)
        return FIL_SUCCESS;
    const UINT last = (1u << info_.bitsPerPixel) - 1;
    WICColor colors[256] = {};
    UINT count = last + 1;
    if (format_->colors == Colors::Grey) {
        for (UINT i = 0; i <= last; ++i)
            colors[i] = i * 255 / last * 0x010101;
    } else {
        ComPtr<IWICPalette> palette;
        HRESULT result = factory_->CreatePalette(palette.Out());
        if (SUCCEEDED(result))
            result = frame_->CopyPalette(palette.Get());
        if (SUCCEEDED(result))
            result = palette->GetColors(count, colors, &count);
        if (FAILED(result))
            return Failure(result);
    }
    info_.paletteCount = std::min(count, last + 1);
    for (UINT i = 0; i < info_.paletteCount; ++i)
        for (UINT color = 0; color < 3; ++color)
            info_.palette[i * kPaletteEntryBytes + color] = static_cast<uint8_t>(colors[i] >> 8 * color);
    return FIL_SUCCESS;
}

/** Copies the page's pixels as they are after conversion to each of these formats in turn. */
HRESULT Page::CopyPixels(std::initializer_list<WICPixelFormatGUID> formats, const NewImage& image) noexcept
{
    ComPtr<IWICBitmapSource> pixels;
    HRESULT result = frame_->QueryInterface(IID_IWICBitmapSource, pixels.OutVoid());
    for (const WICPixelFormatGUID& format : formats) {
        ComPtr<IWICBitmapSource> converted;
        if (SUCCEEDED(result))
            result = WICConvertBitmapSource(format, pixels.Get(), converted.Out());
        pixels = converted;
    }
    const UINT rowBytes = static_cast<UINT>(KrnRowBytes(info_.width, info_.bitsPerPixel));
    return SUCCEEDED(result)
               ? pixels->CopyPixels(nullptr, rowBytes, static_cast<UINT>(image.Bytes()), image.Row(0))
               : result;
}

int32_t Page::ReadRows(const NewImage& image) noexcept
{
    const bool convert = format_ == &kConverted;
    HRESULT result = convert ? CopyPixels({kConverted.format}, image) : CopyPixels({}, image);
    // Not every component converts from every format in one step.
    if (FAILED(result) && convert)
        result = CopyPixels({GUID_WICPixelFormat32bppBGRA, kConverted.format}, image);
    if (FAILED(result))
        return Failure(result);
    const UINT rowBytes = static_cast<UINT>(KrnRowBytes(info_.width, info_.bitsPerPixel));
    if (topDown_)
        for (uint32_t top = 0, bottom = info_.height - 1; top < bottom; ++top, --bottom)
            std::swap_ranges(image.Row(top), image.Row(top) + rowBytes, image.Row(bottom));
    return FIL_SUCCESS;
}

}  // namespace

int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) noexcept
{
    Page opened{source};
    const int32_t status = opened.Open(page);
    if (status == FIL_SUCCESS)
        info = opened.Info();
    return status;
}

int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) noexcept
{
    Page opened{source};
    if (const int32_t status = opened.Open(page); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(opened.Info()); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = opened.ReadRows(image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::tiff
