#include "DibEncoder.h"

#include "ByteWriter.h"
#include "RowStream.h"
#include "Vornkrnx.h"

namespace vorn::wia {

namespace {

constexpr uint32_t kFileHeaderBytes = 14;
constexpr uint32_t kInfoHeaderBytes = 40;

/** The offsets of a banded transfer are signed 32-bit numbers, and so are the sizes that readers of a DIB
 * expect. */
constexpr uint64_t kLimit = 0x7FFFFFFF;

uint32_t ColorCount(const PageGeometry& geometry) noexcept
{
    if (geometry.bitsPerPixel > 8)
        return 0;
    return geometry.palette.empty() ? 1u << geometry.bitsPerPixel
                                    : static_cast<uint32_t>(geometry.palette.size());
}

uint32_t HeaderBytes(DibEncoder::Form form, const PageGeometry& geometry) noexcept
{
    return (form == DibEncoder::Form::File ? kFileHeaderBytes : 0) + kInfoHeaderBytes +
           4 * ColorCount(geometry);
}

}  // namespace

uint64_t DibEncoder::EncodedBytes(const PageGeometry& geometry) const noexcept
{
    if (!IsPlausible(geometry))
        return 0;
    const uint64_t total = HeaderBytes(form_, geometry) + geometry.ImageBytes();
    return total <= kLimit ? total : 0;
}

std::vector<uint8_t> DibEncoder::Header(const PageGeometry& geometry) const
{
    ByteWriter header;
    if (form_ == Form::File) {
        header.Put8('B');
        header.Put8('M');
        header.Put32(static_cast<uint32_t>(EncodedBytes(geometry)));
        header.Put32(0);
        header.Put32(HeaderBytes(form_, geometry));
    }

    const uint32_t colors = ColorCount(geometry);
    header.Put32(kInfoHeaderBytes);
    header.Put32(geometry.width);
    header.Put32(geometry.height);
    header.Put16(1);  // planes
    header.Put16(static_cast<uint16_t>(geometry.bitsPerPixel));
    header.Put32(0);  // not compressed
    header.Put32(static_cast<uint32_t>(geometry.ImageBytes()));
    header.Put32(static_cast<uint32_t>(KrnPelsPerMeterFromDpi(geometry.xDpi)));
    header.Put32(static_cast<uint32_t>(KrnPelsPerMeterFromDpi(geometry.yDpi)));
    header.Put32(colors);
    header.Put32(0);  // all of them important

    for (const PaletteEntry& entry : PaletteOf(geometry)) {
        header.Put8(entry.blue);
        header.Put8(entry.green);
        header.Put8(entry.red);
        header.Put8(0);
    }
    return header.Bytes();
}

HRESULT DibEncoder::Encode(Page& page, PageSink& sink, uint32_t chunkBytes)
try {
    const PageGeometry& geometry = page.Geometry();
    if (!IsPlausible(geometry) || chunkBytes == 0)
        return E_INVALIDARG;
    const uint64_t total = EncodedBytes(geometry);
    if (total == 0)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;

    const std::vector<uint8_t> header = Header(geometry);
    const uint32_t headerBytes = static_cast<uint32_t>(header.size());
    if (const HRESULT result = sink.Begin(total, headerBytes); result != S_OK)
        return result;
    if (const HRESULT result = sink.Write(0, header.data(), headerBytes, 0); result != S_OK)
        return result;

    RowLayout rows;
    rows.offset = headerBytes;
    rows.rowBytes = geometry.RowBytes();
    rows.order = RowOrder::BottomUp;
    return StreamRows(page, rows, sink, chunkBytes);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace vorn::wia
