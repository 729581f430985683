/** The receiver of 1.0 transfers, driven message by message as a device would, an honest one or not. */
#include <cstring>

#include "support/LibraryTest.h"
#include "support/Notes.h"
#include "vornwia/CallbackObjects.h"

namespace vorn::test {
namespace {

/** An 8-bit memory DIB of 5 x 4 pixels with a full colour table. */
constexpr int32_t kHeaderBytes = 1064, kRowBytes = 8, kImageBytes = 32;

std::vector<uint8_t> HeaderBand(int32_t width = 5, int32_t height = 4, uint16_t bits = 8,
                                uint32_t colors = 256)
{
    std::vector<uint8_t> band(kHeaderBytes);
    const auto put = [&](size_t offset, uint32_t value) { std::memcpy(&band[offset], &value, 4); };
    put(0, 40);
    put(4, static_cast<uint32_t>(width));
    put(8, static_cast<uint32_t>(height));
    put(12, 1u | uint32_t{bits} << 16);
    put(24, 11811);
    put(28, 11811);
    put(32, colors);
    for (size_t i = 40; i < band.size(); ++i)
        band[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i);
    return band;
}

/** A device's side of one 1.0 transfer. */
class Sender {
public:
    explicit Sender(const UserCallback& user, uint32_t tymed = TYMED_CALLBACK)
        : receiver_{MakeDataCallback(nullptr, VORN_TEXT("out.bmp"), tymed, user)}
    {
    }

    CDataCallback* Receiver() { return receiver_.get(); }

    HRESULT Send(LONG message, LONG percent = 0, LONG offset = 0, std::vector<uint8_t> data = {})
    {
        return receiver_->BandedDataCallback(message, 0, percent, offset, static_cast<LONG>(data.size()), 0,
                                             0, data.empty() ? nullptr : data.data());
    }
    HRESULT Announce(REFGUID format)
    {
        WIA_DATA_CALLBACK_HEADER header{};
        header.lSize = sizeof(header);
        header.guidFormatID = format;
        std::vector<uint8_t> bytes(sizeof(header));
        std::memcpy(bytes.data(), &header, sizeof(header));
        return Send(IT_MSG_DATA_HEADER, 0, 0, bytes);
    }
    HRESULT Band(LONG row, uint8_t value, LONG percent = 50)
    {
        return Send(IT_MSG_DATA, percent, kHeaderBytes + row * kRowBytes,
                    std::vector<uint8_t>(kRowBytes, value));
    }

private:
    DataCallbackPtr receiver_;
};

class DataCallback : public LibraryTest {
protected:
    UserCallback Bitmaps()
    {
        UserCallback user;
        user.acquire = Notes::Callback;
        user.userData = &notes_;
        return user;
    }
    UserCallback Files()
    {
        UserCallback user;
        user.toFile = true;
        user.file = Notes::FileCallback;
        user.userData = &notes_;
        return user;
    }

    Notes notes_;
};

TEST_F(DataCallback, AssemblesAPageFromBandsInAnyOrder)
{
    Sender device{Bitmaps()};
    EXPECT_EQ(device.Announce(WiaImgFmt_MEMORYBMP), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_DATA, 1, 0, HeaderBand()), S_OK);
    for (const LONG row : {3, 0, 2, 1})
        EXPECT_EQ(device.Band(row, static_cast<uint8_t>(10 + row)), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_STATUS, 99), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_TERMINATION), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_TERMINATION), S_OK);  // told once only

    // The header band counts as a begin, not as a band of its own.
    const std::vector<std::string> expected = {"1 1", "0 50", "0 50", "0 50", "0 50",
                                               // a status report carries the state set last: the begin
                                               "1 99 out.bmp", "2 100 +"};
    EXPECT_EQ(notes_.calls, expected);
    ASSERT_EQ(notes_.pages.size(), 1u);
    const SeenPage& page = notes_.pages[0];
    EXPECT_EQ(page.width, 5u);
    EXPECT_EQ(page.height, 4u);
    EXPECT_EQ(page.viewPerspective, KRN_VIEW_BOTTOM_LEFT);
    EXPECT_EQ(page.xDpi, 300);
    const std::vector<uint8_t> header = HeaderBand();
    EXPECT_EQ(page.palette, std::vector<uint8_t>(header.begin() + 40, header.end()));
    for (size_t i = 0; i < page.pixels.size(); ++i)
        EXPECT_EQ(page.pixels[i], 10 + i / kRowBytes);
}

TEST_F(DataCallback, HandsOverEachPageOfAFeederFromTheSameImage)
{
    Sender device{Bitmaps()};
    device.Announce(WiaImgFmt_MEMORYBMP);
    for (uint8_t page = 1; page <= 3; ++page) {
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, HeaderBand()), S_OK);
        for (LONG row = 0; row < 4; ++row)
            EXPECT_EQ(device.Band(row, page), S_OK);
        EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), S_OK);
    }
    EXPECT_EQ(device.Send(IT_MSG_TERMINATION), S_OK);  // right after a page's end: nothing more to tell
    ASSERT_EQ(notes_.pages.size(), 3u);
    for (uint8_t page = 0; page < 3; ++page)
        EXPECT_EQ(notes_.pages[page].pixels, std::vector<uint8_t>(kImageBytes, page + 1));
}

TEST_F(DataCallback, RefusesAPageWhoseHeaderContradictsTheImage)
{
    std::vector<uint8_t> fewerColors = HeaderBand(5, 4, 8, 2);
    fewerColors.resize(48);
    const std::pair<const char*, std::vector<uint8_t>> rows[] = {{"width", HeaderBand(6, 4)},
                                                                 {"height", HeaderBand(5, 5)},
                                                                 {"depth", HeaderBand(5, 4, 24, 0)},
                                                                 {"length", fewerColors}};
    for (const auto& [fault, header] : rows) {
        SCOPED_TRACE(fault);
        notes_ = Notes{};
        Sender device{Bitmaps()};
        device.Announce(WiaImgFmt_MEMORYBMP);
        device.Send(IT_MSG_DATA, 0, 0, HeaderBand());
        device.Send(IT_MSG_NEW_PAGE);
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, header), -1);
        EXPECT_EQ(device.Band(0, 1), -1) << "a device that goes on";
        EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), -1);
        EXPECT_EQ(notes_.pages.size(), 1u) << "page 1 arrives again";
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, HeaderBand(5, -4)), S_OK);
        EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), S_OK);
        EXPECT_EQ(notes_.pages.size(), 2u);
    }
}

TEST_F(DataCallback, PlacesNoBandThatLiesOutsideTheImage)
{
    struct Row {
        const char* fault;
        LONG offset;
        LONG length;
        HRESULT expected;
    };
    constexpr Row rows[] = {
        {"the last row", kHeaderBytes + 3 * kRowBytes, kRowBytes, S_OK},
        {"repeats the header", 0, kHeaderBytes, S_OK},
        {"part of the header", 500, 8, S_OK},
        {"ends past the image", kHeaderBytes + kImageBytes - 8, 16, -1},
        {"offset wraps when summed", INT32_MAX, 2, -1},
        {"sum at the very end", INT32_MAX - 14, 1, -1},
        {"negative offset", INT32_MIN, 16, -1},
        {"empty band past the end", kHeaderBytes + kImageBytes + 1, 0, -1},
        {"empty band at the end", kHeaderBytes + kImageBytes, 0, S_OK},
    };
    for (const Row& row : rows) {
        Sender device{Bitmaps()};
        device.Announce(WiaImgFmt_MEMORYBMP);
        ASSERT_EQ(device.Send(IT_MSG_DATA, 0, 0, HeaderBand()), S_OK);
        std::vector<uint8_t> data(static_cast<size_t>(row.length), 0xCC);
        if (row.offset == 0)
            data = HeaderBand();
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, row.offset, data), row.expected) << row.fault;
    }
    Sender device{Bitmaps()};
    device.Announce(WiaImgFmt_MEMORYBMP);
    EXPECT_EQ(device.Band(0, 1), -1) << "a band before any header";
    EXPECT_EQ(device.Receiver()->BandedDataCallback(IT_MSG_DATA, 0, 0, 0, -5, 0, 0, nullptr), -1);
    EXPECT_EQ(device.Receiver()->BandedDataCallback(IT_MSG_DATA, 0, 0, 0, 40, 0, 0, nullptr), -1);
    EXPECT_EQ(device.Receiver()->BandedDataCallback(IT_MSG_DATA_HEADER, 0, 0, 0, 28, 0, 0, nullptr), -13);
}

TEST_F(DataCallback, StopsAtAHeaderThatMakesNoImage)
{
    struct Row {
        const char* fault;
        std::vector<uint8_t> band;
        HRESULT expected;
    };
    const Row rows[] = {
        {"colours without end", HeaderBand(5, 4, 8, 0xFFFFFFFF), S_FALSE},
        {"too short for a header", std::vector<uint8_t>{40, 0, 0, 0}, S_FALSE},
        {"no width", HeaderBand(0, 4), KRN_ERR_INVALID_ARGUMENT},
        {"an image that no memory holds", HeaderBand(INT32_MAX, INT32_MAX), KRN_ERR_BITMAP_TOO_LARGE},
        {"no such depth", HeaderBand(5, 4, 3, 0), KRN_ERR_INVALID_ARGUMENT},
    };
    for (const Row& row : rows) {
        Sender device{Bitmaps()};
        device.Announce(WiaImgFmt_MEMORYBMP);
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, row.band), row.expected) << row.fault;
        EXPECT_EQ(device.Band(0, 1), -1) << row.fault;
    }
    EXPECT_TRUE(notes_.calls.empty());
}

TEST_F(DataCallback, CarriesTheRequestToStopFromEveryState)
{
    // The call at which the application stops: begin, band, status, end of page.
    for (size_t stopAt = 1; stopAt <= 4; ++stopAt) {
        SCOPED_TRACE(stopAt);
        notes_ = Notes{};
        notes_.answer = [stopAt](size_t call) { return call == stopAt ? ERR_ABORTED : 1; };
        Sender device{Bitmaps()};
        device.Announce(WiaImgFmt_MEMORYBMP);
        const auto expected = [&](size_t call) { return call >= stopAt ? S_FALSE : S_OK; };
        EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, HeaderBand()), expected(1));
        EXPECT_EQ(device.Band(0, 1), expected(2));
        EXPECT_EQ(device.Send(IT_MSG_STATUS, 10), expected(3));
        EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), expected(4));
        EXPECT_TRUE(device.Receiver()->aborted);
        EXPECT_EQ(notes_.calls.size(), stopAt);  // never called again
        EXPECT_EQ(device.Send(IT_MSG_STATUS, 11), S_FALSE);
    }
}

TEST_F(DataCallback, ReportsAFileTransferByName)
{
    Sender device{Files(), TYMED_FILE};
    EXPECT_EQ(device.Send(IT_MSG_FILE_PREVIEW_DATA_HEADER), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_FILE_PREVIEW_DATA), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_STATUS, 20), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_STATUS, 80), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_TERMINATION), S_OK);
    const std::vector<std::string> expected = {"1 20 out.bmp", "0 80 out.bmp", "2 100 out.bmp"};
    EXPECT_EQ(notes_.calls, expected);

    notes_.answer = [](size_t) { return ERR_ABORTED; };
    EXPECT_EQ(device.Send(IT_MSG_STATUS, 90), S_FALSE);
    EXPECT_EQ(device.Send(IT_MSG_STATUS, 95), S_FALSE);
    EXPECT_EQ(device.Send(IT_MSG_NEW_PAGE), S_OK);  // after a stop this one is let through
}

TEST_F(DataCallback, TakesABmpFileWithItsOwnRowOrderAndPalette)
{
    // A BMP file of 2 x 2 pixels at 1 bit, rows from the top down, red and blue.
    std::vector<uint8_t> header(14 + 40 + 8);
    const auto put = [&](size_t offset, uint32_t value) { std::memcpy(&header[offset], &value, 4); };
    header[0] = 'B';
    header[1] = 'M';
    put(2, 70);
    put(10, 62);
    put(14, 40);
    put(18, 2);
    put(22, static_cast<uint32_t>(-2));
    put(26, 1 | 1 << 16);
    put(46, 2);
    put(54, 0x00FF0000);
    put(58, 0x000000FF);

    Sender device{Bitmaps()};
    device.Announce(WiaImgFmt_BMP);
    EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 0, header), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_DATA, 0, 62, {0x80, 0, 0, 0, 0x40, 0, 0, 0}), S_OK);
    EXPECT_EQ(device.Send(IT_MSG_TERMINATION), S_OK);
    ASSERT_EQ(notes_.pages.size(), 1u);
    EXPECT_EQ(notes_.pages[0].viewPerspective, KRN_VIEW_TOP_LEFT);
    EXPECT_EQ(notes_.pages[0].palette, (std::vector<uint8_t>{0, 0, 0xFF, 0, 0xFF, 0, 0, 0}));
    EXPECT_EQ(notes_.pages[0].pixels, (std::vector<uint8_t>{0x80, 0, 0, 0, 0x40, 0, 0, 0}));
}

TEST_F(DataCallback, KeepsToTheRulesOfItsInterface)
{
    Sender device{Bitmaps()};
    CDataCallback* object = device.Receiver();
    for (const LONG message : {0, 8, -1})
        EXPECT_EQ(device.Send(message), S_OK);
    EXPECT_TRUE(notes_.calls.empty());

    void* found = &found;
    EXPECT_EQ(object->QueryInterface(IID_IStream, &found), -13);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), -13);
    EXPECT_EQ(object->QueryInterface(IID_IWiaDataCallback, &found), S_OK);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(device.Send(IT_MSG_STATUS), S_OK);  // still usable: a release never destroys it
}

/** A device that goes on whatever it is answered: every band comes twice, every end is told. */
TEST_F(DataCallback, SurvivesEveryFailedAllocation)
{
    std::vector<uint8_t> file = HeaderBand();
    file.insert(file.begin(), {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0x36, 4, 0, 0});
    for (const bool memory : {true, false}) {
        for (const uint64_t count : {uint64_t{1}, uint64_t{2}, UINT64_MAX}) {
            for (uint64_t nth = 1; nth <= 12; ++nth) {
                KrnFailAllocations(nth, count);
                Sender device{Bitmaps()};
                if (device.Receiver()) {
                    device.Announce(memory ? WiaImgFmt_MEMORYBMP : WiaImgFmt_BMP);
                    device.Send(IT_MSG_DATA, 0, 0, memory ? HeaderBand() : file);
                    device.Send(IT_MSG_DATA, 0, 0, memory ? HeaderBand() : file);
                    device.Band(0, 1);
                    device.Send(IT_MSG_NEW_PAGE);
                    device.Send(IT_MSG_STATUS);
                    device.Send(IT_MSG_TERMINATION);
                }
                KrnFailAllocations(0, 0);
            }
        }
    }
    for (const SeenPage& page : notes_.pages)
        EXPECT_TRUE(page.width == 5 || (page.width == 0 && page.pixels.empty())) << "what nobody has written";
}

}  // namespace
}  // namespace vorn::test
