/**
 * @file SaneDevice.h
 * A scanner of SANE as a device of the model.
 */
#pragma once

#include <string>

#include "../model/Device.h"

namespace vorn::wia {

/** What SANE tells of a scanner that it has found. */
struct FoundScanner {
    std::string name;  ///< the device's id as well
    std::string vendor, model, type;
};

/** Nothing is opened before a client opens the device. */
DevicePtr MakeSaneDevice(const FoundScanner& found);

}  // namespace vorn::wia
