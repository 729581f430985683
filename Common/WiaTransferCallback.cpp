#include "WiaTransferCallback.h"

#include <algorithm>

#include "Vornfilx.h"
#include "com.h"

using namespace vorn;

namespace {

/** What all objects of the class share; one transfer at a time. */
struct StreamState {
    uint32_t bitsPerPixel = 0;  ///< read from the DIB header of the stream; the last value read stays
    bool headerRead = false;    ///< the header of the present stream has been looked at
    bool depthKnown = false;    ///< and it told the depth
    int32_t transferState = 0;  ///< the state last reported
};
StreamState g_streamState;

/** Bytes of a BITMAPFILEHEADER. */
constexpr size_t kFileHeaderBytes = 14;

/** A locked memory block as bytes; empty while nothing has been written. */
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL block) noexcept : block_{block}, data_{block ? GlobalLock(block) : nullptr}
    {
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;
    ~LockedBlock()
    {
        if (data_)
            GlobalUnlock(block_);
    }

    explicit operator bool() const noexcept { return data_ != nullptr; }
    DibBytes Bytes() const noexcept { return {static_cast<const uint8_t*>(data_), GlobalSize(block_)}; }

private:
    HGLOBAL block_;
    void* data_;
};

void CopyName(const WCHAR* name, WCHAR (&buffer)[VORNWIA_NAME_CHARS])
{
    if (name)
        WStringView{name}.copy(buffer, VORNWIA_NAME_CHARS - 1);
}

}  // namespace

CWiaTransferCallback::CWiaTransferCallback(const TransferTarget& target) noexcept
    : session{target.session},
      acquireCallback{target.useFileCallback ? nullptr : target.acquireCallback},
      fileCallback{target.useFileCallback ? target.fileCallback : nullptr},
      tymed{target.tymed},
      useFileCallback{target.useFileCallback},
      userData{target.userData}
{
    CopyName(target.reportName, reportName);
    CopyName(target.streamFileName, streamFileName);
    bitmap = NewBitmapRecord();
}

CWiaTransferCallback::~CWiaTransferCallback()
{
    FreeBitmapRecord(bitmap);
}

HRESULT CWiaTransferCallback::QueryInterface(REFIID id, void** object) noexcept
{
    if (!object)
        return E_INVALIDARG;
    if (id != IID_IUnknown && id != IID_IWiaTransferCallback) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IWiaTransferCallback*>(this);
    AddRef();
    return S_OK;
}

ULONG CWiaTransferCallback::AddRef() noexcept
{
    return static_cast<ULONG>(++refCount);
}

ULONG CWiaTransferCallback::Release() noexcept
{
    return static_cast<ULONG>(--refCount);
}

HRESULT CWiaTransferCallback::GetNextStream(LONG, BSTR, BSTR, IStream** destination) noexcept
{
    if (!destination)
        return E_POINTER;
    if (stream)
        return S_FALSE;
    if (const HRESULT result = CreateStream(); FAILED(result))
        return result;
    *destination = stream;
    return TransferWorker(nullptr, reportName, 0, TRANSFER_STATE_BEGIN) ? S_OK : S_FALSE;
}

HRESULT CWiaTransferCallback::CreateStream()
{
    if (!IsMemoryTransfer())
        return SHCreateStreamOnFileW(streamFileName, STGM_CREATE | STGM_WRITE, &stream);
    memoryBlock = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 0);
    if (!memoryBlock)
        return E_OUTOFMEMORY;
    return CreateStreamOnHGlobal(memoryBlock, FALSE, &stream);
}

HRESULT CWiaTransferCallback::TransferCallback(LONG, WiaTransferParams* params) noexcept
{
    if (!params)
        return E_POINTER;
    switch (params->lMessage) {
        case WIA_TRANSFER_MSG_STATUS:
            return OnStatus(params->lPercentComplete);
        case WIA_TRANSFER_MSG_END_OF_STREAM:
            return OnEndOfStream(params->ulTransferredBytes);
        case WIA_TRANSFER_MSG_END_OF_TRANSFER:
            return OnEndOfTransfer();
        default:
            return S_OK;
    }
}

HRESULT CWiaTransferCallback::OnStatus(LONG percent)
{
    if (aborted)
        return S_FALSE;
    g_streamState.transferState = TRANSFER_STATE_PROGRESS;
    if (!TransferWorker(nullptr, NameToReport(), percent, TRANSFER_STATE_PROGRESS)) {
        FreeMemoryBlock();
        return S_FALSE;
    }
    return ReadDepth() ? S_OK : S_FALSE;
}

/**
 * Looks once at the header of the image in a memory stream, as soon as something has been written.
 * False when it is no DIB header: what follows cannot be told apart from noise.
 */
bool CWiaTransferCallback::ReadDepth()
{
    if (g_streamState.headerRead || !stream)
        return true;
    // Asked of the block, not of the stream, which the platform may have released already.
    const LockedBlock locked{memoryBlock};
    if (!locked)
        return true;  // a file, or nothing written yet
    g_streamState.headerRead = true;
    const DibBytes bytes = locked.Bytes();
    const DibBytes dib = bytes.subspan(std::min(bytes.size(), kFileHeaderBytes));
    g_streamState.depthKnown = GetDibInfo(dib, nullptr, nullptr, &g_streamState.bitsPerPixel, nullptr) != 0;
    return g_streamState.depthKnown;
}

HRESULT CWiaTransferCallback::OnEndOfStream(uint64_t transferredBytes)
{
    if (aborted)
        return S_FALSE;
    g_streamState.transferState = TRANSFER_STATE_END;
    bool goOn = true;
    if (!IsMemoryTransfer()) {
        goOn = TransferWorker(nullptr, reportName, 100, TRANSFER_STATE_END);
    } else {
        if (DecodeBlock(transferredBytes))
            goOn = TransferWorker(bitmap, nullptr, 100, TRANSFER_STATE_END);
        KrnFreeBitmap(bitmap);  // after a failure too: a header alone leaves its palette
    }
    return goOn ? S_OK : S_FALSE;
}

/** Decodes the memory block into the bitmap. A page that cannot be decoded is not reported. */
bool CWiaTransferCallback::DecodeBlock(uint64_t transferredBytes)
{
    if (!memoryBlock || !IsUsable())
        return false;
    ReadDepth();  // a device that reported no progress left the header unread
    const LockedBlock locked{memoryBlock};
    if (!locked)
        return false;
    const auto claimed = static_cast<int32_t>(static_cast<uint32_t>(transferredBytes));
    const auto atHand = std::min<uint64_t>(locked.Bytes().size(), INT32_MAX);
    return FilLoadMemory(locked.Bytes().data(), bitmap, KRN_BITMAP_SIZE,
                         g_streamState.depthKnown ? g_streamState.bitsPerPixel : 0, KRN_COLOR_ORDER_BGR,
                         std::min(claimed, static_cast<int32_t>(atHand)), nullptr, nullptr) == FIL_SUCCESS;
}

HRESULT CWiaTransferCallback::OnEndOfTransfer()
{
    FreeMemoryBlock();
    g_streamState.headerRead = false;
    g_streamState.depthKnown = false;
    stream = nullptr;
    if (g_streamState.transferState & TRANSFER_STATE_END)
        return S_OK;
    if (aborted)
        return S_FALSE;
    g_streamState.transferState = TRANSFER_STATE_END;
    BitmapHandle* page = IsMemoryTransfer() ? bitmap : nullptr;
    return TransferWorker(page, NameToReport(), 100, TRANSFER_STATE_END) ? S_OK : S_FALSE;
}

/** The one place that calls the application. False when it asked to stop. */
bool CWiaTransferCallback::TransferWorker(BitmapHandle* page, const WCHAR* name, int32_t percent,
                                          int32_t state)
{
    int32_t answer = 1;
    if (useFileCallback) {
        if (fileCallback)
            answer = fileCallback(session, name, percent, state, userData);
    } else if (acquireCallback) {
        if (!IsMemoryTransfer())
            answer = acquireCallback(session, nullptr, name, percent, state, userData);
        else if (page)
            answer = NotifyBitmapCopy(session, page, state, acquireCallback, userData);
        else
            answer = acquireCallback(session, nullptr, nullptr, percent, state, userData);
    }
    if (answer != ERR_ABORTED)
        return true;
    aborted = true;
    return false;
}

bool CWiaTransferCallback::IsMemoryTransfer() const noexcept
{
    return tymed == TYMED_CALLBACK || tymed == TYMED_MULTIPAGE_CALLBACK;
}

const WCHAR* CWiaTransferCallback::NameToReport() const noexcept
{
    return IsMemoryTransfer() ? nullptr : reportName;
}

void CWiaTransferCallback::FreeMemoryBlock() noexcept
{
    if (!memoryBlock)
        return;
    streamsFilled += GlobalSize(memoryBlock) > 0;
    GlobalFree(memoryBlock);
    memoryBlock = nullptr;
}

void vorn::DeleteTransferCallback(CWiaTransferCallback* object) noexcept
{
    if (!object)
        return;
    object->FreeMemoryBlock();
    KrnUntrackResource(KRN_RESOURCE_CALLBACK, object, __LINE__, "vornwia");
    delete object;
}
