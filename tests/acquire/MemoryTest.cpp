/** Transfers into memory: the buffer asked of the platform, what the application hears, settings put back. */
#include "Desk.h"

namespace vorn::test {
namespace {

class MemoryTransfer : public AcquireTest {};

/** The transfer records that the platform received, each as "size/double ". */
struct Buffers {
    std::string seen;

    /** For an item of that smallest buffer; -1: it does not tell. */
    TreeEdit Note(LONG minimum)
    {
        return [this, minimum](ItemDefinition& item) {
            item.Remove(WIA_IPA_MIN_BUFFER_SIZE);
            if (minimum >= 0)
                item.Set(ReadOnly(WIA_IPA_MIN_BUFFER_SIZE, Value::I4(minimum)));
            item.banded = [this](IWiaDataCallback*, const WIA_DATA_TRANSFER_INFO& info) {
                EXPECT_EQ(info.ulSize, 28u);
                EXPECT_EQ(info.ulSection | info.ulReserved1 | info.ulReserved2 | info.ulReserved3, 0u);
                seen += std::to_string(info.ulBufferSize) + "/" + std::to_string(info.bDoubleBuffer) + " ";
                return S_OK;
            };
        };
    }
};

TEST_F(MemoryTransfer, AsksForTheBufferOfTheOptionsElseOfTheItem)
{
    struct Row {
        const char* fault;
        uint32_t given, twice;
        LONG minimum;
        const char* seen;
    };
    const Row rows[] = {
        {"the caller's size is lost", 4096, 0, 1000, "4096/0 "},
        {"the caller's size is not doubled", 4096, 1, 1000, "8192/1 "},
        {"the item's size is lost", 0, 0, 1000, "1000/0 "},
        {"the item's size is not doubled", 0, 1, 1000, "2000/1 "},
        {"there is no size to fall back to", 0, 0, -1, "65536/0 "},
        {"that size is not doubled", 0, 1, -1, "131072/1 "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Buffers buffers;
        Desk desk{kMemory1, ScannerWith({}).EditItem(VORN_TEXT("Scan"), buffers.Note(row.minimum)), 1};
        AcquireOptions options{};  // a size of the record of 0 is as good as any
        options.bufferSize = row.given;
        options.doubleBuffer = row.twice;
        EXPECT_EQ(desk.Acquire(options).status, SUCCESS);
        EXPECT_EQ(options.bufferSize, row.given) << "the caller's record was changed";
        if (row.given == 0 && row.twice == 0) {
            buffers.seen.clear();
            EXPECT_EQ(desk.Acquire(nullptr).status, SUCCESS) << "without options";
        }
        EXPECT_EQ(buffers.seen, row.seen);
    }
}

TEST_F(MemoryTransfer, KeepsABufferSizeFoundForTheLaterItemsOfTheCall)
{
    for (const LONG first : {1000, -1}) {
        Buffers buffers;
        Desk desk{Generation::One, CameraWith(2)
                                       .EditItem(VORN_TEXT("Picture 1"), buffers.Note(first))
                                       .EditItem(VORN_TEXT("Picture 2"), buffers.Note(5000))};
        EXPECT_EQ(desk.Acquire().status, SUCCESS);
        EXPECT_EQ(buffers.seen, first < 0 ? "65536/0 65536/0 " : "1000/0 1000/0 ");
    }
}

TEST_F(MemoryTransfer, ArrivesInBandsOfAnySize)
{
    const CannedPage page = PlainPage(100, 50, 8, 7);
    for (const uint32_t bufferSize : {1u, 101u, 1u << 24}) {
        SCOPED_TRACE(bufferSize);
        Desk desk{kMemory1, ScannerWith({page, page}), 2};
        AcquireOptions options{};
        options.bufferSize = bufferSize;
        const Outcome outcome = desk.Acquire(options);
        EXPECT_EQ(outcome.status, SUCCESS);
        ASSERT_EQ(outcome.pages.size(), 2u);
        EXPECT_EQ(outcome.pages[1].pixels, std::vector<uint8_t>(5000, 7));
    }
}

/** What is written to the device, in order, and with it what is put back. */
TEST_F(MemoryTransfer, WritesTheDeviceOnlyWhereItPutsBack)
{
    struct Row {
        Road road;
        bool toFile, feeder;
        LONG pages;
        bool named;
        const char* writes;
    };
    const Row rows[] = {
        {kMemory1, false, true, 3, true, ""},
        {kMemory1, false, false, 5, true, ""},
        {kFile1, false, true, 3, true, "Root 3096=1, Root 3096=3, "},
        {kFile1, false, false, 5, true, "Root 3096=1, Root 3096=1, "},
        {kMemory1, true, true, 3, true, "Scan 4108=2, Root 3096=1, Root 3096=3, "},
        {kFile1, false, true, 3, false, "Root 3096=1, Root 3096=3, "},
        {kMemory2, false, true, 3, true, "Feeder 4108=2, Root 3096=1, Feeder 4108=128, Root 3096=3, "},
        {kMemory2, true, false, 3, true, "Flatbed 4108=2, Root 3096=1, Flatbed 4108=128, Root 3096=1, "},
        {kFile2, false, true, 0, true, "Root 3096=1, Root 3096=0, "},
        {kFile2, true, true, 3, false, "Root 3096=1, Root 3096=3, "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(Trace(row.road, row.toFile) + (row.feeder ? ", feeder" : "") +
                     (row.named ? "" : ", no name"));
        Desk desk{row.road, ScannerWith(NumberedPages(3)), row.pages, row.feeder};
        desk.toFile = row.toFile;
        ScopedCallLog log;
        const Outcome outcome = row.named ? Scan(desk) : desk.Acquire();
        EXPECT_EQ(outcome.status, row.named ? SUCCESS : ERR_INVALID_ARGUMENT);
        std::string writes;
        for (const std::string& line : log.Lines()) {
            if (const size_t at = line.find(".Write "); at != std::string::npos)
                writes += line.substr(0, at) + line.substr(at + 6) + ", ";
        }
        EXPECT_EQ(writes, row.writes);
    }
}

TEST_F(MemoryTransfer, TellsASettingThatA20DeviceRefuses)
{
    struct Row {
        const char* fault;
        PROPID id;
        unsigned nth, count;
        LONG pages;
        int32_t status;
        size_t delivered;
    };
    const Row rows[] = {
        {"goes on without end though one page was refused", WIA_DPS_PAGES, 1, 9, 0, ERR_ACCESS_DENIED, 0},
        {"tells an error that the put-back overcame", WIA_DPS_PAGES, 1, 1, 0, SUCCESS, 0},
        {"hides that the page count is not put back", WIA_DPS_PAGES, 2, 1, 2, ERR_ACCESS_DENIED, 2},
        {"takes a medium refused for a failure", WIA_IPA_TYMED, 1, 1, 2, SUCCESS, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Desk desk{kMemory2, ScannerWith(NumberedPages(3)), row.pages};
        desk.Faults().AddFor(row.id, Step::WriteProperty, {E_ACCESSDENIED}, row.nth, row.count);
        const Outcome outcome = desk.Acquire();
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.pages.size(), row.delivered);
    }
}

TEST_F(MemoryTransfer, DownloadsA20ItemByWhatItIs)
{
    for (const LONG folder : {0, WiaItemTypeFolder}) {
        const TreeEdit edit = [&](ItemDefinition& item) { item.type = WiaItemTypeTransfer | folder; };
        Desk desk{kMemory2, ScannerWith(NumberedPages(1)).EditItem(VORN_TEXT("Feeder"), edit), 1};
        ScopedCallLog log;
        EXPECT_EQ(desk.Acquire().status, SUCCESS);
        EXPECT_EQ(log.Count(folder ? "Feeder.Download 1" : "Feeder.Download 0"), 1u);
    }
    for (const Road& road : {kMemory2, kFile2}) {
        Desk desk{road, ScannerWith(NumberedPages(1)), 0};
        desk.Faults().Add(Step::GetItemType, {E_FAIL});
        ScopedCallLog log;
        EXPECT_EQ(Scan(desk).status, road.file ? ERR_FILE_COPY : SUCCESS) << "of no known type: left alone";
        EXPECT_EQ(log.Count("Feeder.Download"), 0u);
    }
    Desk desk{kMemory2, ScannerWith(NumberedPages(3)), 0};
    desk.Faults().Add(Step::GetItemCategory, {E_FAIL});
    EXPECT_EQ(desk.Acquire().Pages(), "1") << "of no known category: a flatbed";
}

}  // namespace
}  // namespace vorn::test
