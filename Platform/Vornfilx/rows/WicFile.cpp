/*
 * JPEG and PNG files by the system's imaging component. All but a file's start is appended when it ends, since the
 * component may go back in what it writes; resolution and maker are put in here, because it rounds the one and not
 * every component writes the other.
 */
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "BigEndian.h"
#include "JpegSamples.h"
#include "Software.h"
#include "Vornkrnx.h"
#include "Wic.h"

namespace vorn::fil {
namespace {

using Bytes = std::vector<uint8_t>;

/** What the component has written so far. */
class GrowingStream final : public WicStream {
public:
    const Bytes& Content() const noexcept { return bytes_; }

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* done) override
    {
        const size_t wanted = std::min<size_t>(bytes_.size() - std::min(position_, Size()), count);
        if (wanted > 0)
            std::memcpy(buffer, bytes_.data() + position_, wanted);
        position_ += wanted;
        if (done)
            *done = static_cast<ULONG>(wanted);
        return wanted == count ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG count, ULONG* done) override
    {
        if (done)
            *done = 0;
        return NoThrow([&] {
            const auto* from = static_cast<const uint8_t*>(data);
            if (position_ > bytes_.size())
                bytes_.resize(position_);
            const size_t over = std::min<size_t>(bytes_.size() - position_, count);
            bytes_.insert(bytes_.end(), from + over, from + count);
            std::copy_n(from, over, bytes_.begin() + static_cast<ptrdiff_t>(position_));
            position_ += count;
            if (done)
                *done = count;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override
    {
        return NoThrow([&] {
            bytes_.resize(size.QuadPart);
            return S_OK;
        });
    }

private:
    uint64_t Size() const noexcept override { return bytes_.size(); }

    Bytes bytes_;
};

void Put(Bytes& bytes, std::string_view text)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void Put16(Bytes& bytes, uint32_t value)
{
    bytes.insert(bytes.end(), {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)});
}

void Put32(Bytes& bytes, uint32_t value)
{
    Put16(bytes, value >> 16);
    Put16(bytes, value & 0xFFFF);
}

/** A row of pixels of three bytes, from one of pixels of four whose last means nothing. */
const uint8_t* DropFourth(const uint8_t* from, Bytes& row) noexcept
{
    for (uint8_t *to = row.data(), *const end = to + row.size(); to != end; to += 3, from += 4)
        std::copy_n(from, 3, to);
    return row.data();
}

/** A file in the making; the derived classes know the format. */
class WicFile : public RowFile {
public:
    WicFile(const RowImage& image, Bytes& bytes) : image_{image}, bytes_{bytes} {}

    bool Begin() override
    {
        stream_ = ComPtr<GrowingStream>::Adopt(new (std::nothrow) GrowingStream);
        HRESULT result = stream_ ? CreateImagingFactory(factory_) : E_OUTOFMEMORY;
        if (SUCCEEDED(result))
            result = factory_->CreateEncoder(Container(), nullptr, encoder_.Out());
        if (SUCCEEDED(result))
            result = encoder_->Initialize(stream_.Get(), WICBitmapEncoderNoCache);
        ComPtr<IPropertyBag2> options;
        if (SUCCEEDED(result))
            result = encoder_->CreateNewFrame(frame_.Out(), options.Out());
        if (SUCCEEDED(result))
            result = SetOptions(options.Get());
        if (SUCCEEDED(result))
            result = frame_->Initialize(options.Get());
        if (SUCCEEDED(result))
            result = frame_->SetSize(image_.width, image_.height);
        return SUCCEEDED(result) && SUCCEEDED(SetFormat()) && Try([this] { return AppendStart(); });
    }

    bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) override
    {
        for (uint32_t i = 0; i < count; ++i) {
            auto* row = const_cast<BYTE*>(Row(rows + stride * i));  // the component does not write to it
            if (FAILED(frame_->WritePixels(1, rowBytes_, rowBytes_, row)))
                return false;
        }
        return true;
    }

    bool Flush() override { return true; }

    bool End() override
    {
        return SUCCEEDED(frame_->Commit()) && SUCCEEDED(encoder_->Commit()) &&
               Try([this] { return AppendRest(stream_->Content()); });
    }

protected:
    virtual REFGUID Container() const noexcept = 0;
    virtual HRESULT SetOptions(IPropertyBag2*) noexcept { return S_OK; }
    /** Chooses pixel format and palette, and sets rowBytes_. */
    virtual HRESULT SetFormat() noexcept = 0;
    virtual const uint8_t* Row(const uint8_t* row) noexcept = 0;
    /** Appends what begins every file of the format. */
    virtual bool AppendStart() = 0;
    /** Appends what the component wrote behind such a start. Resolution and maker are in the one or the other. */
    virtual bool AppendRest(const Bytes& written) = 0;

    /** The format must be just this: the component would else take another that is near. */
    HRESULT SetFormat(REFGUID format, uint32_t bits) noexcept
    {
        rowBytes_ = static_cast<UINT>((uint64_t{image_.width} * bits + 7) / 8);
        WICPixelFormatGUID found = format;
        const HRESULT result = frame_->SetPixelFormat(&found);
        return SUCCEEDED(result) && found != format ? WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT : result;
    }

    template <typename Step>
    static bool Try(Step step) noexcept
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return false;
    }

    RowImage image_;
    Bytes& bytes_;
    Apartment apartment_;
    ComPtr<GrowingStream> stream_;
    ComPtr<IWICImagingFactory> factory_;
    ComPtr<IWICBitmapEncoder> encoder_;
    ComPtr<IWICBitmapFrameEncode> frame_;
    UINT rowBytes_ = 0;
};

class JpegFile final : public WicFile {
public:
    JpegFile(const RowImage& image, Bytes& bytes, int quality)
        : WicFile{image, bytes}, quality_{quality}, samples_{image}
    {
        if (samples_.Channels() == 4)
            row_.resize(size_t{image.width} * 3);
    }

private:
    REFGUID Container() const noexcept override { return GUID_ContainerFormatJpeg; }

    HRESULT SetOptions(IPropertyBag2* options) noexcept override
    {
        VARIANT value{};
        value.vt = VT_R4;
        value.fltVal = static_cast<float>(quality_) / 100;
        const HRESULT result = SetOption(options, L"ImageQuality", value);
        value.vt = VT_UI1;
        value.bVal = quality_ >= kFullColorQuality ? WICJpegYCrCbSubsampling444 : WICJpegYCrCbSubsampling420;
        return SUCCEEDED(result) ? SetOption(options, L"JpegYCrCbSubsampling", value) : result;
    }

    static HRESULT SetOption(IPropertyBag2* options, const wchar_t* name, VARIANT& value) noexcept
    {
        PROPBAG2 option{};
        option.pstrName = const_cast<wchar_t*>(name);
        return options->Write(1, &option, &value);
    }

    HRESULT SetFormat() noexcept override
    {
        return samples_.Channels() == 1 ? WicFile::SetFormat(GUID_WICPixelFormat8bppGray, 8)
                                        : WicFile::SetFormat(GUID_WICPixelFormat24bppBGR, 24);
    }

    const uint8_t* Row(const uint8_t* row) noexcept override
    {
        return row_.empty() ? samples_.Of(row) : DropFourth(row, row_);
    }

    bool AppendStart() override
    {
        constexpr uint32_t kComment = 0xFFFE;
        const auto fits = [](double dpi) { return dpi >= 1 && dpi <= 0xFFFF; };
        const bool known = fits(image_.xDpi) && fits(image_.yDpi);
        Put(bytes_, "\xFF\xD8\xFF\xE0");
        Put(bytes_, {"\0\x10JFIF\0\x01\x01", 9});
        bytes_.push_back(known);  // dots per inch, or no more than the pixels' shape
        Put16(bytes_, known ? static_cast<uint32_t>(std::lround(image_.xDpi)) : 1);
        Put16(bytes_, known ? static_cast<uint32_t>(std::lround(image_.yDpi)) : 1);
        Put16(bytes_, 0);  // no thumbnail
        Put16(bytes_, kComment);
        Put16(bytes_, sizeof kSoftware - 1 + 2);
        Put(bytes_, kSoftware);
        return true;
    }

    bool AppendRest(const Bytes& written) override
    {
        constexpr uint32_t kJfif = 0xFFE0;
        if (written.size() < 6)
            return false;
        const size_t jfifBytes = BigEndian16(&written[2]) == kJfif ? 2 + BigEndian16(&written[4]) : 0;
        if (2 + jfifBytes > written.size())
            return false;
        bytes_.insert(bytes_.end(), written.begin() + 2 + static_cast<ptrdiff_t>(jfifBytes), written.end());
        return true;
    }

    int quality_;
    JpegSamples samples_;
    Bytes row_;
};

class PngFile final : public WicFile {
public:
    PngFile(const RowImage& image, Bytes& bytes) : WicFile{image, bytes}, palette_{WholePalette(image)}
    {
        if (image.bitsPerPixel == 32)
            row_.resize(size_t{image.width} * 3);
    }

private:
    REFGUID Container() const noexcept override { return GUID_ContainerFormatPng; }

    HRESULT SetFormat() noexcept override
    {
        switch (image_.bitsPerPixel) {
            case 1:
                return SetFormat(GUID_WICPixelFormatBlackWhite, GUID_WICPixelFormat1bppIndexed);
            case 4:
                return SetFormat(GUID_WICPixelFormat4bppGray, GUID_WICPixelFormat4bppIndexed);
            case 8:
                return SetFormat(GUID_WICPixelFormat8bppGray, GUID_WICPixelFormat8bppIndexed);
            default:
                return WicFile::SetFormat(GUID_WICPixelFormat24bppBGR, 24);
        }
    }

    HRESULT SetFormat(REFGUID grey, REFGUID indexed) noexcept
    {
        if (IsGreyRamp(palette_))
            return WicFile::SetFormat(grey, image_.bitsPerPixel);
        WICColor colors[256] = {};
        const UINT count = 1u << image_.bitsPerPixel;
        for (UINT i = 0; i < count; ++i)
            colors[i] = 0xFF000000 | static_cast<uint32_t>(palette_[i * 4 + 2]) << 16 |
                        static_cast<uint32_t>(palette_[i * 4 + 1]) << 8 | palette_[i * 4];
        ComPtr<IWICPalette> palette;
        HRESULT result = WicFile::SetFormat(indexed, image_.bitsPerPixel);
        if (SUCCEEDED(result))
            result = factory_->CreatePalette(palette.Out());
        if (SUCCEEDED(result))
            result = palette->InitializeCustom(colors, count);
        return SUCCEEDED(result) ? frame_->SetPalette(palette.Get()) : result;
    }

    const uint8_t* Row(const uint8_t* row) noexcept override
    {
        return row_.empty() ? row : DropFourth(row, row_);
    }

    void PutChunk(std::string_view typeAndContent)
    {
        Put32(bytes_, static_cast<uint32_t>(typeAndContent.size() - 4));
        Put(bytes_, typeAndContent);
        Put32(bytes_,
              Crc32(0, reinterpret_cast<const uint8_t*>(typeAndContent.data()), typeAndContent.size()));
    }

    void PutResolution()
    {
        if (image_.xDpi <= 0 || image_.yDpi <= 0)
            return;
        Bytes chunk;
        Put(chunk, "pHYs");
        Put32(chunk, static_cast<uint32_t>(KrnPelsPerMeterFromDpi(image_.xDpi)));
        Put32(chunk, static_cast<uint32_t>(KrnPelsPerMeterFromDpi(image_.yDpi)));
        chunk.push_back(1);  // the metre
        PutChunk({reinterpret_cast<const char*>(chunk.data()), chunk.size()});
    }

    bool AppendStart() override
    {
        Put(bytes_, "\x89PNG\r\n\x1A\n");
        return true;
    }

    /** Chunk by chunk, but for a resolution of the component's own. */
    bool AppendRest(const Bytes& written) override
    {
        constexpr size_t kSignatureBytes = 8, kAroundContent = 12;
        for (size_t at = kSignatureBytes; at + kAroundContent <= written.size();) {
            const size_t size = size_t{BigEndian32(&written[at])} + kAroundContent;
            if (size > written.size() - at)
                return false;
            if (std::memcmp(&written[at + 4], "pHYs", 4) != 0)
                bytes_.insert(bytes_.end(), written.begin() + static_cast<ptrdiff_t>(at),
                              written.begin() + static_cast<ptrdiff_t>(at + size));
            if (at == kSignatureBytes) {
                PutResolution();
                PutChunk(std::string{"tEXtSoftware"} + '\0' + kSoftware);
            }
            at += size;
        }
        return true;
    }

    Bytes palette_;
    Bytes row_;
};

}  // namespace

std::unique_ptr<RowFile> MakeJpegFile(const RowImage& image, std::vector<uint8_t>& bytes, int quality)
{
    return std::make_unique<JpegFile>(image, bytes, quality);
}

std::unique_ptr<RowFile> MakePngFile(const RowImage& image, std::vector<uint8_t>& bytes, PngEffort)
{
    return std::make_unique<PngFile>(image, bytes);
}

}  // namespace vorn::fil
