#include "PageFeed.h"

#include <algorithm>

#include "RotatedPage.h"

namespace vorn::wia {

namespace {

/** Where document handling is chosen: at the item itself, or at its device. */
LONG DocumentHandling(const Item& item) noexcept
{
    const PropertyTable& own = item.Properties();
    const PropertyTable& table = own.Find(WIA_DPS_DOCUMENT_HANDLING_SELECT) ? own : item.Root().Properties();
    return table.Long(WIA_DPS_DOCUMENT_HANDLING_SELECT);
}

uint32_t PagesAskedFor(const Item& item) noexcept
{
    const PropertyTable& own = item.Properties();
    const PropertyTable& table = own.Find(WIA_DPS_PAGES) ? own : item.Root().Properties();
    return static_cast<uint32_t>(std::max<LONG>(0, table.Long(WIA_DPS_PAGES, 1)));
}

PageSlot& ChooseSlot(Item& item) noexcept
{
    const bool feeder = item.Feeder() && (!item.Single() || (DocumentHandling(item) & FEEDER));
    return feeder ? item.Feeder() : item.Single();
}

PageRequest RequestOf(const PropertyTable& settings) noexcept
{
    const auto size = [&](PROPID id, LONG fallback) {
        return static_cast<uint32_t>(std::max<LONG>(0, settings.Long(id, fallback)));
    };
    PageRequest request;
    request.xDpi = size(WIA_IPS_XRES, 100);
    request.yDpi = size(WIA_IPS_YRES, 100);
    request.bitsPerPixel = size(WIA_IPA_DEPTH, 24);
    request.x = size(WIA_IPS_XPOS, 0);
    request.y = size(WIA_IPS_YPOS, 0);
    request.width = size(WIA_IPS_XEXTENT, settings.Long(WIA_IPA_PIXELS_PER_LINE));
    request.height = size(WIA_IPS_YEXTENT, settings.Long(WIA_IPA_NUMBER_OF_LINES));
    request.brightness = settings.Long(WIA_IPS_BRIGHTNESS);
    request.contrast = settings.Long(WIA_IPS_CONTRAST);
    request.threshold = settings.Long(WIA_IPS_THRESHOLD, 128);
    request.settings = &settings;
    return request;
}

}  // namespace

PageFeed::PageFeed(Item& item, Batch batch)
    : item_{item},
      slot_{ChooseSlot(item)},
      batch_{batch},
      request_{RequestOf(item.Properties())},
      rotation_{item.Properties().Long(WIA_IPS_ROTATION, PORTRAIT)}
{
    if (&slot_ != &item.Feeder())
        return;
    const LONG handling = DocumentHandling(item);
    duplex_ = (handling & DUPLEX) != 0;
    backOnly_ = !duplex_ && (handling & BACK_ONLY) != 0;
    limit_ = PagesAskedFor(item);
}

PageFeed::~PageFeed()
{
    const bool goesOn = batch_ == Batch::MayGoOn && limit_ == 1;
    if (slot_ && !goesOn)
        slot_.source->EndTransfer();
}

HRESULT PageFeed::Next(std::unique_ptr<Page>& page)
{
    if (!MayGoOn())
        return S_FALSE;
    if (const auto fault = item_.Tree().Device().Pass(Step::Page))
        return fault->result;

    request_.backSide = backOnly_ || (duplex_ && slot_.backNext);
    request_.pageNumber = slot_.delivered + 1;
    const HRESULT result = slot_ ? slot_.source->NextPage(request_, page) : WIA_ERROR_PAPER_EMPTY;
    if (result == WIA_ERROR_PAPER_EMPTY && delivered_ > 0)
        return S_FALSE;
    if (result == S_FALSE)  // the client stopped it while it was fetched
        return S_FALSE;
    if (result != S_OK)
        return FAILED(result) ? result : E_UNEXPECTED;
    if (!page)
        return E_UNEXPECTED;
    page = Rotated(std::move(page), rotation_);
    ++delivered_;
    ++slot_.delivered;
    slot_.backNext = duplex_ && !request_.backSide;
    return S_OK;
}

}  // namespace vorn::wia
