/**
 * @file Failures.h
 * What GStreamer reports, in the platform's results.
 */
#pragma once

#include <gst/gst.h>

#include "platform.h"

namespace vorn::video {

/** How long the device may take for a step: to start, to deliver its next frame, to encode a picture. */
inline constexpr GstClockTime kPatience = 5 * GST_SECOND;

/** The result that stands for an error of GStreamer's. */
HRESULT ResultOf(const GError& error) noexcept;

}  // namespace vorn::video
