/**
 * @file MemoryPage.h
 * A picture that is ready in memory, as a camera has it: delivered as it is, whatever is asked for.
 */
#pragma once

#include "../Export.h"
#include "../model/Page.h"

namespace vorn::wia {

/** Delivers one picture a number of times. */
class VORN_WIA_API MemoryPages final : public PageSource {
public:
    /**
     * @param image   the rows of a DIB, bottom up: geometry.ImageBytes() of them, shared by all pages
     * @param pages   how many times the picture is delivered
     * @throws std::invalid_argument when `image` has another size
     */
    MemoryPages(PageGeometry geometry, std::vector<uint8_t> image, uint32_t pages = 1);

    bool HasPage() const override { return remaining_ > 0; }
    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override;

private:
    struct Picture;

    std::shared_ptr<const Picture> picture_;
    uint32_t remaining_;

    class MemoryPage;
};

}  // namespace vorn::wia
