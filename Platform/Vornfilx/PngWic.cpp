/*
 * PNG by the system's imaging component. What the file tells of its page is read from the file: the component rounds
 * the resolution, and lays nothing over white.
 */
#include "Pixels.h"
#include "PngHeader.h"
#include "PngPages.h"
#include "WicDecode.h"

namespace vorn::fil::png {
namespace {

constexpr uint8_t Level(const uint8_t* sample16) noexcept
{
    return static_cast<uint8_t>(((sample16[0] | sample16[1] << 8) * 255u + 32895) >> 16);
}

/** A row of the component's into one of a bitmap, which has 8 bits a pixel or 24. */
using Convert = void (*)(const uint8_t* from, uint8_t* to, const PageInfo& page);

template <uint32_t step>
void FromTwoBits(const uint8_t* from, uint8_t* to, const PageInfo& page)
{
    for (uint32_t x = 0; x < page.width; ++x)
        to[x] = static_cast<uint8_t>((from[x / 4] >> (3 - x % 4) * 2 & 3) * step);
}

void FromGrey16(const uint8_t* from, uint8_t* to, const PageInfo& page)
{
    for (uint32_t x = 0; x < page.width; ++x)
        to[x] = Level(from + x * 2);
}

void FromRgb48(const uint8_t* from, uint8_t* to, const PageInfo& page)
{
    for (uint32_t x = 0; x < page.width; ++x, from += 6, to += 3)
        for (uint32_t color = 0; color < 3; ++color)
            to[color] = Level(from + (2 - color) * 2);
}

/** Four levels of blue, green, red and alpha; greys come as colours, too. */
void PutOverWhite(const uint8_t (&bgra)[4], uint32_t x, uint8_t* to, const PageInfo& page)
{
    if (page.bitsPerPixel == 8)
        to[x] = OverWhite(bgra[1], bgra[3]);
    else
        for (uint32_t color = 0; color < 3; ++color)
            to[x * 3 + color] = OverWhite(bgra[color], bgra[3]);
}

void FromBgra32(const uint8_t* from, uint8_t* to, const PageInfo& page)
{
    for (uint32_t x = 0; x < page.width; ++x, from += 4)
        PutOverWhite({from[0], from[1], from[2], from[3]}, x, to, page);
}

void FromRgba64(const uint8_t* from, uint8_t* to, const PageInfo& page)
{
    for (uint32_t x = 0; x < page.width; ++x, from += 8)
        PutOverWhite({Level(from + 4), Level(from + 2), Level(from), Level(from + 6)}, x, to, page);
}

/** The component's pixel formats; without a conversion they are a bitmap's of that many bits. */
struct FormatRow {
    const GUID& format;
    uint32_t bits;
    Convert convert;
};
const FormatRow kFormats[] = {
    {GUID_WICPixelFormatBlackWhite, 1, nullptr},         {GUID_WICPixelFormat1bppIndexed, 1, nullptr},
    {GUID_WICPixelFormat4bppGray, 4, nullptr},           {GUID_WICPixelFormat4bppIndexed, 4, nullptr},
    {GUID_WICPixelFormat8bppGray, 8, nullptr},           {GUID_WICPixelFormat8bppIndexed, 8, nullptr},
    {GUID_WICPixelFormat24bppBGR, 24, nullptr},          {GUID_WICPixelFormat2bppGray, 2, FromTwoBits<85>},
    {GUID_WICPixelFormat2bppIndexed, 2, FromTwoBits<1>}, {GUID_WICPixelFormat16bppGray, 16, FromGrey16},
    {GUID_WICPixelFormat48bppRGB, 48, FromRgb48},        {GUID_WICPixelFormat64bppRGBA, 64, FromRgba64},
    {GUID_WICPixelFormat32bppBGRA, 32, FromBgra32},
};
/** The last is what everything else can be converted to. */
const FormatRow& kConverted = *std::rbegin(kFormats);

const FormatRow& RowOf(REFGUID format) noexcept
{
    for (const FormatRow& row : kFormats)
        if (row.format == format)
            return row;
    return kConverted;
}

int32_t ReadConverted(WicFrame& frame, const FormatRow& row, const PageInfo& page,
                      const NewImage& image) noexcept
{
    const uint64_t rowBytes = KrnRowBytes(page.width, row.bits);
    const Buffer rows{rowBytes * page.height};
    if (!rows.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    const int32_t status = frame.Format() == row.format
                               ? frame.ReadPixels({}, rowBytes, rows.Get())
                               : frame.ReadPixels({row.format}, rowBytes, rows.Get());
    for (uint32_t y = 0; status == FIL_SUCCESS && y < page.height; ++y)
        row.convert(rows.Get() + y * rowBytes, image.Row(page.height - 1 - y), page);
    return status;
}

int32_t ReadImage(ByteSource& source, const Header& header, const NewImage& image) noexcept
{
    const PageInfo& page = header.page;
    WicFrame frame{source};
    if (const int32_t status = frame.Open(GUID_ContainerFormatPng, 0); status != FIL_SUCCESS)
        return status;
    if (frame.Width() != page.width || frame.Height() != page.height)
        return FIL_ERR_CORRUPT;
    const FormatRow& row = RowOf(frame.Format());
    if (row.convert && (page.bitsPerPixel == 24 || page.bitsPerPixel == 8))
        return ReadConverted(frame, row, page, image);
    return row.convert || row.bits != page.bitsPerPixel ? FIL_ERR_UNSUPPORTED
                                                        : frame.ReadImage({}, page, true, image);
}

}  // namespace

int32_t ReadInfo(ByteSource& source, PageInfo& info) noexcept
{
    Header header;
    const int32_t status = ReadHeader(source, header);
    if (status == FIL_SUCCESS)
        info = header.page;
    return status;
}

int32_t Load(ByteSource& source, BitmapHandle& bitmap) noexcept
{
    Header header;
    if (const int32_t status = ReadHeader(source, header); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = CheckWhole(source); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(header.page); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = ReadImage(source, header, image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

PngEffort ChooseEffort(PageRows&)
{
    return {};
}

}  // namespace vorn::fil::png
