/**
 * @file StreamTransfer.h
 * A download of the second generation, without its COM clothes.
 */
#pragma once

#include <atomic>

#include "../model/Item.h"

namespace vorn::wia {

class PageEncoder;

/**
 * Sends an item, or the items of a folder, to a client, one stream a page:
 *
 *     GetNextStream   STATUS*        END_OF_STREAM
 *     ─────────────▶ writing ─────────▶ page done ──┬─▶ next page or item
 *                       │                           └─▶ END_OF_TRANSFER
 *                       └── failure, stop or cancel ──▶ END_OF_TRANSFER
 *
 * The stream is released once the client has heard of its end, or at once when the transfer ends before.
 */
class StreamTransfer {
public:
    StreamTransfer(IWiaTransferCallback& callback, const std::atomic<bool>& cancelled) noexcept
        : callback_{callback}, cancelled_{cancelled}
    {
    }

    /**
     * @param children  the transferable items below `item` are sent as well, or only they when `item` is none
     * @return `S_OK`; `S_FALSE` when it was cancelled; what the callback answered, when that is not `S_OK`; the
     *         device's failure; `E_INVALIDARG` for an item that cannot be transferred
     */
    HRESULT Run(Item& item, bool children);

private:
    HRESULT SendItems(Item& item, bool children);
    HRESULT SendItem(Item& item);
    /** All pages of the feed, in one stream. */
    HRESULT SendDocument(Item& item, PageEncoder& encoder);
    HRESULT SendPage(Item& item, PageEncoder& encoder, class Page& page);
    HRESULT GetStream(Item& item, IStream** stream);
    HRESULT Tell(LONG message, uint32_t percent, uint64_t bytes, HRESULT status = S_OK);

    IWiaTransferCallback& callback_;
    const std::atomic<bool>& cancelled_;
};

}  // namespace vorn::wia
