// Managers: which devices are listed and opened, who answers dialogs, what a failing step leaves.
#include <fstream>

#include "Client.h"
#include "wia/model/Item.h"

namespace vorn::wia::test {

namespace {

class Devices : public ServiceTest {};

std::string Names(const Node& node)
{
    std::string names = node.Name();
    for (const Node& child : node.Children())
        names.append(" ").append(child.Name());
    return names;
}

TEST_F(Devices, StandardTrees)
{
    EXPECT_EQ(Names(Open(Generation::One, "virtual:scanner")), "Root Scan");
    EXPECT_EQ(Names(Open(Generation::Two, "virtual:scanner")), "Root Flatbed Feeder");
    EXPECT_EQ(Names(Open(Generation::One, "virtual:camera")), "Root Picture 1 Picture 2 Picture 3");
    EXPECT_EQ(Names(Open(Generation::Two, "virtual:camera")), "Root Pictures");
    EXPECT_FALSE(Open(Generation::One, "virtual:video").Read(WIA_DPV_IMAGES_DIRECTORY).ToText().empty());
}

TEST_F(Devices, NeitherAnUnknownNorANamelessDeviceOpens)
{
    ComPtr<IWiaItem> one;
    ComPtr<IWiaItem2> two;
    const Bstr unknown{VORN_TEXT("nobody")};
    const Bstr empty{VORN_TEXT("")};
    Use(DeviceBuilder{}.NoId());
    EXPECT_EQ(Manager1()->CreateDevice(unknown.Get(), one.Out()), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(Manager2()->CreateDevice(0, unknown.Get(), two.Out()), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(Manager2()->CreateDevice(0, empty.Get(), two.Out()), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(Manager1()->CreateDevice(nullptr, one.Out()), E_INVALIDARG);
    EXPECT_EQ(Manager1()->CreateDevice(unknown.Get(), nullptr), E_POINTER);
}

TEST_F(Devices, RemoteDevicesAreNotLocal)
{
    Use(DeviceBuilder{}.Remote());
    for (const LONG flags : {0, WIA_DEVINFO_ENUM_LOCAL}) {
        ComPtr<IEnumWIA_DEV_INFO> devices;
        ULONG count = 9;
        EXPECT_EQ(Manager2()->EnumDeviceInfo(flags, devices.Out()), S_OK);
        EXPECT_EQ(devices->GetCount(&count), S_OK);
        EXPECT_EQ(count, flags ? 0u : 1u);
    }
}

TEST_F(Devices, AHiddenManagerCannotBeCreated)
{
    {
        const ScopedMissingManager missing{Generation::Two};
        EXPECT_FALSE(Manager2());
        EXPECT_TRUE(Manager1());
        // Announced by the host instead of built in, it is refused as well.
        EXPECT_EQ(RegisterClasses(), S_OK);
        EXPECT_FALSE(Manager2());
    }
    EXPECT_TRUE(Manager2());
    RevokeClasses();
    EXPECT_TRUE(Manager2());
}

struct FaultCase {
    Step step;
    std::function<HRESULT(const Node&)> call;
};

TEST_F(Devices, EachNamedStepFailsOnceAndThenWorks)
{
    const FaultCase rows[] = {
        {Step::GetItemType,
         [](const Node& n) {
             LONG type;
             return n.Two()->GetItemType(&type);
         }},
        {Step::GetItemCategory,
         [](const Node& n) {
             GUID guid;
             return n.Two()->GetItemCategory(&guid);
         }},
        {Step::GetRootItem, [](const Node& n) { return n.Two()->GetRootItem(ComPtr<IWiaItem2>{}.Out()); }},
        {Step::EnumChildItems,
         [](const Node& n) { return n.Two()->EnumChildItems(nullptr, ComPtr<IEnumWiaItem2>{}.Out()); }},
        {Step::QueryPropertyStorage,
         [](const Node& n) {
             return n.Two()->QueryInterface(IID_IWiaPropertyStorage, ComPtr<IWiaPropertyStorage>{}.OutVoid());
         }},
        {Step::EnumProperties,
         [](const Node& n) { return n.Storage()->Enum(ComPtr<IEnumSTATPROPSTG>{}.Out()); }},
        {Step::CountProperties,
         [](const Node& n) {
             ULONG count;
             return n.Storage()->GetCount(&count);
         }},
        {Step::WriteProperty, [](const Node& n) { return n.Write(WIA_DPS_PAGES, 2); }},
    };
    for (const FaultCase& row : rows) {
        Use(VirtualScanner().FailAt(row.step, WIA_ERROR_OFFLINE));
        const Node root = Open(Generation::Two);
        EXPECT_EQ(row.call(root), WIA_ERROR_OFFLINE) << int(row.step);
        EXPECT_EQ(row.call(root), S_OK) << int(row.step);
    }
    Use(VirtualScanner().NullAt(Step::CreateDevice));
    EXPECT_FALSE(Open(Generation::Two)) << "success with a null object, as told";
}

TEST_F(Devices, TheLogTellsCallsInTheirOrder)
{
    const ScopedCallLog log;
    {
        const Node item = Open(Generation::Two, "virtual:scanner").Child("Feeder");
        item.Write(WIA_IPA_TYMED, TYMED_FILE);
    }
    EXPECT_EQ(log.Count("Manager2.CreateDevice virtual:scanner"), 1u);
    EXPECT_EQ(log.Count("Feeder.Write 4108=2"), 1u);
    EXPECT_LT(log.IndexOf("Manager2.Release"), log.IndexOf("Feeder.Write"));
    EXPECT_EQ(log.Count("Feeder.Release"), 1u);
    EXPECT_EQ(log.Count("Root.Release"), 1u);
}

/** Answers every question in the same way. */
class Answering final : public DialogProvider {
public:
    explicit Answering(HRESULT answer) : answer_{answer} {}
    HRESULT SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) override
    {
        chosen = question.devices.back();
        return answer_;
    }
    HRESULT SelectItems(const ItemsQuestion& question, std::vector<Item*>& chosen) override
    {
        chosen = {question.items.back()};
        return answer_;
    }
    HRESULT SelectImages(const ImageQuestion&, std::vector<Item*>&, std::vector<WString>&) override
    {
        return answer_;
    }

private:
    HRESULT answer_;
};

TEST_F(Devices, TheProviderAnswersDialogs)
{
    Bstr id;
    EXPECT_EQ(Manager1()->SelectDeviceDlgID(nullptr, StiDeviceTypeDigitalCamera, 0, id.Out()), S_OK);
    EXPECT_EQ(Narrow(id.Get()), "virtual:camera");
    EXPECT_EQ(Manager1()->SelectDeviceDlgID(nullptr, 99, 0, id.Out()), WIA_S_NO_DEVICE_AVAILABLE);
    for (const HRESULT answer : {S_OK, S_FALSE, E_ACCESSDENIED}) {
        const ScopedDialogs dialogs{std::make_shared<Answering>(answer)};
        EXPECT_EQ(Manager2()->SelectDeviceDlgID(nullptr, 0, 0, id.Out()), answer);
        EXPECT_EQ(bool(id), answer == S_OK) << "an ID without a choice";
        const Node camera = Open(Generation::One, "virtual:camera");
        LONG count = 9;
        IWiaItem** items = nullptr;
        EXPECT_EQ(camera.One()->DeviceDlg(nullptr, 0, 0, &count, &items), answer);
        EXPECT_EQ(count, answer == S_OK ? 1 : 0);
        if (answer == S_OK)
            items[0]->Release();
        CoTaskMemFree(items);
    }
}

TEST_F(Devices, TheImageDialogWritesNewFilesOnly)
{
    const auto taken = Folder() / "picture.bmp";
    std::ofstream{taken} << "mine";
    const Bstr id{VORN_TEXT("virtual:camera")};
    const Bstr folder{WStringView{Folder().u16string()}};
    const Bstr name{VORN_TEXT("picture")};
    LONG count = 0;
    BSTR* paths = nullptr;
    ComPtr<IWiaItem2> item;
    ASSERT_EQ(
        Manager2()->GetImageDlg(0, id.Get(), nullptr, folder.Get(), name.Get(), &count, &paths, item.Out()),
        S_OK);
    ASSERT_EQ(count, 3);
    EXPECT_TRUE(item);
    constexpr const char* kNames[] = {"picture 1.bmp", "picture 2.bmp", "picture 3.bmp"};
    for (LONG i = 0; i < count; ++i) {
        EXPECT_EQ(Narrow(paths[i]), (Folder() / kNames[i]).string());
        EXPECT_GT(std::filesystem::file_size(paths[i]), 1000u);
        SysFreeString(paths[i]);
    }
    CoTaskMemFree(paths);
    EXPECT_EQ(std::filesystem::file_size(taken), 4u);
}

TEST_F(Devices, AFailedImageDialogLeavesNoHalfFile)
{
    Use(VirtualCamera().FailAt(Step::Band, WIA_ERROR_OFFLINE, 6));
    const Bstr id{VORN_TEXT("virtual:camera")};
    const Bstr folder{WStringView{Folder().u16string()}};
    const Bstr name{VORN_TEXT("picture")};
    LONG count = 9;
    BSTR* paths = nullptr;
    EXPECT_EQ(
        Manager2()->GetImageDlg(0, id.Get(), nullptr, folder.Get(), name.Get(), &count, &paths, nullptr),
        WIA_ERROR_OFFLINE);
    EXPECT_EQ(count, 0);
    for (const auto& file : std::filesystem::directory_iterator{Folder()})
        EXPECT_GT(file.file_size(), 2'000'000u) << file.path();
}

TEST_F(Devices, SheetsAndFolderAreWhatTheFeederHolds)
{
    const Node root = Open(Generation::Two, "virtual:scanner");
    const Node feeder = root.Child("Feeder");
    const auto client = ComPtr<StreamReceiver>::Adopt(new StreamReceiver);
    EXPECT_EQ(root.Write(kVirtualSheets, 1), S_OK);
    EXPECT_EQ(root.Write(kVirtualSheets, -1), E_INVALIDARG);
    EXPECT_EQ(feeder.Download(*client.Get()), S_OK);
    EXPECT_EQ(root.Long(kVirtualSheets), 0);
    EXPECT_EQ(root.Long(WIA_DPS_DOCUMENT_HANDLING_STATUS) & FEED_READY, 0);
    EXPECT_EQ(feeder.Download(*client.Get()), WIA_ERROR_PAPER_EMPTY);

    const auto folder = [](const std::filesystem::path& path) { return Value::Text(path.u16string()); };
    EXPECT_EQ(root.Write(kVirtualPagesFolder, folder(Folder() / "none")), E_INVALIDARG);
    EXPECT_EQ(root.Write(kVirtualPagesFolder, folder(Folder())), E_INVALIDARG) << "no image in it";
    std::ofstream{Folder() / "a.bmp", std::ios::binary}.write(
        reinterpret_cast<const char*>(client->received.pages[0].data()),
        std::streamsize(client->received.pages[0].size()));
    EXPECT_EQ(root.Write(kVirtualPagesFolder, folder(Folder())), S_OK);
    EXPECT_NE(root.Long(WIA_DPS_DOCUMENT_HANDLING_STATUS) & FEED_READY, 0);
    EXPECT_EQ(feeder.Download(*client.Get()), S_OK);
    EXPECT_EQ(feeder.Download(*client.Get()), WIA_ERROR_PAPER_EMPTY);
    EXPECT_EQ(root.Child("Flatbed").Download(*client.Get()), S_OK);
    EXPECT_EQ(root.Child("Flatbed").Download(*client.Get()), S_OK) << "the glass always has a page";
}

}  // namespace

}  // namespace vorn::wia::test
