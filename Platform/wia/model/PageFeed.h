/**
 * @file PageFeed.h
 * The pages of one transfer of an item: which source they come from, what is asked of it, how many there are.
 */
#pragma once

#include <memory>

#include "Item.h"

namespace vorn::wia {

class PageFeed {
public:
    /** Whether other transfers of one page each may follow, as clients fetch the pages of a batch into files. */
    enum class Batch { OneTransfer, MayGoOn };

    /** Reads the settings of the item and of its root as they are now. */
    explicit PageFeed(Item& item, Batch batch = Batch::MayGoOn);
    PageFeed(const PageFeed&) = delete;
    ~PageFeed();

    /** Who hears that a slow page is still under way, and may stop it: PageRequest::pulse. */
    void OnPulse(std::function<HRESULT(uint32_t percent)> pulse) { request_.pulse = std::move(pulse); }

    /** At most this many pages; 0: until the source is empty. */
    void Limit(uint32_t pages) noexcept { limit_ = pages; }

    /**
     * Begins the next page.
     * @return `S_OK` with `page` set; `S_FALSE` when the transfer has all its pages;
     *         `WIA_ERROR_PAPER_EMPTY` when there is not even a first one; another platform error
     */
    HRESULT Next(std::unique_ptr<Page>& page);

    /** Pages begun so far. */
    uint32_t Delivered() const noexcept { return delivered_; }
    /** Whether another page may follow, as far as the number asked for tells. */
    bool MayGoOn() const noexcept { return limit_ == 0 || delivered_ < limit_; }

private:
    Item& item_;
    PageSlot& slot_;
    Batch batch_;
    PageRequest request_;
    LONG rotation_ = PORTRAIT;
    bool duplex_ = false;
    bool backOnly_ = false;
    uint32_t limit_ = 1;
    uint32_t delivered_ = 0;
};

}  // namespace vorn::wia
