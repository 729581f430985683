/**
 * @file DataCallback.h
 * The receiver of 1.0 transfers: assembles bands into a bitmap, reports progress, carries the request to
 * stop.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "BitmapUtil.h"
#include "platform.h"
#include "vornwia.h"

/**
 * Receives the platform's notifications during one 1.0 transfer.
 *
 * Its creator makes it with `new`, registers it with TrackCallbackObject, lends it to the platform and ends
 * it with DeleteDataCallback; reference counting never destroys it. The bitmap that it builds stays its own.
 *
 * The states of a memory transfer, in the value passed to the application:
 *
 *   DATA (header)     DATA / STATUS        NEW_PAGE             DATA ...           TERMINATION
 *   ──▶ 1 begin ──▶   0 progress   ──▶     2 end of page  ──▶   0 progress   ──▶   2 end
 *   (bitmap made)     (bands placed)       (handed over,        (same image)       (handed over, unless
 *                                          image kept)                             nothing came since 2)
 */
class CDataCallback final : public IWiaDataCallback {
public:
    /** `tymed` 2 or 256 means a file transfer, anything else one into memory. The name is shorter than 260.
     */
    CDataCallback(WiaSession* session, const WCHAR* fileName, uint32_t tymed, bool useFileCallback,
                  AcquireCallback acquireCallback, AcquireToFileCallback fileCallback,
                  void* userData) noexcept;
    CDataCallback(const CDataCallback&) = delete;
    CDataCallback& operator=(const CDataCallback&) = delete;
    ~CDataCallback();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE BandedDataCallback(LONG lMessage, LONG lStatus, LONG lPercentComplete,
                                                 LONG lOffset, LONG lLength, LONG lReserved, LONG lResLength,
                                                 BYTE* pbBuffer) noexcept override;

    /** False when the bitmap record could not be allocated: the object must not be used. */
    bool IsUsable() const noexcept { return bitmap != nullptr; }

    bool aborted = false;  ///< an application callback has returned ERR_ABORTED

private:
    HRESULT OnDataHeader(const BYTE* buffer);
    HRESULT OnData(vorn::DibBytes band, LONG offset, LONG percent);
    HRESULT OnEncodedImage(vorn::DibBytes image, LONG percent);
    HRESULT OnHeaderBand(vorn::DibBytes band, LONG percent);
    HRESULT PlaceBand(vorn::DibBytes band, LONG offset, LONG percent);
    HRESULT OnStatus(LONG percent);
    HRESULT OnTermination();
    HRESULT OnNewPage();

    struct Header;
    static bool ReadMemoryHeader(vorn::DibBytes band, BitmapHandle& header);
    int32_t CreateImage(const BitmapHandle& header);
    bool ContradictsImage(vorn::DibBytes band) const;
    bool IsFileTransfer() const noexcept;

    HRESULT Announce(LONG percent);
    HRESULT Answer(int32_t callbackResult) noexcept;

    std::atomic<LONG> refCount{0};
    LONG headerSkip = 0;    ///< bytes of a file header that the stream leaves out
    LONG headerLength = 0;  ///< length of the header band: where the image begins in the stream
    bool isDibFormat = false;
    bool isMemoryDib = false;
    bool pageRefused = false;  ///< the present page's header contradicts the image
    WiaSession* session;
    AcquireCallback acquireCallback;
    AcquireToFileCallback fileCallback;
    uint32_t tymed;
    bool useFileCallback;
    void* userData;
    BitmapHandle* bitmap = nullptr;
    WCHAR fileName[VORNWIA_NAME_CHARS] = {};
};

namespace vorn {

/** Registers a callback object of either class for the leak report, and returns it. Null is fine. */
template <typename Callback>
Callback* TrackCallbackObject(Callback* object) noexcept
{
    if (object)
        KrnTrackResource(KRN_RESOURCE_CALLBACK, object, __LINE__, "vornwia");
    return object;
}

/** Unregisters and destroys. Null is fine. */
void DeleteDataCallback(CDataCallback* object) noexcept;

}  // namespace vorn
