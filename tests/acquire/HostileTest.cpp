/**
 * Devices that are broken or mean harm: whatever they send, there is a status, nothing leaks, and the next
 * acquisition in the same session works.
 */
#include <cstring>

#include "Desk.h"

namespace vorn::test {
namespace {

class HostileDevice : public LibraryTest {
protected:
    /** Transfers the item with that edit, then a good one on the same desk. */
    Outcome Transfer(const Road& road, const TreeEdit& edit, Notes notes = {}, LONG pages = 1)
    {
        const WCHAR* name = road.generation == Generation::One ? VORN_TEXT("Scan") : VORN_TEXT("Feeder");
        Desk desk{road, ScannerWith(NumberedPages(1), true).EditItem(name, edit), pages};
        Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 1), std::move(notes));
        if (road.generation == Generation::Two) {
            desk.item = desk.Child(VORN_TEXT("Flatbed"));
            desk.SetMedium(road.file);
            EXPECT_EQ(Delivered(desk.Acquire(Named(Folder() / "a.bmp", 1)), Folder()), "1") << "the next one";
        }
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
    /** The header of a DIB of 24 bits. */
    Teller& Header(int32_t width = 4, int32_t height = 2, uint16_t depth = 24, uint32_t colors = 0)
    {
        BYTE header[40] = {40};
        std::memcpy(header + 4, &width, 4);
        std::memcpy(header + 8, &height, 4);
        header[12] = 1;
        std::memcpy(header + 14, &depth, 2);
        std::memcpy(header + 32, &colors, 4);
        return Tell(IT_MSG_DATA, 0, 40, header);
    }
    /** Bytes of 5, at that offset after the header; 24 are a page. */
    Teller& Band(LONG offset = 0, LONG length = 24)
    {
        const std::vector<BYTE> data(static_cast<size_t>(std::max<LONG>(length, 1)), 5);
        return Tell(IT_MSG_DATA, 40 + offset, length, data.data());
    }
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
    const Row rows[] = {
        {"nothing at all", [](Teller&) {}, SUCCESS, ""},
        {"no format", [](Teller& t) { t.Header().Band().End(); }, ERR_WIA_UNEXPECTED, ""},
        {"no header", [](Teller& t) { t.Format().Band().End(); }, ERR_WIA_UNEXPECTED, ""},
        {"only an end", [](Teller& t) { t.End(); }, SUCCESS, ""},
        {"two ends", [](Teller& t) { t.Format().Header().Band().End().End(); }, SUCCESS, "5"},
        {"a header twice", [](Teller& t) { t.Format().Header().Header().Band().End(); }, SUCCESS, "5"},
        {"a format twice", [](Teller& t) { t.Format().Format().Header().Band().End(); }, SUCCESS, "5"},
        {"an empty band", [](Teller& t) { t.Format().Header().Band(0, 0).Band().End(); }, SUCCESS, "5"},
        {"reversed bands", [](Teller& t) { t.Format().Header().Band(12, 12).Band(0, 12).End(); }, SUCCESS,
         "5"},
        {"a band past the end", [](Teller& t) { t.Format().Header().Band(0, 25).End(); }, ERR_WIA_UNEXPECTED,
         "0"},
        {"a band far past the end", [](Teller& t) { t.Format().Header().Band(INT32_MAX - 64).End(); },
         ERR_WIA_UNEXPECTED, "0"},
        {"a band before the beginning", [](Teller& t) { t.Format().Header().Band(-100).End(); },
         ERR_WIA_UNEXPECTED, "0"},
        {"a negative length", [](Teller& t) { t.Format().Header().Band(0, -24).End(); }, ERR_WIA_UNEXPECTED,
         "0"},
        {"no data", [](Teller& t) { t.Format().Header().Tell(IT_MSG_DATA, 40, 24).End(); },
         ERR_WIA_UNEXPECTED, "0"},
        {"no format data", [](Teller& t) { t.Tell(IT_MSG_DATA_HEADER).End(); }, ERR_WIA_UNEXPECTED, ""},
        {"a header cut short", [](Teller& t) { t.Format().Tell(IT_MSG_DATA, 0, 4, "\x28\0\0").End(); },
         RESULT_FALSE, ""},
        {"a picture of no width", [](Teller& t) { t.Format().Header(0).End(); }, ERR_WIA_UNEXPECTED, ""},
        {"a picture too wide", [](Teller& t) { t.Format().Header(1 << 30, 1 << 30).End(); },
         ERR_WIA_UNEXPECTED, ""},
        {"a height that has no magnitude", [](Teller& t) { t.Format().Header(4, INT32_MIN).End(); },
         ERR_WIA_UNEXPECTED, ""},
        {"a depth that there is not", [](Teller& t) { t.Format().Header(4, 2, 3).End(); }, ERR_WIA_UNEXPECTED,
         ""},
        {"another size on page 2",
         [](Teller& t) { t.Format().Header().Band().Tell(IT_MSG_NEW_PAGE).Header(400, 200).End(); },
         ERR_WIA_UNEXPECTED, "5"},
        {"data after the end", [](Teller& t) { t.Format().Header().Band().End().Band(); }, SUCCESS, "5"},
        {"unknown messages", [](Teller& t) { t.Tell(0).Tell(8).Tell(-1).Tell(6).Tell(99); }, SUCCESS, ""},
        {"a noise of another format", [](Teller& t) { t.Format(WiaImgFmt_JPEG).Band().End(); },
         ERR_WIA_UNEXPECTED, ""},
    };
    // An end is told once, process-wide: begin after a transfer that ended.
    Transfer(kMemory1, [](ItemDefinition&) {});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        bool first = true;
        Desk desk{kMemory1,
                  ScannerWith({}).EditItem(VORN_TEXT("Scan"),
                                           [&](ItemDefinition& item) {
                                               item.banded = [&](IWiaDataCallback* callback, const auto&) {
                                                   Teller teller{callback};
                                                   if (std::exchange(first, false))
                                                       row.tell(teller);
                                                   else
                                                       teller.Format().Header().Band().End();
                                                   return teller.Result();
                                               };
                                           }),
                  1};
        const Outcome outcome = desk.Acquire();
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.Pages(), row.pages);
        const Outcome next = desk.Acquire();
        EXPECT_EQ(next.status, SUCCESS);
        EXPECT_EQ(next.Pages(), "5") << "the next one";
    }
}

/** One download of a 2.0 device, message by message, whatever it is answered. */
class Stream {
public:
    explicit Stream(IWiaTransferCallback* receiver) : receiver_{receiver} {}

    Stream& Begin()
    {
        IStream* given = nullptr;
        if (receiver_->GetNextStream(0, nullptr, nullptr, &given) == S_OK && given)
            stream_ = ComPtr<IStream>::Adopt(given);
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
    AddPage(Folder() / "page.bmp", 5);
    const std::string page = BytesOf(Folder() / "page.bmp");
    const ULONG64 size = page.size();
    struct Row {
        const char* fault;
        std::function<void(Stream&)> tell;
        const char* memory;  ///< what a transfer into memory delivers
        int32_t fileStatus;  ///< what one into a file gives
    };
    const Row rows[] = {
        {"nothing at all", [](Stream&) {}, "", ERR_FILE_COPY},
        {"a good page", [&](Stream& s) { s.Begin().Write(page).End(size); }, "5", SUCCESS},
        {"ends before begin", [](Stream& s) { s.End(0).End(9); }, "", ERR_FILE_COPY},
        {"end before begin, then a page", [&](Stream& s) { s.End(0).Begin().Write(page).End(size); }, "5",
         SUCCESS},
        {"begins twice", [&](Stream& s) { s.Begin().Begin().Write(page).End(size); }, "5", SUCCESS},
        {"no end of the stream",
         [&](Stream& s) { s.Begin().Write(page).Tell(1).Tell(WIA_TRANSFER_MSG_END_OF_TRANSFER); }, "empty",
         SUCCESS},
        {"no end of the transfer", [&](Stream& s) { s.Begin().Write(page).Tell(2, size); }, "5", SUCCESS},
        {"no end at all", [&](Stream& s) { s.Begin().Write(page); }, "", SUCCESS},
        {"claims nothing", [&](Stream& s) { s.Begin().Write(page).End(0); }, "", SUCCESS},
        {"claims more than there is", [&](Stream& s) { s.Begin().Write(page).End(INT32_MAX); }, "5", SUCCESS},
        {"claims a negative size", [&](Stream& s) { s.Begin().Write(page).End(UINT32_MAX); }, "", SUCCESS},
        {"half a page", [&](Stream& s) { s.Begin().Write(page.substr(0, size / 2)).End(size / 2); }, "",
         SUCCESS},
        {"noise", [](Stream& s) { s.Begin().Write(std::string(999, 'x')).Tell(1).End(999); }, "", SUCCESS},
        {"an empty stream", [](Stream& s) { s.Begin().Tell(1).End(0); }, "", SUCCESS},
        {"unknown messages",
         [&](Stream& s) { s.Tell(0).Tell(5).Begin().Tell(6).Tell(-1).Write(page).End(size); }, "5", SUCCESS},
    };
    for (const Row& row : rows) {
        const TreeEdit edit = [&](ItemDefinition& item) {
            item.download = [&](LONG, IWiaTransferCallback* receiver) {
                Stream stream{receiver};
                row.tell(stream);
                return S_OK;
            };
        };
        SCOPED_TRACE(row.fault);
        const Outcome memory = Transfer(kMemory2, edit);
        EXPECT_EQ(memory.status, SUCCESS);
        EXPECT_EQ(memory.Pages(), row.memory);
        EXPECT_EQ(Transfer(kFile2, edit).status, row.fileStatus);
    }
}

TEST_F(HostileDevice, DownloadsThatNeverBringAnything)
{
    for (const HRESULT answer : {S_OK, S_FALSE}) {
        const Outcome outcome = Transfer(
            kMemory2,
            [&](ItemDefinition& item) {
                item.download = [&](LONG, IWiaTransferCallback*) { return answer; };
            },
            {}, 0);
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_TRUE(outcome.calls.empty());
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
        const int32_t status = Vorn_WiaAcquire(
            desk.Session(), nullptr, 0, desk.item, nullptr, nullptr, nullptr,
            [](WiaSession*, BitmapHandle* bitmap, const WCHAR*, int32_t, int32_t, void* data) {
                auto& heard = *static_cast<Count*>(data);
                heard.pages += bitmap != nullptr;
                heard.tracked = std::max(heard.tracked, KrnTrackedCount());
                return heard.pages < 10000 ? 1 : ERR_ABORTED;
            },
            &count);
        EXPECT_EQ(status, SUCCESS);
        EXPECT_EQ(count.pages, 10000u);
        EXPECT_LE(count.tracked, KrnTrackedCount() + 16);
    }
}

}  // namespace
}  // namespace vorn::test
