#include <filesystem>

#include "../model/FileNames.h"
#include "DeviceBuilder.h"
#include "DeviceProperties.h"

namespace vorn::wia {

namespace {

/** Pictures can be written into a folder that is there. */
HRESULT CheckFolder(const Value& value)
{
    std::error_code error;
    const WString folder{value.ToText()};
    const bool usable = std::filesystem::is_directory(std::filesystem::path{folder}, error) &&
                        _waccess(folder.c_str(), 2) == 0;
    return usable ? S_OK : E_INVALIDARG;
}

ItemDefinition Tree(REFGUID category)
{
    Property folder = Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(TempFolder()));
    folder.check = CheckFolder;

    ItemDefinition root =
        BareItem(VORN_TEXT("Root"), WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice, category);
    root.Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(Writable(WIA_DPV_LAST_PICTURE_TAKEN, Value::Text(VORN_TEXT(""))))
        .Set(std::move(folder))
        .Set(ReadOnly(WIA_DPV_DSHOW_DEVICE_PATH, Value::Text(VORN_TEXT("virtual:video"))));
    return root;
}

}  // namespace

DeviceBuilder VirtualVideo()
{
    DeviceDefinition definition;
    definition.properties =
        DeviceProperties(VORN_TEXT("virtual:video"), VORN_TEXT("Virtual Video Device"),
                         VORN_TEXT("Virtual streaming-video device"), StiDeviceTypeStreamingVideo);
    definition.tree1 = [] { return Tree(GUID{}); };
    definition.tree2 = [] { return Tree(WIA_CATEGORY_ROOT); };
    return DeviceBuilder{std::move(definition)};
}

}  // namespace vorn::wia
