/**
 * @file WiaTransferCallback.h
 * The receiver of 2.0 transfers: gives the platform a stream in memory or to a file, decodes what arrived in
 * memory, reports progress, carries the request to stop.
 */
#pragma once

#include <atomic>
#include <cstdint>

#include "BitmapUtil.h"
#include "platform.h"
#include "vornwia.h"

/** What a CWiaTransferCallback is made for. Names are shorter than 260 characters, or null. */
struct TransferTarget {
    WiaSession* session = nullptr;
    const WCHAR* reportName = nullptr;      ///< the file name told to the application
    const WCHAR* streamFileName = nullptr;  ///< the file that a file stream writes
    uint32_t tymed = 0;                     ///< 128 or 512: into memory; else to a file
    bool useFileCallback = false;
    AcquireCallback acquireCallback = nullptr;
    AcquireToFileCallback fileCallback = nullptr;
    void* userData = nullptr;
};

/**
 * Receives the platform's calls during one or more 2.0 downloads, one page each.
 *
 * Its creator makes it with `new`, registers it with TrackCallbackObject, lends it to the platform, releases
 * it once and ends it with DeleteTransferCallback; reference counting never destroys it.
 *
 *   GetNextStream        STATUS*              END_OF_STREAM        END_OF_TRANSFER
 *   idle ─────────▶ receiving ─────────▶ receiving ─────────▶ delivered ─────────▶ idle
 *   (no stream)     (stream lent to      (progress, state 0)  (page decoded,       (block freed,
 *                    the platform,                             handed over,         stream forgotten)
 *                    state 1)                                  state 2)
 */
class CWiaTransferCallback final : public IWiaTransferCallback {
public:
    explicit CWiaTransferCallback(const TransferTarget& target) noexcept;
    CWiaTransferCallback(const CWiaTransferCallback&) = delete;
    CWiaTransferCallback& operator=(const CWiaTransferCallback&) = delete;
    ~CWiaTransferCallback();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE TransferCallback(LONG lFlags, WiaTransferParams* params) noexcept override;
    HRESULT STDMETHODCALLTYPE GetNextStream(LONG lFlags, BSTR itemName, BSTR fullItemName,
                                            IStream** destination) noexcept override;

    /** False when the bitmap record could not be allocated: the object must not be used. */
    bool IsUsable() const noexcept { return bitmap != nullptr; }
    /** Number of memory streams so far into which something was written. */
    uint32_t StreamsFilled() const noexcept { return streamsFilled; }
    /** Frees what a transfer that never reported its end left behind. */
    void FreeMemoryBlock() noexcept;

    bool aborted = false;  ///< an application callback has returned ERR_ABORTED

private:
    HRESULT OnStatus(LONG percent);
    HRESULT OnEndOfStream(uint64_t transferredBytes);
    HRESULT OnEndOfTransfer();

    HRESULT CreateStream();
    bool ReadDepth();
    bool DecodeBlock(uint64_t transferredBytes);
    bool IsMemoryTransfer() const noexcept;
    const WCHAR* NameToReport() const noexcept;
    bool TransferWorker(BitmapHandle* page, const WCHAR* name, int32_t percent, int32_t state);

    std::atomic<LONG> refCount{1};
    IStream* stream = nullptr;      ///< borrowed: its reference went to the platform
    HGLOBAL memoryBlock = nullptr;  ///< behind a memory stream
    BitmapHandle* bitmap = nullptr;
    WiaSession* session;
    AcquireCallback acquireCallback;
    AcquireToFileCallback fileCallback;
    uint32_t tymed;
    bool useFileCallback;
    void* userData;
    WCHAR reportName[VORNWIA_NAME_CHARS] = {};
    WCHAR streamFileName[VORNWIA_NAME_CHARS] = {};
    uint32_t streamsFilled = 0;
};

namespace vorn {

/** Unregisters and destroys, after the one Release. Null is fine. */
void DeleteTransferCallback(CWiaTransferCallback* object) noexcept;

}  // namespace vorn
