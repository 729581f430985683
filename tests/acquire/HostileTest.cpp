/**
 * Devices that are broken or mean harm: whatever they send, there is a status, nothing leaks, and the next
 * acquisition in the same session works. What the receivers make of each byte is the library area's.
 */
#include "Desk.h"

namespace vorn::test {
namespace {

class HostileDevice : public AcquireTest {
protected:
    /** What a 2.0 feeder's downloads bring; then its glass is scanned on the same desk. */
    Outcome Download(const Road& road, std::function<HRESULT(IWiaTransferCallback*)> download, LONG pages = 1)
    {
        const TreeEdit edit = [&](ItemDefinition& item) {
            item.download = [&](LONG, IWiaTransferCallback* receiver) { return download(receiver); };
        };
        Desk desk{road, ScannerWith(NumberedPages(1), true).EditItem(VORN_TEXT("Feeder"), edit), pages};
        Outcome outcome = Scan(desk);
        desk.item = desk.Child(VORN_TEXT("Flatbed"));
        desk.SetMedium(road.file);
        EXPECT_EQ(Delivered(Scan(desk), Folder()), "1") << "the next one";
        return outcome;
    }
};

/** What a 1.0 device tells; it goes on whatever it is answered, and keeps the first answer that is not S_OK. */
class Teller {
public:
    explicit Teller(IWiaDataCallback* callback) : callback_{callback} {}

    Teller& Tell(LONG message, LONG offset = 0, LONG length = 0, const void* data = nullptr)
    {
        const HRESULT answer = callback_->BandedDataCallback(message, 0, 0, offset, length, 0, 0,
                                                             static_cast<BYTE*>(const_cast<void*>(data)));
        if (result_ == S_OK)
            result_ = answer;
        return *this;
    }
    Teller& Format(REFGUID format = WiaImgFmt_MEMORYBMP)
    {
        WIA_DATA_CALLBACK_HEADER header{};
        header.lSize = sizeof(header);
        header.guidFormatID = format;
        return Tell(IT_MSG_DATA_HEADER, 0, sizeof(header), &header);
    }
    /** The header of a DIB of 24 bits, 2 pixels high. */
    Teller& Header(BYTE width = 4)
    {
        const BYTE header[40] = {40, 0, 0, 0, width, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24};
        return Tell(IT_MSG_DATA, 0, 40, header);
    }
    /** Bytes of 5 behind the header; 24 are a page. */
    Teller& Band(LONG length = 24) { return Tell(IT_MSG_DATA, 40, length, std::vector<BYTE>(25, 5).data()); }
    Teller& End() { return Tell(IT_MSG_TERMINATION); }
    HRESULT Result() const { return result_; }

private:
    IWiaDataCallback* callback_;
    HRESULT result_ = S_OK;
};

TEST_F(HostileDevice, BandsOf10)
{
    struct Row {
        const char* fault;
        std::function<void(Teller&)> tell;
        int32_t status;
        const char* pages;
    };
    // A BMP of 2 x 1 pixels and 1 bit without its rows.
    const BYTE bmpHeader[62] = {'B', 'M', 66, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40,
                                0,   0,   0,  2, 0, 0, 0, 1, 0, 0, 0,  1, 0, 1};
    const Row rows[] = {
        {"nothing at all", [](Teller&) {}, SUCCESS, ""},
        {"no format", [](Teller& t) { t.Header().Band().End(); }, ERR_WIA_UNEXPECTED, ""},
        {"no header", [](Teller& t) { t.Format().Band().End(); }, ERR_WIA_UNEXPECTED, ""},
        {"only an end", [](Teller& t) { t.End(); }, SUCCESS, ""},
        {"two ends", [](Teller& t) { t.Format().Header().Band().End().End(); }, SUCCESS, "5"},
        {"a header twice", [](Teller& t) { t.Format().Header().Header().Band().End(); }, SUCCESS, "5"},
        {"a format twice", [](Teller& t) { t.Format().Format().Header().Band().End(); }, SUCCESS, "5"},
        {"an empty band", [](Teller& t) { t.Format().Header().Band(0).Band().End(); }, SUCCESS, "5"},
        {"too long", [](Teller& t) { t.Format().Header().Band(25).End(); }, ERR_WIA_UNEXPECTED, "0"},
        {"no width", [](Teller& t) { t.Format().Header(0).End(); }, ERR_WIA_UNEXPECTED, ""},
        {"no data", [](Teller& t) { t.Format().Tell(IT_MSG_DATA, 0, 40).End(); }, ERR_WIA_UNEXPECTED, ""},
        {"half a header", [](Teller& t) { t.Format().Tell(IT_MSG_DATA, 0, 4, "\x28\0\0").End(); },
         RESULT_FALSE, ""},
        {"data after the end", [](Teller& t) { t.Format().Header().Band().End().Band(); }, SUCCESS, "5"},
        {"unknown messages", [](Teller& t) { t.Tell(0).Tell(8).Tell(-1).Tell(6).Tell(99); }, SUCCESS, ""},
        {"a header as JPEG",
         [&](Teller& t) { t.Format(WiaImgFmt_JPEG).Tell(IT_MSG_DATA, 0, 62, bmpHeader).End(); },
         ERR_WIA_UNEXPECTED, ""},
        {"a header of fewer colours for page 2",
         [&](Teller& t) {
             t.Format(WiaImgFmt_BMP).Tell(IT_MSG_DATA, 0, 62, bmpHeader).Tell(IT_MSG_DATA, 62, 4, "\5\0\0");
             t.Tell(IT_MSG_NEW_PAGE).Tell(IT_MSG_DATA, 0, 58, bmpHeader).Tell(IT_MSG_DATA, 58, 4, "\7\0\0");
             t.Tell(IT_MSG_STATUS).Tell(IT_MSG_NEW_PAGE).Tell(IT_MSG_STATUS).End();
         },
         ERR_WIA_UNEXPECTED, "5"},
        {"noise as JPEG", [](Teller& t) { t.Format(WiaImgFmt_JPEG).Band().End(); }, ERR_WIA_UNEXPECTED, ""},
    };
    const std::function<void(Teller&)> good = [](Teller& t) { t.Format().Header().Band().End(); };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        std::function<void(Teller&)> tell;
        const TreeEdit edit = [&](ItemDefinition& item) {
            item.banded = [&](IWiaDataCallback* callback, const auto&) {
                Teller teller{callback};
                tell(teller);
                return teller.Result();
            };
        };
        Desk desk{kMemory1, ScannerWith({}).EditItem(VORN_TEXT("Scan"), edit), 1};
        const auto acquire = [&](const auto& told, int32_t status, const char* pages) {
            tell = told;
            const Outcome outcome = desk.Acquire();
            EXPECT_EQ(outcome.status, status);
            EXPECT_EQ(outcome.Pages(), pages);
        };
        acquire(good, SUCCESS, "5");  // an end is told once, process-wide: begin after a transfer that ended
        acquire(row.tell, row.status, row.pages);
        acquire(good, SUCCESS, "5");
    }
}

/** One download of a 2.0 device, message by message, whatever it is answered. */
class Stream {
public:
    explicit Stream(IWiaTransferCallback* receiver) : receiver_{receiver} {}

    Stream& Begin()
    {
        ComPtr<IStream> given;
        if (receiver_->GetNextStream(0, nullptr, nullptr, given.Out()) == S_OK)
            stream_ = std::move(given);
        return *this;
    }
    Stream& Write(const std::string& bytes)
    {
        if (stream_)
            stream_->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
        return *this;
    }
    Stream& Tell(LONG message, ULONG64 bytes = 0)
    {
        WiaTransferParams params{};
        params.lMessage = message;
        params.ulTransferredBytes = bytes;
        receiver_->TransferCallback(0, &params);
        return *this;
    }
    Stream& End(ULONG64 bytes)
    {
        return Tell(WIA_TRANSFER_MSG_END_OF_STREAM, bytes).Tell(WIA_TRANSFER_MSG_END_OF_TRANSFER);
    }

private:
    IWiaTransferCallback* receiver_;
    ComPtr<IStream> stream_;
};

TEST_F(HostileDevice, StreamsOf20)
{
    const std::string page = PageFile(5);
    const ULONG64 size = page.size();
    constexpr LONG kOver = WIA_TRANSFER_MSG_END_OF_TRANSFER;
    struct Row {
        const char* fault;
        std::function<void(Stream&)> tell;
        const char* memory;  ///< what a transfer into memory delivers
        int32_t fileStatus;  ///< what one into a file gives
    };
    const Row rows[] = {
        {"nothing at all", [](Stream&) {}, "", ERR_FILE_COPY},
        {"ends before begin", [](Stream& s) { s.End(0).End(9); }, "", ERR_FILE_COPY},
        {"then a page", [&](Stream& s) { s.End(0).Begin().Write(page).End(size); }, "5", SUCCESS},
        {"begins twice", [&](Stream& s) { s.Begin().Begin().Write(page).End(size); }, "5", SUCCESS},
        {"a stream's end missing", [&](Stream& s) { s.Begin().Write(page).Tell(1).Tell(kOver); }, "empty",
         SUCCESS},
        {"the other end missing", [&](Stream& s) { s.Begin().Write(page).Tell(2, size); }, "5", SUCCESS},
        {"no end at all", [&](Stream& s) { s.Begin().Write(page); }, "", SUCCESS},
        {"claims nothing", [&](Stream& s) { s.Begin().Write(page).End(0); }, "", SUCCESS},
        {"half a page", [&](Stream& s) { s.Begin().Write(page.substr(0, 99)).End(99); }, "", SUCCESS},
        {"noise", [](Stream& s) { s.Begin().Write(std::string(999, 'x')).Tell(1).End(999); }, "", SUCCESS},
        {"an empty stream", [](Stream& s) { s.Begin().Tell(1).End(0); }, "", SUCCESS},
        {"unknown messages", [&](Stream& s) { s.Tell(0).Begin().Tell(-1).Write(page).End(size); }, "5",
         SUCCESS},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const auto download = [&](IWiaTransferCallback* receiver) {
            Stream stream{receiver};
            row.tell(stream);
            return S_OK;
        };
        const Outcome memory = Download(kMemory2, download);
        EXPECT_EQ(memory.status, SUCCESS);
        EXPECT_EQ(memory.Pages(), row.memory);
        EXPECT_EQ(Download(kFile2, download).status, row.fileStatus);
    }
    const struct {
        const char* what;
        HRESULT answer;
        bool stream;
        LONG pages;
    } endless[] = {{"no stream", S_OK, false, 0},
                   {"no stream, and no success", S_FALSE, false, 0},
                   {"an empty stream", S_OK, true, 0},
                   {"no stream, of a count", S_OK, false, 5000},
                   {"an empty stream, of a count", S_OK, true, 5000}};
    for (const auto& row : endless) {
        SCOPED_TRACE(row.what);
        size_t downloads = 0;
        const auto bringNothing = [&](IWiaTransferCallback* receiver) {
            ++downloads;
            if (row.stream)
                Stream{receiver}.Begin().End(0);
            return row.answer;
        };
        EXPECT_EQ(Download(kMemory2, bringNothing, row.pages).status, SUCCESS);
        EXPECT_EQ(downloads, 1000u);
    }
}

/** A stack of paper that does not end takes no more memory than a sheet. */
TEST_F(HostileDevice, TenThousandPages)
{
    for (const Road& road : {kMemory1, kMemory2}) {
        SCOPED_TRACE(road.name);
        Desk desk{road, ScannerWith(NumberedPages(1), true), road.generation == Generation::One ? 10000 : 0};
        struct Count {
            uint32_t pages = 0;
            uint64_t tracked = 0;
        } count;
        const auto note = [](WiaSession*, BitmapHandle* bitmap, const WCHAR*, int32_t, int32_t, void* data) {
            auto& heard = *static_cast<Count*>(data);
            heard.pages += bitmap != nullptr;
            heard.tracked = std::max(heard.tracked, KrnTrackedCount());
            return heard.pages < 10000 ? 1 : ERR_ABORTED;
        };
        EXPECT_EQ(
            Vorn_WiaAcquire(desk.Session(), nullptr, 0, desk.item, nullptr, nullptr, nullptr, note, &count),
            SUCCESS);
        EXPECT_EQ(count.pages, 10000u);
        EXPECT_LE(count.tracked, KrnTrackedCount() + 16);
    }
}

}  // namespace
}  // namespace vorn::test
