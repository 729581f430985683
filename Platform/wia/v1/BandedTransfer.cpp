#include "BandedTransfer.h"

#include <algorithm>

#include "../model/PageFeed.h"
#include "BandSink.h"

namespace vorn::wia {

namespace {

bool IsDib(REFGUID format) noexcept
{
    return IsEqualGUID(format, WiaImgFmt_MEMORYBMP) || IsEqualGUID(format, WiaImgFmt_BMP);
}

GUID FormatOf(const Item& item) noexcept
{
    const Property* format = item.Properties().Find(WIA_IPA_FORMAT);
    return format ? format->value.ToGuid() : WiaImgFmt_MEMORYBMP;
}

class Banded {
public:
    Banded(Item& item, uint32_t bufferSize, IWiaDataCallback& callback)
        : item_{item},
          callback_{callback},
          format_{FormatOf(item)},
          bufferSize_{bufferSize},
          feed_{item, PageFeed::Batch::OneTransfer},
          sink_{callback, item.Tree().Device(), bufferSize, !IsDib(format_)}
    {
    }

    HRESULT Run()
    {
        const std::unique_ptr<PageEncoder> encoder = MakePageEncoder(format_);
        if (!encoder)
            return E_INVALIDARG;

        feed_.OnPulse([this](uint32_t percent) {
            return Tell(IT_MSG_STATUS, IT_STATUS_TRANSFER_FROM_DEVICE, static_cast<LONG>(percent));
        });
        std::unique_ptr<Page> page;
        HRESULT result = feed_.Next(page);
        if (result != S_OK)
            return result;
        for (result = Announce(*encoder, page->Geometry()); result == S_OK;) {
            result = TransferPage(*encoder, *page);
            if (result != S_OK)
                return result;
            result = feed_.Next(page);
            if (result == S_OK)
                result = Tell(IT_MSG_NEW_PAGE, IT_STATUS_TRANSFER_TO_CLIENT, 100);
            else
                return Terminate(result == S_FALSE ? S_OK : result);
        }
        return result;
    }

private:
    HRESULT Tell(LONG message, LONG status, LONG percent, BYTE* data = nullptr, LONG length = 0)
    {
        return callback_.BandedDataCallback(message, status, percent, 0, length, 0, 0, data);
    }

    HRESULT Announce(const PageEncoder& encoder, const PageGeometry& geometry)
    {
        WIA_DATA_CALLBACK_HEADER header{};
        header.lSize = sizeof header;
        header.guidFormatID = format_;
        header.lBufferSize =
            static_cast<LONG>(std::min<uint64_t>(encoder.EncodedBytes(geometry), bufferSize_));
        header.lPageCount = item_.Root().Properties().Long(WIA_DPS_PAGES, 1);
        return Tell(IT_MSG_DATA_HEADER, IT_STATUS_TRANSFER_TO_CLIENT, 0, reinterpret_cast<BYTE*>(&header),
                    sizeof header);
    }

    HRESULT TransferPage(PageEncoder& encoder, Page& page)
    {
        if (const HRESULT result = Tell(IT_MSG_STATUS, IT_STATUS_TRANSFER_FROM_DEVICE, 0); result != S_OK)
            return result;
        if (const HRESULT result = encoder.Encode(page, sink_, bufferSize_); result != S_OK)
            return result;
        if (const HRESULT result = sink_.EndPage(); result != S_OK)
            return result;
        return Tell(IT_MSG_STATUS, IT_STATUS_TRANSFER_TO_CLIENT, 100);
    }

    /** The failure that ended the transfer stands above what the client answers to its end. */
    HRESULT Terminate(HRESULT result)
    {
        const HRESULT answer = Tell(IT_MSG_TERMINATION, IT_STATUS_TRANSFER_TO_CLIENT, 100);
        return result == S_OK ? answer : result;
    }

    Item& item_;
    IWiaDataCallback& callback_;
    GUID format_;
    uint32_t bufferSize_;
    PageFeed feed_;
    BandSink sink_;
};

}  // namespace

HRESULT TransferBanded(Item& item, uint32_t bufferSize, IWiaDataCallback& callback)
{
    return Banded{item, bufferSize, callback}.Run();
}

}  // namespace vorn::wia
