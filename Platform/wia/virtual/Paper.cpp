#include "Paper.h"

#include <filesystem>

#include "CannedPages.h"
#include "ImageFolder.h"
#include "TestChart.h"

namespace vorn::wia {

namespace {

constexpr double kSheetWidthInches = 8.5;

/** A folder that cannot be opened has no paper, unless memory is short. */
HRESULT PaperError(HRESULT opened) noexcept
{
    return opened == E_OUTOFMEMORY ? E_OUTOFMEMORY : WIA_ERROR_PAPER_EMPTY;
}

}  // namespace

class Paper::GlassSource final : public PageSource {
public:
    explicit GlassSource(std::shared_ptr<Paper> paper) noexcept : paper_{std::move(paper)} {}
    bool HasPage() const override { return true; }
    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
    {
        return paper_->NextOnGlass(request, page);
    }

private:
    std::shared_ptr<Paper> paper_;
};

class Paper::FeederSource final : public PageSource {
public:
    explicit FeederSource(std::shared_ptr<Paper> paper) noexcept : paper_{std::move(paper)} {}
    bool HasPage() const override { return paper_->IsLoaded(); }
    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
    {
        return paper_->NextInFeeder(request, page);
    }

private:
    std::shared_ptr<Paper> paper_;
};

std::shared_ptr<PageSource> Paper::Glass()
{
    return std::make_shared<GlassSource>(shared_from_this());
}

std::shared_ptr<PageSource> Paper::Feeder()
{
    return std::make_shared<FeederSource>(shared_from_this());
}

void Paper::SetSheets(LONG sheets) noexcept
{
    sheets_ = sheets;
    backPending_ = false;
}

HRESULT Paper::FillFeeder() noexcept
{
    return feederImages_ ? S_OK : ImageFolder::Open(folder_.c_str(), kSheetWidthInches, feederImages_);
}

bool Paper::IsLoaded() noexcept
{
    if (folder_.empty())
        return sheets_ > 0;
    const HRESULT filled = FillFeeder();
    // Without memory nobody knows: the next page then fails with the reason.
    return filled == E_OUTOFMEMORY || (filled == S_OK && feederImages_->HasPage());
}

HRESULT Paper::CheckFolder(WStringView folder)
try {
    std::error_code error;
    const bool there = folder.empty() || std::filesystem::is_directory(std::filesystem::path{folder}, error);
    return there ? S_OK : E_INVALIDARG;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
} catch (const std::exception&) {
    return E_INVALIDARG;  // a folder name that is no text
}

void Paper::UseFolder(WStringView folder)
{
    folder_ = folder;
    glassImages_ = nullptr;
    feederImages_ = nullptr;
    if (folder_.empty())
        return;
    // A folder without pictures, or gone since it was checked, leaves the feeder empty.
    ImageFolder::Open(folder_.c_str(), kSheetWidthInches, glassImages_);
    FillFeeder();
}

HRESULT Paper::Take(PageSource* images, const PageRequest& request, std::unique_ptr<Page>& page) const
{
    ChartSheet sheet;
    sheet.title = VORN_TEXT("Virtual scanner");
    sheet.blank = blank_;
    TestChart chart{std::move(sheet), 1};
    PageSource& source = images ? *images : chart;
    const HRESULT result = source.NextPage(request, page);
    if (result == S_OK && delay_.count() > 0)
        page = MakeSlow(std::move(page), delay_);
    return result;
}

HRESULT Paper::NextOnGlass(const PageRequest& request, std::unique_ptr<Page>& page)
{
    if (!folder_.empty() && !(glassImages_ && glassImages_->HasPage())) {
        // After the last picture the first one is laid onto the glass again.
        const HRESULT opened = ImageFolder::Open(folder_.c_str(), kSheetWidthInches, glassImages_);
        if (FAILED(opened))
            return PaperError(opened);
    }
    return Take(glassImages_.get(), request, page);
}

HRESULT Paper::NextInFeeder(const PageRequest& request, std::unique_ptr<Page>& page)
{
    if (!folder_.empty()) {
        const HRESULT filled = FillFeeder();
        return filled == S_OK ? Take(feederImages_.get(), request, page) : PaperError(filled);
    }
    const bool sameSheet = request.backSide && backPending_;
    if (!sameSheet && sheets_ <= 0)
        return WIA_ERROR_PAPER_EMPTY;
    if (!sameSheet)
        --sheets_;
    backPending_ = !request.backSide;
    return Take(nullptr, request, page);
}

}  // namespace vorn::wia
