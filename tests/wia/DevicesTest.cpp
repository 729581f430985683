// Managers: which devices are listed and opened, who answers dialogs, what a failing step leaves.
#include "Client.h"

namespace vorn::wia::test {

namespace {

using vorn::test::BytesOf;
using vorn::test::WriteBytes;

class Devices : public ServiceTest {};

TEST_F(Devices, StandardTrees)
{
    const auto names = [&](Generation generation, const char* id) {
        const Node root = Open(generation, id);
        std::string list = root.Name();
        for (const Node& child : root.Children())
            list.append(" ").append(child.Name());
        return list;
    };
    EXPECT_EQ(names(Generation::One, "virtual:scanner"), "Root Scan");
    EXPECT_EQ(names(Generation::Two, "virtual:scanner"), "Root Flatbed Feeder");
    EXPECT_EQ(names(Generation::Two, "virtual:compact"), "Root Flatbed");
    EXPECT_EQ(names(Generation::One, "virtual:camera"), "Root Picture 1 Picture 2 Picture 3");
    EXPECT_EQ(names(Generation::Two, "virtual:camera"), "Root Pictures");
    const Node video = Open(Generation::One, "virtual:video");
    EXPECT_TRUE(std::filesystem::is_directory(WString{video.Read(WIA_DPV_IMAGES_DIRECTORY).ToText()}));
    const auto use = [&](const std::filesystem::path& folder) {
        return video.Write(WIA_DPV_IMAGES_DIRECTORY, Value::Text(Wide(folder)));
    };
    EXPECT_EQ(use(Folder()), S_OK);
    EXPECT_EQ(use(Folder() / "none"), E_INVALIDARG) << "pictures would be lost";
}

TEST_F(Devices, OpenOnlyByAnIdOfTheirOwn)
{
    ComPtr<IWiaItem> one;
    ComPtr<IWiaItem2> two;
    const Bstr empty{VORN_TEXT("")};
    Use(DeviceBuilder{}.NoId());
    EXPECT_EQ(Manager2()->CreateDevice(0, empty.Get(), two.Out()), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(Manager1()->CreateDevice(nullptr, one.Out()), E_INVALIDARG);
    EXPECT_EQ(Manager1()->CreateDevice(empty.Get(), nullptr), E_POINTER);
}

TEST_F(Devices, RemoteOnesAreListedWhenNotOnlyLocalOnesAreAsked)
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
#ifdef _WIN32
    GTEST_SKIP() << "the classes are announced by the test program, not built in";
#endif
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

TEST_F(Devices, AStepOfTheirPropertyListFailsOnceAndThenWorks)
{
    ULONG count = 0;
    ComPtr<IEnumSTATPROPSTG> list;
    Use(VirtualScanner()
            .FailAt(Step::CountProperties, WIA_ERROR_OFFLINE)
            .FailAt(Step::EnumProperties, WIA_ERROR_BUSY));
    const auto storage = Open(Generation::Two).Storage();
    EXPECT_EQ(storage->GetCount(&count), WIA_ERROR_OFFLINE);
    EXPECT_EQ(storage->GetCount(&count), S_OK);
    EXPECT_EQ(storage->Enum(list.Out()), WIA_ERROR_BUSY);
    EXPECT_EQ(storage->Enum(list.Out()), S_OK);
}

TEST_F(Devices, TheDialogWithoutAUserTakesTheFirstOfTheType)
{
    Bstr id;
    EXPECT_EQ(Manager1()->SelectDeviceDlgID(nullptr, StiDeviceTypeDigitalCamera, 0, id.Out()), S_OK);
    EXPECT_EQ(Narrow(id.Get()), "virtual:camera");
    EXPECT_EQ(Manager1()->SelectDeviceDlgID(nullptr, 99, 0, id.Out()), WIA_S_NO_DEVICE_AVAILABLE);
}

/** Lets the image dialog write the camera's pictures into a folder: the names that it tells. */
std::vector<std::string> WrittenBy(IWiaDevMgr2& manager, const std::filesystem::path& folder, HRESULT result)
{
    const Bstr id{VORN_TEXT("virtual:camera")}, path{WStringView{Wide(folder)}}, name{VORN_TEXT("picture")};
    LONG count = 9;
    BSTR* paths = nullptr;
    ComPtr<IWiaItem2> item;
    EXPECT_EQ(manager.GetImageDlg(0, id.Get(), nullptr, path.Get(), name.Get(), &count, &paths, item.Out()),
              result);
    EXPECT_EQ(bool(item), result == S_OK);
    std::vector<std::string> names;
    for (LONG i = 0; i < count; ++i) {
        names.push_back(std::filesystem::path{paths[i]}.lexically_relative(folder).string());
        SysFreeString(paths[i]);
    }
    CoTaskMemFree(paths);
    return names;
}

TEST_F(Devices, TheImageDialogWritesNewFilesOnly)
{
    WriteBytes(Folder() / "picture.bmp", "mine");
    const auto names = WrittenBy(*Manager2().Get(), Folder(), S_OK);
    EXPECT_EQ(names, (std::vector<std::string>{"picture 1.bmp", "picture 2.bmp", "picture 3.bmp"}));
    for (const std::string& name : names)
        EXPECT_GT(std::filesystem::file_size(Folder() / name), 1000u);
    EXPECT_EQ(BytesOf(Folder() / "picture.bmp"), "mine");
}

TEST_F(Devices, AFailedImageDialogLeavesNoHalfFile)
{
    Use(VirtualCamera().FailAt(Step::Band, WIA_ERROR_OFFLINE, 2));
    EXPECT_TRUE(WrittenBy(*Manager2().Get(), Folder(), WIA_ERROR_OFFLINE).empty());
    EXPECT_TRUE(std::filesystem::is_empty(Folder()));
}

TEST_F(Devices, SheetsAndFolderAreWhatTheFeederHolds)
{
    const Node root = Open(Generation::Two, "virtual:scanner");
    const Node feeder = root.Child("Feeder");
    EXPECT_EQ(root.Write(kVirtualSheets, 1), S_OK);
    EXPECT_EQ(root.Write(kVirtualSheets, -1), E_INVALIDARG);
    const Received sheet = feeder.Download();
    EXPECT_EQ(sheet.result, S_OK);
    EXPECT_EQ(root.Long(kVirtualSheets), 0);
    EXPECT_EQ(root.Long(WIA_DPS_DOCUMENT_HANDLING_STATUS) & FEED_READY, 0);
    EXPECT_EQ(feeder.Download().result, WIA_ERROR_PAPER_EMPTY);

    const auto take = [&](const std::filesystem::path& folder) {
        return root.Write(kVirtualPagesFolder, Value::Text(Wide(folder)));
    };
    EXPECT_EQ(take(Folder() / "none"), E_INVALIDARG);
    EXPECT_EQ(root.Write(kVirtualPagesFolder, Value::Text(VORN_TEXT("\xD800"))), E_INVALIDARG) << "no text";
    EXPECT_EQ(take(Folder()), S_OK) << "an empty feeder";
    EXPECT_EQ(root.Read(WIA_DPS_DOCUMENT_HANDLING_STATUS).Long() & FEED_READY, 0);
    ASSERT_EQ(sheet.pages.size(), 1u);
    WriteBytes(Folder() / "a.bmp", std::string{sheet.pages[0].begin(), sheet.pages[0].end()});
    EXPECT_EQ(take(Folder()), S_OK);
    EXPECT_NE(root.Long(WIA_DPS_DOCUMENT_HANDLING_STATUS) & FEED_READY, 0);
    EXPECT_EQ(feeder.Download().result, S_OK);
    EXPECT_EQ(feeder.Download().result, WIA_ERROR_PAPER_EMPTY);
    EXPECT_EQ(root.Child("Flatbed").Download().result, S_OK);
    EXPECT_EQ(root.Child("Flatbed").Download().result, S_OK) << "the glass always has a page";
}

}  // namespace

}  // namespace vorn::wia::test
