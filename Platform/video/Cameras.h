/**
 * @file Cameras.h
 * The cameras of this machine.
 */
#pragma once

#include <vector>

#include "../wia/model/Device.h"

namespace vorn::video {

/** The video devices of the system that deliver pictures, as streaming-video devices. */
std::vector<wia::DevicePtr> Cameras();

}  // namespace vorn::video
