/**
 * @file RealDevices.h
 * The real devices of this machine, where the service brings them itself.
 */
#pragma once

#include <vector>

#include "model/Device.h"

namespace vorn::wia {

/** What a search found. */
struct FoundDevices {
    std::vector<DevicePtr> devices;
    /**
     * `S_OK`, or why there may be more: `WIA_ERROR_GENERAL_ERROR` when the search could not be started,
     * `WIA_ERROR_EXCEPTION_IN_DRIVER` when it crashed or failed, `WIA_ERROR_DEVICE_COMMUNICATION` when not even the
     * search of this machine alone ended in time.
     */
    HRESULT failure = S_OK;
};

/** Looks for them, for a bounded time: what was found until then is what there is. */
FoundDevices RealDevices();

/**
 * The device that can be opened by this id at once, without the search, which takes seconds. It is open until its first
 * tree of items is made. Null when there is none, or when only the search can tell what kind of scanner it is.
 * @throws Failure with WIA_ERROR_BUSY
 */
DevicePtr DeviceAtHand(WStringView id);

/**
 * The device that an id means: the one that has it; else the one that had it `before` and has another since it was
 * plugged in anew, when maker and model leave no doubt. Null when there is none.
 */
DevicePtr RealDevice(WStringView id, const std::vector<DevicePtr>& before, const std::vector<DevicePtr>& now);

}  // namespace vorn::wia
