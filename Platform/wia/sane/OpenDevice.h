/**
 * @file OpenDevice.h
 * Opening a device, which a host that answers nothing may put off for ever.
 */
#pragma once

#include <string>

#include <sane/sane.h>

namespace vorn::wia {

/**
 * Asks again for a while when the device is busy. Gives up a device of the `net` back end that takes too long: its call keeps
 * SANE from everybody until it returns. Throws Failure: `WIA_S_NO_DEVICE_AVAILABLE` when there is none of that name; `WIA_ERROR_OFFLINE` when it
 * was given up; else the device's.
 */
SANE_Handle OpenDevice(const std::string& name);

}  // namespace vorn::wia
