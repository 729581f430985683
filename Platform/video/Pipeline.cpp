#include "Pipeline.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>
#include <gst/video/videooverlay.h>

#include "Failures.h"
#include "comobject.h"
#include "wia/virtual/VideoDevice.h"

namespace vorn::video {
namespace {

// The test pattern moves, so that one sees that the video lives.
constexpr char kTestPattern[] =
    "videotestsrc is-live=true pattern=smpte horizontal-speed=2 "
    "! video/x-raw,width=640,height=480,framerate=30/1";
constexpr char kCamera[] = "v4l2src name=camera ! decodebin";
constexpr char kStills[] =
    " ! videoconvert ! tee name=frames ! appsink name=stills sync=false async=false max-buffers=1 drop=true";
// The queue keeps a slow display from holding up the stills; the filter lets the frames that are on their way pass
// when the size changes.
constexpr char kView[] =
    " frames. ! queue leaky=downstream max-size-buffers=2 max-size-bytes=0 max-size-time=0 "
    "! videoconvert ! videoscale add-borders=false ! capsfilter name=fit caps-change-mode=delayed "
    "! ximagesink name=view sync=false async=false handle-events=false";

/** Luminance and colours as JPEG stores them: values 0 to 255, by the matrix of BT.601. */
constexpr char kWholeRange[] = "video/x-raw,format=I420,colorimetry=(string)1:4:0:0";

/** How long a wait goes on before it looks whether the device has failed. */
constexpr GstClockTime kSlice = 50 * GST_MSECOND;

bool StartGStreamer()
{
    static const bool started = gst_init_check(nullptr, nullptr, nullptr);
    return started;
}

/** The sample in another format; null, with the result told, when it cannot be had. */
GstHolder<GstSample> Convert(GstSample* sample, const char* format, HRESULT& result)
{
    const GstHolder<GstCaps> caps{gst_caps_from_string(format)};
    GError* error = nullptr;
    GstHolder<GstSample> converted{gst_video_convert_sample(sample, caps.get(), kPatience, &error)};
    const GstHolder<GError> owned{error};
    result = converted ? S_OK : error ? ResultOf(*error) : E_FAIL;
    return converted;
}

std::vector<uint8_t> BytesOf(GstSample* sample)
{
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    std::vector<uint8_t> bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

}  // namespace

HRESULT Pipeline::Open(const std::string& devicePath, uint32_t window, std::unique_ptr<Pipeline>& pipeline)
{
    if (!StartGStreamer())
        return REGDB_E_CLASSNOTREG;
    const bool pattern = WString{devicePath.begin(), devicePath.end()} == wia::kTestPatternPath;
    const std::string description =
        std::string{pattern ? kTestPattern : kCamera} + kStills + (window ? kView : "");
    GError* error = nullptr;
    GstHolder<GstElement> built{
        gst_parse_launch_full(description.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error)};
    const GstHolder<GError> owned{error};
    if (!built)
        return error ? ResultOf(*error) : E_FAIL;
    gst_object_ref_sink(built.get());

    pipeline.reset(new Pipeline{std::move(built)});
    if (!pattern)
        g_object_set(pipeline->Find("camera").get(), "device", devicePath.c_str(), nullptr);
    if (window)
        gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(pipeline->Find("view").get()), window);
    return pipeline->ChangeState(GST_STATE_READY);
}

Pipeline::Pipeline(GstHolder<GstElement> pipeline) : pipeline_{std::move(pipeline)}, stills_{Find("stills")}
{
    const GstHolder<GstBus> bus{gst_element_get_bus(pipeline_.get())};
    gst_bus_set_sync_handler(bus.get(), Listen, this, nullptr);
}

Pipeline::~Pipeline()
{
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

GstHolder<GstElement> Pipeline::Find(const char* name) const
{
    return GstHolder<GstElement>{gst_bin_get_by_name(GST_BIN(pipeline_.get()), name)};
}

/** Keeps the first error. Nobody reads the bus, so that everything is dropped at once. */
GstBusSyncReply Pipeline::Listen(GstBus*, GstMessage* message, gpointer self)
{
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const GstHolder<GError> owned{error};
        HRESULT none = S_OK;
        static_cast<Pipeline*>(self)->failure_.compare_exchange_strong(none, ResultOf(*error));
    }
    gst_message_unref(message);
    return GST_BUS_DROP;
}

HRESULT Pipeline::Failure() const noexcept
{
    const HRESULT reported = failure_;
    return FAILED(reported) ? reported : WIA_ERROR_DEVICE_COMMUNICATION;
}

HRESULT Pipeline::ChangeState(GstState state)
{
    if (gst_element_set_state(pipeline_.get(), state) == GST_STATE_CHANGE_FAILURE)
        return Failure();
    switch (gst_element_get_state(pipeline_.get(), nullptr, nullptr, kPatience)) {
        case GST_STATE_CHANGE_FAILURE:
        case GST_STATE_CHANGE_ASYNC:
            return Failure();
        default:
            return S_OK;
    }
}

HRESULT Pipeline::Play()
{
    if (const HRESULT result = ChangeState(GST_STATE_PLAYING); FAILED(result))
        return result;
    playing_ = true;
    GstHolder<GstSample> first;
    return NextFrame(first);
}

HRESULT Pipeline::Pause()
{
    playing_ = false;
    return ChangeState(GST_STATE_PAUSED);
}

void Pipeline::DrawIn(Size size)
{
    const GstHolder<GstElement> fit = Find("fit");
    if (!fit)
        return;
    const GstHolder<GstCaps> caps{gst_caps_new_simple(
        "video/x-raw", "width", G_TYPE_INT, static_cast<gint>(size.width), "height", G_TYPE_INT,
        static_cast<gint>(size.height), "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr)};
    g_object_set(fit.get(), "caps", caps.get(), nullptr);
    gst_video_overlay_expose(GST_VIDEO_OVERLAY(Find("view").get()));
}

HRESULT Pipeline::NextFrame(GstHolder<GstSample>& frame)
{
    GstAppSink* stills = GST_APP_SINK(stills_.get());
    if (playing_) {
        const GstHolder<GstSample> before{gst_app_sink_try_pull_sample(stills, 0)};
        for (GstClockTime waited = 0; !frame && waited < kPatience; waited += kSlice) {
            if (FAILED(failure_.load()) || gst_app_sink_is_eos(stills))
                return Failure();
            frame.reset(gst_app_sink_try_pull_sample(stills, kSlice));
        }
    } else {
        GstSample* last = nullptr;
        g_object_get(stills, "last-sample", &last, nullptr);
        frame.reset(last);
    }
    GstVideoInfo info;
    if (!frame || !gst_video_info_from_caps(&info, gst_sample_get_caps(frame.get())))
        return Failure();
    frameSize_ = {static_cast<uint32_t>(info.width), static_cast<uint32_t>(info.height)};
    return S_OK;
}

HRESULT Pipeline::TakePicture(std::vector<uint8_t>& jpeg)
{
    GstHolder<GstSample> frame;
    if (const HRESULT result = NextFrame(frame); FAILED(result))
        return result;
    // First in the whole range of brightness, which a JPEG file has and the encoder takes for granted.
    HRESULT result = S_OK;
    if (const auto whole = Convert(frame.get(), kWholeRange, result)) {
        if (const auto encoded = Convert(whole.get(), "image/jpeg", result))
            jpeg = BytesOf(encoded.get());
    }
    return result;
}

}  // namespace vorn::video
