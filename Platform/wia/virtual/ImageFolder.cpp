#include "ImageFolder.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "FolderListing.h"
#include "Resample.h"
#include "Tone.h"
#include "Vornfilx.h"

namespace vorn::wia {

namespace {

/** The picture's area that a request means. Without a resolution of its own it is as wide as the sheet. */
Resampler AreaOf(const Picture& picture, const PageRequest& request, double sheetWidthInches)
{
    const bool known = picture.XDpi() > 0 && picture.YDpi() > 0;
    const double filling = picture.Width() / sheetWidthInches;
    return {picture,
            request.x,
            request.y,
            request.width,
            (known ? picture.XDpi() : filling) / request.xDpi,
            (known ? picture.YDpi() : filling) / request.yDpi,
            request.bitsPerPixel == 24 ? 3u : 1u};
}

/** A loaded picture on its way to the size and depth that were asked for. */
class PicturePage final : public Page {
public:
    PicturePage(std::unique_ptr<const Picture> picture, PageGeometry geometry, const PageRequest& request,
                double sheetWidthInches)
        : picture_{std::move(picture)},
          geometry_{std::move(geometry)},
          tone_{request},
          lines_{AreaOf(*picture_, request, sheetWidthInches)}
    {
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }
    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override;

private:
    void PutLine(const uint8_t* line, uint8_t* row) const noexcept;

    std::unique_ptr<const Picture> picture_;
    PageGeometry geometry_;
    Tone tone_;
    Resampler lines_;
    uint32_t nextRow_ = 0;
};

HRESULT PicturePage::ReadRows(uint8_t* rows, uint32_t count, RowOrder order)
{
    if (count > geometry_.height - nextRow_)
        return E_INVALIDARG;
    const size_t rowBytes = static_cast<size_t>(geometry_.RowBytes());
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t place = order == RowOrder::TopDown ? i : count - 1 - i;
        PutLine(lines_.Line(nextRow_++), rows + place * rowBytes);
    }
    return S_OK;
}

void PicturePage::PutLine(const uint8_t* line, uint8_t* row) const noexcept
{
    const size_t rowBytes = static_cast<size_t>(geometry_.RowBytes());
    if (geometry_.bitsPerPixel == 1) {
        std::memset(row, 0, rowBytes);
        for (uint32_t x = 0; x < geometry_.width; ++x)
            row[x / 8] = static_cast<uint8_t>(row[x / 8] | tone_.IsWhite(line[x]) << (7 - x % 8));
        return;
    }
    const size_t samples = size_t{geometry_.width} * geometry_.bitsPerPixel / 8;
    if (tone_.IsNeutral())
        std::memcpy(row, line, samples);
    else
        std::transform(line, line + samples, row, [this](uint8_t level) { return tone_.Level(level); });
    std::memset(row + samples, 0, rowBytes - samples);
}

}  // namespace

HRESULT ImageFolder::Open(const WCHAR* folder, double sheetWidthInches, std::shared_ptr<PageSource>& source)
try {
    if (!folder || !(sheetWidthInches > 0))
        return E_INVALIDARG;
    std::vector<WString> files = ListImages(folder);
    if (files.empty())
        return E_INVALIDARG;
    source = std::make_shared<ImageFolder>(std::move(files), sheetWidthInches);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
} catch (const std::exception&) {
    return E_INVALIDARG;  // a folder name that is no text
}

ImageFolder::ImageFolder(std::vector<WString> files, double sheetWidthInches) noexcept
    : files_{std::move(files)}, sheetWidthInches_{sheetWidthInches}
{
}

HRESULT ImageFolder::NextPage(const PageRequest& request, std::unique_ptr<Page>& page)
try {
    if (!HasPage())
        return WIA_ERROR_PAPER_EMPTY;
    PageGeometry geometry;
    if (const HRESULT result = GeometryOf(request, geometry); result != S_OK)
        return result;
    if (const HRESULT result = CountPages(); result != S_OK) {
        Advance();
        return result;
    }

    auto picture = std::make_unique<Picture>();
    const HRESULT result = picture->Load(files_[nextFile_].c_str(), pagesDone_ + 1);
    Advance();
    if (result != S_OK)
        return result;
    page = std::make_unique<PicturePage>(std::move(picture), std::move(geometry), request, sheetWidthInches_);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT ImageFolder::CountPages()
{
    if (pageCount_ > 0)
        return S_OK;
    FilFileInfo info = {};
    const int32_t result =
        FilInfo(files_[nextFile_].c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
    if (result != FIL_SUCCESS)
        return result == FIL_ERR_OUT_OF_MEMORY ? E_OUTOFMEMORY : WIA_ERROR_GENERAL_ERROR;
    pageCount_ = info.pageCount;
    return S_OK;
}

void ImageFolder::Advance() noexcept
{
    if (++pagesDone_ < pageCount_)
        return;
    ++nextFile_;
    pagesDone_ = 0;
    pageCount_ = 0;
}

}  // namespace vorn::wia
