/**
 * @file GstHolders.h
 * Holders of what GStreamer hands out.
 */
#pragma once

#include <gst/gst.h>

#include <memory>

namespace vorn::video {

struct GstRelease {
    void operator()(GstElement* element) const noexcept { gst_object_unref(element); }
    void operator()(GstBus* bus) const noexcept { gst_object_unref(bus); }
    void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
};

/** One reference on an object of GStreamer's. */
template <typename Object>
using GstHolder = std::unique_ptr<Object, GstRelease>;

}  // namespace vorn::video
