/**
 * @file DeviceProperties.h
 * The properties that every device has.
 */
#pragma once

#include <vector>

#include "../model/Property.h"

namespace vorn::wia {

/** @param deviceType  a StiDeviceType; the subtype is 1 */
std::vector<Property> DeviceProperties(WStringView id, WStringView name, WStringView description,
                                       LONG deviceType);

}  // namespace vorn::wia
