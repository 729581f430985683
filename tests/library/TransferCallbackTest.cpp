/** The receiver of 2.0 transfers, driven call by call as a device would, an honest one or not. */
#include <cstring>

#include "support/LibraryTest.h"
#include "support/Notes.h"
#include "vornwia/CallbackObjects.h"

namespace vorn::test {
namespace {

/** A BMP file of 4 x 2 pixels at 24 bits whose pixels have one value. */
std::vector<uint8_t> Bmp(uint8_t value, uint32_t headerSize = 40)
{
    std::vector<uint8_t> file(54 + 24, value);
    std::fill(file.begin(), file.begin() + 54, uint8_t{0});
    const auto put = [&](size_t offset, uint32_t number) { std::memcpy(&file[offset], &number, 4); };
    file[0] = 'B';
    file[1] = 'M';
    put(2, static_cast<uint32_t>(file.size()));
    put(10, 54);
    put(14, headerSize);
    put(18, 4);
    put(22, 2);
    put(26, 1 | 24 << 16);
    return file;
}

/** The header and colour table of a BMP file of 2 x 1 pixels and 1 bit. */
std::vector<uint8_t> BmpHeader()
{
    std::vector<uint8_t> header = Bmp(0);
    header.resize(62);
    header[10] = 62;
    header[18] = 2;
    header[22] = header[28] = 1;
    return header;
}

class TransferCallback : public LibraryTest {
protected:
    TransferCallbackPtr Make(uint32_t tymed, bool toFile = false)
    {
        UserCallback user;
        user.toFile = toFile;
        user.acquire = Notes::Callback;
        user.file = Notes::FileCallback;
        user.userData = &notes_;
        if (tymed == TYMED_CALLBACK)
            return MakeTransferCallback(nullptr, nullptr, nullptr, tymed, user);
        return MakeTransferCallback(nullptr, VORN_TEXT("page.bmp"), Wide(Folder() / "stream.tmp").c_str(),
                                    tymed, user);
    }

    static HRESULT Tell(CWiaTransferCallback& receiver, LONG message, LONG percent = 0, uint64_t bytes = 0)
    {
        WiaTransferParams params{};
        params.lMessage = message;
        params.lPercentComplete = percent;
        params.ulTransferredBytes = bytes;
        return receiver.TransferCallback(0, &params);
    }
    static ComPtr<IStream> Stream(CWiaTransferCallback& receiver, HRESULT expected = S_OK)
    {
        ComPtr<IStream> stream;
        EXPECT_EQ(receiver.GetNextStream(0, nullptr, nullptr, stream.Out()), expected);
        return stream;
    }
    static void Write(IStream* stream, const std::vector<uint8_t>& bytes)
    {
        EXPECT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
    }

    Notes notes_;
};

TEST_F(TransferCallback, DecodesEachPageOfSeveralDownloads)
{
    const TransferCallbackPtr receiver = Make(TYMED_CALLBACK);
    for (uint8_t page = 1; page <= 3; ++page) {
        ComPtr<IStream> stream = Stream(*receiver);
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 0), S_OK);  // nothing written yet
        Write(stream.Get(), Bmp(page));
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 50, 78), S_OK);
        stream.Reset();
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, 78), S_OK);
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER), S_OK);
    }
    const std::vector<std::string> once = {"1 0", "0 0", "0 50", "2 100 +"};
    ASSERT_EQ(notes_.calls.size(), 12u);
    for (size_t i = 0; i < notes_.calls.size(); ++i)
        EXPECT_EQ(notes_.calls[i], once[i % 4]);
    for (uint8_t page = 0; page < 3; ++page)
        EXPECT_EQ(notes_.pages[page].pixels, std::vector<uint8_t>(24, page + 1));
}

TEST_F(TransferCallback, DeliversAPageOfADeviceThatReportsNoProgress)
{
    const TransferCallbackPtr receiver = Make(TYMED_CALLBACK);
    ComPtr<IStream> stream = Stream(*receiver);
    Write(stream.Get(), Bmp(9));
    stream.Reset();
    EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, 78), S_OK);
    EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER), S_OK);
    ASSERT_EQ(notes_.pages.size(), 1u);
    EXPECT_EQ(notes_.pages[0].bitsPerPixel, 24u);
}

TEST_F(TransferCallback, DeliversNothingFromDataThatIsNoPage)
{
    struct Row {
        const char* fault;
        std::vector<uint8_t> data;
        uint64_t claimed;
        HRESULT atStatus;
        size_t pages;
    };
    const Row rows[] = {
        {"no DIB header", Bmp(1, 56), 78, S_FALSE, 0},
        {"fewer bytes than a header", {'B', 'M', 0}, 3, S_FALSE, 0},
        {"claims more than it wrote", Bmp(1), 1ull << 33 | 0x7FFFFFFF, S_OK, 1},
        {"claims a negative size", Bmp(1), 0xFFFFFFFF, S_OK, 0},
        {"claims nothing", Bmp(1), 0, S_OK, 0},
        {"claims less than it wrote", Bmp(1), 77, S_OK, 0},
        {"claims only its header, palette included", BmpHeader(), 62, S_OK, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        notes_ = Notes{};
        const TransferCallbackPtr receiver = Make(TYMED_CALLBACK);
        ComPtr<IStream> stream = Stream(*receiver);
        Write(stream.Get(), row.data);
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 50), row.atStatus);
        stream.Reset();
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, row.claimed), S_OK);
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER), S_OK);
        EXPECT_EQ(notes_.pages.size(), row.pages);
    }
}

TEST_F(TransferCallback, CarriesTheRequestToStopFromEveryState)
{
    for (size_t stopAt = 1; stopAt <= 3; ++stopAt) {
        SCOPED_TRACE(stopAt);
        notes_ = Notes{};
        notes_.answer = [stopAt](size_t call) { return call == stopAt ? ERR_ABORTED : 1; };
        const TransferCallbackPtr receiver = Make(TYMED_CALLBACK);
        ComPtr<IStream> stream = Stream(*receiver, stopAt == 1 ? S_FALSE : S_OK);
        Write(stream.Get(), Bmp(1));
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 50), stopAt <= 2 ? S_FALSE : S_OK);
        stream.Reset();
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, 78), S_FALSE);
        EXPECT_TRUE(receiver->aborted);
        EXPECT_EQ(notes_.calls.size(), stopAt);
        // A page that had ended has been told; before that the end of the transfer is a stop as well.
        const HRESULT end = Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER);
        if (stopAt > 1) {
            EXPECT_EQ(end, stopAt == 3 ? S_OK : S_FALSE);
        }
        EXPECT_EQ(notes_.calls.size(), stopAt);
    }
}

TEST_F(TransferCallback, WritesAFileAnewAndReportsItsName)
{
    for (const bool toFile : {false, true}) {
        notes_ = Notes{};
        WriteBytes(Folder() / "stream.tmp", "a longer text than the page that replaces it");
        const TransferCallbackPtr receiver = Make(TYMED_FILE, toFile);
        ComPtr<IStream> stream = Stream(*receiver);
        Write(stream.Get(), {'p', 'a', 'g', 'e'});
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 50), S_OK);
        stream.Reset();
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, 4), S_OK);
        EXPECT_EQ(Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER), S_OK);
        EXPECT_EQ(BytesOf(Folder() / "stream.tmp"), "page");
        EXPECT_EQ(notes_.calls,
                  (std::vector<std::string>{"1 0 page.bmp", "0 50 page.bmp", "2 100 page.bmp"}));
    }
    UserCallback user;
    const TransferCallbackPtr receiver = MakeTransferCallback(
        nullptr, VORN_TEXT("x"), Wide(Folder() / "none" / "x").c_str(), TYMED_FILE, user);
    ComPtr<IStream> stream;
    EXPECT_LT(receiver->GetNextStream(0, nullptr, nullptr, stream.Out()), 0) << "a missing directory";
}

TEST_F(TransferCallback, KeepsToTheRulesOfItsInterface)
{
    const TransferCallbackPtr receiver = Make(TYMED_CALLBACK);
    void* found = &found;
    EXPECT_EQ(receiver->QueryInterface(IID_IStream, &found), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(receiver->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
    EXPECT_EQ(receiver->QueryInterface(IID_IWiaTransferCallback, &found), S_OK);
    EXPECT_EQ(receiver->Release(), 1u);

    ComPtr<IStream> stream = Stream(*receiver);
    auto* const marker = reinterpret_cast<IStream*>(this);
    IStream* second = marker;
    EXPECT_EQ(receiver->GetNextStream(0, nullptr, nullptr, &second), S_FALSE);  // one stream a transfer
    EXPECT_EQ(second, marker);
    EXPECT_EQ(receiver->GetNextStream(0, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(receiver->TransferCallback(0, nullptr), E_POINTER);
    for (const LONG message : {0, 4, 5, 6, 99})
        EXPECT_EQ(Tell(*receiver, message), S_OK);
    EXPECT_EQ(notes_.calls.size(), 1u);
    stream.Reset();
    // The device vanishes here: no end of stream, no end of transfer. Nothing may leak.
}

TEST_F(TransferCallback, SurvivesEveryFailedAllocation)
{
    for (uint64_t nth = 1; nth <= 8; ++nth) {
        KrnFailAllocations(nth, 1);
        if (const TransferCallbackPtr receiver = Make(TYMED_CALLBACK)) {
            ComPtr<IStream> stream;
            if (receiver->GetNextStream(0, nullptr, nullptr, stream.Out()) == S_OK)
                stream->Write(Bmp(1).data(), 78, nullptr);
            stream.Reset();
            Tell(*receiver, WIA_TRANSFER_MSG_STATUS, 50);
            Tell(*receiver, WIA_TRANSFER_MSG_END_OF_STREAM, 100, 78);
            Tell(*receiver, WIA_TRANSFER_MSG_END_OF_TRANSFER);
        }
        KrnFailAllocations(0, 0);
    }
}

}  // namespace
}  // namespace vorn::test
