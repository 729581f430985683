/** Video preview: the platform's video object, held by the session and shown in the caller's window. */
#include "Internal.h"

namespace vorn {
namespace {

/** CheckSelectedDevice, and ERR_VIDEO_PREVIEW_NOT_STARTED for a session without a video object. */
int32_t CheckPreview(const WiaSession* session)
{
    if (const int32_t status = CheckSelectedDevice(session); status != SUCCESS)
        return status;
    return session->videoPreview ? SUCCESS : ERR_VIDEO_PREVIEW_NOT_STARTED;
}

/** The item whose properties the preview reads: generation 1's root item, null in the other generation. */
WiaItemHandle PreviewRoot(const WiaSession* session)
{
    return reinterpret_cast<WiaItemHandle>(session->rootItem);
}

/** ERR_NOT_VIDEO_DEVICE for a device of another type, and the status of a type that cannot be read. */
int32_t CheckVideoDevice(WiaSession* session)
{
    int32_t value = 0;
    const int32_t status =
        Vorn_WiaGetPropertyLong(session, PreviewRoot(session), nullptr, WIA_DIP_DEV_TYPE, &value);
    if (status != SUCCESS)
        return status;
    uint32_t type = WIA_DEVICE_TYPE_VIDEO;
    return Vorn_WiaGetSelectedDeviceType(session, &type) == SUCCESS && type != WIA_DEVICE_TYPE_VIDEO
               ? ERR_NOT_VIDEO_DEVICE
               : SUCCESS;
}

void DropVideo(WiaSession* session)
{
    if (IWiaVideo* video = std::exchange(session->videoPreview, nullptr))
        video->Release();
}

/** Puts a new video object in place of the session's old one. */
int32_t HoldVideo(WiaSession* session)
{
    DropVideo(session);
    ComPtr<IWiaVideo> video;
    const HRESULT result =
        CoCreateInstance(CLSID_WiaVideo, nullptr, CLSCTX_INPROC_SERVER, IID_IWiaVideo, video.OutVoid());
    if (!IsPlainSuccess(result))
        return MapWiaResult(result);
    session->videoPreview = video.Detach();
    return session->videoPreview ? SUCCESS : ERR_WIA_UNEXPECTED;
}

/** Lets the video object write its pictures where the device keeps them. */
int32_t PassImagesDirectory(WiaSession* session)
{
    WCHAR name[VORNWIA_NAME_CHARS] = {};
    uint64_t size = VORNWIA_NAME_CHARS;
    const int32_t status = Vorn_WiaGetPropertyString(session, PreviewRoot(session), nullptr,
                                                     WIA_DPV_IMAGES_DIRECTORY, name, &size);
    if (status != SUCCESS)
        return status;
    const Bstr directory{name};
    return directory ? StatusOf(session->videoPreview->put_ImagesDirectory(directory.Get())) : SUCCESS;
}

/** Hands a picture's name out by the size protocol. */
int32_t DeliverName(const WCHAR* name, WCHAR* buffer, uint64_t* size)
{
    const uint64_t needed = TextLength(name) + 1;
    if (buffer && *size >= needed) {
        KrnMemCopy(buffer, name, needed * sizeof(WCHAR));
        return SUCCESS;
    }
    *size = needed;
    return buffer ? ERR_BUFFER_TOO_SMALL : SUCCESS;
}

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaStartVideoPreview(WiaSession* session, HWND parent, int32_t stretchToFitParent)
{
    if (const int32_t status = CheckSelectedDevice(session); status != SUCCESS)
        return status;
    if (const int32_t status = CheckVideoDevice(session); status != SUCCESS)
        return status;
    if (const int32_t status = HoldVideo(session); status != SUCCESS)
        return status;
    if (const int32_t status = PassImagesDirectory(session); status != SUCCESS)
        return status;
    return StatusOf(session->videoPreview->CreateVideoByWiaDevID(session->selectedDeviceId, parent,
                                                                 stretchToFitParent, TRUE));
}

int32_t Vorn_WiaIsVideoPreviewAvailable(WiaSession* session)
{
    return CheckPreview(session) == SUCCESS ? 1 : 0;
}

int32_t Vorn_WiaAcquireImageFromVideo(WiaSession* session, WCHAR* buffer, uint64_t* size)
{
    if (!size)
        return ERR_INVALID_ARGUMENT;
    if (const int32_t status = CheckPreview(session); status != SUCCESS)
        return status;
    Bstr name;
    if (const HRESULT result = session->videoPreview->TakePicture(name.Out()); !IsPlainSuccess(result))
        return MapWiaResult(result);
    return name ? DeliverName(name.Get(), buffer, size) : ERR_WIA_UNEXPECTED;
}

int32_t Vorn_WiaResizeVideoPreview(WiaSession* session, int32_t stretchToFitParent)
{
    if (const int32_t status = CheckPreview(session); status != SUCCESS)
        return status;
    return StatusOf(session->videoPreview->ResizeVideo(stretchToFitParent));
}

int32_t Vorn_WiaEndVideoPreview(WiaSession* session)
{
    if (const int32_t status = CheckPreview(session); status != SUCCESS)
        return status;
    IWiaVideo* const video = session->videoPreview;
    if (const HRESULT result = video->DestroyVideo(); !IsPlainSuccess(result))
        return MapWiaResult(result);

    // Opened once more without a window and closed again, the device lets go of the caller's for certain.
    video->CreateVideoByWiaDevID(session->selectedDeviceId, nullptr, FALSE, FALSE);
    video->DestroyVideo();
    DropVideo(session);
    return SUCCESS;
}
