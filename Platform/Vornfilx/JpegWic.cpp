/*
 * Reading a JPEG file by the system's imaging component. What the file tells of its page is read from the file: the
 * component tells 96 dpi of a page that has none, and does not turn pictures upright.
 */
#include <algorithm>

#include "Chunks.h"
#include "JpegPages.h"
#include "Pixels.h"
#include "WicDecode.h"

namespace vorn::fil::jpeg {
namespace {

/**
 * FIL_ERR_CORRUPT when the file has no end marker. The component may fill what a file that was cut short lacks with
 * grey; inside the picture's data nothing looks like this marker.
 */
int32_t CheckEnd(ByteSource& source, const Header& header) noexcept
{
    constexpr uint8_t kMarker = 0xFF, kEnd = 0xD9;
    ChunkReader chunks{source};
    chunks.Skip(header.frameEnd);
    for (bool marked = false;;) {
        const uint8_t* data = nullptr;
        size_t count = 0;
        if (const int32_t status = chunks.Next(data, count); status != FIL_SUCCESS)
            return status;
        constexpr uint8_t kBoth[] = {kMarker, kEnd};
        if ((marked && data[0] == kEnd) ||
            std::search(data, data + count, std::begin(kBoth), std::end(kBoth)) != data + count)
            return FIL_SUCCESS;
        marked = data[count - 1] == kMarker;
    }
}

/** A picture whose rows are not those of the image: inks, or one that lies on a side or is mirrored. */
int32_t ReadRows(WicFrame& frame, WicFrame::Formats formats, const Header& header,
                 const UprightRows& upright) noexcept
{
    const bool ink = header.components == 4;
    const uint64_t rowBytes = KrnRowBytes(header.storedWidth, ink ? 32 : header.page.bitsPerPixel);
    const Buffer rows{rowBytes * header.storedHeight};
    if (!rows.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    const int32_t status = frame.ReadPixels(formats, rowBytes, rows.Get());
    for (uint32_t y = 0; status == FIL_SUCCESS && y < header.storedHeight; ++y) {
        uint8_t* const row = rows.Get() + y * rowBytes;
        if (ink)
            LightOfInk(row, row, header.storedWidth, false);
        upright.Put(row, y);
    }
    return status;
}

int32_t ReadImage(ByteSource& source, const Header& header, const NewImage& image) noexcept
{
    WicFrame frame{source};
    if (const int32_t status = frame.Open(GUID_ContainerFormatJpeg, 0); status != FIL_SUCCESS)
        return status;
    if (frame.Width() != header.storedWidth || frame.Height() != header.storedHeight)
        return FIL_ERR_CORRUPT;
    const GUID wanted = header.components == 1   ? GUID_WICPixelFormat8bppGray
                        : header.components == 4 ? GUID_WICPixelFormat32bppCMYK
                                                 : GUID_WICPixelFormat24bppBGR;
    const WicFrame::Formats convert = {wanted};
    const WicFrame::Formats formats = frame.Format() == wanted ? WicFrame::Formats{} : convert;
    const UprightRows upright{image, header.page, header.orientation};
    if (header.components == 4 || !upright.Direct(0))
        return ReadRows(frame, formats, header, upright);
    return frame.ReadImage(formats, header.page, header.orientation == Orientation::TopLeft, image);
}

}  // namespace

int32_t Load(ByteSource& source, const Header& header, BitmapHandle& bitmap) noexcept
{
    if (const int32_t status = CheckEnd(source, header); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(header.page); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = ReadImage(source, header, image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::jpeg
