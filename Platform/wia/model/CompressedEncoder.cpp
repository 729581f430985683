#include "CompressedEncoder.h"

#include <algorithm>
#include <functional>
#include <new>

#include "ImageWriter.h"
#include "RowStream.h"

namespace vorn::wia {

namespace {

/** Hands the bytes of a file over as they come. */
class Outlet {
public:
    Outlet(PageSink& sink, uint32_t chunkBytes) noexcept : sink_{sink}, chunkBytes_{chunkBytes} {}

    std::vector<uint8_t>& Bytes() noexcept { return bytes_; }

    HRESULT SendHeader()
    {
        const auto size = static_cast<uint32_t>(bytes_.size());
        const HRESULT result = sink_.Begin(PageSink::kUnknownBytes, size);
        return result == S_OK ? SendPieces(size, 0) : result;
    }

    HRESULT Send(uint32_t percent) { return SendPieces(chunkBytes_, percent); }

private:
    HRESULT SendPieces(uint32_t longest, uint32_t percent)
    {
        for (size_t sent = 0; sent < bytes_.size();) {
            const auto piece = static_cast<uint32_t>(std::min<size_t>(longest, bytes_.size() - sent));
            if (const HRESULT result = sink_.Write(offset_, bytes_.data() + sent, piece, percent);
                result != S_OK)
                return result;
            offset_ += piece;
            sent += piece;
        }
        bytes_.clear();
        return S_OK;
    }

    PageSink& sink_;
    uint32_t chunkBytes_;
    std::vector<uint8_t> bytes_;
    uint64_t offset_ = 0;
};

fil::RowImage ImageOf(const PageGeometry& geometry) noexcept
{
    static_assert(sizeof(PaletteEntry) == 4, "a palette is handed over as bytes");
    fil::RowImage image{geometry.width, geometry.height, geometry.bitsPerPixel, geometry.xDpi, geometry.yDpi};
    if (!geometry.palette.empty())
        image.palette = &geometry.palette.front().blue;
    image.paletteCount = static_cast<uint32_t>(geometry.palette.size());
    return image;
}

/** A device does not wait for its codec: the first levels are several times faster than the default one. */
std::unique_ptr<fil::ImageWriter> MakePng(const fil::RowImage& image, std::vector<uint8_t>& bytes)
{
    return fil::CreatePngWriter(image, bytes);
}

class CompressedEncoder final : public PageEncoder {
public:
    using Make =
        std::function<std::unique_ptr<fil::ImageWriter>(const fil::RowImage&, std::vector<uint8_t>& bytes)>;

    CompressedEncoder(Make make, uint32_t longestSide) noexcept
        : make_{std::move(make)}, longestSide_{longestSide}
    {
    }

    uint64_t EncodedBytes(const PageGeometry& geometry) const noexcept override
    {
        const bool fits = IsPlausible(geometry) && std::max(geometry.width, geometry.height) <= longestSide_;
        return fits ? geometry.ImageBytes() : 0;
    }

    HRESULT Encode(Page& page, PageSink& sink, uint32_t chunkBytes) override
    try {
        if (!IsPlausible(page.Geometry()) || chunkBytes == 0)
            return E_INVALIDARG;
        if (EncodedBytes(page.Geometry()) == 0)
            return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
        Outlet outlet{sink, chunkBytes};
        const std::unique_ptr<fil::ImageWriter> file = make_(ImageOf(page.Geometry()), outlet.Bytes());
        if (!file->Begin())
            return E_OUTOFMEMORY;
        if (const HRESULT result = outlet.SendHeader(); result != S_OK)
            return result;
        if (const HRESULT result = WriteRows(page, *file, outlet, chunkBytes); result != S_OK)
            return result;
        return file->End() ? outlet.Send(100) : E_OUTOFMEMORY;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

private:
    static HRESULT WriteRows(Page& page, fil::ImageWriter& file, Outlet& outlet, uint32_t chunkBytes)
    {
        const PageGeometry& geometry = page.Geometry();
        const auto rowsPerChunk =
            static_cast<uint32_t>(std::clamp<uint64_t>(chunkBytes / geometry.RowBytes(), 1, geometry.height));
        std::vector<uint8_t> rows(static_cast<size_t>(rowsPerChunk * geometry.RowBytes()));
        for (uint32_t row = 0; row < geometry.height;) {
            const uint32_t count = std::min(rowsPerChunk, geometry.height - row);
            if (const HRESULT result = page.ReadRows(rows.data(), count, RowOrder::TopDown); result != S_OK)
                return result;
            if (!file.WriteRows(rows.data(), count, static_cast<ptrdiff_t>(geometry.RowBytes())))
                return E_OUTOFMEMORY;
            row += count;
            const auto percent = static_cast<uint32_t>(uint64_t{row} * 100 / geometry.height);
            if (const HRESULT result = outlet.Send(percent); result != S_OK)
                return result;
        }
        return S_OK;
    }

    Make make_;
    uint32_t longestSide_;
};

}  // namespace

std::unique_ptr<PageEncoder> MakeCompressedEncoder(REFGUID format, LONG jpegQuality)
{
    if (IsEqualGUID(format, WiaImgFmt_JPEG))
        return std::make_unique<CompressedEncoder>(
            [jpegQuality](const fil::RowImage& image, std::vector<uint8_t>& bytes) {
                return fil::CreateJpegWriter(image, bytes, static_cast<int>(jpegQuality));
            },
            fil::kLongestJpegSide);
    if (IsEqualGUID(format, WiaImgFmt_PNG))
        return std::make_unique<CompressedEncoder>(MakePng, uint32_t{INT32_MAX});
    return nullptr;
}

}  // namespace vorn::wia
