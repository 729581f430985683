/** The three entry points: what they refuse, when they show a dialog, and what comes of it. */
#include "Desk.h"

namespace vorn::test {
namespace {

constexpr LONG kOtherTypes[] = {StiDeviceTypeDigitalCamera, StiDeviceTypeStreamingVideo, 4};

class EntryPoints : public AcquireTest {
protected:
    EntryPoints() : dialogs_{std::make_shared<Dialogs>()}, installed_{dialogs_} {}

    /** The dialogs shown since the last time it was called, one after the other. */
    std::string Asked() const
    {
        std::string text;
        for (const std::string& question : std::exchange(dialogs_->asked, {}))
            text += question;
        return text;
    }

    std::shared_ptr<Dialogs> dialogs_;
    ScopedDialogs installed_;
};

TEST_F(EntryPoints, RefuseWhatTheyCannotStartFrom)
{
    const auto refused = [](auto acquire) {
        uint32_t count = 77;
        WCHAR* garbage = nullptr;
        WCHAR** list = &garbage;
        EXPECT_EQ(acquire(nullptr, nullptr, 0, nullptr, nullptr, &count, &list, nullptr, nullptr),
                  ERR_INVALID_ARGUMENT);
        EXPECT_TRUE(count == 0 && !list) << "the caller's garbage stays";
    };
    refused(Vorn_WiaAcquire);
    refused(Vorn_WiaAcquireToFile);
    for (const Generation generation : kGenerations) {
        for (const bool toFile : {false, true}) {
            Desk desk{generation, ScannerWith(NumberedPages(1)).NoType()};
            desk.toFile = toFile;
            EXPECT_EQ(desk.Acquire().status, RESULT_FALSE) << "a device without a type";
            Vorn_WiaSelectDevice(desk.Session(), VORN_TEXT("no such device"));
            EXPECT_EQ(desk.Acquire().status, ERR_NO_DEVICE_SELECTED);
        }
    }
    EXPECT_EQ(Asked(), "");
}

TEST_F(EntryPoints, ShowTheDialogForAScannerOnlyWhenAskedAndForEveryOtherDevice)
{
    struct Row {
        uint32_t flags;
        const char* scanner;
        const char* other;
    };
    const Row rows[] = {
        {0, "", "0"},
        {1, "", "1"},
        {2, "", "2"},
        {3, "0", "0"},
        {6, "", "6"},
        {7, "4", "4"},
        {0x8000000F, "-2147483636", "-2147483636"},
    };
    dialogs_->answer = S_FALSE;
    const auto show = [&](const Road& road, const DeviceBuilder& device, uint32_t flags) {
        Desk desk{road.generation, device};
        desk.flags = flags;
        desk.toFile = road.file;
        const int32_t status = Scan(desk).status;
        const std::string asked = Asked();
        EXPECT_EQ(status, asked.empty() ? SUCCESS : DIALOG_CANCELLED);
        return asked.substr(0, asked.find(std::string{" "} + Narrow(Wide(Folder()).c_str())));
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.flags);
        for (const Road& road : kRoads) {
            const std::string kind = road.generation == Generation::One ? "items " : "images ";
            EXPECT_EQ(show(road, ScannerWith(NumberedPages(1)), row.flags),
                      *row.scanner ? kind + row.scanner : "");
            for (const LONG type : kOtherTypes)
                EXPECT_EQ(show(road, CameraWith(1).TypeValue(type << 16), row.flags), kind + row.other);
        }
    }
}

TEST_F(EntryPoints, TransferTheItemsOfTheDialogInTheirOrder)
{
    dialogs_->choice = {2, 0};
    for (const bool file : {false, true}) {
        Desk desk{Generation::One, CameraWith(3)};
        desk.toFile = file;
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(file ? In(Folder()) : outcome.Pages(), file ? "a (1).bmp=1, a.bmp=3" : "3 1");
        EXPECT_EQ(outcome.files.size(), file ? 2u : 0u);
    }
    // Files replaced or pages put together: one call's items never replace each other.
    for (const bool multiPage : {false, true}) {
        Desk desk{Generation::One, CameraWith(3)};
        desk.toFile = true;
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 1, multiPage));
        EXPECT_EQ(outcome.status, multiPage ? FIL_ERR_SINGLE_PAGE_FORMAT : SUCCESS);
        EXPECT_EQ(In(Folder()), "a (1).bmp=1, a.bmp=3");
    }
}

TEST_F(EntryPoints, PutTheItemsTogetherInTheFreeNameThatTheFirstOneTook)
{
    dialogs_->choice = {2, 0};
    AddPage(Folder() / "a.tif", 9);
    Desk desk{Generation::One, CameraWith(3)};
    for (const WCHAR* name : {VORN_TEXT("Picture 1"), VORN_TEXT("Picture 3")}) {
        desk.item = desk.Child(name);
        desk.SetMedium(true);
        desk.SetFormat(WiaImgFmt_TIFF);
    }
    EXPECT_EQ(desk.Acquire(Named(Folder() / "a.tif", 0, 1)).status, SUCCESS);
    EXPECT_EQ(In(Folder()), "a (1).tif=3 1, a.tif=9");
}

TEST_F(EntryPoints, EndAtTheFirstItemThatFails)
{
    Desk desk{Generation::One, CameraWith(3)};
    desk.Faults().Add(Step::Transfer, {WIA_ERROR_ITEM_DELETED}, 2);
    const Outcome outcome = desk.Acquire();
    EXPECT_EQ(outcome.status, ERR_WIA_ITEM_DELETED);
    EXPECT_EQ(outcome.Pages(), "1");
}

TEST_F(EntryPoints, TakeACameraAndAVideoDeviceForOnePage)
{
    // A page count of its own, and pages without end: only the correction stops after one.
    for (const LONG type : kOtherTypes) {
        ItemDefinition endless = ScannerItem(
            Generation::One, [] { return MakeCannedPages(NumberedPages(1), true); }, true);
        endless.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_FILE)));
        Desk desk{Generation::One, DeviceBuilder{type}
                                       .RootProperty(Writable(WIA_DPS_PAGES, Value::I4(2)))
                                       .Child(Generation::One, std::move(endless))};
        const Outcome outcome = Scan(desk);
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(outcome.files.size(), type == 4 ? 2u : 1u) << type;
        EXPECT_EQ(desk.Get(desk.Root(), WIA_DPS_PAGES), 2) << "not a scanner's to write";
    }
}

TEST_F(EntryPoints, TellHowADialogEnded)
{
    const std::pair<HRESULT, int32_t> rows[] = {{S_FALSE, DIALOG_CANCELLED},
                                                {WIA_ERROR_BUSY, ERR_WIA_BUSY},
                                                {E_FAIL, ERR_WIA_UNEXPECTED},
                                                {E_INVALIDARG, ERR_INVALID_ARGUMENT}};
    for (const auto& [answer, status] : rows) {
        dialogs_->answer = answer;
        for (const Generation generation : kGenerations) {
            Desk desk{generation, CameraWith(2)};
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, status);
            EXPECT_TRUE(outcome.calls.empty());
            EXPECT_FALSE(outcome.listed);
            EXPECT_EQ(outcome.fileCount, 0u);
        }
    }
    EXPECT_EQ(In(Folder()), "");
}

TEST_F(EntryPoints, SplitTheNameForTheImageDialog)
{
    struct Row {
        WString name;
        std::string asked;
    };
    const Row rows[] = {
        {VORN_TEXT("C:\\scans\\page.bmp"), "images 0 C:\\scans\\|page"},
        {VORN_TEXT("/scans/of.2026/page"), "images 0 /scans/of.2026/|page"},
        {VORN_TEXT("page.of.today.tiff"), "images 0 |page.of.today"},
        {VORN_TEXT("/tmp/caf\u00e9.bmp"), "images 0 /tmp/|caf\xc3\xa9"},
        {WString(259, 'n'), std::string{"images 0 |"} + std::string(259, 'n')},
        {WString{VORN_TEXT("/")} + WString(255, 'd') + VORN_TEXT("/n"),
         std::string{"images 0 /"} + std::string(255, 'd') + "/|n"},
        {VORN_TEXT("page.extension"), ""},  // longer than an extension may be
        {WString(260, 'n'), ""},            // no terminator
        {VORN_TEXT(""), ""},
    };
    dialogs_->answer = S_FALSE;
    Desk desk{Generation::Two, CameraWith(1)};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.asked);
        AcquireOptions options{};
        row.name.copy(options.fileName, VORNWIA_NAME_CHARS);
        EXPECT_EQ(desk.Acquire(options).status, row.asked.empty() ? ERR_INVALID_ARGUMENT : DIALOG_CANCELLED);
        EXPECT_EQ(Asked(), row.asked);
    }
    EXPECT_EQ(desk.Acquire(nullptr).status, ERR_INVALID_ARGUMENT);
}

TEST_F(EntryPoints, ListTheFilesThatTheImageDialogWrote)
{
    Desk desk{Generation::Two, CameraWith(2)};
    Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
    EXPECT_EQ(outcome.status, SUCCESS);
    EXPECT_EQ(outcome.fileCount, 2u);
    EXPECT_EQ(Delivered(outcome, Folder()), "1 2");
    EXPECT_TRUE(outcome.calls.empty()) << "the dialog tells the application nothing";

    const WString fits = WString{VORN_TEXT("/")} + WString(258, 'f');
    dialogs_->files = {VORN_TEXT("/x/a.jpg"), fits + VORN_TEXT("g"), fits, VORN_TEXT("/x/caf\u00e9.jpg")};
    EXPECT_EQ(desk.Acquire(Named("/x/a")).files,
              (std::vector<std::string>{"a.jpg", "(null)", std::string(258, 'f'), "caf\xc3\xa9.jpg"}));
    for (const uint64_t count : {uint64_t{1}, UINT64_MAX}) {
        for (uint64_t nth = 1; nth <= 6; ++nth) {
            KrnFailAllocations(nth, count);
            outcome = desk.Acquire(Named("/x/a"));
            KrnFailAllocations(0, 0);
            EXPECT_EQ(outcome.status, SUCCESS);
            EXPECT_EQ(outcome.fileCount, 4u);
        }
    }
    desk.wantCount = desk.wantList = false;
    EXPECT_EQ(desk.Acquire(Named("/x/a")).status, SUCCESS);
}

TEST_F(EntryPoints, AcquireWithoutASessionAndLeaveNone)
{
    struct Row {
        const char* fault;
        uint32_t version, flags;
        HRESULT answer;
        DevicePtr device;
        int32_t status;
        const char* asked;
    };
    const TreeEdit toMemory = [](ItemDefinition& item) {
        item.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_CALLBACK)));
    };
    const auto builder = [] { return ScannerWith(NumberedPages(1)); };
    const DevicePtr scanner = builder().Build();
    const DevicePtr memory = builder().EditItem(VORN_TEXT("Flatbed"), toMemory).Build();
    const DevicePtr offline = builder().FailAt(Step::CreateDevice, WIA_ERROR_OFFLINE, 1, 9).Build();
    const Row rows[] = {
        {"version", 3, 0, S_OK, scanner, ERR_INVALID_WIA_VERSION, ""},
        {"good 1.0", 1, 1, S_OK, scanner, SUCCESS, "device 1 1"},
        {"good 2.0, but its medium is a file", 2, 5, S_OK, scanner, ERR_INVALID_ARGUMENT, "device 1 1"},
        {"good 2.0", 2, 5, S_OK, memory, SUCCESS, "device 1 1"},
        {"cancelled 1.0", 1, 1, S_FALSE, scanner, DIALOG_CANCELLED, "device 1 1"},
        {"cancelled 2.0", 2, 3, S_FALSE, scanner, DIALOG_CANCELLED, "device 1 1"},
        {"selection fails", 1, 1, WIA_ERROR_BUSY, scanner, ERR_WIA_BUSY, "device 1 1"},
        {"no device", 1, 0, S_OK, nullptr, ERR_WIA_NO_DEVICE_AVAILABLE, ""},
        {"opening fails", 2, 1, S_OK, offline, ERR_WIA_OFFLINE, "device 1 1"},
        {"no items", 1, 1, S_OK, DeviceBuilder{}.Build(), ERR_NO_CHILD_ITEMS, "device 1 1"},
        {"dialog 1.0", 1, 7, S_OK, scanner, SUCCESS, "device 1 1items 4"},
        {"dialog 2.0 without a name", 2, 7, S_OK, scanner, ERR_INVALID_ARGUMENT, "device 1 1"},
    };
    const auto acquire = [](uint32_t version, uint32_t flags) {
        uint32_t count = 77;
        WCHAR* garbage = nullptr;
        WCHAR** list = &garbage;
        const int32_t status = Vorn_WiaAcquireSimple(version, nullptr, StiDeviceTypeScanner, flags, nullptr,
                                                     nullptr, &count, &list, nullptr, nullptr);
        EXPECT_TRUE(count == 0 && !list) << "no file was written";
        return status;
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        dialogs_->answer = row.answer;
        ScopedDevices devices{row.device ? std::vector<DevicePtr>{row.device} : std::vector<DevicePtr>{}};
        ScopedCallLog log;
        EXPECT_EQ(acquire(row.version, row.flags), row.status);
        EXPECT_EQ(Asked(), row.asked);
        EXPECT_EQ(log.Count("Manager1.Release") + log.Count("Manager2.Release"), row.version == 3 ? 0u : 1u);
    }
    ScopedMissingManager missing{Generation::Two};
    EXPECT_EQ(acquire(2, 0), RESULT_FALSE);
}

TEST_F(EntryPoints, TransferTheFirstChildWithoutAnItemAndFreeThemAll)
{
    for (const Generation generation : kGenerations) {
        DeviceBuilder device{StiDeviceTypeScanner};
        for (const WCHAR name : {'A', 'B', 'C'}) {
            const CannedPage page = PlainPage(16, 8, 24, static_cast<uint8_t>(name));
            device.Child(generation, PictureItem(generation, WString{name}, page));
        }
        Desk desk{generation, device};
        ScopedCallLog log;
        const Outcome outcome = Scan(desk);
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(Delivered(outcome, Folder()), "65");
        for (const char* release : {"A.Release", "B.Release", "C.Release"})
            EXPECT_GE(log.Count(release), 1u) << release;
    }
}

/** What a device announces is no reason to allocate: room for INT32_MAX children is 17 GB. */
TEST_F(EntryPoints, TransferTheFirstOfMoreChildrenThanThereCanBe)
{
    for (const Generation generation : kGenerations) {
        DeviceBuilder device{StiDeviceTypeScanner};
        for (uint8_t number = 1; number <= 40; ++number)
            device.Child(generation, PictureItem(generation, WString{static_cast<WCHAR>(number + 64)},
                                                 PlainPage(16, 8, 24, number)));
        Desk desk{generation, device.NullAt(Step::GetChildCount)};
        const Outcome outcome = Scan(desk);
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(Delivered(outcome, Folder()), "1");
    }
}

TEST_F(EntryPoints, FinishOnTheDeviceTheyBeganWith)
{
    for (const Road& road : kRoads) {
        SCOPED_TRACE(road.name);
        Desk desk{road, ScannerWith(NumberedPages(3)), 3};
        Notes notes;
        notes.answer = [&](size_t call) {
            if (call == 1)
                Vorn_WiaSelectDevice(desk.Session(), VORN_TEXT("no such device"));
            return 1;
        };
        const Outcome outcome = Scan(desk, std::move(notes));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(Delivered(outcome, Folder()), "1 2 3");
        EXPECT_EQ(desk.Acquire().status, ERR_NO_DEVICE_SELECTED);
        EmptyFolder();
    }
}

TEST_F(EntryPoints, NameTheReasonWhenThereIsNothingToTransfer)
{
    const TreeEdit otherMedium = [](ItemDefinition& root) {
        for (ItemDefinition& item : root.children)
            item.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_ISTREAM)));
    };
    struct Row {
        const char* fault;
        Step step;
        Fault failure;
        int32_t status;
    };
    const Row rows[] = {
        {"items not told", Step::EnumChildItems, {WIA_ERROR_BUSY}, ERR_WIA_BUSY},
        {"items end with a failure", Step::NextChildItem, {WIA_ERROR_OFFLINE}, ERR_WIA_OFFLINE},
        {"a null transfer", Step::QueryTransfer, {S_OK, true}, ERR_OUT_OF_MEMORY},
    };
    for (const Generation generation : kGenerations) {
        Desk desk{generation, ScannerWith(NumberedPages(1)).Edit(otherMedium)};
        for (const Row& row : rows) {
            desk.Faults().Add(row.step, row.failure);
            EXPECT_EQ(Scan(desk).status, row.status) << row.fault;
        }
        const Outcome outcome = Scan(desk);
        EXPECT_EQ(outcome.status, SUCCESS) << "a medium neither memory nor file is skipped";
        EXPECT_TRUE(outcome.calls.empty());
    }
    EXPECT_EQ(In(Folder()), "");
}

}  // namespace
}  // namespace vorn::test
