/**
 * The acquisition engine: chooses the items, decides medium and page count from the device, drives memory and
 * file transfers, and puts the device's properties back.
 */
#include <algorithm>

#include "CallbackObjects.h"
#include "Internal.h"
#include "Vornfilx.h"

namespace vorn {

ProcessState g_processState;

namespace {

constexpr uint32_t kDefaultBufferBytes = 0x10000;

/** Room for children at first. */
constexpr int32_t kFirstSlots = 16;

/** Downloads in a row that write nothing before a device that never runs empty counts as empty. */
constexpr int kMaxBarrenDownloads = 1000;

// ---- The root's children, while an acquisition chooses among them -----------------------------------------

/** Makes room for one more child; what a device announces is no reason to allocate. */
bool GrowCollectedItems()
{
    ProcessState& state = g_processState;
    if (state.collectPosition < state.collectedSlots)
        return true;
    const int32_t slots = std::max(
        kFirstSlots, static_cast<int32_t>(std::min<int64_t>(int64_t{state.collectedSlots} * 2, INT32_MAX)));
    auto* const grown = static_cast<WiaItemHandle*>(
        KrnRealloc(state.collectedItems, static_cast<uint64_t>(slots) * sizeof(WiaItemHandle), VORN_HERE));
    if (!grown)
        return false;
    state.collectedItems = grown;
    state.collectedSlots = slots;
    return true;
}

int32_t CollectChildItem(WiaSession* session, uint32_t count, WiaItemHandle item, void*)
{
    ProcessState& state = g_processState;
    if (!GrowCollectedItems()) {
        Vorn_WiaFreeItem(session, item);
        return ERR_OUT_OF_MEMORY;
    }
    // A device that delivers more children than it announced fills the slots anew.
    WiaItemHandle& slot = state.collectedItems[state.collectPosition];
    if (state.collectPosition < state.collectedCount)
        Vorn_WiaFreeItem(session, slot);
    slot = item;
    ++state.collectPosition;
    state.collectedCount = std::max(state.collectedCount, state.collectPosition);
    if (static_cast<uint32_t>(state.collectPosition) >= count)
        state.collectPosition = 0;
    return SUCCESS;
}

void FreeCollectedItems(WiaSession* session)
{
    ProcessState& state = g_processState;
    for (int32_t i = 0; i < state.collectedCount; ++i)
        Vorn_WiaFreeItem(session, state.collectedItems[i]);
    KrnFree(state.collectedItems, VORN_HERE);
    state.collectedItems = nullptr;
    state.collectedSlots = state.collectedCount = state.collectPosition = 0;
}

// ---- One acquisition --------------------------------------------------------------------------------------

enum class Medium { Memory, File, Other };

Medium MediumOf(int32_t tymed)
{
    switch (tymed) {
        case TYMED_CALLBACK:
        case TYMED_MULTIPAGE_CALLBACK:
            return Medium::Memory;
        case TYMED_FILE:
        case TYMED_MULTIPAGE_FILE:
            return Medium::File;
        default:
            return Medium::Other;
    }
}

/** A download is good unless it failed or the application stopped it. */
bool IsGoodDownload(HRESULT result, const CWiaTransferCallback& receiver)
{
    return result >= 0 && !(result == S_FALSE && receiver.aborted);
}

/** One item's interfaces and settings. */
struct ItemTransfer {
    WiaItemHandle item = nullptr;
    PropertyStorageRef storage;             ///< generation 1
    ComPtr<IWiaDataTransfer> dataTransfer;  ///< generation 1
    ComPtr<IWiaTransfer> transfer;          ///< generation 2
    int32_t tymed = 0;
    WIA_DATA_TRANSFER_INFO info{};  ///< generation 1, memory
};

class Acquisition {
public:
    Acquisition(WiaSession* session, const AcquireOptions* options, const FileListTarget& files,
                const UserCallback& callback);
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;
    ~Acquisition();

    int32_t Run(WiaItemHandle item, const ItemList* dialogItems);

private:
    int32_t RunItem(WiaItemHandle item);
    bool Open(ItemTransfer& target) const;
    void ChooseBuffer(ItemTransfer& target);
    void ReadPageCount(const ItemTransfer& target);
    bool HoldsOnePage1();
    bool HoldsOnePage2(const ItemTransfer& target) const;

    int32_t TransferToMemory1(ItemTransfer& target);
    int32_t TransferToMemory2(ItemTransfer& target);
    HRESULT DownloadPages(ItemTransfer& target, CWiaTransferCallback* receiver);
    int32_t TransferToFiles(ItemTransfer& target);
    int32_t ChooseOutputName();
    int32_t TransferPages(ItemTransfer& target);

    int32_t SetPages(uint32_t pages) const;
    bool IsScanner() const { return deviceType_ == StiDeviceTypeScanner; }
    WiaItemHandle Root() const { return reinterpret_cast<WiaItemHandle>(root_.Get()); }

    WiaSession* session_;
    ComPtr<IUnknown> root_;  ///< of the device that was selected at the start, whatever a callback selects
    AcquireOptions options_{};
    FileListTarget files_;
    UserCallback callback_;
    WCHAR workingName_[VORNWIA_NAME_CHARS] = {};
    bool nameChosen_ = false;  ///< the first item with a file medium has prepared the output file
    uint32_t pageCount_ = 1;   ///< asked of the device for the current item; 0: until the feeder is empty
    uint32_t deviceType_ = StiDeviceTypeDefault;
    int32_t transferredCount_ = 0;
    int32_t runningStatus_ = SUCCESS;
};

Acquisition::Acquisition(WiaSession* session, const AcquireOptions* options, const FileListTarget& files,
                         const UserCallback& callback)
    : session_{session}, root_{AsUnknown(RootItemOf(*session))}, files_{files}, callback_{callback}
{
    if (options)
        options_ = *options;
    else
        options_.structSize = sizeof(AcquireOptions);
    g_processState.savedFileCounter = 0;
}

Acquisition::~Acquisition()
{
    FreeCollectedItems(session_);
    // The list now belongs to the caller, whatever became of the pages after those it names.
    if (files_.list && *files_.list)
        KrnUntrackResource(KRN_RESOURCE_MEMORY, *files_.list, VORN_HERE);
}

int32_t Acquisition::Run(WiaItemHandle item, const ItemList* dialogItems)
{
    if (dialogItems) {
        int32_t status = SUCCESS;
        for (LONG i = 0; status == SUCCESS && i < dialogItems->count; ++i)
            status = RunItem(reinterpret_cast<WiaItemHandle>(dialogItems->items[i]));
        return status;
    }
    if (item)
        return RunItem(item);

    if (const int32_t status = Vorn_WiaEnumChildItems(session_, Root(), CollectChildItem, nullptr);
        status != SUCCESS)
        return status;
    if (g_processState.collectedCount == 0)
        return ERR_NO_CHILD_ITEMS;
    return RunItem(g_processState.collectedItems[0]);
}

int32_t Acquisition::RunItem(WiaItemHandle item)
{
    if (!item)
        return ERR_OUT_OF_MEMORY;
    const ComPtr<IUnknown> held{AsUnknown(item)};  // whatever the application does in its callback
    ItemTransfer target;
    target.item = item;
    if (!Open(target))
        return ERR_OUT_OF_MEMORY;
    if (target.dataTransfer)
        ChooseBuffer(target);
    ReadPageCount(target);

    switch (MediumOf(target.tymed)) {
        case Medium::Memory:
            return target.dataTransfer ? TransferToMemory1(target) : TransferToMemory2(target);
        case Medium::File:
            return TransferToFiles(target);
        default:
            return runningStatus_;
    }
}

/** Takes the item's interfaces and reads its medium; false when the item cannot transfer. */
bool Acquisition::Open(ItemTransfer& target) const
{
    if (session_->wiaVersion == 1) {
        if (callback_.toFile)
            Vorn_WiaSetPropertyLong(session_, target.item, nullptr, WIA_IPA_TYMED, TYMED_FILE);
        target.storage = PropertyStorageRef{target.item};
        AsUnknown(target.item)->QueryInterface(IID_IWiaDataTransfer, target.dataTransfer.OutVoid());
        if (!target.storage || !target.dataTransfer)
            return false;
    } else {
        AsUnknown(target.item)->QueryInterface(IID_IWiaTransfer, target.transfer.OutVoid());
        if (!target.transfer)
            return false;
    }
    Vorn_WiaGetPropertyLong(session_, target.item, nullptr, WIA_IPA_TYMED, &target.tymed);
    return true;
}

/** A size found on the device holds for the later items of the call. */
void Acquisition::ChooseBuffer(ItemTransfer& target)
{
    if (options_.bufferSize == 0) {
        int32_t size = 0;
        const HRESULT result = ReadLongProperty(target.storage.Get(), WIA_IPA_MIN_BUFFER_SIZE, &size);
        options_.bufferSize = IsPlainSuccess(result) ? static_cast<uint32_t>(size) : kDefaultBufferBytes;
    }
    target.info.ulSize = sizeof(target.info);
    target.info.ulBufferSize = options_.doubleBuffer ? options_.bufferSize * 2 : options_.bufferSize;
    target.info.bDoubleBuffer = static_cast<BOOL>(options_.doubleBuffer);
}

void Acquisition::ReadPageCount(const ItemTransfer& target)
{
    int32_t pages = static_cast<int32_t>(pageCount_);
    Vorn_WiaGetPropertyLong(session_, Root(), nullptr, WIA_DPS_PAGES, &pages);
    pageCount_ = static_cast<uint32_t>(pages);

    deviceType_ = StiDeviceTypeDefault;
    runningStatus_ = DeviceTypeOf(session_, Root(), &deviceType_);
    if (runningStatus_ != SUCCESS)
        return;
    bool onePage = deviceType_ == StiDeviceTypeDigitalCamera || deviceType_ == StiDeviceTypeStreamingVideo;
    if (IsScanner())
        onePage = session_->wiaVersion == 1 ? HoldsOnePage1() : HoldsOnePage2(target);
    if (onePage)
        pageCount_ = 1;
}

/** A 1.0 scanner tells by its document source whether its glass is used. */
bool Acquisition::HoldsOnePage1()
{
    int32_t source = 0;
    runningStatus_ =
        Vorn_WiaGetPropertyLong(session_, Root(), nullptr, WIA_DPS_DOCUMENT_HANDLING_SELECT, &source);
    return runningStatus_ == SUCCESS && (source & FLATBED);
}

/** A 2.0 scanner has an item for each document source; only the feeder's holds several pages. */
bool Acquisition::HoldsOnePage2(const ItemTransfer& target) const
{
    GUID category{};
    AsItem2(target.item)->GetItemCategory(&category);
    return category != WIA_CATEGORY_FEEDER;
}

int32_t Acquisition::SetPages(uint32_t pages) const
{
    return Vorn_WiaSetPropertyLong(session_, Root(), nullptr, WIA_DPS_PAGES, static_cast<int32_t>(pages));
}

// ---- Into memory
// --------------------------------------------------------------------------------------------

int32_t Acquisition::TransferToMemory1(ItemTransfer& target)
{
    const DataCallbackPtr receiver = MakeDataCallback(session_, nullptr, TYMED_CALLBACK, callback_);
    if (!receiver)
        return ERR_OUT_OF_MEMORY;
    const HRESULT result = target.dataTransfer->idtGetBandedData(&target.info, receiver.get());
    if (result == S_FALSE && receiver->aborted)
        return ERR_ABORTED;
    return StatusOf(result);
}

int32_t Acquisition::TransferToMemory2(ItemTransfer& target)
{
    const TransferCallbackPtr receiver =
        MakeTransferCallback(session_, nullptr, nullptr, TYMED_CALLBACK, callback_);
    if (!receiver)
        return ERR_OUT_OF_MEMORY;

    // The stream is the receiver's business; the device sees one file a download.
    runningStatus_ = Vorn_WiaSetPropertyLong(session_, target.item, nullptr, WIA_IPA_TYMED, TYMED_FILE);
    if (IsScanner())
        runningStatus_ = SetPages(1);
    const HRESULT result = DownloadPages(target, receiver.get());
    runningStatus_ = Vorn_WiaSetPropertyLong(session_, target.item, nullptr, WIA_IPA_TYMED, target.tymed);
    if (IsScanner())
        runningStatus_ = SetPages(pageCount_);

    if (result < 0) {
        const int32_t status = MapWiaResult(result);
        return status == ERR_WIA_PAPER_EMPTY && transferredCount_ > 0 ? SUCCESS : status;
    }
    if (result == S_FALSE && receiver->aborted) {
        target.transfer->Cancel();
        return SUCCESS;
    }
    return runningStatus_;
}

HRESULT Acquisition::DownloadPages(ItemTransfer& target, CWiaTransferCallback* receiver)
{
    const LONG type = ItemTypeOf(*session_, target.item);
    if (!(type & WiaItemTypeTransfer) || (pageCount_ == 0 && runningStatus_ != SUCCESS))
        return S_OK;
    if (pageCount_ == 1)
        return target.transfer->Download(DownloadFlags(type), receiver);

    HRESULT result = S_OK;
    int barren = 0;
    for (uint32_t page = 0; (pageCount_ == 0 || page < pageCount_) && barren < kMaxBarrenDownloads; ++page) {
        const uint32_t filledBefore = receiver->StreamsFilled();
        result = target.transfer->Download(DownloadFlags(type), receiver);
        if (!IsGoodDownload(result, *receiver))
            break;
        ++transferredCount_;
        barren = receiver->StreamsFilled() == filledBefore ? barren + 1 : 0;
    }
    return result;
}

// ---- Into files
// ---------------------------------------------------------------------------------------------

int32_t Acquisition::TransferToFiles(ItemTransfer& target)
{
    if (IsScanner())
        SetPages(1);
    int32_t status = NamesFile(options_) ? ChooseOutputName() : ERR_INVALID_ARGUMENT;
    if (status == SUCCESS)
        status = TransferPages(target);
    target.transfer.Reset();
    if (IsScanner())
        SetPages(pageCount_);
    return status;
}

/** Prepares the output file once a call: later items go on where the first one began. */
int32_t Acquisition::ChooseOutputName()
{
    if (nameChosen_) {
        if (!options_.multiPageFile)
            KrnMemCopy(workingName_, options_.fileName, sizeof(workingName_));
        return SUCCESS;
    }
    nameChosen_ = true;
    KrnMemCopy(workingName_, options_.fileName, sizeof(workingName_));
    if (options_.overwriteFile && FileExists(workingName_))
        DeleteFileW(workingName_);
    if (options_.multiPageFile && !options_.appendToFile && !options_.overwriteFile)
        return MakeUniqueFileName(workingName_);
    // A page behind damage could not be reached: better no scan than a page that is lost.
    FilFileInfo info{};
    const bool damaged = options_.appendToFile && FilInfo(workingName_, &info, FIL_INFO_SIZE,
                                                          FIL_INFO_COUNT_PAGES, nullptr) == FIL_ERR_CORRUPT;
    return damaged ? FIL_ERR_CORRUPT : SUCCESS;
}

int32_t Acquisition::TransferPages(ItemTransfer& target)
{
    PageTransfer page;
    page.session = session_;
    page.options = &options_;
    page.transfer1 = target.dataTransfer.Get();
    page.transfer2 = target.transfer.Get();
    page.workingName = workingName_;
    page.item = target.item;
    page.tymed = static_cast<uint32_t>(target.tymed);
    page.transferredCount = &transferredCount_;
    page.files = files_;
    page.callback = callback_;

    int32_t status = SUCCESS;
    for (uint32_t i = 0; status == SUCCESS && (pageCount_ == 0 || i < pageCount_); ++i)
        status = TransferPageToFile(page);

    if (pageCount_ != 1 && status == ERR_WIA_PAPER_EMPTY && transferredCount_ > 0)
        status = SUCCESS;
    if (status == ERR_ABORTED && target.transfer)
        target.transfer->Cancel();
    return status;
}

}  // namespace

int32_t RunAcquisition(WiaSession* session, WiaItemHandle item, const AcquireOptions* options,
                       const ItemList* dialogItems, const FileListTarget& files,
                       const UserCallback& callback) noexcept
{
    return Acquisition{session, options, files, callback}.Run(item, dialogItems);
}

}  // namespace vorn
