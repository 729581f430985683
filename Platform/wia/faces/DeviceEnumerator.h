/**
 * @file DeviceEnumerator.h
 * What the device managers of both generations have in common: listing devices, finding one, choosing one.
 */
#pragma once

#include "../model/Device.h"
#include "Interfaces.h"

namespace vorn::wia {

/**
 * IWiaDevMgr::EnumDeviceInfo and IWiaDevMgr2::EnumDeviceInfo. When the search for devices was incomplete, the
 * enumerator gives those found and then the failure in place of `S_FALSE`.
 */
HRESULT EnumerateDevices(LONG flags, IEnumWIA_DEV_INFO** enumerator);

/** The device of that id; `WIA_S_NO_DEVICE_AVAILABLE` when there is none. */
HRESULT FindDevice(BSTR id, DevicePtr& device);

/**
 * Lets the dialog provider choose among the devices of a type.
 * @return `S_OK` with `device` set; `S_FALSE` when the user chose none; `WIA_S_NO_DEVICE_AVAILABLE`; a failure, of
 *         the search when it found none of the type
 */
HRESULT ChooseDevice(HWND parent, LONG deviceType, LONG flags, DevicePtr& device);

/** As ChooseDevice, giving the id. */
HRESULT ChooseDeviceId(HWND parent, LONG deviceType, LONG flags, BSTR* id);

/** Events never come from these devices: a client that registers gets an object that stands for nothing. */
HRESULT RegisterForEvents(const GUID* event, IWiaEventCallback* callback, IUnknown** registration);

}  // namespace vorn::wia
