/*
 * Reading a page of a TIFF file by the system's imaging component. Resolution and depth as stored come from the
 * page's own fields: the component tells 96 dpi of a page that has none.
 */
#include "TiffChain.h"
#include "TiffPages.h"
#include "TiffStoredFields.h"
#include "WicDecode.h"

namespace vorn::fil::tiff {
namespace {

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

/** A page that is open in the component. */
class Page {
public:
    explicit Page(ByteSource& source) noexcept : source_{source}, frame_{source} {}

    int32_t Open(uint32_t number) noexcept;
    const PageInfo& Info() const noexcept { return info_; }
    int32_t ReadImage(const NewImage& image) noexcept;

private:
    int32_t TakeInfo(const StoredFields& fields) noexcept;

    ByteSource& source_;
    WicFrame frame_;
    const FormatRow* format_ = &kConverted;
    bool topDown_ = true;
    PageInfo info_;
};

int32_t Page::Open(uint32_t number) noexcept
{
    Chain chain;
    if (const int32_t status = WalkChain(source_, number, chain); status != FIL_SUCCESS)
        return status;
    StoredFields fields;
    if (const int32_t status = ReadStoredFields(source_, chain, fields); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = frame_.Open(GUID_ContainerFormatTiff, number - 1); status != FIL_SUCCESS)
        return status;
    return TakeInfo(fields);
}

int32_t Page::TakeInfo(const StoredFields& fields) noexcept
{
    constexpr uint32_t kTopLeft = 1, kBottomLeft = 4;
    if (fields.orientation != kTopLeft && fields.orientation != kBottomLeft)
        return FIL_ERR_UNSUPPORTED;
    topDown_ = fields.orientation == kTopLeft;
    for (const FormatRow& row : kFormats)
        if (row.format == frame_.Format())
            format_ = &row;
    info_.width = frame_.Width();
    info_.height = frame_.Height();
    info_.bitsPerPixel = format_->bitsPerPixel;
    info_.storedBits = fields.bits * fields.samples;
    info_.xDpi = DpiOf(fields.xResolution, fields.unit);
    info_.yDpi = DpiOf(fields.yResolution, fields.unit);
    if (!FitsBitmap(info_))
        return FIL_ERR_TOO_LARGE;
    if (format_->colors == Colors::Indexed)
        return frame_.ReadPalette(info_);
    if (format_->colors == Colors::Grey)
        SetGreyRamp(info_);
    return FIL_SUCCESS;
}

int32_t Page::ReadImage(const NewImage& image) noexcept
{
    if (format_ != &kConverted)
        return frame_.ReadImage({}, info_, topDown_, image);
    const int32_t status = frame_.ReadImage({kConverted.format}, info_, topDown_, image);
    // Not every component converts from every format in one step.
    return status == FIL_SUCCESS
               ? status
               : frame_.ReadImage({GUID_WICPixelFormat32bppBGRA, kConverted.format}, info_, topDown_, image);
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
    if (const int32_t status = opened.ReadImage(image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::tiff
