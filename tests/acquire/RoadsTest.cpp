/** What holds on every road from device to application: memory and files, in both generations. */
#include <algorithm>

#include "Desk.h"

namespace vorn::test {
namespace {

class Roads : public AcquireTest {
protected:
    /** The settings that every acquisition puts back, or leaves alone. */
    static void ExpectPutBack(Desk& desk, const Road& road, LONG pages)
    {
        EXPECT_EQ(desk.Get(desk.Root(), WIA_DPS_PAGES), pages) << "not put back";
        EXPECT_EQ(desk.Get(desk.item, WIA_IPA_TYMED), road.file ? TYMED_FILE : TYMED_CALLBACK);
    }
};

TEST_F(Roads, DeliverThePagesAskedFor)
{
    struct Row {
        const char* fault;
        bool feeder;
        LONG asked;
        uint32_t sheets;
        int32_t status;
        const char* pages;
    };
    const Row rows[] = {
        {"a flatbed scans its sheet again and again", false, 5, 3, SUCCESS, "1"},
        {"a flatbed never ends", false, 0, 3, SUCCESS, "1"},
        {"one page is a batch", true, 1, 3, SUCCESS, "1"},
        {"a batch takes too much or too little", true, 2, 3, SUCCESS, "1 2"},
        {"paper that ends before the count is an error", true, 5, 3, SUCCESS, "1 2 3"},
        {"an unlimited batch stops early or fails at its end", true, 0, 3, SUCCESS, "1 2 3"},
        {"no paper passes for success, one page", true, 1, 0, ERR_WIA_PAPER_EMPTY, ""},
        {"no paper passes for success, counted", true, 3, 0, ERR_WIA_PAPER_EMPTY, ""},
        {"no paper passes for success, unlimited", true, 0, 0, ERR_WIA_PAPER_EMPTY, ""},
    };
    for (const Road& road : kRoads) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string{road.name} + ": " + row.fault);
            EmptyFolder();
            Desk desk{road, ScannerWith(NumberedPages(row.sheets)), row.asked, row.feeder};
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_EQ(Delivered(outcome, Folder()), row.pages);
            EXPECT_EQ(outcome.files.size(), NamesIn(Folder()).size());
        }
    }
}

TEST_F(Roads, KeepDepthPaletteResolutionAndEveryPixel)
{
    for (const Road& road : kRoads) {
        for (const uint32_t depth : {1u, 4u, 8u, 24u}) {
            SCOPED_TRACE(std::string{road.name} + ": " + std::to_string(depth) + " bits");
            EmptyFolder();
            // 13 pixels: no depth fills its last byte or its row's four.
            CannedPage page{{13, 5, depth, 150, 300, {}}, {}, true, S_OK, 0};
            for (uint32_t i = 0; depth <= 8 && i < 1u << depth; ++i)
                page.geometry.palette.push_back({static_cast<uint8_t>(i * 7 + 1), static_cast<uint8_t>(i * 5),
                                                 static_cast<uint8_t>(255 - i), 0});
            page.pixels.assign(page.geometry.ImageBytes(), 0);
            for (size_t i = 0; i < page.pixels.size(); ++i) {
                if (i % page.geometry.RowBytes() < 13 * depth / 8)
                    page.pixels[i] = static_cast<uint8_t>(i * 37 + 11);
            }

            Desk desk{road, ScannerWith({page}), 1};
            const Outcome outcome = Scan(desk);
            ASSERT_EQ(outcome.status, SUCCESS);
            const std::vector<SeenPage> pages = DeliveredPages(outcome, Folder());
            ASSERT_EQ(pages.size(), 1u);
            EXPECT_EQ(pages[0].width, 13u);
            EXPECT_EQ(pages[0].height, 5u);
            EXPECT_EQ(pages[0].bitsPerPixel, depth);
            EXPECT_EQ(pages[0].viewPerspective, KRN_VIEW_BOTTOM_LEFT);
            EXPECT_DOUBLE_EQ(pages[0].xDpi, 150);
            EXPECT_DOUBLE_EQ(pages[0].yDpi, 300);
            EXPECT_EQ(pages[0].pixels, page.pixels);
            ASSERT_EQ(pages[0].palette.size(), page.geometry.palette.size() * 4);
            EXPECT_TRUE(std::equal(pages[0].palette.begin(), pages[0].palette.end(),
                                   reinterpret_cast<const uint8_t*>(page.geometry.palette.data())));
        }
    }
}

TEST_F(Roads, StopWhereverTheApplicationAsks)
{
    const std::pair<Road, bool> rows[] = {{kMemory1, false}, {kMemory2, false}, {kFile1, false},
                                          {kFile1, true},    {kFile2, false},   {kFile2, true}};
    for (const auto& [road, toFile] : rows) {
        Desk whole{road, ScannerWith(NumberedPages(2)), 0};
        whole.toFile = toFile;
        const Outcome all = Scan(whole);
        ASSERT_EQ(all.status, SUCCESS);
        ASSERT_GE(all.calls.size(), 4u);
        for (size_t stop = 1; stop <= all.calls.size(); ++stop) {
            SCOPED_TRACE(Trace(road, toFile) + ", call " + std::to_string(stop) + ": " + all.calls[stop - 1]);
            EmptyFolder();
            ScopedCallLog log;
            Desk desk{road, ScannerWith(NumberedPages(3), true), 2};
            desk.toFile = toFile;
            const Outcome outcome = Scan(desk, StopAt(stop));

            const bool two = road.generation == Generation::Two;
            // The last page of a 1.0 memory transfer has been handed over when the application answers.
            const bool over = !two && !road.file && stop == all.calls.size();
            EXPECT_EQ(outcome.status, over || (two && !road.file) ? SUCCESS : ERR_ABORTED);
            EXPECT_EQ(outcome.calls.size(), stop) << "called again after it asked to stop";
            EXPECT_EQ(log.Count(two ? "Feeder.Cancel" : "Scan.Cancel"), two ? 1u : 0u);

            // A page's file is there when its end is told: the last call with its name.
            uint32_t saved = 0;
            for (const char* end : {"2 0 a.bmp", "2 0 a (1).bmp"}) {
                const auto told = std::find(all.calls.rbegin(), all.calls.rend(), end);
                saved += static_cast<size_t>(all.calls.rend() - told) <= stop && told != all.calls.rend();
            }
            EXPECT_EQ(outcome.fileCount, saved);
            EXPECT_EQ(NamesIn(Folder()).size(), outcome.files.size()) << "a page not saved left a file";
            ExpectPutBack(desk, road, 2);
            EXPECT_EQ(Scan(desk).status, SUCCESS) << "the next one";
        }
    }
}

TEST_F(Roads, TellAFailedStepAndWorkAgainAfterIt)
{
    struct Row {
        Step step;
        HRESULT result;
        unsigned nth;
        int32_t status;      ///< on every road
        const char* before;  ///< pages that were finished before it and stay
    };
    const Row rows[] = {
        {Step::QueryTransfer, E_NOINTERFACE, 1, ERR_OUT_OF_MEMORY, ""},
        {Step::Transfer, WIA_ERROR_OFFLINE, 1, ERR_WIA_OFFLINE, ""},
        {Step::Transfer, S_FALSE, 1, RESULT_FALSE, ""},
        {Step::Page, WIA_ERROR_PAPER_EMPTY, 1, ERR_WIA_PAPER_EMPTY, ""},
        {Step::Page, WIA_ERROR_COVER_OPEN, 1, ERR_WIA_COVER_OPEN, ""},
        {Step::Page, WIA_ERROR_PAPER_JAM, 2, ERR_WIA_PAPER_JAM, "1"},
        {Step::Page, WIA_ERROR_USER_INTERVENTION, 3, ERR_WIA_USER_INTERVENTION, "1 2"},
        {Step::Band, WIA_ERROR_DEVICE_COMMUNICATION, 1, ERR_WIA_DEVICE_COMMUNICATION, ""},
        {Step::Band, E_FAIL, 2, ERR_WIA_UNEXPECTED, ""},
    };
    for (const Road& road : kRoads) {
        const bool two = road.generation == Generation::Two;
        for (const Row& row : rows) {
            // A download that answers S_FALSE without a stop is a good one, which brought nothing.
            if (two && row.result == S_FALSE)
                continue;
            SCOPED_TRACE(testing::Message() << road.name << ", row " << &row - rows);
            EmptyFolder();
            Desk desk{road, ScannerWith(NumberedPages(3), true), 3};
            desk.Faults().Add(row.step, {row.result}, row.nth);
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_EQ(Delivered(outcome, Folder()), row.before);
            EXPECT_EQ(NamesIn(Folder()).size(), outcome.files.size()) << "a page not finished left a file";
            ExpectPutBack(desk, road, 3);
            EXPECT_EQ(DeliveredPages(Scan(desk), Folder()).size(), 3u) << "the next one";
        }
    }
}

TEST_F(Roads, DoWithoutPropertiesThatADeviceDoesNotTell)
{
    struct Row {
        const char* fault;
        PROPID id;
        unsigned nth;
        HRESULT result;
        int32_t status;
        size_t pages;
    };
    const Row rows[] = {
        {"an unknown medium is transferred", WIA_IPA_TYMED, 1, E_FAIL, SUCCESS, 0},
        {"an unknown page count is a batch", WIA_DPS_PAGES, 1, E_FAIL, SUCCESS, 1},
        {"an unknown source spoils the page", WIA_DPS_DOCUMENT_HANDLING_SELECT, 1, E_FAIL, SUCCESS, 1},
        {"an unknown device type is a scanner", WIA_DIP_DEV_TYPE, 1, WIA_ERROR_BUSY, ERR_WIA_BUSY, 0},
        {"a device type that is gone by then spoils the page", WIA_DIP_DEV_TYPE, 2, E_FAIL, SUCCESS, 1},
    };
    for (const Road& road : kRoads) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string{road.name} + ": " + row.fault);
            EmptyFolder();
            Desk desk{road, ScannerWith(NumberedPages(3), true), 1};
            desk.Faults().AddFor(row.id, Step::ReadProperty, {row.result}, row.nth, 1);
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_EQ(outcome.pages.size() + outcome.files.size(), row.pages);
        }
    }
}

TEST_F(Roads, WorkWhateverTheCallerWantsToKnow)
{
    for (const Road& road : kRoads) {
        for (const unsigned wanted : {0u, 1u, 2u}) {
            SCOPED_TRACE(std::string{road.name} + ", " + std::to_string(wanted));
            EmptyFolder();
            Desk desk{road, ScannerWith(NumberedPages(2)), 0};
            desk.callback = false;
            desk.wantCount = wanted & 1;
            desk.wantList = wanted & 2;
            desk.listLength = road.file && desk.wantList ? 2 : 0;
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, SUCCESS);
            EXPECT_EQ(outcome.fileCount, road.file && wanted ? 2u : 0u);
            EXPECT_EQ(Delivered(outcome, Folder()), desk.listLength ? "1 2" : "");
            EXPECT_EQ(In(Folder()), road.file ? "a (1).bmp=2, a.bmp=1" : "");
            EXPECT_EQ(Scan(desk).status, ERR_WIA_PAPER_EMPTY) << "the pages were not taken";
        }
    }
}

TEST_F(Roads, SurviveAnApplicationThatUsesTheSessionInItsCallback)
{
    for (const Road& road : kRoads) {
        SCOPED_TRACE(road.name);
        Desk desk{road, ScannerWith(NumberedPages(2), true), 2};

        Notes reading;
        int32_t pages = 0;
        reading.answer = [&](size_t) {
            Vorn_WiaGetPropertyLong(desk.Session(), desk.Root(), nullptr, WIA_DPS_PAGES, &pages);
            return 1;
        };
        EXPECT_EQ(Scan(desk, reading).status, SUCCESS);
        EXPECT_GT(pages, 0);

        // Another acquisition inside shares what is process-wide: neither needs to succeed.
        Notes nested;
        bool inside = false;
        nested.answer = [&](size_t) {
            if (!std::exchange(inside, true))
                Vorn_WiaAcquire(desk.Session(), nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr);
            return 1;
        };
        desk.item = nullptr;
        Scan(desk, nested);
        EXPECT_TRUE(inside);

        // The device in use is deselected, and comes back as another opening.
        Notes selecting;
        const WString id{Vorn_WiaGetSelectedDevice(desk.Session())};
        selecting.answer = [&](size_t call) {
            Vorn_WiaSelectDevice(desk.Session(), call % 2 ? VORN_TEXT("no such device") : id.c_str());
            return 1;
        };
        Scan(desk, selecting);
        Vorn_WiaSelectDevice(desk.Session(), id.c_str());
        EXPECT_EQ(Scan(desk).status, SUCCESS) << "the next one";
    }
}

}  // namespace
}  // namespace vorn::test
