/**
 * @file wia2.h
 * Image acquisition, second generation: interfaces, item categories, transfer messages, and the property ids
 * that came with it.
 *
 * It serves both worlds: where the SDK has a name already, the SDK's stands.
 */
#pragma once

#ifdef _WIN32
#include <wia.h>
#else
#include "wia.h"
#endif

#include "vornwia_types.h"

/* ---- Results ---- */

#ifndef WIA_ERROR_COVER_OPEN
#define WIA_ERROR_COVER_OPEN static_cast<HRESULT>(0x80210010)
#endif
#ifndef WIA_ERROR_LAMP_OFF
#define WIA_ERROR_LAMP_OFF static_cast<HRESULT>(0x80210011)
#endif
#ifndef WIA_ERROR_DESTINATION
#define WIA_ERROR_DESTINATION static_cast<HRESULT>(0x80210012)
#endif
#ifndef WIA_ERROR_NETWORK_RESERVATION_FAILED
#define WIA_ERROR_NETWORK_RESERVATION_FAILED static_cast<HRESULT>(0x80210013)
#endif
#ifndef WIA_ERROR_MULTI_FEED
#define WIA_ERROR_MULTI_FEED static_cast<HRESULT>(0x80210014)
#endif

/* ---- Transfers and settings ---- */

#ifndef WIA_TRANSFER_ACQUIRE_CHILDREN
#define WIA_TRANSFER_ACQUIRE_CHILDREN 0x0001
#endif
#ifndef WIA_TRANSFER_MSG_STATUS
#define WIA_TRANSFER_MSG_STATUS 1
#endif
#ifndef WIA_TRANSFER_MSG_END_OF_STREAM
#define WIA_TRANSFER_MSG_END_OF_STREAM 2
#endif
#ifndef WIA_TRANSFER_MSG_END_OF_TRANSFER
#define WIA_TRANSFER_MSG_END_OF_TRANSFER 3
#endif
#ifndef WIA_TRANSFER_MSG_DEVICE_STATUS
#define WIA_TRANSFER_MSG_DEVICE_STATUS 5
#endif
#ifndef WIA_TRANSFER_MSG_NEW_PAGE
#define WIA_TRANSFER_MSG_NEW_PAGE 6
#endif
#ifndef ADVANCED_DUPLEX
#define ADVANCED_DUPLEX 0x400
#endif
#ifndef WIA_USE_SEGMENTATION_FILTER
#define WIA_USE_SEGMENTATION_FILTER 0
#endif
#ifndef WIA_DONT_USE_SEGMENTATION_FILTER
#define WIA_DONT_USE_SEGMENTATION_FILTER 1
#endif

#ifndef WIA_PAGE_USLEGAL
#define WIA_PAGE_USLEGAL 3
#endif
#ifndef WIA_PAGE_USSTATEMENT
#define WIA_PAGE_USSTATEMENT 5
#endif
#ifndef WIA_PAGE_BUSINESSCARD
#define WIA_PAGE_BUSINESSCARD 6
#endif
#ifndef WIA_PAGE_ISO_A5
#define WIA_PAGE_ISO_A5 11
#endif
#ifndef WIA_PAGE_ISO_A6
#define WIA_PAGE_ISO_A6 12
#endif

/* ---- Properties ---- */

#ifndef WIA_DIP_PNP_ID
#define WIA_DIP_PNP_ID 16
#define WIA_DIP_PNP_ID_STR VORN_TEXT("PnP ID String")
#endif
#ifndef WIA_DIP_STI_DRIVER_VERSION
#define WIA_DIP_STI_DRIVER_VERSION 17
#define WIA_DIP_STI_DRIVER_VERSION_STR VORN_TEXT("STI Driver Version")
#endif
#ifndef WIA_IPA_ITEM_CATEGORY
#define WIA_IPA_ITEM_CATEGORY 4125
#define WIA_IPA_ITEM_CATEGORY_STR VORN_TEXT("Item Category")
#endif
#ifndef WIA_IPA_UPLOAD_ITEM_SIZE
#define WIA_IPA_UPLOAD_ITEM_SIZE 4126
#define WIA_IPA_UPLOAD_ITEM_SIZE_STR VORN_TEXT("Upload Item Size")
#endif
#ifndef WIA_IPA_ITEMS_STORED
#define WIA_IPA_ITEMS_STORED 4127
#define WIA_IPA_ITEMS_STORED_STR VORN_TEXT("Items Stored")
#endif
#ifndef WIA_IPA_RAW_BITS_PER_CHANNEL
#define WIA_IPA_RAW_BITS_PER_CHANNEL 4128
#define WIA_IPA_RAW_BITS_PER_CHANNEL_STR VORN_TEXT("Raw Bits Per Channel")
#endif
#ifndef WIA_IPS_SHEET_FEEDER_REGISTRATION
#define WIA_IPS_SHEET_FEEDER_REGISTRATION 3078
#define WIA_IPS_SHEET_FEEDER_REGISTRATION_STR VORN_TEXT("Sheet Feeder Registration")
#endif
#ifndef WIA_IPS_DOCUMENT_HANDLING_SELECT
#define WIA_IPS_DOCUMENT_HANDLING_SELECT 3088
#define WIA_IPS_DOCUMENT_HANDLING_SELECT_STR VORN_TEXT("Document Handling Select")
#endif
#ifndef WIA_IPS_OPTICAL_XRES
#define WIA_IPS_OPTICAL_XRES 3090
#define WIA_IPS_OPTICAL_XRES_STR VORN_TEXT("Horizontal Optical Resolution")
#endif
#ifndef WIA_IPS_OPTICAL_YRES
#define WIA_IPS_OPTICAL_YRES 3091
#define WIA_IPS_OPTICAL_YRES_STR VORN_TEXT("Vertical Optical Resolution")
#endif
#ifndef WIA_IPS_PAGES
#define WIA_IPS_PAGES 3096
#define WIA_IPS_PAGES_STR VORN_TEXT("Pages")
#endif
#ifndef WIA_IPS_PAGE_SIZE
#define WIA_IPS_PAGE_SIZE 3097
#define WIA_IPS_PAGE_SIZE_STR VORN_TEXT("Page Size")
#endif
#ifndef WIA_IPS_PAGE_WIDTH
#define WIA_IPS_PAGE_WIDTH 3098
#define WIA_IPS_PAGE_WIDTH_STR VORN_TEXT("Page Width")
#endif
#ifndef WIA_IPS_PAGE_HEIGHT
#define WIA_IPS_PAGE_HEIGHT 3099
#define WIA_IPS_PAGE_HEIGHT_STR VORN_TEXT("Page Height")
#endif
#ifndef WIA_IPS_PREVIEW
#define WIA_IPS_PREVIEW 3100
#define WIA_IPS_PREVIEW_STR VORN_TEXT("Preview")
#endif
#ifndef WIA_IPS_SHOW_PREVIEW_CONTROL
#define WIA_IPS_SHOW_PREVIEW_CONTROL 3103
#define WIA_IPS_SHOW_PREVIEW_CONTROL_STR VORN_TEXT("Show preview control")
#endif
#ifndef WIA_IPS_FILM_SCAN_MODE
#define WIA_IPS_FILM_SCAN_MODE 3104
#define WIA_IPS_FILM_SCAN_MODE_STR VORN_TEXT("Film Scan Mode")
#endif
#ifndef WIA_IPS_LAMP
#define WIA_IPS_LAMP 3105
#define WIA_IPS_LAMP_STR VORN_TEXT("Lamp")
#endif
#ifndef WIA_IPS_LAMP_AUTO_OFF
#define WIA_IPS_LAMP_AUTO_OFF 3106
#define WIA_IPS_LAMP_AUTO_OFF_STR VORN_TEXT("Lamp Auto Off")
#endif
#ifndef WIA_IPS_AUTO_DESKEW
#define WIA_IPS_AUTO_DESKEW 3107
#define WIA_IPS_AUTO_DESKEW_STR VORN_TEXT("Automatic Deskew")
#endif
#ifndef WIA_IPS_SUPPORTS_CHILD_ITEM_CREATION
#define WIA_IPS_SUPPORTS_CHILD_ITEM_CREATION 3108
#define WIA_IPS_SUPPORTS_CHILD_ITEM_CREATION_STR VORN_TEXT("Supports Child Item Creation")
#endif
#ifndef WIA_IPS_XSCALING
#define WIA_IPS_XSCALING 3109
#define WIA_IPS_XSCALING_STR VORN_TEXT("Horizontal Scaling")
#endif
#ifndef WIA_IPS_YSCALING
#define WIA_IPS_YSCALING 3110
#define WIA_IPS_YSCALING_STR VORN_TEXT("Vertical Scaling")
#endif
#ifndef WIA_IPS_PREVIEW_TYPE
#define WIA_IPS_PREVIEW_TYPE 3111
#define WIA_IPS_PREVIEW_TYPE_STR VORN_TEXT("Preview Type")
#endif
#ifndef WIA_IPS_DESKEW_X
#define WIA_IPS_DESKEW_X 6162
#define WIA_IPS_DESKEW_X_STR VORN_TEXT("DeskewX")
#endif
#ifndef WIA_IPS_DESKEW_Y
#define WIA_IPS_DESKEW_Y 6163
#define WIA_IPS_DESKEW_Y_STR VORN_TEXT("DeskewY")
#endif
#ifndef WIA_IPS_SEGMENTATION
#define WIA_IPS_SEGMENTATION 6164
#define WIA_IPS_SEGMENTATION_STR VORN_TEXT("Segmentation")
#endif
#ifndef WIA_IPS_MAX_HORIZONTAL_SIZE
#define WIA_IPS_MAX_HORIZONTAL_SIZE 6165
#define WIA_IPS_MAX_HORIZONTAL_SIZE_STR VORN_TEXT("Maximum Horizontal Scan Size")
#endif
#ifndef WIA_IPS_MAX_VERTICAL_SIZE
#define WIA_IPS_MAX_VERTICAL_SIZE 6166
#define WIA_IPS_MAX_VERTICAL_SIZE_STR VORN_TEXT("Maximum Vertical Scan Size")
#endif
#ifndef WIA_IPS_MIN_HORIZONTAL_SIZE
#define WIA_IPS_MIN_HORIZONTAL_SIZE 6167
#define WIA_IPS_MIN_HORIZONTAL_SIZE_STR VORN_TEXT("Minimum Horizontal Scan Size")
#endif
#ifndef WIA_IPS_MIN_VERTICAL_SIZE
#define WIA_IPS_MIN_VERTICAL_SIZE 6168
#define WIA_IPS_MIN_VERTICAL_SIZE_STR VORN_TEXT("Minimum Vertical Scan Size")
#endif
#ifndef WIA_IPS_TRANSFER_CAPABILITIES
#define WIA_IPS_TRANSFER_CAPABILITIES 6169
#define WIA_IPS_TRANSFER_CAPABILITIES_STR VORN_TEXT("Transfer Capabilities")
#endif

/* ---- Item categories, classes, interfaces ---- */

// clang-format off
DEFINE_GUID(WIA_CATEGORY_ROOT, 0xf193526f, 0x59b8, 0x4a26, 0x98, 0x88, 0xe1, 0x6e, 0x4f, 0x97, 0xce, 0x10);
DEFINE_GUID(WIA_CATEGORY_FLATBED, 0xfb607b1f, 0x43f3, 0x488b, 0x85, 0x5b, 0xfb, 0x70, 0x3e, 0xc3, 0x42, 0xa6);
DEFINE_GUID(WIA_CATEGORY_FEEDER, 0xfe131934, 0xf84c, 0x42ad, 0x8d, 0xa4, 0x61, 0x29, 0xcd, 0xdd, 0x72, 0x88);
DEFINE_GUID(WIA_CATEGORY_FEEDER_FRONT, 0x4823175c, 0x3b28, 0x487b, 0xa7, 0xe6, 0xee, 0xbc, 0x17, 0x61, 0x4f, 0xd1);
DEFINE_GUID(WIA_CATEGORY_FEEDER_BACK, 0x61ca74d4, 0x39db, 0x42aa, 0x89, 0xb1, 0x8c, 0x19, 0xc9, 0xcd, 0x4c, 0x23);
DEFINE_GUID(WIA_CATEGORY_FILM, 0xfcf65be7, 0x3ce3, 0x4473, 0xaf, 0x85, 0xf5, 0xd3, 0x7d, 0x21, 0xb6, 0x8a);
DEFINE_GUID(WIA_CATEGORY_FOLDER, 0xc692a446, 0x6f5a, 0x481d, 0x85, 0xbb, 0x92, 0xe2, 0xe8, 0x6f, 0xd3, 0x0a);
DEFINE_GUID(WIA_CATEGORY_FINISHED_FILE, 0xff2b77ca, 0xcf84, 0x432b, 0xa7, 0x35, 0x3a, 0x13, 0x0d, 0xde, 0x2a, 0x88);
DEFINE_GUID(WIA_CATEGORY_AUTO, 0xdefe5fd8, 0x6c97, 0x4dde, 0xb1, 0x1e, 0xcb, 0x50, 0x9b, 0x27, 0x0e, 0x11);

#ifndef __IWiaDevMgr2_INTERFACE_DEFINED__
DEFINE_GUID(CLSID_WiaDevMgr2, 0xb6c292bc, 0x7c88, 0x41ee, 0x8b, 0x54, 0x8e, 0xc9, 0x26, 0x17, 0xe5, 0x99);
DEFINE_GUID(IID_IWiaDevMgr2, 0x79c07cf1, 0xcbdd, 0x41ee, 0x8e, 0xc3, 0xf0, 0x00, 0x80, 0xca, 0xda, 0x7a);
DEFINE_GUID(IID_IWiaItem2, 0x6cba0075, 0x1287, 0x407d, 0x9b, 0x77, 0xcf, 0x0e, 0x03, 0x04, 0x35, 0xcc);
DEFINE_GUID(IID_IEnumWiaItem2, 0x59970af4, 0xcd0d, 0x44d9, 0xab, 0x24, 0x52, 0x29, 0x56, 0x30, 0xe5, 0x82);
DEFINE_GUID(IID_IWiaTransfer, 0xc39d6942, 0x2f4e, 0x4d04, 0x92, 0xfe, 0x4e, 0xf4, 0xd3, 0xa1, 0xde, 0x5a);
DEFINE_GUID(IID_IWiaTransferCallback, 0x27d4eaaf, 0x28a6, 0x4ca5, 0x9a, 0xab, 0xe6, 0x78, 0x16, 0x8b, 0x95, 0x27);
DEFINE_GUID(IID_IWiaPreview, 0x95c2b4fd, 0x33f2, 0x4d86, 0xad, 0x40, 0x94, 0x31, 0xf0, 0xdf, 0x08, 0xf7);
#endif
// clang-format on

#ifndef __IWiaDevMgr2_INTERFACE_DEFINED__
#define __IWiaDevMgr2_INTERFACE_DEFINED__

/** What a transfer tells about itself: one `WIA_TRANSFER_MSG_` message. */
typedef struct _WiaTransferParams {
    LONG lMessage;
    LONG lPercentComplete;
    ULONG64 ulTransferredBytes;
    HRESULT hrErrorStatus;
} WiaTransferParams;

#ifndef _WIN32
#pragma GCC visibility push(default)
#endif

struct IEnumWiaItem2;
struct IWiaItem2;
struct IWiaPreview;

/** Receives a transfer: gives a stream for each item or page, hears of progress; implemented by the client.
 */
struct IWiaTransferCallback : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE TransferCallback(LONG lFlags,
                                                       WiaTransferParams* pWiaTransferParams) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNextStream(LONG lFlags, BSTR bstrItemName, BSTR bstrFullItemName,
                                                    IStream** ppDestination) = 0;
};

/** Transfers an item's data. */
struct IWiaTransfer : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Download(LONG lFlags, IWiaTransferCallback* pIWiaTransferCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE Upload(LONG lFlags, IStream* pSource,
                                             IWiaTransferCallback* pIWiaTransferCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** ppEnum) = 0;
};

/** The device manager: lists and opens devices. */
struct IWiaDevMgr2 : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG lFlags, IEnumWIA_DEV_INFO** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDevice(LONG lFlags, BSTR bstrDeviceID,
                                                   IWiaItem2** ppWiaItem2Root) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                      BSTR* pbstrDeviceID, IWiaItem2** ppItemRoot) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                        BSTR* pbstrDeviceID) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG lFlags, BSTR bstrDeviceID,
                                                                     const GUID* pEventGUID,
                                                                     IWiaEventCallback* pIWiaEventCallback,
                                                                     IUnknown** pEventObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG lFlags, BSTR bstrDeviceID,
                                                                   const GUID* pEventGUID,
                                                                   BSTR bstrFullAppName,
                                                                   BSTR bstrCommandLineArg, BSTR bstrName,
                                                                   BSTR bstrDescription, BSTR bstrIcon) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG lFlags, BSTR bstrDeviceID,
                                                                 const GUID* pEventGUID, const GUID* pClsID,
                                                                 BSTR bstrName, BSTR bstrDescription,
                                                                 BSTR bstrIcon) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImageDlg(LONG lFlags, BSTR bstrDeviceID, HWND hwndParent,
                                                  BSTR bstrFolderName, BSTR bstrFilename, LONG* plNumFiles,
                                                  BSTR** ppbstrFilePaths, IWiaItem2** ppItem) = 0;
};

/** A node of the tree of a device. */
struct IWiaItem2 : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateChildItem(LONG lItemFlags, LONG lCreationFlags, BSTR bstrItemName,
                                                      IWiaItem2** ppIWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteItem(LONG lFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumChildItems(const GUID* pCategoryGUID,
                                                     IEnumWiaItem2** ppIEnumWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindItemByName(LONG lFlags, BSTR bstrFullItemName,
                                                     IWiaItem2** ppIWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemCategory(GUID* pItemCategoryGUID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemType(LONG* pItemType) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeviceDlg(LONG lFlags, HWND hwndParent, BSTR bstrFolderName,
                                                BSTR bstrFilename, LONG* plNumFiles, BSTR** ppbstrFilePaths,
                                                IWiaItem2** ppItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeviceCommand(LONG lFlags, const GUID* pCmdGUID,
                                                    IWiaItem2** ppIWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG lFlags,
                                                             IEnumWIA_DEV_CAPS** ppIEnumWIA_DEV_CAPS) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckExtension(LONG lFlags, BSTR bstrName,
                                                     REFIID riidExtensionInterface,
                                                     BOOL* pbExtensionExists) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExtension(LONG lFlags, BSTR bstrName, REFIID riidExtensionInterface,
                                                   void** ppOut) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParentItem(IWiaItem2** ppIWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem2** ppIWiaItem2) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewComponent(LONG lFlags, IWiaPreview** ppWiaPreview) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG lFlags, const GUID* pEventGUID,
                                                            IEnumWIA_DEV_CAPS** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE Diagnostic(ULONG ulSize, BYTE* pBuffer) = 0;
};

/** Lists items. */
struct IEnumWiaItem2 : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG cElt, IWiaItem2** ppIWiaItem2, ULONG* pcEltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cElt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWiaItem2** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* cElt) = 0;
};

/** Previews an item. */
struct IWiaPreview : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetNewPreview(LONG lFlags, IWiaItem2* pWiaItem2,
                                                    IWiaTransferCallback* pWiaTransferCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE UpdatePreview(LONG lFlags, IWiaItem2* pChildWiaItem2,
                                                    IWiaTransferCallback* pWiaTransferCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE DetectRegions(LONG lFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
};

#ifndef _WIN32
#pragma GCC visibility pop
#endif

#endif
