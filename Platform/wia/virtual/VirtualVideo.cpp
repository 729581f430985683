#include <cstdlib>
#include <filesystem>

#include "../model/FileNames.h"
#include "DeviceProperties.h"
#include "VideoDevice.h"

namespace vorn::wia {

namespace {

namespace fs = std::filesystem;

/** Pictures can be written into a folder that is there. */
HRESULT CheckFolder(const Value& value)
{
    std::error_code error;
    const WString folder{value.ToText()};
    const bool usable = fs::is_directory(fs::path{folder}, error) && _waccess(folder.c_str(), 2) == 0;
    return usable ? S_OK : E_INVALIDARG;
}

ItemDefinition Tree(const WString& path, REFGUID category)
{
    Property folder = Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(ImagesDirectory()));
    folder.check = CheckFolder;

    ItemDefinition root =
        BareItem(VORN_TEXT("Root"), WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice, category);
    root.Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(Writable(WIA_DPV_LAST_PICTURE_TAKEN, Value::Text(VORN_TEXT(""))))
        .Set(std::move(folder))
        .Set(ReadOnly(WIA_DPV_DSHOW_DEVICE_PATH, Value::Text(path)));
    return root;
}

/** Where a user's data lasts; empty where TempFolder is such a place, or the system tells none. */
fs::path UserData()
{
#ifdef _WIN32
    return {};
#else
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && fs::path{data}.is_absolute())
        return data;
    const char* home = std::getenv("HOME");
    return home && *home ? fs::path{home} / ".local" / "share" : fs::path{};
#endif
}

}  // namespace

WString ImagesDirectory()
{
    const fs::path data = UserData();
    if (data.empty())
        return TempFolder();
    const fs::path directory = data / "vornwia" / "images";
    std::error_code error;
    if (fs::create_directories(directory, error))
        fs::permissions(directory, fs::perms::owner_all, error);
    return fs::is_directory(directory, error) ? directory.string<WCHAR>() : TempFolder();
}

DeviceBuilder VideoDevice(const VideoDeviceTexts& texts)
{
    DeviceDefinition definition;
    definition.properties =
        DeviceProperties(texts.id, texts.name, texts.description, StiDeviceTypeStreamingVideo);
    definition.tree1 = [path = texts.path] { return Tree(path, GUID{}); };
    definition.tree2 = [path = texts.path] { return Tree(path, WIA_CATEGORY_ROOT); };
    return DeviceBuilder{std::move(definition)};
}

DeviceBuilder VirtualVideo()
{
    return VideoDevice({.id = VORN_TEXT("virtual:video"),
                        .name = VORN_TEXT("Virtual Video Device"),
                        .description = VORN_TEXT("Virtual streaming-video device"),
                        .path = kTestPatternPath});
}

}  // namespace vorn::wia
