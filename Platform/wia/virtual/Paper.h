/**
 * @file Paper.h
 * What lies on the glass and in the feeder of the virtual scanner, for one opening of it.
 */
#pragma once

#include <chrono>
#include <memory>

#include "../model/Page.h"
#include "com.h"

namespace vorn::wia {

class Paper : public std::enable_shared_from_this<Paper> {
public:
    explicit Paper(LONG sheets) noexcept : sheets_{sheets} {}

    /** The sheet on the glass: there whenever it is asked for. */
    std::shared_ptr<PageSource> Glass();
    std::shared_ptr<PageSource> Feeder();

    LONG Sheets() const noexcept { return sheets_; }
    void SetSheets(LONG sheets) noexcept;
    /** True when the feeder has a sheet. */
    bool IsLoaded() noexcept;

    /** Whether a folder can be given to UseFolder: there is such a folder, or its name is empty. */
    static HRESULT CheckFolder(WStringView folder);
    /** Puts the images of a folder onto the glass and into the feeder; an empty name brings the chart back. */
    void UseFolder(WStringView folder);

    /** Whether sheets are blank in place of the chart. */
    void SetBlank(bool blank) noexcept { blank_ = blank; }

    void SetDelay(std::chrono::milliseconds perPage) noexcept { delay_ = perPage; }

private:
    class GlassSource;
    class FeederSource;

    /** Fails as long as the folder is empty: a file put into it is paper put into the feeder. */
    HRESULT FillFeeder() noexcept;
    HRESULT NextOnGlass(const PageRequest& request, std::unique_ptr<Page>& page);
    HRESULT NextInFeeder(const PageRequest& request, std::unique_ptr<Page>& page);
    /** The chart, or the images that `images` holds. */
    HRESULT Take(PageSource* images, const PageRequest& request, std::unique_ptr<Page>& page) const;

    LONG sheets_;
    bool blank_ = false;
    bool backPending_ = false;  ///< the sheet whose front was scanned last still has its back
    WString folder_;
    std::shared_ptr<PageSource> glassImages_, feederImages_;
    std::chrono::milliseconds delay_{0};
};

}  // namespace vorn::wia
