/**
 * @file TestChart.h
 * Paper with a test chart on it: colours, greys, a millimetre grid, and text that tells page, side,
 * resolution and area. The same request always gives the same bytes.
 */
#pragma once

#include "../Export.h"
#include "ChartLayout.h"

namespace vorn::wia {

class VORN_WIA_API TestChart final : public PageSource {
public:
    /** As many pages as anybody asks for: the sheet on the glass. */
    static constexpr uint32_t kEndless = 0xFFFFFFFF;

    /**
     * @param sheet  size and title of the sheets; where the scan area goes beyond them, it is white
     * @param pages  sides in the stack: each page delivered, front or back, is one of them
     */
    TestChart(ChartSheet sheet, uint32_t pages);

    bool HasPage() const override { return remaining_ > 0; }
    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override;

private:
    ChartSheet sheet_;
    uint32_t remaining_;
};

}  // namespace vorn::wia
