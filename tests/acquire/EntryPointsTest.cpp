/** The three entry points: what they refuse, when they show a dialog, and what comes of it. */
#include "Desk.h"

namespace vorn::test {
namespace {

constexpr LONG kOtherTypes[] = {StiDeviceTypeDigitalCamera, StiDeviceTypeStreamingVideo, 4};

class EntryPoints : public LibraryTest {
protected:
    EntryPoints() : dialogs_{std::make_shared<Dialogs>()}, installed_{dialogs_} {}

    std::string Asked() const { return dialogs_->asked.empty() ? "" : dialogs_->asked.back(); }

    std::shared_ptr<Dialogs> dialogs_;
    ScopedDialogs installed_;
};

TEST_F(EntryPoints, RefuseWhatTheyCannotStartFrom)
{
    EXPECT_EQ(Vorn_WiaAcquire(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              ERR_INVALID_ARGUMENT);
    EXPECT_EQ(
        Vorn_WiaAcquireToFile(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        ERR_INVALID_ARGUMENT);
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

TEST_F(EntryPoints, ShowTheDialogForAScannerOnlyWhenAsked)
{
    struct Row {
        uint32_t flags;
        const char* one;
        const char* two;
    };
    const Row rows[] = {
        {0, "", ""},
        {1, "", ""},
        {2, "", ""},
        {4, "", ""},
        {3, "items 0", "images 0 "},
        {7, "items 4", "images 4 "},
        {0x8000000F, "items -2147483636", "images -2147483636 "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.flags);
        for (const Generation generation : kGenerations) {
            for (const bool toFile : {false, true}) {
                dialogs_->asked.clear();
                dialogs_->answer = S_FALSE;
                Desk desk{generation, ScannerWith(NumberedPages(1))};
                desk.flags = row.flags;
                desk.toFile = toFile;
                const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 1));
                const std::string wanted = generation == Generation::One ? row.one : row.two;
                EXPECT_EQ(Asked().substr(0, wanted.size()), wanted);
                EXPECT_EQ(dialogs_->asked.size(), wanted.empty() ? 0u : 1u);
                EXPECT_EQ(outcome.status, wanted.empty() ? SUCCESS : DIALOG_CANCELLED);
            }
        }
    }
}

TEST_F(EntryPoints, ShowTheDialogForEveryOtherDevice)
{
    for (const LONG type : kOtherTypes) {
        for (const uint32_t flags : {0u, 1u, 2u, 3u, 6u}) {
            SCOPED_TRACE(std::to_string(type) + ", flags " + std::to_string(flags));
            Desk desk{Generation::One, CameraWith(1).TypeValue(type << 16)};
            desk.flags = flags;
            EXPECT_EQ(desk.Acquire().status, SUCCESS);
            EXPECT_EQ(Asked(), std::string{"items "} + std::to_string(flags == 3 ? 0 : flags));
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
        EXPECT_EQ(Delivered(outcome, Folder()), "3 1");
        const std::vector<std::string> names = {"a.bmp", "a (1).bmp"};
        EXPECT_EQ(outcome.files, file ? names : std::vector<std::string>{});
    }
    // Files replaced or pages put together: one call's items never replace each other.
    for (const bool multiPage : {false, true}) {
        Desk desk{Generation::One, CameraWith(3)};
        desk.toFile = true;
        const Outcome outcome = desk.Acquire(Named(Folder() / "b.bmp", 1, multiPage));
        EXPECT_EQ(outcome.status, multiPage ? -2011 : SUCCESS) << "a BMP file holds one page";
        EXPECT_EQ(PagesOf(Folder() / "b.bmp"), "3");
        EXPECT_EQ(PagesOf(Folder() / "b (1).bmp"), "1");
    }
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
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(outcome.files.size(), type == 4 ? 2u : 1u) << type;
        EXPECT_EQ(desk.Get(desk.Root(), WIA_DPS_PAGES), 2) << "not a scanner's to write";
    }
}

TEST_F(EntryPoints, TellHowADialogEnded)
{
    struct Row {
        HRESULT answer;
        int32_t status;
    };
    for (const Row row : {Row{S_FALSE, DIALOG_CANCELLED}, Row{WIA_ERROR_BUSY, ERR_WIA_BUSY},
                          Row{E_FAIL, ERR_WIA_UNEXPECTED}, Row{E_INVALIDARG, ERR_INVALID_ARGUMENT}}) {
        dialogs_->answer = row.answer;
        for (const Generation generation : kGenerations) {
            Desk desk{generation, CameraWith(2)};
            const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_TRUE(outcome.calls.empty());
            EXPECT_FALSE(outcome.listed);
            EXPECT_EQ(outcome.fileCount, 0u);
        }
    }
    EXPECT_TRUE(NamesIn(Folder()).empty());
}

TEST_F(EntryPoints, SplitTheNameForTheImageDialog)
{
    const WString longName(259, 'n');
    const WString longFolder = WString{VORN_TEXT("/")} + WString(255, 'd') + VORN_TEXT("/n");
    struct Row {
        WString name;
        std::string asked;
    };
    const Row rows[] = {
        {VORN_TEXT("C:\\scans\\page.bmp"), "images 0 C:\\scans\\|page"},
        {VORN_TEXT("/scans/of.2026/page"), "images 0 /scans/of.2026/|page"},
        {VORN_TEXT("page.of.today.tiff"), "images 0 |page.of.today"},
        {VORN_TEXT("/tmp/caf\u00e9.bmp"), "images 0 /tmp/|caf\xc3\xa9"},
        {longName, std::string{"images 0 |"} + std::string(259, 'n')},
        {longFolder, std::string{"images 0 /"} + std::string(255, 'd') + "/|n"},
        {VORN_TEXT("page.extension"), ""},  // longer than an extension may be
        {WString(260, 'n'), ""},            // no terminator
        {VORN_TEXT(""), ""},
    };
    dialogs_->answer = S_FALSE;
    Desk desk{Generation::Two, CameraWith(1)};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.asked);
        dialogs_->asked.clear();
        AcquireOptions options{};
        row.name.copy(options.fileName, VORNWIA_NAME_CHARS);
        EXPECT_EQ(desk.Acquire(options).status, row.asked.empty() ? ERR_INVALID_ARGUMENT : DIALOG_CANCELLED);
        EXPECT_EQ(Asked(), row.asked);
    }
    EXPECT_EQ(desk.Acquire(nullptr).status, ERR_INVALID_ARGUMENT);
}

TEST_F(EntryPoints, ListTheFilesOfTheImageDialog)
{
    const WString fits = WString{VORN_TEXT("/")} + WString(258, 'f');
    dialogs_->files = {VORN_TEXT("/x/a.jpg"), fits + VORN_TEXT("g"), fits, VORN_TEXT("/x/caf\u00e9.jpg")};
    Desk desk{Generation::Two, CameraWith(1)};
    Outcome outcome = desk.Acquire(Named("/x/a"));
    EXPECT_EQ(outcome.status, SUCCESS);
    EXPECT_EQ(outcome.files,
              (std::vector<std::string>{"a.jpg", "(null)", std::string(258, 'f'), "caf\xc3\xa9.jpg"}));
    EXPECT_TRUE(outcome.calls.empty()) << "the dialog tells the application nothing";

    for (const uint64_t count : {uint64_t{1}, UINT64_MAX}) {
        for (uint64_t nth = 1; nth <= 6; ++nth) {
            KrnFailAllocations(nth, count);
            uint32_t files = 0;
            WCHAR** list = nullptr;
            const AcquireOptions options = Named("/x/a");
            const int32_t status = Vorn_WiaAcquire(desk.Session(), nullptr, 0, nullptr, &options, &files,
                                                   &list, nullptr, nullptr);
            KrnFailAllocations(0, 0);
            outcome = Collect(status, files, list, {});
            EXPECT_EQ(status, SUCCESS);
            EXPECT_EQ(files, 4u);
        }
    }
    desk.wantCount = desk.wantList = false;
    EXPECT_EQ(desk.Acquire(Named("/x/a")).status, SUCCESS);
}

TEST_F(EntryPoints, LetTheImageDialogWriteTheFiles)
{
    Desk desk{Generation::Two, CameraWith(2)};
    const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
    EXPECT_EQ(outcome.status, SUCCESS);
    EXPECT_EQ(outcome.fileCount, 2u);
    EXPECT_EQ(Delivered(outcome, Folder()), "1 2");
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
    const DevicePtr scanner = ScannerWith(NumberedPages(1)).Build();
    const DevicePtr memory = ScannerWith(NumberedPages(1))
                                 .EditItem(VORN_TEXT("Flatbed"),
                                           [](ItemDefinition& item) {
                                               item.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_CALLBACK)));
                                           })
                                 .Build();
    const Row rows[] = {
        {"version", 3, 0, S_OK, scanner, ERR_INVALID_WIA_VERSION, ""},
        {"good 1.0", 1, 1, S_OK, scanner, SUCCESS, "device 1 1"},
        {"good 2.0, but its medium is a file", 2, 5, S_OK, scanner, ERR_INVALID_ARGUMENT, "device 1 1"},
        {"good 2.0", 2, 5, S_OK, memory, SUCCESS, "device 1 1"},
        {"cancelled 1.0", 1, 1, S_FALSE, scanner, DIALOG_CANCELLED, "device 1 1"},
        {"cancelled 2.0", 2, 3, S_FALSE, scanner, DIALOG_CANCELLED, "device 1 1"},
        {"selection fails", 1, 1, WIA_ERROR_BUSY, scanner, ERR_WIA_BUSY, "device 1 1"},
        {"no device", 1, 0, S_OK, nullptr, ERR_WIA_NO_DEVICE_AVAILABLE, ""},
        {"opening fails", 2, 1, S_OK,
         ScannerWith(NumberedPages(1)).FailAt(Step::CreateDevice, WIA_ERROR_OFFLINE, 1, 9).Build(),
         ERR_WIA_OFFLINE, "device 1 1"},
        {"no items", 1, 1, S_OK, DeviceBuilder{}.Build(), ERR_NO_CHILD_ITEMS, "device 1 1"},
        {"dialog 1.0", 1, 7, S_OK, scanner, SUCCESS, "items 4"},
        {"dialog 2.0 without a name", 2, 7, S_OK, scanner, ERR_INVALID_ARGUMENT, "device 1 1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        dialogs_->asked.clear();
        dialogs_->answer = row.answer;
        ScopedDevices devices{row.device ? std::vector<DevicePtr>{row.device} : std::vector<DevicePtr>{}};
        ScopedCallLog log;
        EXPECT_EQ(Vorn_WiaAcquireSimple(row.version, nullptr, StiDeviceTypeScanner, row.flags, nullptr,
                                        nullptr, nullptr, nullptr, nullptr, nullptr),
                  row.status);
        EXPECT_EQ(Asked(), row.asked);
        EXPECT_EQ(log.Count("Manager1.Release") + log.Count("Manager2.Release"), row.version == 3 ? 0u : 1u);
    }
    ScopedMissingManager missing{Generation::Two};
    EXPECT_EQ(Vorn_WiaAcquireSimple(2, nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              RESULT_FALSE);
}

TEST_F(EntryPoints, TransferTheFirstChildWithoutAnItemAndFreeThemAll)
{
    for (const Generation generation : kGenerations) {
        DeviceBuilder device{StiDeviceTypeScanner};
        for (const WCHAR name : {'A', 'B', 'C'}) {
            device.Child(generation, PictureItem(generation, WString{name},
                                                 PlainPage(16, 8, 24, static_cast<uint8_t>(name))));
        }
        Desk desk{generation, device};
        ScopedCallLog log;
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 1));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(Delivered(outcome, Folder()), "65");
        for (const char* release : {"A.Release", "B.Release", "C.Release"})
            EXPECT_GE(log.Count(release), 1u) << release;
    }
}

TEST_F(EntryPoints, NameTheReasonWhenThereIsNothingToTransfer)
{
    struct Row {
        const char* fault;
        TreeEdit edit;
        Step step;
        Fault failure;
        int32_t status;
    };
    const TreeEdit none;
    const Row rows[] = {
        {"no items", [](ItemDefinition& root) { root.children.clear(); }, {}, {S_OK}, ERR_NO_CHILD_ITEMS},
        {"items not told", none, Step::EnumChildItems, {WIA_ERROR_BUSY}, ERR_WIA_BUSY},
        {"items end with a failure", none, Step::NextChildItem, {WIA_ERROR_OFFLINE}, ERR_WIA_OFFLINE},
        {"no transfer", none, Step::QueryTransfer, {E_NOINTERFACE}, ERR_OUT_OF_MEMORY},
        {"a null transfer", none, Step::QueryTransfer, {S_OK, true}, ERR_OUT_OF_MEMORY},
        {"a medium neither memory nor file",
         [](ItemDefinition& root) {
             for (ItemDefinition& item : root.children)
                 item.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_ISTREAM)));
         },
         {},
         {S_OK},
         SUCCESS},
    };
    for (const Generation generation : kGenerations) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.fault);
            DeviceBuilder device = ScannerWith(NumberedPages(1));
            if (row.edit)
                device.Edit(row.edit);
            Desk desk{generation, device};
            if (row.failure.result != S_OK || row.failure.nullObject)
                desk.Faults().Add(row.step, row.failure);
            const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_TRUE(outcome.calls.empty());
        }
    }
    EXPECT_TRUE(NamesIn(Folder()).empty());
}

}  // namespace
}  // namespace vorn::test
