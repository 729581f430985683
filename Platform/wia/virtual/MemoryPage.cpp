#include "MemoryPage.h"

#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace vorn::wia {

struct MemoryPages::Picture {
    PageGeometry geometry;
    std::vector<uint8_t> image;
};

class MemoryPages::MemoryPage final : public Page {
public:
    explicit MemoryPage(std::shared_ptr<const Picture> picture) noexcept : picture_{std::move(picture)} {}

    const PageGeometry& Geometry() const noexcept override { return picture_->geometry; }
    const uint8_t* ReadyImage() const noexcept override { return picture_->image.data(); }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        const PageGeometry& geometry = picture_->geometry;
        if (count > geometry.height - nextRow_)
            return E_INVALIDARG;

        const size_t rowBytes = static_cast<size_t>(geometry.RowBytes());
        nextRow_ += count;
        const uint8_t* source = picture_->image.data() + (geometry.height - nextRow_) * rowBytes;
        if (order == RowOrder::BottomUp) {
            std::memcpy(rows, source, count * rowBytes);
            return S_OK;
        }
        for (uint32_t row = 0; row < count; ++row)
            std::memcpy(rows + row * rowBytes, source + (count - 1 - row) * rowBytes, rowBytes);
        return S_OK;
    }

private:
    std::shared_ptr<const Picture> picture_;
    uint32_t nextRow_ = 0;
};

MemoryPages::MemoryPages(PageGeometry geometry, std::vector<uint8_t> image, uint32_t pages)
    : remaining_{pages}
{
    if (image.size() != geometry.ImageBytes())
        throw std::invalid_argument{"MemoryPages: the image is not of the geometry's size"};
    picture_ = std::make_shared<const Picture>(Picture{std::move(geometry), std::move(image)});
}

HRESULT MemoryPages::NextPage(const PageRequest&, std::unique_ptr<Page>& page)
{
    if (remaining_ == 0)
        return WIA_ERROR_PAPER_EMPTY;
    page.reset(new (std::nothrow) MemoryPage{picture_});
    if (!page)
        return E_OUTOFMEMORY;
    --remaining_;
    return S_OK;
}

}  // namespace vorn::wia
