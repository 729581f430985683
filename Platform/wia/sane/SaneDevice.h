/**
 * @file SaneDevice.h
 * A scanner of SANE as a device of the model.
 */
#pragma once

#include <string>

#include "../model/Device.h"
#include "DriverHost.h"

namespace vorn::wia {

/** What it means for a device: its name, its description or its vendor. */
Value DeviceText(const FoundScanner& found, PROPID id);

/** Nothing is opened before a client opens the device. */
DeviceDefinition DefineSaneDevice(const FoundScanner& found);

}  // namespace vorn::wia
