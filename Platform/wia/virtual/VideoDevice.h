/**
 * @file VideoDevice.h
 * Streaming-video devices: the virtual one, and what real cameras are made with.
 */
#pragma once

#include "DeviceBuilder.h"

namespace vorn::wia {

/** The path that stands for the test pattern instead of a camera. */
inline constexpr const WCHAR* kTestPatternPath = VORN_TEXT("virtual:video");

/** What tells one streaming-video device from another. */
struct VideoDeviceTexts {
    WString id, name, description;
    WString path;  ///< the device's file, or kTestPatternPath; its property WIA_DPV_DSHOW_DEVICE_PATH
};

/** A device whose root item has WIA_DPV_IMAGES_DIRECTORY, ImagesDirectory() until somebody changes it. */
VORN_WIA_API DeviceBuilder VideoDevice(const VideoDeviceTexts& texts);

/** The user's own directory for pictures from video, made when it is not there; empty when it cannot be. */
WString ImagesDirectory();

}  // namespace vorn::wia
