#include "../model/FileNames.h"
#include "DeviceBuilder.h"
#include "DeviceProperties.h"

namespace vorn::wia {

namespace {

ItemDefinition Tree(REFGUID category)
{
    ItemDefinition root =
        BareItem(VORN_TEXT("Root"), WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice, category);
    root.Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(Writable(WIA_DPV_LAST_PICTURE_TAKEN, Value::Text(VORN_TEXT(""))))
        .Set(Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(TempFolder())))
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
