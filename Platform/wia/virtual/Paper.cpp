#include "Paper.h"

#include "CannedPages.h"
#include "ImageFolder.h"
#include "TestChart.h"

namespace vorn::wia {

namespace {

constexpr double kSheetWidthInches = 8.5;

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

bool Paper::IsLoaded() const noexcept
{
    return folder_.empty() ? sheets_ > 0 : feederImages_ && feederImages_->HasPage();
}

HRESULT Paper::CheckFolder(WStringView folder)
{
    std::shared_ptr<PageSource> images;
    return folder.empty() ? S_OK : ImageFolder::Open(WString{folder}.c_str(), kSheetWidthInches, images);
}

void Paper::UseFolder(WStringView folder)
{
    folder_ = folder;
    glassImages_ = nullptr;
    feederImages_ = nullptr;
    if (folder_.empty())
        return;
    // A folder that has gone since it was checked leaves the feeder empty.
    ImageFolder::Open(folder_.c_str(), kSheetWidthInches, glassImages_);
    ImageFolder::Open(folder_.c_str(), kSheetWidthInches, feederImages_);
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
        if (FAILED(ImageFolder::Open(folder_.c_str(), kSheetWidthInches, glassImages_)))
            return WIA_ERROR_PAPER_EMPTY;
    }
    return Take(glassImages_.get(), request, page);
}

HRESULT Paper::NextInFeeder(const PageRequest& request, std::unique_ptr<Page>& page)
{
    if (!folder_.empty())
        return feederImages_ ? Take(feederImages_.get(), request, page) : WIA_ERROR_PAPER_EMPTY;
    const bool sameSheet = request.backSide && backPending_;
    if (!sameSheet && sheets_ <= 0)
        return WIA_ERROR_PAPER_EMPTY;
    if (!sameSheet)
        --sheets_;
    backPending_ = !request.backSide;
    return Take(nullptr, request, page);
}

}  // namespace vorn::wia
