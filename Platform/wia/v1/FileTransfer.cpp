#include "../model/PageFeed.h"
#include "../model/StreamSink.h"
#include "../model/TransferSettings.h"
#include "BandedTransfer.h"

#include "com.h"

namespace vorn::wia {

namespace {

/** The format of a file: a DIB in memory has none, and becomes a BMP file. */
GUID FileFormatOf(const Item& item) noexcept
{
    const GUID format = item.Properties().Guid(WIA_IPA_FORMAT);
    const bool none = IsEqualGUID(format, GUID{}) || IsEqualGUID(format, WiaImgFmt_MEMORYBMP);
    return none ? WiaImgFmt_BMP : format;
}

class ToFile {
public:
    ToFile(Item& item, LONG tymed, const WCHAR* fileName, IWiaDataCallback* callback)
        : item_{item},
          document_{tymed == TYMED_MULTIPAGE_FILE},
          fileName_{fileName},
          callback_{callback},
          feed_{item}
    {
        if (!document_)
            feed_.Limit(1);
    }

    HRESULT Run()
    {
        const GUID format = FileFormatOf(item_);
        const std::unique_ptr<PageEncoder> encoder =
            document_ ? MakeDocumentEncoder(format)
                      : MakePageEncoder(format, JpegQualityOf(item_.Properties()));
        if (!encoder)
            return E_INVALIDARG;

        feed_.OnPulse([this](uint32_t percent) { return Tell(IT_MSG_STATUS, percent); });
        // Before the first page is there, a file of that name is left alone.
        std::unique_ptr<Page> page;
        if (const HRESULT result = feed_.Next(page); result != S_OK)
            return result;
        ComPtr<IStream> stream;
        if (const HRESULT result =
                SHCreateStreamOnFileW(fileName_, STGM_CREATE | STGM_READWRITE, stream.Out());
            FAILED(result))
            return DestinationResult(result);
        StreamSink sink{*stream.Get(), item_.Tree().Device(),
                        [this](uint32_t percent, uint64_t) { return Tell(IT_MSG_STATUS, percent); }};
        const HRESULT result = TransferPages(*encoder, sink, page);
        return result == S_OK ? Tell(IT_MSG_TERMINATION, 100) : CleanUp(sink, stream, result);
    }

private:
    HRESULT Tell(LONG message, uint32_t percent)
    {
        return callback_ ? callback_->BandedDataCallback(message, IT_STATUS_TRANSFER_TO_CLIENT,
                                                         static_cast<LONG>(percent), 0, 0, 0, 0, nullptr)
                         : S_OK;
    }

    HRESULT TransferPages(PageEncoder& encoder, StreamSink& sink, std::unique_ptr<Page>& page)
    {
        HRESULT result = Tell(IT_MSG_STATUS, 0);
        while (result == S_OK) {
            result = encoder.Encode(*page, sink, StreamChunkBytes(*page));
            if (result == S_OK)
                result = sink.Keep();
            if (result != S_OK)
                break;
            result = feed_.Next(page);
            if (result == S_FALSE)
                return S_OK;
            if (result == S_OK)
                result = Tell(IT_MSG_NEW_PAGE, 100);
        }
        return result;
    }

    HRESULT CleanUp(StreamSink& sink, ComPtr<IStream>& stream, HRESULT result)
    {
        if (sink.KeptBytes() > 0) {
            sink.DropUnfinished();
            return result;
        }
        stream.Reset();
        DeleteFileW(fileName_);
        return result;
    }

    Item& item_;
    bool document_;
    const WCHAR* fileName_;
    IWiaDataCallback* callback_;
    PageFeed feed_;
};

}  // namespace

HRESULT TransferToFile(Item& item, LONG tymed, const WCHAR* fileName, IWiaDataCallback* callback)
{
    return ToFile{item, tymed, fileName, callback}.Run();
}

}  // namespace vorn::wia
