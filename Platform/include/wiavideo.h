/**
 * @file wiavideo.h
 * The live video of a streaming-video device, shown in a window of the client.
 *
 * On Windows this hands over to the SDK's header of the same name.
 */
#pragma once

#ifdef _WIN32
#pragma GCC system_header
#include_next <wiavideo.h>
#else

#include "ole.h"

// clang-format off
DEFINE_GUID(CLSID_WiaVideo, 0x3908c3cd, 0x4478, 0x4536, 0xaf, 0x2f, 0x10, 0xc2, 0x5d, 0x4e, 0xf8, 0x9a);
DEFINE_GUID(IID_IWiaVideo, 0xd52920aa, 0xdb88, 0x41f0, 0x94, 0x6c, 0xe0, 0x0d, 0xc0, 0xa1, 0x9c, 0xfa);
// clang-format on

typedef enum WIAVIDEO_STATE {
    WIAVIDEO_NO_VIDEO = 1,
    WIAVIDEO_CREATING_VIDEO = 2,
    WIAVIDEO_VIDEO_CREATED = 3,
    WIAVIDEO_VIDEO_PLAYING = 4,
    WIAVIDEO_VIDEO_PAUSED = 5,
    WIAVIDEO_DESTROYING_VIDEO = 6
} WIAVIDEO_STATE;

#pragma GCC visibility push(default)

/** A video preview; stills are written as files into its images directory. */
struct IWiaVideo : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE get_PreviewVisible(BOOL* pbPreviewVisible) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_PreviewVisible(BOOL bPreviewVisible) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ImagesDirectory(BSTR* pbstrImageDirectory) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ImagesDirectory(BSTR bstrImageDirectory) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVideoByWiaDevID(BSTR bstrWiaDeviceID, HWND hwndParent,
                                                            BOOL bStretchToFitParent,
                                                            BOOL bAutoBeginPlayback) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVideoByDevNum(UINT uiDeviceNumber, HWND hwndParent,
                                                          BOOL bStretchToFitParent,
                                                          BOOL bAutoBeginPlayback) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVideoByName(BSTR bstrFriendlyName, HWND hwndParent,
                                                        BOOL bStretchToFitParent,
                                                        BOOL bAutoBeginPlayback) = 0;
    virtual HRESULT STDMETHODCALLTYPE DestroyVideo() = 0;
    virtual HRESULT STDMETHODCALLTYPE Play() = 0;
    virtual HRESULT STDMETHODCALLTYPE Pause() = 0;
    virtual HRESULT STDMETHODCALLTYPE TakePicture(BSTR* pbstrNewImageFilename) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResizeVideo(BOOL bStretchToFitParent) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurrentState(WIAVIDEO_STATE* pState) = 0;
};

#pragma GCC visibility pop

#endif
