#include "RowStream.h"

#include <algorithm>
#include <new>

namespace vorn::wia {

namespace {

/** Writes runs of pixels in pieces of at most the chunk size, and knows how far the page is. */
class PixelWriter {
public:
    PixelWriter(PageSink& sink, uint32_t chunkBytes, uint64_t totalBytes) noexcept
        : sink_{sink}, chunkBytes_{chunkBytes}, totalBytes_{totalBytes}
    {
    }

    HRESULT Write(uint64_t offset, const uint8_t* data, uint64_t size)
    {
        while (size > 0) {
            const uint32_t piece = static_cast<uint32_t>(std::min<uint64_t>(size, chunkBytes_));
            doneBytes_ += piece;
            const HRESULT result = sink_.Write(offset, data, piece, Percent());
            if (result != S_OK)
                return result;
            offset += piece;
            data += piece;
            size -= piece;
        }
        return S_OK;
    }

    /**
     * In pieces that end where the chunk size divides the offset: a file is then written in whole pages of the
     * system's cache, and each piece finds room in a large one.
     */
    HRESULT WriteAligned(uint64_t offset, const uint8_t* data, uint64_t size)
    {
        const uint64_t first = std::min(size, chunkBytes_ - offset % chunkBytes_);
        const HRESULT result = Write(offset, data, first);
        return result == S_OK ? Write(offset + first, data + first, size - first) : result;
    }

private:
    uint32_t Percent() const noexcept { return static_cast<uint32_t>(doneBytes_ * 100 / totalBytes_); }

    PageSink& sink_;
    uint32_t chunkBytes_;
    uint64_t totalBytes_;
    uint64_t doneBytes_ = 0;
};

HRESULT ReadEncoded(Page& page, const RowLayout& layout, uint8_t* rows, uint32_t count)
{
    if (layout.rgb)
        if (const HRESULT result = page.ReadRgbRows(rows, count); result != E_NOTIMPL)
            return result;
    const HRESULT result = page.ReadRows(rows, count, layout.order);
    if (result == S_OK && layout.pack)
        layout.pack(page.Geometry(), rows, count);
    return result;
}

HRESULT WriteScannedRows(Page& page, const RowLayout& layout, uint32_t rowsPerChunk, PixelWriter& writer)
{
    const PageGeometry& geometry = page.Geometry();
    const uint64_t bufferBytes = rowsPerChunk * geometry.RowBytes();
    const std::unique_ptr<uint8_t[]> buffer{
        bufferBytes <= SIZE_MAX ? new (std::nothrow) uint8_t[static_cast<size_t>(bufferBytes)] : nullptr};
    if (!buffer)
        return E_OUTOFMEMORY;

    for (uint32_t row = 0; row < geometry.height;) {
        const uint32_t count = std::min(rowsPerChunk, geometry.height - row);
        if (const HRESULT result = ReadEncoded(page, layout, buffer.get(), count); result != S_OK)
            return result;

        const uint32_t firstRow = layout.order == RowOrder::TopDown ? row : geometry.height - row - count;
        const HRESULT result =
            writer.Write(layout.offset + firstRow * layout.rowBytes, buffer.get(), count * layout.rowBytes);
        if (result != S_OK)
            return result;
        row += count;
    }
    return S_OK;
}

}  // namespace

HRESULT StreamRows(Page& page, const RowLayout& layout, PageSink& sink, uint32_t chunkBytes)
{
    const PageGeometry& geometry = page.Geometry();
    const uint32_t rowsPerChunk =
        static_cast<uint32_t>(std::clamp<uint64_t>(chunkBytes / geometry.RowBytes(), 1, geometry.height));
    PixelWriter writer{sink, chunkBytes, layout.rowBytes * geometry.height};

    const uint8_t* const image = page.ReadyImage();
    if (image && !layout.pack && layout.order == RowOrder::BottomUp)
        return writer.WriteAligned(layout.offset, image, geometry.ImageBytes());
    return WriteScannedRows(page, layout, rowsPerChunk, writer);
}

bool IsPlausible(const PageGeometry& geometry) noexcept
{
    const uint32_t bits = geometry.bitsPerPixel;
    const bool indexed = bits == 1 || bits == 4 || bits == 8;
    constexpr uint32_t kLongest = 0x7FFFFFFF;
    return geometry.width - 1 < kLongest && geometry.height - 1 < kLongest && (indexed || bits == 24) &&
           geometry.palette.size() <= (indexed ? size_t{1} << bits : 0);
}

std::vector<PaletteEntry> PaletteOf(const PageGeometry& geometry)
{
    if (geometry.bitsPerPixel > 8 || !geometry.palette.empty())
        return geometry.palette;

    const uint32_t last = (1u << geometry.bitsPerPixel) - 1;
    std::vector<PaletteEntry> ramp;
    for (uint32_t i = 0; i <= last; ++i) {
        const uint8_t level = static_cast<uint8_t>(i * 255 / last);
        ramp.push_back({level, level, level, 0});
    }
    return ramp;
}

}  // namespace vorn::wia
