#include "StreamTransfer.h"

#include "../model/PageFeed.h"
#include "../model/StreamSink.h"
#include "../model/TransferSettings.h"
#include "com.h"

namespace vorn::wia {

namespace {

/** What a stream can hold: a DIB without its file header is none of it. */
GUID StreamFormatOf(const Item& item) noexcept
{
    const GUID format = item.Properties().Guid(WIA_IPA_FORMAT);
    const bool none = IsEqualGUID(format, GUID{}) || IsEqualGUID(format, WiaImgFmt_MEMORYBMP);
    return none ? WiaImgFmt_BMP : format;
}

}  // namespace

HRESULT StreamTransfer::Tell(LONG message, uint32_t percent, uint64_t bytes, HRESULT status)
{
    WiaTransferParams params{};
    params.lMessage = message;
    params.lPercentComplete = static_cast<LONG>(percent);
    params.ulTransferredBytes = bytes;
    params.hrErrorStatus = status;
    const HRESULT answer = callback_.TransferCallback(0, &params);
    return answer == S_OK && cancelled_ ? S_FALSE : answer;
}

HRESULT StreamTransfer::Run(Item& item, bool children)
{
    const HRESULT result = SendItems(item, children);
    Tell(WIA_TRANSFER_MSG_END_OF_TRANSFER, 100, 0, result);
    return result;
}

HRESULT StreamTransfer::SendItems(Item& item, bool children)
{
    std::vector<Item*> items;
    if (item.IsTransferable())
        items.push_back(&item);
    if (children)
        item.CollectTransferable(items);
    if (items.empty())
        return E_INVALIDARG;
    for (Item* each : items) {
        if (const HRESULT result = SendItem(*each); result != S_OK)
            return result;
    }
    return S_OK;
}

HRESULT StreamTransfer::SendItem(Item& item)
{
    const GUID format = StreamFormatOf(item);
    if (item.Properties().Long(WIA_IPA_TYMED) == TYMED_MULTIPAGE_FILE) {
        const std::unique_ptr<PageEncoder> document = MakeDocumentEncoder(format);
        return document ? SendDocument(item, *document) : E_INVALIDARG;
    }
    const std::unique_ptr<PageEncoder> encoder = MakePageEncoder(format, JpegQualityOf(item.Properties()));
    if (!encoder)
        return E_INVALIDARG;
    PageFeed feed{item};
    HRESULT told = S_OK;  // other than that when the client stopped a page while it was fetched
    feed.OnPulse([&](uint32_t percent) { return told = Tell(WIA_TRANSFER_MSG_STATUS, percent, 0); });
    for (;;) {
        if (cancelled_)
            return S_FALSE;
        std::unique_ptr<Page> page;
        const HRESULT result = feed.Next(page);
        if (result != S_OK)
            return result == S_FALSE ? told : result;
        if (const HRESULT sent = SendPage(item, *encoder, *page); sent != S_OK)
            return sent;
    }
}

HRESULT StreamTransfer::GetStream(Item& item, IStream** stream)
{
    if (const auto fault = item.Tree().Device().Pass(Step::Stream))
        return fault->result;
    const Bstr name{item.Name()};
    const Bstr fullName{WStringView{item.FullName()}};
    if (!name || !fullName)
        return E_OUTOFMEMORY;
    const HRESULT result = callback_.GetNextStream(0, name.Get(), fullName.Get(), stream);
    if (result != S_OK)
        return DestinationResult(result);
    return *stream ? S_OK : E_POINTER;
}

HRESULT StreamTransfer::SendDocument(Item& item, PageEncoder& encoder)
{
    PageFeed feed{item};
    HRESULT told = S_OK;  // other than that when the client stopped a page while it was fetched
    feed.OnPulse([&](uint32_t percent) { return told = Tell(WIA_TRANSFER_MSG_STATUS, percent, 0); });
    std::unique_ptr<Page> page;
    if (const HRESULT result = feed.Next(page); result != S_OK)
        return result;
    ComPtr<IStream> stream;
    if (const HRESULT result = GetStream(item, stream.Out()); result != S_OK)
        return result;

    StreamSink sink{*stream.Get(), item.Tree().Device(), [&](uint32_t percent, uint64_t bytes) {
                        return Tell(WIA_TRANSFER_MSG_STATUS, percent, sink.KeptBytes() + bytes);
                    }};
    HRESULT result = S_OK;
    while (result == S_OK) {
        result = encoder.Encode(*page, sink, StreamChunkBytes(*page));
        if (result == S_OK)
            result = sink.Keep();
        if (result != S_OK)
            break;
        result = feed.Next(page);
        if (result == S_FALSE && told == S_OK)
            return Tell(WIA_TRANSFER_MSG_END_OF_STREAM, 100, sink.KeptBytes());
    }
    if (sink.KeptBytes() > 0)
        sink.DropUnfinished();
    return result;
}

HRESULT StreamTransfer::SendPage(Item& item, PageEncoder& encoder, Page& page)
{
    ComPtr<IStream> stream;
    if (const HRESULT result = GetStream(item, stream.Out()); result != S_OK)
        return result;
    if (cancelled_)
        return S_FALSE;

    StreamSink sink{*stream.Get(), item.Tree().Device(), [this](uint32_t percent, uint64_t bytes) {
                        return Tell(WIA_TRANSFER_MSG_STATUS, percent, bytes);
                    }};
    HRESULT result = encoder.Encode(page, sink, StreamChunkBytes(page));
    if (result == S_OK)
        result = sink.Keep();
    return result == S_OK ? Tell(WIA_TRANSFER_MSG_END_OF_STREAM, 100, sink.PageBytes()) : result;
}

}  // namespace vorn::wia
