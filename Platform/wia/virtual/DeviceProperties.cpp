#include "DeviceProperties.h"

namespace vorn::wia {

std::vector<Property> DeviceProperties(WStringView id, WStringView name, WStringView description,
                                       LONG deviceType)
{
    const auto text = [](PROPID property, WStringView value) {
        return ReadOnly(property, Value::Text(value));
    };
    return {
        text(WIA_DIP_DEV_ID, id),
        text(WIA_DIP_VEND_DESC, VORN_TEXT("vornwia")),
        text(WIA_DIP_DEV_DESC, description),
        ReadOnly(WIA_DIP_DEV_TYPE, Value::I4(MAKELONG(1, static_cast<WORD>(deviceType)))),
        text(WIA_DIP_PORT_NAME, VORN_TEXT("AUTO")),
        text(WIA_DIP_DEV_NAME, name),
        text(WIA_DIP_SERVER_NAME, VORN_TEXT("local")),
        text(WIA_DIP_REMOTE_DEV_ID, VORN_TEXT("")),
        text(WIA_DIP_UI_CLSID, VORN_TEXT("{00000000-0000-0000-0000-000000000000}")),
        ReadOnly(WIA_DIP_HW_CONFIG, Value::I4(0)),
        text(WIA_DIP_BAUDRATE, VORN_TEXT("")),
        ReadOnly(WIA_DIP_STI_GEN_CAPABILITIES, Value::I4(0)),
        text(WIA_DIP_WIA_VERSION, VORN_TEXT("2.0")),
        text(WIA_DIP_DRIVER_VERSION, VORN_TEXT("1.0")),
    };
}

}  // namespace vorn::wia
