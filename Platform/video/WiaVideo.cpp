#include "WiaVideo.h"

#include <filesystem>

#include "Failures.h"
#include "PictureFile.h"
#include "VideoLibrary.h"
#include "wia/Service.h"

namespace vorn::video {
namespace {

using wia::DevicePtr;

std::string Narrow(WStringView text)
{
    return std::filesystem::path{text}.string();
}

/** The first streaming-video device that fits; null when none does. */
template <typename Predicate>
DevicePtr FindDevice(Predicate fits)
{
    for (const DevicePtr& device : wia::Service::Instance().DevicesAtHand()) {
        if (device->Type() == StiDeviceTypeStreamingVideo && fits(*device))
            return device;
    }
    return nullptr;
}

/** Where the device's video comes from; empty when it does not tell. */
std::string PathOf(const wia::Device& device)
{
    if (!device.Definition().tree1)
        return {};
    wia::ItemDefinition root = device.Definition().tree1();
    const wia::Property* path = root.Find(WIA_DPV_DSHOW_DEVICE_PATH);
    return path ? Narrow(path->value.ToText()) : std::string{};
}

HRESULT CopyText(const std::string& text, BSTR* copy)
{
    if (!copy)
        return E_POINTER;
    *copy = Bstr{std::filesystem::path{text}.string<WCHAR>().c_str()}.Detach();
    return *copy ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

HRESULT WiaVideo::get_PreviewVisible(BOOL* visible)
{
    if (!visible)
        return E_POINTER;
    *visible = visible_;
    return S_OK;
}

HRESULT WiaVideo::put_PreviewVisible(BOOL visible)
{
    visible_ = visible != FALSE;
    if (window_)
        window_->Show(visible_);
    return S_OK;
}

HRESULT WiaVideo::get_ImagesDirectory(BSTR* directory)
{
    return NoThrow([&] { return CopyText(imagesDirectory_, directory); });
}

HRESULT WiaVideo::put_ImagesDirectory(BSTR directory)
{
    if (!directory)
        return E_INVALIDARG;
    return NoThrow([&] {
        std::string name = Narrow(directory);
        const HRESULT result = CheckDirectory(name);
        if (SUCCEEDED(result)) {
            imagesDirectory_ = std::move(name);
            nextNumber_ = 0;
        }
        return result;
    });
}

HRESULT WiaVideo::CreateVideoByWiaDevID(BSTR id, HWND parent, BOOL stretch, BOOL play)
{
    if (!id)
        return E_INVALIDARG;
    return NoThrow([&] {
        return Create(FindDevice([&](const wia::Device& device) { return device.Id() == id; }),
                      {parent, stretch != FALSE, play != FALSE});
    });
}

HRESULT WiaVideo::CreateVideoByDevNum(UINT number, HWND parent, BOOL stretch, BOOL play)
{
    return NoThrow([&] {
        return Create(FindDevice([&](const wia::Device&) { return number-- == 0; }),
                      {parent, stretch != FALSE, play != FALSE});
    });
}

HRESULT WiaVideo::CreateVideoByName(BSTR name, HWND parent, BOOL stretch, BOOL play)
{
    if (!name)
        return E_INVALIDARG;
    return NoThrow([&] {
        return Create(FindDevice([&](const wia::Device& device) { return device.Name() == name; }),
                      {parent, stretch != FALSE, play != FALSE});
    });
}

/** A video that was there goes first. A failed creation leaves nothing behind. */
HRESULT WiaVideo::Create(const DevicePtr& device, const Wishes& wishes)
{
    Destroy();
    if (!device)
        return WIA_S_NO_DEVICE_AVAILABLE;
    const HRESULT result = TryCreate(*device, wishes);
    if (FAILED(result))
        Destroy();
    return result;
}

HRESULT WiaVideo::TryCreate(const wia::Device& device, const Wishes& wishes)
{
    stretch_ = wishes.stretch;
    if (const auto parent = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(wishes.parent))) {
        if (const HRESULT result = PreviewWindow::Open(parent, window_); FAILED(result))
            return result;
    }
    if (const HRESULT result = Pipeline::Open(PathOf(device), window_ ? window_->Id() : 0, pipeline_);
        FAILED(result))
        return result;
    state_ = WIAVIDEO_VIDEO_CREATED;
    Fit();
    return wishes.play ? BeginPlaying() : S_OK;
}

void WiaVideo::Destroy() noexcept
{
    pipeline_.reset();
    window_.reset();
    state_ = WIAVIDEO_NO_VIDEO;
}

HRESULT WiaVideo::DestroyVideo()
{
    Destroy();
    return S_OK;
}

HRESULT WiaVideo::BeginPlaying()
{
    if (const HRESULT result = pipeline_->Play(); FAILED(result))
        return result;
    state_ = WIAVIDEO_VIDEO_PLAYING;
    Fit();
    if (window_)
        window_->Show(visible_);
    return S_OK;
}

void WiaVideo::Fit()
{
    if (!window_)
        return;
    if (const std::optional<Size> size = window_->Fit(stretch_, pipeline_->FrameSize()))
        pipeline_->DrawIn(*size);
}

HRESULT WiaVideo::Play()
{
    return pipeline_ ? BeginPlaying() : E_UNEXPECTED;
}

HRESULT WiaVideo::Pause()
{
    if (!pipeline_)
        return E_UNEXPECTED;
    const HRESULT result = pipeline_->Pause();
    if (SUCCEEDED(result))
        state_ = WIAVIDEO_VIDEO_PAUSED;
    return result;
}

HRESULT WiaVideo::TakePicture(BSTR* newName)
{
    if (!newName)
        return E_POINTER;
    *newName = nullptr;
    if (!pipeline_)
        return E_UNEXPECTED;
    return NoThrow([&] {
        std::vector<uint8_t> jpeg;
        if (const HRESULT result = pipeline_->TakePicture(jpeg); FAILED(result))
            return result;
        std::string path;
        const HRESULT result = WritePicture(imagesDirectory_, jpeg, nextNumber_, path);
        return FAILED(result) ? result : CopyText(path, newName);
    });
}

HRESULT WiaVideo::ResizeVideo(BOOL stretch)
{
    if (!pipeline_)
        return E_UNEXPECTED;
    stretch_ = stretch != FALSE;
    Fit();
    return S_OK;
}

HRESULT WiaVideo::GetCurrentState(WIAVIDEO_STATE* state)
{
    if (!state)
        return E_POINTER;
    *state = state_;
    return S_OK;
}

}  // namespace vorn::video

extern "C" __attribute__((visibility("default"))) HRESULT VornMakeVideoClass(REFIID iid, void** object)
{
    using Factory = vorn::ComClassFactory<vorn::video::WiaVideo>;
    return vorn::MakeComObject<Factory>(iid, object);
}
