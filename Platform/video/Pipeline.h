/**
 * @file Pipeline.h
 * The way of the video from the device into the window and into still pictures.
 */
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "GstHolders.h"
#include "PreviewWindow.h"

namespace vorn::video {

/**
 * Plays one device. Every wait is bounded by kPatience; when it ends, no thread of the pipeline runs any more.
 *
 *     device ──▶ frames ──┬──▶ stills (the newest frame is kept)
 *                         └──▶ fit ──▶ view (only with a window)
 */
class Pipeline {
public:
    /**
     * Builds the pipeline and opens its device.
     * @param devicePath  the file of a camera, or wia::kTestPatternPath
     * @param window      the window to draw into, which outlives the pipeline; 0: none
     */
    static HRESULT Open(const std::string& devicePath, uint32_t window, std::unique_ptr<Pipeline>& pipeline);
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline();

    /** Plays, and waits for a frame. */
    HRESULT Play();
    HRESULT Pause();

    /** The size of the frames; zero before the first one. */
    Size FrameSize() const noexcept { return frameSize_; }

    /** Draws in this size from now on, that of the window. */
    void DrawIn(Size size);

    /** The next frame while playing, the last one otherwise, as a JPEG file. */
    HRESULT TakePicture(std::vector<uint8_t>& jpeg);

private:
    explicit Pipeline(GstHolder<GstElement> pipeline);

    static GstBusSyncReply Listen(GstBus* bus, GstMessage* message, gpointer self);

    HRESULT ChangeState(GstState state);
    HRESULT NextFrame(GstHolder<GstSample>& frame);
    HRESULT Failure() const noexcept;
    GstHolder<GstElement> Find(const char* name) const;

    GstHolder<GstElement> pipeline_, stills_;
    Size frameSize_;
    bool playing_ = false;
    std::atomic<HRESULT> failure_{S_OK};  ///< what the device reported, from whichever thread
};

}  // namespace vorn::video
