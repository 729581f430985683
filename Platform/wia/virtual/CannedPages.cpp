#include "CannedPages.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace vorn::wia {

namespace {

std::vector<PaletteEntry> GreyRamp(uint32_t bitsPerPixel)
{
    if (bitsPerPixel > 8)
        return {};
    const uint32_t count = 1u << bitsPerPixel;
    std::vector<PaletteEntry> palette(count);
    for (uint32_t i = 0; i < count; ++i) {
        const auto level = static_cast<uint8_t>(i * 255 / (count - 1));
        palette[i] = {level, level, level, 0};
    }
    return palette;
}

class Canned final : public Page {
public:
    explicit Canned(std::shared_ptr<const CannedPage> page) noexcept : page_{std::move(page)} {}

    const PageGeometry& Geometry() const noexcept override { return page_->geometry; }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        const auto rowBytes = static_cast<size_t>(page_->geometry.RowBytes());
        for (uint32_t i = 0; i < count; ++i, ++next_) {
            if (page_->failure != S_OK && next_ >= page_->rowsBeforeFailure)
                return page_->failure;
            const uint32_t place = order == RowOrder::TopDown ? i : count - 1 - i;
            const uint8_t* row = page_->pixels.data() + rowBytes * (page_->geometry.height - 1 - next_);
            std::memcpy(rows + rowBytes * place, row, rowBytes);
        }
        return S_OK;
    }

    const uint8_t* ReadyImage() const noexcept override
    {
        return page_->ready && page_->failure == S_OK ? page_->pixels.data() : nullptr;
    }

private:
    std::shared_ptr<const CannedPage> page_;
    uint32_t next_ = 0;
};

class CannedPages final : public PageSource {
public:
    CannedPages(std::vector<CannedPage> pages, bool forever) : forever_{forever}
    {
        for (CannedPage& page : pages) {
            page.pixels.resize(static_cast<size_t>(page.geometry.ImageBytes()));
            pages_.push_back(std::make_shared<const CannedPage>(std::move(page)));
        }
    }

    bool HasPage() const override { return next_ < pages_.size() || (forever_ && !pages_.empty()); }

    HRESULT NextPage(const PageRequest&, std::unique_ptr<Page>& page) override
    {
        if (!HasPage())
            return WIA_ERROR_PAPER_EMPTY;
        next_ %= pages_.size();
        page = std::make_unique<Canned>(pages_[next_++]);
        return S_OK;
    }

private:
    std::vector<std::shared_ptr<const CannedPage>> pages_;
    bool forever_;
    size_t next_ = 0;
};

class Blank final : public Page {
public:
    explicit Blank(const PageRequest& request)
        : geometry_{request.width,        request.height,       request.bitsPerPixel,
                    double(request.xDpi), double(request.yDpi), GreyRamp(request.bitsPerPixel)}
    {
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder) override
    {
        std::memset(rows, 0xFF, static_cast<size_t>(geometry_.RowBytes()) * count);
        return S_OK;
    }

private:
    PageGeometry geometry_;
};

class BlankPages final : public PageSource {
public:
    explicit BlankPages(uint32_t count) noexcept : left_{count} {}

    bool HasPage() const override { return left_ > 0; }

    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
    {
        if (left_ == 0)
            return WIA_ERROR_PAPER_EMPTY;
        page = std::make_unique<Blank>(request);
        left_ -= left_ != UINT32_MAX;
        return S_OK;
    }

private:
    uint32_t left_;
};

class SlowPage final : public Page {
public:
    SlowPage(std::unique_ptr<Page> page, std::chrono::milliseconds duration) noexcept
        : page_{std::move(page)}, duration_{duration}
    {
    }

    const PageGeometry& Geometry() const noexcept override { return page_->Geometry(); }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        const HRESULT result = page_->ReadRows(rows, count, order);
        rowsRead_ += count;
        const uint32_t height = std::max(1u, Geometry().height);
        std::this_thread::sleep_until(start_ + duration_ * rowsRead_ / height);
        return result;
    }

private:
    std::unique_ptr<Page> page_;
    std::chrono::milliseconds duration_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    uint32_t rowsRead_ = 0;
};

class SlowPages final : public PageSource {
public:
    SlowPages(std::shared_ptr<PageSource> source, std::chrono::milliseconds perPage) noexcept
        : source_{std::move(source)}, perPage_{perPage}
    {
    }

    bool HasPage() const override { return source_->HasPage(); }

    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
    {
        const HRESULT result = source_->NextPage(request, page);
        if (result == S_OK)
            page = MakeSlow(std::move(page), perPage_);
        return result;
    }

private:
    std::shared_ptr<PageSource> source_;
    std::chrono::milliseconds perPage_;
};

}  // namespace

CannedPage PlainPage(uint32_t width, uint32_t height, uint32_t bitsPerPixel, uint8_t value, double dpi)
{
    CannedPage page;
    page.geometry = {width, height, bitsPerPixel, dpi, dpi, GreyRamp(bitsPerPixel)};
    page.pixels.assign(static_cast<size_t>(page.geometry.ImageBytes()), value);
    return page;
}

std::shared_ptr<PageSource> MakeCannedPages(std::vector<CannedPage> pages, bool forever)
{
    return std::make_shared<CannedPages>(std::move(pages), forever);
}

std::shared_ptr<PageSource> MakeBlankPages(uint32_t count)
{
    return std::make_shared<BlankPages>(count);
}

std::shared_ptr<PageSource> MakeSlow(std::shared_ptr<PageSource> source, std::chrono::milliseconds perPage)
{
    return std::make_shared<SlowPages>(std::move(source), perPage);
}

std::unique_ptr<Page> MakeSlow(std::unique_ptr<Page> page, std::chrono::milliseconds duration)
{
    return std::make_unique<SlowPage>(std::move(page), duration);
}

}  // namespace vorn::wia
