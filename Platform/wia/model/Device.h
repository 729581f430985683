/**
 * @file Device.h
 * A device that the service lists.
 */
#pragma once

#include <memory>
#include <string>

#include "Definition.h"
#include "PropertyTable.h"

namespace vorn::wia {

class VORN_WIA_API Device {
public:
    explicit Device(DeviceDefinition definition) noexcept : definition_{std::move(definition)} {}

    const DeviceDefinition& Definition() const noexcept { return definition_; }
    /** The text of WIA_DIP_DEV_ID; empty when the device has none. */
    WStringView Id() const noexcept;
    WStringView Name() const noexcept;
    /** The StiDeviceType: the high half of WIA_DIP_DEV_TYPE. */
    LONG Type() const noexcept;
    bool IsLocal() const noexcept { return definition_.local; }

    std::optional<Fault> Pass(Step step, PROPID property = 0) const
    {
        return definition_.faults->Pass(step, property);
    }

private:
    const Property* Find(PROPID id) const noexcept;

    DeviceDefinition definition_;
};

using DevicePtr = std::shared_ptr<const Device>;

}  // namespace vorn::wia
