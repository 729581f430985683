#include "Device.h"

namespace vorn::wia {

const Property* Device::Find(PROPID id) const noexcept
{
    for (const Property& property : definition_.properties) {
        if (property.id == id)
            return &property;
    }
    return nullptr;
}

WStringView Device::Id() const noexcept
{
    const Property* property = Find(WIA_DIP_DEV_ID);
    return property ? property->value.ToText() : WStringView{};
}

WStringView Device::Name() const noexcept
{
    const Property* property = Find(WIA_DIP_DEV_NAME);
    return property ? property->value.ToText() : WStringView{};
}

LONG Device::Type() const noexcept
{
    const Property* property = Find(WIA_DIP_DEV_TYPE);
    return property ? GET_STIDEVICE_TYPE(static_cast<ULONG>(property->value.Long())) : 0;
}

}  // namespace vorn::wia
