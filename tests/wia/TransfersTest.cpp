// What arrives at a client: every source, format and page count, stopped at every point, failing at every step.
#include <algorithm>

#include "Client.h"
#include "Vornfilx.h"
#include "wia/model/PageEncoder.h"

namespace vorn::wia::test {

namespace {

constexpr uint32_t kWidth = 50, kHeight = 40;

/** Pages whose every byte is their number. */
std::vector<CannedPage> Numbered(uint32_t count)
{
    std::vector<CannedPage> pages;
    for (uint32_t number = 1; number <= count; ++number)
        pages.push_back(PlainPage(kWidth, kHeight, 24, static_cast<uint8_t>(number)));
    return pages;
}

/** The virtual scanner with these pages in its feeder and on its glass. */
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

/** A bitmap's number, the same in all its bytes; "?" for another picture. */
std::string NumberOf(BitmapHandle& bitmap)
{
    KrnAccessBitmap(&bitmap);
    const auto* image = static_cast<const uint8_t*>(bitmap.image);
    bool plain = bitmap.width == kWidth && bitmap.height == kHeight;
    for (uint32_t row = 0; row < bitmap.height; ++row) {
        const uint8_t* bytes = image + row * bitmap.rowBytes;
        plain = plain && std::all_of(bytes, bytes + kWidth * 3, [&](uint8_t byte) { return byte == *image; });
    }
    const std::string number = plain ? std::to_string(*image) : "?";
    KrnReleaseBitmapAccess(&bitmap);
    return number;
}

/** The numbers of the pages of a file, or of a bitmap in memory. */
std::string NumbersOf(std::string bytes)
{
    if (bytes[0] != 'B' && bytes[0] != 'I')  // the file header that a bitmap in memory lacks
        bytes.insert(0, std::string{"BM\xF6\x17\0\0\0\0\0\0\x36\0\0\0", 14});
    std::string numbers;
    FilLoadOptions options{};
    FilDefaultLoadOptions(&options, sizeof options);
    BitmapHandle bitmap{};
    for (options.page = 1; options.page == 1 || bytes[0] == 'I'; ++options.page) {
        if (FilLoadMemory(bytes.data(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                          static_cast<int32_t>(bytes.size()), &options, nullptr) != FIL_SUCCESS)
            break;
        numbers += NumberOf(bitmap);
        KrnFreeBitmap(&bitmap);
    }
    return numbers.empty() ? "unreadable" : numbers;
}

std::string NumbersOf(const Received& received)
{
    std::string numbers;
    for (const auto& page : received.pages)
        numbers += NumbersOf(std::string{page.begin(), page.end()});
    return numbers;
}

/** The numbers in a file; none when there is no file. */
std::string NumbersIn(const std::filesystem::path& file)
{
    return std::filesystem::exists(file) ? NumbersOf(vorn::test::BytesOf(file)) : "";
}

class Transfers : public ServiceTest {
protected:
    /** Opens the scanner used: its item that transfers so many pages from that source. */
    Node Source(Generation generation, LONG pages, LONG source = FEEDER) const
    {
        const Node root = Open(generation);
        EXPECT_EQ(root.Write(WIA_DPS_PAGES, pages), S_OK);
        if (generation == Generation::Two)
            return root.Child(source == FEEDER ? "Feeder" : "Flatbed");
        EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, source), S_OK);
        return root.Child("Scan");
    }

    /** Transfers all pages into a file of several: what arrived in it. */
    std::string MultiPageFile(const Node& item, HRESULT result)
    {
        const auto file = Folder() / "pages.tif";
        std::filesystem::remove(file);
        EXPECT_EQ(item.Write(WIA_IPA_TYMED, TYMED_MULTIPAGE_FILE), S_OK);
        EXPECT_EQ(item.ToFile(TYMED_MULTIPAGE_FILE, file), result);
        const std::string numbers = NumbersIn(file);
        if (!numbers.empty()) {
            EXPECT_LT(std::filesystem::file_size(file), numbers.size() * 6500) << "a part of a page is left";
        }
        return numbers;
    }
};

TEST_F(Transfers, BringThePagesAskedForInEachFormatAndMedium)
{
    const struct {
        const char* fault;
        LONG source, pages;
        uint32_t loaded;
        HRESULT result;
        const char *numbers, *bands, *streams, *oneStream;
    } rows[] = {
        {"takes more than one page from the glass", FLATBED, 3, 3, S_OK, "1", "HSDST", "GSET", "GSET"},
        {"takes more pages than asked for", FEEDER, 2, 3, S_OK, "12", "HSDSNSDST", "GSEGSET", "GSET"},
        {"does not empty the feeder", FEEDER, 0, 2, S_OK, "12", "HSDSNSDST", "GSEGSET", "GSET"},
        {"fails when fewer are there than asked for", FEEDER, 9, 1, S_OK, "1", "HSDST", "GSET", "GSET"},
        {"tells success for an empty feeder", FEEDER, 0, 0, WIA_ERROR_PAPER_EMPTY, "", "", "T", "T"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        Use(ScannerWith(Numbered(row.loaded)));
        const auto source = [&](Generation generation) { return Source(generation, row.pages, row.source); };
        for (const GUID& format : {WiaImgFmt_MEMORYBMP, WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
            const Node item = source(Generation::One);
            EXPECT_EQ(item.Write(WIA_IPA_FORMAT, Value::Guid(format)), S_OK);
            const Received bands = item.Banded(1000);
            EXPECT_EQ(bands.result, row.result);
            EXPECT_EQ(NumbersOf(bands), row.numbers) << LogGuid(format);
            EXPECT_EQ(bands.messages, row.bands);
            EXPECT_LE(bands.longestBand, 1000);
        }
        EXPECT_EQ(MultiPageFile(source(Generation::One), row.result), row.numbers);
        for (const LONG tymed : {TYMED_FILE + 0, TYMED_MULTIPAGE_FILE}) {
            const Node item = source(Generation::Two);
            EXPECT_EQ(item.Write(WIA_IPA_TYMED, tymed), S_OK);
            const Received streams = item.Download();
            EXPECT_EQ(streams.result, row.result);
            EXPECT_EQ(NumbersOf(streams), row.numbers);
            EXPECT_EQ(streams.messages, tymed == TYMED_FILE ? row.streams : row.oneStream);
            EXPECT_EQ(streams.streamsHeld, 0u);
        }
    }
}

TEST_F(Transfers, CompressedFilesAreAsLongAsTheirCodecMadeThem)
{
    const std::pair<GUID, std::string_view> rows[] = {
        {WiaImgFmt_PNG, "IEND\xAE\x42\x60\x82"},
        {WiaImgFmt_JPEG, "\xFF\xD9"},
    };
    for (const auto& [format, end] : rows) {
        if (!MakePageEncoder(format))
            continue;  // no codec on this system
        SCOPED_TRACE(LogGuid(format));
        Use(ScannerWith(Numbered(2)).EditItem(VORN_TEXT("Scan"), [&](ItemDefinition& item) {
            item.Set(Writable(WIA_IPA_FORMAT, Value::Guid(format)));
        }));
        const Node feeder = Source(Generation::Two, 0);
        EXPECT_EQ(feeder.Write(WIA_IPA_FORMAT, Value::Guid(format)), S_OK);
        EXPECT_EQ(feeder.Long(WIA_IPA_ITEM_SIZE), 0) << "nobody can know";
        const Received streams = feeder.Download();
        EXPECT_EQ(streams.messages, "GSEGSET");
        const Received bands = Source(Generation::One, 0).Banded(100);
        EXPECT_EQ(bands.messages, "HSDSNSDST");
        const auto file = Folder() / "page";
        vorn::test::WriteBytes(file, std::string(100000, 'x'));
        EXPECT_EQ(Source(Generation::One, 0).ToFile(TYMED_FILE, file), S_OK);

        std::vector<std::string> files{vorn::test::BytesOf(file)};
        for (const Received* received : {&streams, &bands}) {
            ASSERT_EQ(received->pages.size(), 2u);
            for (const auto& page : received->pages)
                files.emplace_back(page.begin(), page.end());
        }
        for (const std::string& bytes : files) {
            EXPECT_TRUE(bytes.ends_with(end));
            EXPECT_EQ(bytes.find(end), bytes.size() - end.size());
        }
    }
}

TEST_F(Transfers, PagesGoOnFromOneDownloadToTheNext)
{
    Use(ScannerWith(Numbered(2)));
    const Node feeder = Open(Generation::Two).Child("Feeder");
    EXPECT_EQ(NumbersOf(feeder.Download()), "1");
    EXPECT_EQ(NumbersOf(feeder.Download()), "2");
    EXPECT_EQ(feeder.Download().result, WIA_ERROR_PAPER_EMPTY);
}

TEST_F(Transfers, AClientsAnswerStopsAtEachNotification)
{
    Use(ScannerWith(Numbered(2)));
    for (const HRESULT answer : {S_FALSE, E_ACCESSDENIED}) {
        for (size_t stop = 1; stop <= 13; ++stop) {
            SCOPED_TRACE(stop);
            const Answer stopAt = [&](size_t notification) { return notification == stop ? answer : S_OK; };
            const Received bands = Source(Generation::One, 0).Banded(3100, stopAt);
            EXPECT_EQ(bands.result, answer);
            EXPECT_EQ(bands.notifications, stop) << "messages after the stop";

            // Two pages of four notifications each; the answer to the end of the transfer changes nothing.
            const Received streams = Source(Generation::Two, 0).Download(0, stopAt);
            EXPECT_EQ(streams.result, stop <= 8 ? answer : S_OK);
            EXPECT_EQ(streams.messages.back(), 'T') << "the end is always told";
            EXPECT_EQ(streams.notifications, std::min<size_t>(stop, 8) + 1);
            EXPECT_EQ(streams.streamsHeld, 0u);
        }
    }
}

TEST_F(Transfers, CancelFromACallbackEndsTheDownload)
{
    Use(ScannerWith(Numbered(3)));
    for (size_t at = 1; at <= 4; ++at) {
        const auto transfer = Source(Generation::Two, 0).As<IWiaTransfer>(IID_IWiaTransfer);
        const Received cancelled = Download(*transfer.Get(), 0, [&](size_t notification) {
            return notification == at ? transfer->Cancel() : S_OK;
        });
        EXPECT_EQ(cancelled.result, S_FALSE);
        EXPECT_EQ(cancelled.notifications, at + 1);
        EXPECT_EQ(Download(*transfer.Get()).result, S_OK) << "a cancel does not last";
    }
}

TEST_F(Transfers, AFailingDeviceKeepsThePagesBeforeIt)
{
    constexpr HRESULT jam = WIA_ERROR_PAPER_JAM;
    const auto torn = [] {
        std::vector<CannedPage> pages = Numbered(2);
        pages[1].ready = false;
        pages[1].failure = jam;
        pages[1].rowsBeforeFailure = 20;
        return ScannerWith(pages);
    };
    const auto failing = [](Step step, unsigned nth) {
        return [=] { return ScannerWith(Numbered(3)).FailAt(step, jam, nth); };
    };
    const struct {
        const char* fault;
        std::function<DeviceBuilder()> device;
        const char *bands, *numbers;  ///< of pages that are complete
    } rows[] = {
        {"goes on without a transfer", failing(Step::Transfer, 1), "", ""},
        {"goes on without a first page", failing(Step::Page, 1), "", ""},
        {"loses the page before a jam, or never ends it", failing(Step::Page, 2), "HSDST", "1"},
        {"leaves a file without a page", failing(Step::Band, 2), "HSD", ""},
        {"tells a page that was cut off", failing(Step::Band, 4), "HSD", "1"},
        {"hands a torn page over", torn, "HSDSNSD", "1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        Use(row.device());
        const Received bands = Source(Generation::One, 0).Banded(600);
        EXPECT_EQ(bands.result, jam);
        EXPECT_EQ(bands.messages, row.bands);

        Use(row.device());
        EXPECT_EQ(MultiPageFile(Source(Generation::One, 0), jam), row.numbers);

        Use(row.device());
        const Received streams = Source(Generation::Two, 0).Download();
        EXPECT_EQ(streams.result, jam);
        EXPECT_EQ(NumbersOf(streams), row.numbers);
        EXPECT_EQ(streams.streamsHeld, 0u);
    }
}

TEST_F(Transfers, AReadyPageIsHandedOverWhereItLies)
{
    const auto source = MakeCannedPages({PlainPage(640, 480, 24, 7)}, true);
    std::unique_ptr<Page> lent;
    source->NextPage({}, lent);
    Use(DeviceBuilder{}.Child(Generation::One, ScannerItem(Generation::One, [=] { return source; })));
    const Received bands = Open(Generation::One).Child("Scan").Banded(65536);
    EXPECT_EQ(bands.origins, std::set<const BYTE*>{lent->ReadyImage() - 40}) << "the page was copied";
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
    const std::pair<LONG, const char*> rows[] = {
        {FEEDER, "ffff"}, {FEEDER | DUPLEX, "fbfb"}, {BACK_ONLY, "bbbb"}};
    for (const auto& [handling, seen] : rows) {
        const auto sides = std::make_shared<Sides>();
        Use(VirtualScanner().EditItem(
            VORN_TEXT("Feeder"), [&](ItemDefinition& item) { item.feeder = [sides] { return sides; }; }));
        const Node feeder = Source(Generation::Two, 4);
        EXPECT_EQ(feeder.Write(WIA_IPS_DOCUMENT_HANDLING_SELECT, handling), S_OK);
        EXPECT_EQ(feeder.Download().result, S_OK);
        EXPECT_EQ(sides->seen, seen);
    }
}

TEST_F(Transfers, ATurnedPageComesAgainstTheClock)
{
    const struct {
        LONG rotation;
        uint32_t width, height;
        const char* pixels;  ///< rows from the top down
    } rows[] = {
        {PORTRAIT, 3, 2, "123456"},
        {LANSCAPE, 2, 3, "362514"},
        {ROT180, 3, 2, "654321"},
        {ROT270, 2, 3, "415263"},
    };
    for (const uint32_t bits : {1u, 8u, 24u}) {
        CannedPage page = PlainPage(3, 2, bits, 0);
        page.geometry.yDpi = 200;
        const uint32_t rowBytes = static_cast<uint32_t>(page.geometry.RowBytes());
        const auto put = [&](char digit, uint32_t x, uint8_t* row) {
            if (bits == 1)
                row[0] = static_cast<uint8_t>(row[0] | (digit & 1) << (7 - x));
            else
                std::fill_n(row + x * bits / 8, bits / 8, static_cast<uint8_t>(digit));
        };
        for (uint32_t i = 0; i < 6; ++i)
            put(static_cast<char>('1' + i), i % 3, page.pixels.data() + (1 - i / 3) * rowBytes);
        Use(ScannerWith({page}));
        for (const auto& row : rows) {
            for (const Generation generation : kGenerations) {
                const Node item = Source(generation, 1);
                EXPECT_EQ(item.Write(WIA_IPA_TYMED, TYMED_CALLBACK), S_OK);
                EXPECT_EQ(item.Write(WIA_IPA_FORMAT, Value::Guid(WiaImgFmt_BMP)), S_OK);
                EXPECT_EQ(item.Write(WIA_IPS_ROTATION, row.rotation), S_OK);
                const bool side = row.rotation == LANSCAPE || row.rotation == ROT270;
                EXPECT_EQ(item.Long(WIA_IPA_PIXELS_PER_LINE),
                          item.Long(side ? WIA_IPS_YEXTENT : WIA_IPS_XEXTENT));
                const Received received = generation == Generation::One ? item.Banded() : item.Download();
                ASSERT_EQ(received.pages.size(), 1u);
                std::vector<uint8_t> bytes = received.pages.front();
                BitmapHandle bitmap{};
                ASSERT_EQ(FilLoadMemory(bytes.data(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                                        static_cast<int32_t>(bytes.size()), nullptr, nullptr),
                          FIL_SUCCESS);
                EXPECT_EQ(bitmap.width, row.width);
                EXPECT_EQ(bitmap.height, row.height);
                EXPECT_NEAR(bitmap.xDpi, side ? 200 : 100, 0.1);
                KrnAccessBitmap(&bitmap);
                std::vector<uint8_t> expected(bitmap.rowBytes * row.height);
                for (uint32_t i = 0; i < 6; ++i)
                    put(row.pixels[i], i % row.width,
                        expected.data() + (row.height - 1 - i / row.width) * bitmap.rowBytes);
                const auto* image = static_cast<const uint8_t*>(bitmap.image);
                EXPECT_EQ(std::vector<uint8_t>(image, image + expected.size()), expected)
                    << bits << " bits, turn " << row.rotation;
                KrnReleaseBitmapAccess(&bitmap);
                KrnFreeBitmap(&bitmap);
            }
        }
    }
}

TEST_F(Transfers, AFolderSendsItsPictures)
{
    const Node root = Open(Generation::Two, "virtual:camera");
    const Node folder = root.Child("Pictures");
    const Received pictures = folder.Download(WIA_TRANSFER_ACQUIRE_CHILDREN);
    EXPECT_EQ(pictures.result, S_OK);
    EXPECT_EQ(pictures.messages, "GSEGSEGSET");
    EXPECT_EQ(folder.Download().result, E_INVALIDARG) << "a folder has no data of its own";
    EXPECT_FALSE(root.As<IWiaTransfer>(IID_IWiaTransfer));
}

TEST_F(Transfers, ANamelessFileGetsAName)
{
    Use(ScannerWith(Numbered(1)));
    const Node item = Source(Generation::One, 1);
    EXPECT_EQ(item.Write(WIA_IPA_TYMED, TYMED_FILE), S_OK);
    const auto transfer = item.As<IWiaDataTransfer>(IID_IWiaDataTransfer);
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
