#include "DataCallback.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "Vornfilx.h"
#include "com.h"

using namespace vorn;

namespace {

/** The state passed to the application with the next progress report; shared by all objects of the class. */
int32_t g_transferState = 0;

/** What the platform is told when a band cannot be placed. */
constexpr HRESULT kBandRefused = -1;

/** Bytes of a BITMAPFILEHEADER, which WiaImgFmt_MEMORYBMP leaves out. */
constexpr LONG kFileHeaderBytes = 14;

}  // namespace

/** What a header band tells about the image to come: a record without an image, or with one that is not used. */
struct CDataCallback::Header {
    BitmapHandle record{};

    Header() = default;
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;
    ~Header() { KrnFreeBitmap(&record); }
};

CDataCallback::CDataCallback(WiaSession* owner, const WCHAR* name, uint32_t medium, bool toFile,
                             AcquireCallback acquire, AcquireToFileCallback file, void* data) noexcept
    : session{owner},
      acquireCallback{toFile ? nullptr : acquire},
      fileCallback{toFile ? file : nullptr},
      tymed{medium},
      useFileCallback{toFile},
      userData{data}
{
    WStringView{name ? name : fileName}.copy(fileName, VORNWIA_NAME_CHARS - 1);
    bitmap = NewBitmapRecord();
}

CDataCallback::~CDataCallback()
{
    FreeBitmapRecord(bitmap);
}

HRESULT CDataCallback::QueryInterface(REFIID id, void** object) noexcept
{
    if (!object)
        return ERR_INVALID_ARGUMENT;
    if (id != IID_IUnknown && id != IID_IWiaDataCallback) {
        *object = nullptr;
        return ERR_INVALID_ARGUMENT;
    }
    *object = static_cast<IWiaDataCallback*>(this);
    AddRef();
    return S_OK;
}

ULONG CDataCallback::AddRef() noexcept
{
    return static_cast<ULONG>(++refCount);
}

ULONG CDataCallback::Release() noexcept
{
    return static_cast<ULONG>(--refCount);
}

HRESULT CDataCallback::BandedDataCallback(LONG lMessage, LONG, LONG lPercentComplete, LONG lOffset,
                                          LONG lLength, LONG, LONG, BYTE* pbBuffer) noexcept
{
    switch (lMessage) {
        case IT_MSG_DATA_HEADER:
            return OnDataHeader(pbBuffer);
        case IT_MSG_DATA:
            if (lLength < 0 || (lLength > 0 && !pbBuffer))
                return kBandRefused;
            return OnData({pbBuffer, static_cast<size_t>(lLength)}, lOffset, lPercentComplete);
        case IT_MSG_STATUS:
            return OnStatus(lPercentComplete);
        case IT_MSG_TERMINATION:
            return OnTermination();
        case IT_MSG_NEW_PAGE:
            return OnNewPage();
        case IT_MSG_FILE_PREVIEW_DATA_HEADER:
            g_transferState = TRANSFER_STATE_BEGIN;
            return S_OK;
        default:
            return S_OK;
    }
}

HRESULT CDataCallback::OnDataHeader(const BYTE* buffer)
{
    if (!buffer)
        return ERR_INVALID_ARGUMENT;
    GUID format;
    std::memcpy(&format, buffer + offsetof(WIA_DATA_CALLBACK_HEADER, guidFormatID), sizeof(format));
    isMemoryDib = format == WiaImgFmt_MEMORYBMP;
    isDibFormat = isMemoryDib || format == WiaImgFmt_BMP;
    headerSkip = isMemoryDib ? kFileHeaderBytes : 0;
    return S_OK;
}

HRESULT CDataCallback::OnData(DibBytes band, LONG offset, LONG percent)
{
    if (!isDibFormat)
        return OnEncodedImage(band, percent);
    if (offset == 0) {
        if (HasImage(bitmap)) {
            pageRefused = ContradictsImage(band);
        } else if (const HRESULT result = OnHeaderBand(band, percent); result != S_OK) {
            return result;
        }
    }
    return PlaceBand(band, offset, percent);
}

/** A format other than a DIB comes as one whole encoded image. */
HRESULT CDataCallback::OnEncodedImage(DibBytes image, LONG percent)
{
    const int32_t status = FilLoadMemory(image.data(), bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR,
                                         static_cast<int32_t>(image.size()), nullptr, nullptr);
    if (status == FIL_SUCCESS)
        return Announce(percent);
    KrnFreeBitmap(bitmap);  // a header alone leaves its palette
    return status;
}

HRESULT CDataCallback::OnHeaderBand(DibBytes band, LONG percent)
{
    Header header;
    headerLength = static_cast<LONG>(band.size());
    if (!isMemoryDib)  // a BMP file: without its rows the load fails, but it describes the header
        FilLoadMemory(band.data(), &header.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                      static_cast<int32_t>(band.size()), nullptr, nullptr);
    else if (!ReadMemoryHeader(band, header.record))
        return S_FALSE;
    if (const int32_t status = CreateImage(header.record); status != KRN_SUCCESS)
        return status;
    return Announce(percent);
}

bool CDataCallback::ReadMemoryHeader(DibBytes band, BitmapHandle& header)
{
    uint32_t width = 0, height = 0, bitsPerPixel = 0;
    uint8_t* palette = nullptr;
    if (!GetDibInfo(band, &width, &height, &bitsPerPixel, &palette))
        return false;
    header.width = width;
    header.height = height;
    header.bitsPerPixel = bitsPerPixel;
    header.viewPerspective = KRN_VIEW_BOTTOM_LEFT;
    header.palette = palette ? palette : CopyImpliedPalette(band);
    CopyDibResolution(band, &header);
    return true;
}

int32_t CDataCallback::CreateImage(const BitmapHandle& header)
{
    const int32_t status = KrnCreateBitmap(bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, header.width,
                                           header.height, header.bitsPerPixel, KRN_COLOR_ORDER_BGR,
                                           header.palette, header.viewPerspective, nullptr, 0);
    if (status != KRN_SUCCESS)
        return status;
    bitmap->xDpi = header.xDpi;
    bitmap->yDpi = header.yDpi;
    return KrnAccessBitmap(bitmap);
}

/** A later page's header of another length or geometry than that of the image at hand, which cannot take that page. */
bool CDataCallback::ContradictsImage(DibBytes band) const
{
    if (band.size() != static_cast<size_t>(headerLength))
        return true;
    const DibBytes dib = isMemoryDib ? band : band.subspan(std::min<size_t>(band.size(), kFileHeaderBytes));
    uint32_t width = 0, height = 0, bitsPerPixel = 0;
    if (!GetDibInfo(dib, &width, &height, &bitsPerPixel, nullptr))
        return false;
    return width != bitmap->width || height != bitmap->height || bitsPerPixel != bitmap->bitsPerPixel;
}

HRESULT CDataCallback::PlaceBand(DibBytes band, LONG offset, LONG percent)
{
    if (!HasImage(bitmap) || pageRefused)
        return kBandRefused;
    const auto length = static_cast<LONG>(band.size());
    const int64_t end = int64_t{headerSkip} + offset + length;
    if (end < 0 || end > INT32_MAX)
        return kBandRefused;
    if (offset < headerLength)
        return S_OK;  // the header itself is no part of the image
    if (!CopyBandToBitmap(band.data(), bitmap, length, offset, headerLength))
        return kBandRefused;
    if (!acquireCallback)
        return S_OK;
    if (aborted)
        return S_FALSE;
    return Answer(acquireCallback(session, nullptr, nullptr, percent, TRANSFER_STATE_PROGRESS, userData));
}

HRESULT CDataCallback::OnStatus(LONG percent)
{
    if (useFileCallback ? !fileCallback : !acquireCallback) {
        g_transferState = TRANSFER_STATE_PROGRESS;
        return S_OK;
    }
    if (aborted)
        return S_FALSE;
    const int32_t state = g_transferState;
    const int32_t answer = useFileCallback
                               ? fileCallback(session, fileName, percent, state, userData)
                               : acquireCallback(session, nullptr, fileName, percent, state, userData);
    g_transferState = TRANSFER_STATE_PROGRESS;
    return Answer(answer);
}

HRESULT CDataCallback::OnTermination()
{
    if (g_transferState & TRANSFER_STATE_END)
        return S_OK;  // the end has been reported already
    g_transferState = TRANSFER_STATE_END;
    if (IsFileTransfer())
        return S_OK;
    if (HasImage(bitmap))
        KrnReleaseBitmapAccess(bitmap);
    if (aborted)
        return S_FALSE;
    if (acquireCallback && !pageRefused)
        NotifyBitmapCopy(session, bitmap, TRANSFER_STATE_END, acquireCallback, userData);
    return S_OK;
}

HRESULT CDataCallback::OnNewPage()
{
    g_transferState = TRANSFER_STATE_END;
    if (useFileCallback) {
        if (!fileCallback || aborted)
            return S_OK;
        return Answer(fileCallback(session, fileName, 100, TRANSFER_STATE_END, userData));
    }
    if (!acquireCallback)
        return S_OK;
    if (aborted)
        return S_FALSE;
    if (IsFileTransfer())
        return Answer(acquireCallback(session, nullptr, fileName, 100, TRANSFER_STATE_END, userData));
    if (pageRefused)
        return kBandRefused;
    if (HasImage(bitmap))
        KrnReleaseBitmapAccess(bitmap);
    const HRESULT result =
        Answer(NotifyBitmapCopy(session, bitmap, TRANSFER_STATE_END, acquireCallback, userData));
    if (HasImage(bitmap))
        KrnAccessBitmap(bitmap);  // the next page's bands go into the same image
    return result;
}

/** Tells the application that a page has begun. */
HRESULT CDataCallback::Announce(LONG percent)
{
    if (!acquireCallback)
        return S_OK;
    if (aborted)
        return S_FALSE;
    g_transferState = TRANSFER_STATE_BEGIN;
    return Answer(acquireCallback(session, nullptr, nullptr, percent, TRANSFER_STATE_BEGIN, userData));
}

/** The application's answer as the platform's: only ERR_ABORTED stops. */
HRESULT CDataCallback::Answer(int32_t callbackResult) noexcept
{
    if (callbackResult != ERR_ABORTED)
        return S_OK;
    aborted = true;
    return S_FALSE;
}

bool CDataCallback::IsFileTransfer() const noexcept
{
    return tymed == TYMED_FILE || tymed == TYMED_MULTIPAGE_FILE;
}

void vorn::DeleteDataCallback(CDataCallback* object) noexcept
{
    if (!object)
        return;
    KrnUntrackResource(KRN_RESOURCE_CALLBACK, object, __LINE__, "vornwia");
    delete object;
}
