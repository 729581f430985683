/**
 * @file WiaVideo.h
 * The platform's video object.
 */
#pragma once

#include <memory>
#include <string>

#include "Pipeline.h"
#include "PreviewWindow.h"
#include "wia/faces/Interfaces.h"
#include "wia/model/Device.h"

namespace vorn::video {

/**
 * One video at a time, of one device. Used on the thread that made it.
 *
 *              Create...               Play (Create... with playback)          Pause
 *     NO_VIDEO ─────────▶ VIDEO_CREATED ─────────▶ VIDEO_PLAYING ◀────────▶ VIDEO_PAUSED
 *        ▲                      │                        │         Play          │
 *        └──────────────────────┴───── DestroyVideo, or a Create... that fails ──┘
 */
class WiaVideo final : public ComObject<IWiaVideo> {
public:
    HRESULT STDMETHODCALLTYPE get_PreviewVisible(BOOL* visible) override;
    HRESULT STDMETHODCALLTYPE put_PreviewVisible(BOOL visible) override;
    HRESULT STDMETHODCALLTYPE get_ImagesDirectory(BSTR* directory) override;
    HRESULT STDMETHODCALLTYPE put_ImagesDirectory(BSTR directory) override;
    HRESULT STDMETHODCALLTYPE CreateVideoByWiaDevID(BSTR id, HWND parent, BOOL stretch, BOOL play) override;
    HRESULT STDMETHODCALLTYPE CreateVideoByDevNum(UINT number, HWND parent, BOOL stretch, BOOL play) override;
    HRESULT STDMETHODCALLTYPE CreateVideoByName(BSTR name, HWND parent, BOOL stretch, BOOL play) override;
    HRESULT STDMETHODCALLTYPE DestroyVideo() override;
    HRESULT STDMETHODCALLTYPE Play() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE TakePicture(BSTR* newName) override;
    HRESULT STDMETHODCALLTYPE ResizeVideo(BOOL stretch) override;
    HRESULT STDMETHODCALLTYPE GetCurrentState(WIAVIDEO_STATE* state) override;

private:
    struct Wishes {
        HWND parent;
        bool stretch, play;
    };

    HRESULT Create(const wia::DevicePtr& device, const Wishes& wishes);
    HRESULT TryCreate(const wia::Device& device, const Wishes& wishes);
    void Destroy() noexcept;
    HRESULT BeginPlaying();
    void Fit();

    // In this order: the pipeline draws into the window until its end.
    std::unique_ptr<PreviewWindow> window_;
    std::unique_ptr<Pipeline> pipeline_;
    WIAVIDEO_STATE state_ = WIAVIDEO_NO_VIDEO;
    bool visible_ = true, stretch_ = false;
    std::string imagesDirectory_;
    uint32_t nextNumber_ = 0;  ///< of the next picture's name
};

}  // namespace vorn::video
