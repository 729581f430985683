#include "SourcePage.h"

#include "bmp/Header.h"

namespace vorn::fil {
namespace {

/** The record of a page whose rows are elsewhere; the palette stays the page's. */
BitmapHandle RecordOf(PageInfo& page) noexcept
{
    BitmapHandle record{};
    record.colorOrder = KRN_COLOR_ORDER_BGR;
    record.width = page.width;
    record.height = page.height;
    record.bitsPerPixel = page.bitsPerPixel;
    record.viewPerspective = page.viewPerspective;
    record.rowBytes = static_cast<uint32_t>(KrnRowBytes(page.width, page.bitsPerPixel));
    record.imageBytes = uint64_t{record.rowBytes} * page.height;
    record.xDpi = page.xDpi;
    record.yDpi = page.yDpi;
    if (page.bitsPerPixel <= 8) {
        record.palette = page.palette.data();
        record.paletteCount = page.paletteCount;
    }
    return record;
}

}  // namespace

int32_t SourcePage::Open(ByteSource& source, const Codec& codec, uint32_t page) noexcept
{
    bmp::Header header;
    if (codec.Format() == FIL_FORMAT_BMP && page == 1 && bmp::ReadHeader(source, header) == FIL_SUCCESS &&
        header.storage == bmp::Storage::Plain && !header.page.headerOnly) {
        info_ = header.page;
        rows_.emplace(RecordOf(info_), source, header.imageOffset);
        return FIL_SUCCESS;
    }
    const int32_t status = codec.Load(source, page, loaded_);
    if (status == FIL_SUCCESS)
        rows_.emplace(loaded_);
    return status;
}

}  // namespace vorn::fil
