// What arrives at a client: every source, format and page count, stopped at every point, failing at every step.
#include <cstring>
#include <fstream>
#include <iterator>

#include "Client.h"
#include "Vornfilx.h"

namespace vorn::wia::test {

namespace {

class Transfers : public ServiceTest {};

/** The virtual scanner with numbered pages in its feeder and on its glass. */
DeviceBuilder ScannerWith(std::vector<CannedPage> pages)
{
    return VirtualScanner().Edit([pages = std::move(pages)](ItemDefinition& root) {
        for (ItemDefinition& item : root.children) {
            if (item.single)
                item.single = [pages] { return MakeCannedPages(pages); };
            if (item.feeder)
                item.feeder = [pages] { return MakeCannedPages(pages); };
        }
    });
}

/** The numbers of the pages of encoded images: each page's lowest left byte, and that all its bytes are that. */
std::string NumbersOf(const std::vector<uint8_t>& encoded, bool fileHeader)
{
    std::vector<uint8_t> file = encoded;
    if (!fileHeader) {
        const auto size = static_cast<uint32_t>(encoded.size() + 14);
        const uint32_t offset = static_cast<uint32_t>(encoded.size()) - 50 * 40 * 3 - 80;
        std::vector<uint8_t> header{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        std::memcpy(&header[2], &size, 4);
        const uint32_t pixels = offset + 14;
        std::memcpy(&header[10], &pixels, 4);
        file.insert(file.begin(), header.begin(), header.end());
    }
    std::string numbers;
    FilLoadOptions options{};
    FilDefaultLoadOptions(&options, sizeof options);
    for (options.page = 1;; ++options.page) {
        BitmapHandle bitmap{};
        if (FilLoadMemory(file.data(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                          static_cast<int32_t>(file.size()), &options, nullptr) != FIL_SUCCESS)
            return numbers.empty() ? "unreadable" : numbers;
        KrnAccessBitmap(&bitmap);
        const auto* image = static_cast<const uint8_t*>(bitmap.image);
        bool plain = bitmap.width == 50 && bitmap.height == 40;
        for (uint32_t row = 0; row < bitmap.height; ++row)
            plain = plain && image[row * bitmap.rowBytes] == image[0] &&
                    image[row * bitmap.rowBytes + 149] == image[0];
        numbers += plain ? std::to_string(image[0]) : "?";
        KrnReleaseBitmapAccess(&bitmap);
        KrnFreeBitmap(&bitmap);
        if (file[0] == 'B')
            return numbers;
    }
}

std::string NumbersOf(const Received& received, bool fileHeader = true)
{
    std::string numbers;
    for (const auto& page : received.pages)
        numbers += NumbersOf(page, fileHeader);
    return numbers;
}

std::string NumbersIn(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return NumbersOf({std::istreambuf_iterator<char>{stream}, {}}, true);
}

struct PagesCase {
    const char* fault;
    LONG source;
    LONG pages;
    const char* numbers;  ///< empty: the feeder is
    uint32_t loaded = 3;
};
constexpr PagesCase kPages[] = {
    {"takes more than one page from the glass", FLATBED, 3, "1"},
    {"takes more pages than asked for", FEEDER, 2, "12"},
    {"does not empty the feeder", FEEDER, 0, "123"},
    {"fails when fewer pages are there than asked for", FEEDER, 9, "123"},
    {"tells success for an empty feeder", FEEDER, 0, "", 0},
};

TEST_F(Transfers, BandsBringThePagesAskedForInEachFormat)
{
    const GUID formats[] = {WiaImgFmt_MEMORYBMP, WiaImgFmt_BMP, WiaImgFmt_TIFF};
    for (const PagesCase& row : kPages) {
        Use(ScannerWith(Numbered(row.loaded)));
        for (const GUID& format : formats) {
            SCOPED_TRACE(std::string{row.fault} + " " + LogGuid(format));
            const Node root = Open(Generation::One);
            const Node item = root.Child("Scan");
            ASSERT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, row.source), S_OK);
            ASSERT_EQ(root.Write(WIA_DPS_PAGES, row.pages), S_OK);
            ASSERT_EQ(item.Write(WIA_IPA_FORMAT, Value::Guid(format)), S_OK);
            const auto client = ComPtr<BandReceiver>::Adopt(new BandReceiver);
            const bool empty = !*row.numbers;
            EXPECT_EQ(item.Banded(*client.Get(), 1000), empty ? WIA_ERROR_PAPER_EMPTY : S_OK);
            if (empty) {
                EXPECT_EQ(client->received.messages, "");
                continue;
            }
            EXPECT_EQ(NumbersOf(client->received, format != WiaImgFmt_MEMORYBMP), row.numbers);
            std::string messages = "HSDS";
            for (size_t page = 1; page < std::strlen(row.numbers); ++page)
                messages += "NSDS";
            EXPECT_EQ(client->received.messages, messages + "T");
            EXPECT_LE(client->longestBand, 1000);
        }
    }
}

TEST_F(Transfers, FilesHoldThePagesAskedFor)
{
    for (const PagesCase& row : kPages) {
        SCOPED_TRACE(row.fault);
        Use(ScannerWith(Numbered(row.loaded)));
        const Node root = Open(Generation::One);
        const Node item = root.Child("Scan");
        ASSERT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, row.source), S_OK);
        ASSERT_EQ(root.Write(WIA_DPS_PAGES, row.pages), S_OK);
        ASSERT_EQ(item.Write(WIA_IPA_TYMED, TYMED_MULTIPAGE_FILE), S_OK);
        const auto file = Folder() / (std::to_string(&row - kPages) + ".tif");
        const bool empty = !*row.numbers;
        EXPECT_EQ(item.ToFile(TYMED_MULTIPAGE_FILE, file), empty ? WIA_ERROR_PAPER_EMPTY : S_OK);
        EXPECT_EQ(std::filesystem::exists(file), !empty) << "an empty feeder leaves no file";
        if (!empty) {
            EXPECT_EQ(NumbersIn(file), row.numbers);
        }
    }
}

TEST_F(Transfers, StreamsBringThePagesAskedFor)
{
    for (const PagesCase& row : kPages) {
        for (const LONG tymed : {TYMED_FILE + 0, TYMED_MULTIPAGE_FILE}) {
            SCOPED_TRACE(row.fault);
            Use(ScannerWith(Numbered(row.loaded)));
            const Node root = Open(Generation::Two);
            const Node item = root.Child(row.source == FEEDER ? "Feeder" : "Flatbed");
            ASSERT_EQ(root.Write(WIA_DPS_PAGES, row.pages), S_OK);
            ASSERT_EQ(item.Write(WIA_IPA_TYMED, tymed), S_OK);
            const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
            const bool empty = !*row.numbers;
            EXPECT_EQ(item.Download(*client.Get()), empty ? WIA_ERROR_PAPER_EMPTY : S_OK);
            EXPECT_EQ(NumbersOf(client->received), row.numbers);
            std::string messages;
            const size_t streams = tymed == TYMED_FILE ? std::strlen(row.numbers) : !empty;
            for (size_t i = 0; i < streams; ++i)
                messages += "GSE";
            EXPECT_EQ(client->received.messages, messages + "T");
            EXPECT_EQ(client->StreamsHeld(), 0u);
        }
    }
}

TEST_F(Transfers, PagesGoOnFromOneDownloadToTheNext)
{
    Use(ScannerWith(Numbered(2)));
    const Node feeder = Open(Generation::Two).Child("Feeder");
    const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
    EXPECT_EQ(feeder.Download(*client.Get()), S_OK);
    EXPECT_EQ(feeder.Download(*client.Get()), S_OK);
    EXPECT_EQ(NumbersOf(client->received), "12");
    EXPECT_EQ(feeder.Download(*client.Get()), WIA_ERROR_PAPER_EMPTY);
}

TEST_F(Transfers, AClientsAnswerStopsAtEachNotification)
{
    Use(ScannerWith(Numbered(2)));
    for (const HRESULT answer : {S_FALSE, E_ACCESSDENIED}) {
        for (size_t stop = 1; stop <= 13; ++stop) {
            SCOPED_TRACE(stop);
            const Answer stopAt = [&](size_t notification) { return notification == stop ? answer : S_OK; };
            const Node root = Open(Generation::One);
            root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER);
            root.Write(WIA_DPS_PAGES, 0);
            const auto bands = ComPtr<BandReceiver>::Adopt(new BandReceiver{stopAt});
            EXPECT_EQ(root.Child("Scan").Banded(*bands.Get(), 3100), answer);
            EXPECT_EQ(bands->received.notifications, stop) << "messages after the stop";

            const Node root2 = Open(Generation::Two);
            root2.Write(WIA_DPS_PAGES, 0);
            const auto streams = ComPtr<StreamReceiver>::Adopt(new StreamReceiver{stopAt});
            const HRESULT result = root2.Child("Feeder").Download(*streams.Get());
            // Two pages of four notifications each; the answer to the end of the transfer changes nothing.
            EXPECT_EQ(result, stop <= 8 ? answer : S_OK);
            EXPECT_EQ(streams->received.messages.back(), 'T') << "the end is always told";
            EXPECT_EQ(streams->received.notifications, std::min<size_t>(stop, 8) + 1);
            EXPECT_EQ(streams->StreamsHeld(), 0u);
        }
    }
}

TEST_F(Transfers, CancelFromACallbackEndsTheDownload)
{
    Use(ScannerWith(Numbered(3)));
    for (size_t at = 1; at <= 4; ++at) {
        const Node root = Open(Generation::Two);
        root.Write(WIA_DPS_PAGES, 0);
        ComPtr<IWiaTransfer> transfer;
        ASSERT_EQ(root.Child("Feeder").Two()->QueryInterface(IID_IWiaTransfer, transfer.OutVoid()), S_OK);
        const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver{
            [&](size_t notification) { return notification == at ? transfer->Cancel() : S_OK; }});
        EXPECT_EQ(transfer->Download(0, client.Get()), S_FALSE);
        EXPECT_EQ(client->received.notifications, at + 1);
        const auto next = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
        EXPECT_EQ(transfer->Download(0, next.Get()), S_OK) << "a cancel does not last";
    }
}

struct StepCase {
    const char* fault;
    Step step;
    unsigned nth;
    const char* numbers1;  ///< pages told complete, first generation
    const char* numbers2;
};
constexpr StepCase kSteps[] = {
    {"goes on without a transfer", Step::Transfer, 1, "", ""},
    {"goes on without a first page", Step::Page, 1, "", ""},
    {"loses the page before a jam", Step::Page, 2, "1", "1"},
    {"tells a torn page", Step::Band, 4, "1", "1"},
};

TEST_F(Transfers, AFailingDeviceKeepsThePagesBeforeIt)
{
    for (const StepCase& row : kSteps) {
        for (const Generation generation : kGenerations) {
            SCOPED_TRACE(row.fault);
            Use(ScannerWith(Numbered(3)).FailAt(row.step, WIA_ERROR_PAPER_JAM, row.nth));
            const Node root = Open(generation);
            root.Write(WIA_DPS_PAGES, 0);
            if (generation == Generation::One) {
                root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER);
                const Node item = root.Child("Scan");
                const auto file = Folder() / "pages.tif";
                item.Write(WIA_IPA_TYMED, TYMED_MULTIPAGE_FILE);
                EXPECT_EQ(item.ToFile(TYMED_MULTIPAGE_FILE, file), WIA_ERROR_PAPER_JAM);
                EXPECT_EQ(std::filesystem::exists(file), *row.numbers1 != 0) << "a file without a page";
                if (*row.numbers1) {
                    EXPECT_EQ(NumbersIn(file), row.numbers1);
                }
                std::filesystem::remove(file);
            } else {
                const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
                EXPECT_EQ(root.Child("Feeder").Download(*client.Get()), WIA_ERROR_PAPER_JAM);
                EXPECT_EQ(NumbersOf(client->received), row.numbers2);
                EXPECT_EQ(client->StreamsHeld(), 0u);
            }
        }
    }
}

TEST_F(Transfers, BandsOfATornPageHaveNoTermination)
{
    std::vector<CannedPage> pages = Numbered(2);
    pages[1].failure = WIA_ERROR_PAPER_JAM;
    pages[1].rowsBeforeFailure = 20;
    const struct {
        const char* fault;
        DeviceBuilder device;
        const char* messages;
    } rows[] = {{"hands a torn page over", ScannerWith(pages), "HSDSNSD"},
                {"never ends the page before a jam",
                 ScannerWith(Numbered(2)).FailAt(Step::Page, WIA_ERROR_PAPER_JAM, 2), "HSDST"}};
    for (const auto& row : rows) {
        Use(row.device);
        const Node root = Open(Generation::One);
        root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER);
        root.Write(WIA_DPS_PAGES, 0);
        const auto client = ComPtr<BandReceiver>::Adopt(new BandReceiver);
        EXPECT_EQ(root.Child("Scan").Banded(*client.Get(), 600), WIA_ERROR_PAPER_JAM) << row.fault;
        EXPECT_EQ(client->received.messages, row.messages) << row.fault;
    }
}

TEST_F(Transfers, AReadyPageIsHandedOverWhereItLies)
{
    CannedPage page = PlainPage(640, 480, 24, 7);
    const auto source = MakeCannedPages({page}, true);
    std::unique_ptr<Page> lent;
    source->NextPage({}, lent);
    const uint8_t* image = lent->ReadyImage();
    Use(DeviceBuilder{}.Child(Generation::One, ScannerItem(Generation::One, [=] { return source; })));

    struct Places final : ComObject<IWiaDataCallback> {
        HRESULT STDMETHODCALLTYPE BandedDataCallback(LONG message, LONG, LONG, LONG offset, LONG, LONG, LONG,
                                                     BYTE* data) override
        {
            inPlace = inPlace && (message != IT_MSG_DATA || offset == 0 || data == image + offset - 40);
            bands += message == IT_MSG_DATA;
            return S_OK;
        }
        const uint8_t* image = nullptr;
        bool inPlace = true;
        int bands = 0;
    };
    const auto client = ComPtr<Places>::Adopt(new Places);
    client->image = image;
    EXPECT_EQ(Open(Generation::One).Child("Scan").Banded(*client.Get(), 65536), S_OK);
    EXPECT_TRUE(client->inPlace) << "the page was copied";
    EXPECT_GT(client->bands, 10);
}

TEST_F(Transfers, DuplexAlternatesTheSidesOfASheet)
{
    struct Sides final : PageSource {
        bool HasPage() const override { return true; }
        HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
        {
            seen += request.backSide ? 'b' : 'f';
            return MakeBlankPages()->NextPage(request, page);
        }
        std::string seen;
    };
    const struct {
        LONG handling;
        const char* sides;
    } rows[] = {{FEEDER, "ffff"}, {FEEDER | DUPLEX, "fbfb"}, {BACK_ONLY, "bbbb"}};
    for (const auto& row : rows) {
        const auto sides = std::make_shared<Sides>();
        Use(VirtualScanner().EditItem(
            VORN_TEXT("Feeder"), [&](ItemDefinition& item) { item.feeder = [sides] { return sides; }; }));
        const Node root = Open(Generation::Two);
        root.Write(WIA_DPS_PAGES, 4);
        EXPECT_EQ(root.Child("Feeder").Write(WIA_IPS_DOCUMENT_HANDLING_SELECT, row.handling), S_OK);
        const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
        EXPECT_EQ(root.Child("Feeder").Download(*client.Get()), S_OK);
        EXPECT_EQ(sides->seen, row.sides);
    }
}

TEST_F(Transfers, AFolderSendsItsPictures)
{
    const Node folder = Open(Generation::Two, "virtual:camera").Child("Pictures");
    const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
    EXPECT_EQ(folder.Download(*client.Get(), WIA_TRANSFER_ACQUIRE_CHILDREN), S_OK);
    EXPECT_EQ(client->received.messages, "GSEGSEGSET");
    EXPECT_EQ(folder.Download(*client.Get()), E_INVALIDARG) << "a folder has no data of its own";
    ComPtr<IUnknown> none;
    EXPECT_EQ(Open(Generation::Two, "virtual:camera").Two()->QueryInterface(IID_IWiaTransfer, none.OutVoid()),
              E_NOINTERFACE);
}

TEST_F(Transfers, ScriptsReplaceTransfers)
{
    Use(VirtualScanner().EditItem(VORN_TEXT("Scan"), [](ItemDefinition& item) {
        item.banded = [](IWiaDataCallback* callback, const WIA_DATA_TRANSFER_INFO& info) {
            uint8_t byte = 0;
            return callback->BandedDataCallback(IT_MSG_DATA, 0, 0, 0, LONG(info.ulBufferSize > 0), 0, 0,
                                                &byte);
        };
    }));
    const auto client = ComPtr<BandReceiver>::Adopt(new BandReceiver{[](size_t) { return HRESULT(-100); }});
    EXPECT_EQ(Open(Generation::One).Child("Scan").Banded(*client.Get()), -100);
    EXPECT_EQ(client->received.messages, "D");
}

TEST_F(Transfers, ANamelessFileGetsAName)
{
    Use(ScannerWith(Numbered(1)));
    const Node item = Open(Generation::One).Child("Scan");
    item.Write(WIA_IPA_TYMED, TYMED_FILE);
    ComPtr<IWiaDataTransfer> transfer;
    ASSERT_EQ(item.One()->QueryInterface(IID_IWiaDataTransfer, transfer.OutVoid()), S_OK);
    STGMEDIUM medium{};
    medium.tymed = TYMED_FILE;
    ASSERT_EQ(transfer->idtGetData(&medium, nullptr), S_OK);
    ASSERT_NE(medium.lpszFileName, nullptr);
    EXPECT_EQ(NumbersIn(medium.lpszFileName), "1");
    ReleaseStgMedium(&medium);
    EXPECT_EQ(transfer->idtGetBandedData(nullptr, nullptr), E_INVALIDARG);
    medium.tymed = TYMED_HGLOBAL;
    EXPECT_EQ(transfer->idtGetData(&medium, nullptr), DV_E_TYMED);
}

}  // namespace

}  // namespace vorn::wia::test
