/**
 * @file wia.h
 * Image acquisition, first generation: interfaces, records, results, formats. Property ids are in
 * `wiaprops.h`.
 *
 * On Windows this hands over to the SDK's header of the same name.
 */
#pragma once

#ifdef _WIN32
#pragma GCC system_header
#include_next <wia.h>
#else

#include "ole.h"
#include "wiaprops.h"

/* ---- Results ---- */

#define FACILITY_WIA 33

#define WIA_ERROR_GENERAL_ERROR static_cast<HRESULT>(0x80210001)
#define WIA_ERROR_PAPER_JAM static_cast<HRESULT>(0x80210002)
#define WIA_ERROR_PAPER_EMPTY static_cast<HRESULT>(0x80210003)
#define WIA_ERROR_PAPER_PROBLEM static_cast<HRESULT>(0x80210004)
#define WIA_ERROR_OFFLINE static_cast<HRESULT>(0x80210005)
#define WIA_ERROR_BUSY static_cast<HRESULT>(0x80210006)
#define WIA_ERROR_WARMING_UP static_cast<HRESULT>(0x80210007)
#define WIA_ERROR_USER_INTERVENTION static_cast<HRESULT>(0x80210008)
#define WIA_ERROR_ITEM_DELETED static_cast<HRESULT>(0x80210009)
#define WIA_ERROR_DEVICE_COMMUNICATION static_cast<HRESULT>(0x8021000A)
#define WIA_ERROR_INVALID_COMMAND static_cast<HRESULT>(0x8021000B)
#define WIA_ERROR_INCORRECT_HARDWARE_SETTING static_cast<HRESULT>(0x8021000C)
#define WIA_ERROR_DEVICE_LOCKED static_cast<HRESULT>(0x8021000D)
#define WIA_ERROR_EXCEPTION_IN_DRIVER static_cast<HRESULT>(0x8021000E)
#define WIA_ERROR_INVALID_DRIVER_RESPONSE static_cast<HRESULT>(0x8021000F)
#define WIA_S_NO_DEVICE_AVAILABLE static_cast<HRESULT>(0x80210015)

#define WIA_STATUS_END_OF_MEDIA static_cast<HRESULT>(0x00210001)

/* ---- Dialogs, events, enumerations ---- */

#define WIA_SELECT_DEVICE_NODEFAULT 0x00000001
#define WIA_DEVICE_DIALOG_SINGLE_IMAGE 0x00000002
#define WIA_DEVICE_DIALOG_USE_COMMON_UI 0x00000004

#define WIA_REGISTER_EVENT_CALLBACK 0x00000001
#define WIA_UNREGISTER_EVENT_CALLBACK 0x00000002
#define WIA_SET_DEFAULT_HANDLER 0x00000004
#define WIA_NOTIFICATION_EVENT 0x00000001
#define WIA_ACTION_EVENT 0x00000002
#define WIA_IS_DEFAULT_HANDLER 0x00000001

#define WIA_DEVICE_NOT_CONNECTED 0
#define WIA_DEVICE_CONNECTED 1

#define WIA_DEVICE_COMMANDS 1
#define WIA_DEVICE_EVENTS 2

#define WIA_DEVINFO_ENUM_LOCAL 0x00000010

/* ---- Transfers ---- */

#define TYMED_CALLBACK 128
#define TYMED_MULTIPAGE_FILE 256
#define TYMED_MULTIPAGE_CALLBACK 512
#define IT_MSG_DATA_HEADER 0x0001
#define IT_MSG_DATA 0x0002
#define IT_MSG_STATUS 0x0003
#define IT_MSG_TERMINATION 0x0004
#define IT_MSG_NEW_PAGE 0x0005
#define IT_MSG_FILE_PREVIEW_DATA 0x0006
#define IT_MSG_FILE_PREVIEW_DATA_HEADER 0x0007
#define IT_STATUS_TRANSFER_FROM_DEVICE 0x0001
#define IT_STATUS_PROCESSING_DATA 0x0002
#define IT_STATUS_TRANSFER_TO_CLIENT 0x0004

/* ---- Item types and property access ---- */

#define WiaItemTypeFree 0x00000000
#define WiaItemTypeImage 0x00000001
#define WiaItemTypeFile 0x00000002
#define WiaItemTypeFolder 0x00000004
#define WiaItemTypeRoot 0x00000008
#define WiaItemTypeAnalyze 0x00000010
#define WiaItemTypeAudio 0x00000020
#define WiaItemTypeDevice 0x00000040
#define WiaItemTypeDeleted 0x00000080
#define WiaItemTypeDisconnected 0x00000100
#define WiaItemTypeHPanorama 0x00000200
#define WiaItemTypeVPanorama 0x00000400
#define WiaItemTypeBurst 0x00000800
#define WiaItemTypeStorage 0x00001000
#define WiaItemTypeTransfer 0x00002000
#define WiaItemTypeGenerated 0x00004000
#define WiaItemTypeHasAttachments 0x00008000
#define WiaItemTypeVideo 0x00010000
#define WiaItemTypeRemoved 0x80000000
#define WiaItemTypeMask 0x8003FFFF
#define WIA_MAX_CTX_SIZE 0x01000000
#define WIA_PROP_READ 0x01
#define WIA_PROP_WRITE 0x02
#define WIA_PROP_RW (WIA_PROP_READ | WIA_PROP_WRITE)
#define WIA_PROP_SYNC_REQUIRED 0x04
#define WIA_PROP_NONE 0x08
#define WIA_PROP_RANGE 0x10
#define WIA_PROP_LIST 0x20
#define WIA_PROP_FLAG 0x40
#define WIA_PROP_CACHEABLE 0x10000
#define WIA_ITEM_CAN_BE_DELETED 0x80
#define WIA_ITEM_READ WIA_PROP_READ
#define WIA_ITEM_WRITE WIA_PROP_WRITE
#define WIA_ITEM_RD (WIA_ITEM_READ | WIA_ITEM_CAN_BE_DELETED)
#define WIA_ITEM_RWD (WIA_ITEM_READ | WIA_ITEM_WRITE | WIA_ITEM_CAN_BE_DELETED)

/* ---- Device types ---- */

typedef enum _STI_DEVICE_MJ_TYPE {
    StiDeviceTypeDefault = 0,
    StiDeviceTypeScanner = 1,
    StiDeviceTypeDigitalCamera = 2,
    StiDeviceTypeStreamingVideo = 3
} STI_DEVICE_MJ_TYPE;

typedef DWORD STI_DEVICE_TYPE;

#define GET_STIDEVICE_TYPE(deviceType) HIWORD(deviceType)
#define GET_STIDEVICE_SUBTYPE(deviceType) LOWORD(deviceType)

/* ---- Formats, events, commands ---- */

// clang-format off
DEFINE_GUID(WiaImgFmt_UNDEFINED, 0xb96b3ca9, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_RAWRGB, 0xbca48b55, 0xf272, 0x4371, 0xb0, 0xf1, 0x4a, 0x15, 0x0d, 0x05, 0x7b, 0xb4);
DEFINE_GUID(WiaImgFmt_MEMORYBMP, 0xb96b3caa, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_BMP, 0xb96b3cab, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_EMF, 0xb96b3cac, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_WMF, 0xb96b3cad, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_JPEG, 0xb96b3cae, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_PNG, 0xb96b3caf, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_GIF, 0xb96b3cb0, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_TIFF, 0xb96b3cb1, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_EXIF, 0xb96b3cb2, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_PHOTOCD, 0xb96b3cb3, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_FLASHPIX, 0xb96b3cb4, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_ICO, 0xb96b3cb5, 0x0728, 0x11d3, 0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e);
DEFINE_GUID(WiaImgFmt_CIFF, 0x9821a8ab, 0x3a7e, 0x4215, 0x94, 0xe0, 0xd2, 0x7a, 0x46, 0x0c, 0x03, 0xb2);
DEFINE_GUID(WiaImgFmt_PICT, 0xa6bc85d8, 0x6b3e, 0x40ee, 0xa9, 0x5c, 0x25, 0xd4, 0x82, 0xe4, 0x1a, 0xdc);
DEFINE_GUID(WiaImgFmt_JPEG2K, 0x344ee2b2, 0x39db, 0x4dde, 0x81, 0x73, 0xc4, 0xb7, 0x5f, 0x8f, 0x1e, 0x49);
DEFINE_GUID(WiaImgFmt_JPEG2KX, 0x43e14614, 0xc80a, 0x4850, 0xba, 0xf3, 0x4b, 0x15, 0x2d, 0xc8, 0xda, 0x27);
DEFINE_GUID(WiaImgFmt_RTF, 0x573dd6a3, 0x4834, 0x432d, 0xa9, 0xb5, 0xe1, 0x98, 0xdd, 0x9e, 0x89, 0x0d);
DEFINE_GUID(WiaImgFmt_XML, 0xb9171457, 0xdac8, 0x4884, 0xb3, 0x93, 0x15, 0xb4, 0x71, 0xd5, 0xf0, 0x7e);
DEFINE_GUID(WiaImgFmt_HTML, 0xc99a4e62, 0x99de, 0x4a94, 0xac, 0xca, 0x71, 0x95, 0x6a, 0xc2, 0x97, 0x7d);
DEFINE_GUID(WiaImgFmt_TXT, 0xfafd4d82, 0x723f, 0x421f, 0x93, 0x18, 0x30, 0x50, 0x1a, 0xc4, 0x4b, 0x59);
DEFINE_GUID(WiaImgFmt_MPG, 0xecd757e4, 0xd2ec, 0x4f57, 0x95, 0x5d, 0xbc, 0xf8, 0xa9, 0x7c, 0x4e, 0x52);
DEFINE_GUID(WiaImgFmt_AVI, 0x32f8ca14, 0x087c, 0x4908, 0xb7, 0xc4, 0x67, 0x57, 0xfe, 0x7e, 0x90, 0xab);
DEFINE_GUID(WiaImgFmt_ASF, 0x8d948ee9, 0xd0aa, 0x4a12, 0x9d, 0x9a, 0x9c, 0xc5, 0xde, 0x36, 0x19, 0x9b);
DEFINE_GUID(WiaImgFmt_SCRIPT, 0xfe7d6c53, 0x2dac, 0x446a, 0xb0, 0xbd, 0xd7, 0x3e, 0x21, 0xe9, 0x24, 0xc9);
DEFINE_GUID(WiaImgFmt_EXEC, 0x485da097, 0x141e, 0x4aa5, 0xbb, 0x3b, 0xa5, 0x61, 0x8d, 0x95, 0xd0, 0x2b);
DEFINE_GUID(WiaImgFmt_UNICODE16, 0x1b7639b6, 0x6357, 0x47d1, 0x9a, 0x07, 0x12, 0x45, 0x2d, 0xc0, 0x73, 0xe9);
DEFINE_GUID(WiaImgFmt_DPOF, 0x369eeeab, 0xa0e8, 0x45ca, 0x86, 0xa6, 0xa8, 0x3c, 0xe5, 0x69, 0x7e, 0x28);
DEFINE_GUID(WiaAudFmt_WAV, 0xf818e146, 0x07af, 0x40ff, 0xae, 0x55, 0xbe, 0x8f, 0x2c, 0x06, 0x5d, 0xbe);
DEFINE_GUID(WiaAudFmt_MP3, 0x0fbc71fb, 0x43bf, 0x49f2, 0x91, 0x90, 0xe6, 0xfe, 0xcf, 0xf3, 0x7e, 0x54);
DEFINE_GUID(WiaAudFmt_AIFF, 0x66e2bf4f, 0xb6fc, 0x443f, 0x94, 0xc8, 0x2f, 0x33, 0xc8, 0xa6, 0x5a, 0xaf);
DEFINE_GUID(WiaAudFmt_WMA, 0xd61d6413, 0x8bc2, 0x438f, 0x93, 0xad, 0x21, 0xbd, 0x48, 0x4d, 0xb6, 0xa1);

DEFINE_GUID(WIA_EVENT_DEVICE_DISCONNECTED, 0x143e4e83, 0x6497, 0x11d2, 0xa2, 0x31, 0x00, 0xc0, 0x4f, 0xa3, 0x18, 0x09);
DEFINE_GUID(WIA_EVENT_DEVICE_CONNECTED, 0xa28bbade, 0x64b6, 0x11d2, 0xa2, 0x31, 0x00, 0xc0, 0x4f, 0xa3, 0x18, 0x09);
DEFINE_GUID(WIA_EVENT_ITEM_DELETED, 0x1d22a559, 0xe14f, 0x11d2, 0xb3, 0x26, 0x00, 0xc0, 0x4f, 0x68, 0xce, 0x61);
DEFINE_GUID(WIA_EVENT_ITEM_CREATED, 0x4c8f4ef5, 0xe14f, 0x11d2, 0xb3, 0x26, 0x00, 0xc0, 0x4f, 0x68, 0xce, 0x61);
DEFINE_GUID(WIA_EVENT_TREE_UPDATED, 0xc9859b91, 0x4ab2, 0x4cd6, 0xa1, 0xfc, 0x58, 0x2e, 0xec, 0x55, 0xe5, 0x85);
DEFINE_GUID(WIA_EVENT_VOLUME_INSERT, 0x9638bbfd, 0xd1bd, 0x11d2, 0xb3, 0x1f, 0x00, 0xc0, 0x4f, 0x68, 0xce, 0x61);
DEFINE_GUID(WIA_EVENT_SCAN_IMAGE, 0xa6c5a715, 0x8c6e, 0x11d2, 0x97, 0x7a, 0x00, 0x00, 0xf8, 0x7a, 0x92, 0x6f);
DEFINE_GUID(WIA_EVENT_SCAN_PRINT_IMAGE, 0xb441f425, 0x8c6e, 0x11d2, 0x97, 0x7a, 0x00, 0x00, 0xf8, 0x7a, 0x92, 0x6f);
DEFINE_GUID(WIA_EVENT_SCAN_FAX_IMAGE, 0xc00eb793, 0x8c6e, 0x11d2, 0x97, 0x7a, 0x00, 0x00, 0xf8, 0x7a, 0x92, 0x6f);
DEFINE_GUID(WIA_EVENT_SCAN_OCR_IMAGE, 0x9d095b89, 0x37d6, 0x4877, 0xaf, 0xed, 0x62, 0xa2, 0x97, 0xdc, 0x6d, 0xbe);
DEFINE_GUID(WIA_EVENT_SCAN_EMAIL_IMAGE, 0xc686dcee, 0x54f2, 0x419e, 0x9a, 0x27, 0x2f, 0xc7, 0xf2, 0xe9, 0x8f, 0x9e);
DEFINE_GUID(WIA_EVENT_SCAN_FILM_IMAGE, 0x9b2b662c, 0x6185, 0x438c, 0xb6, 0x8b, 0xe3, 0x9e, 0xe2, 0x5e, 0x71, 0xcb);
DEFINE_GUID(WIA_EVENT_SCAN_IMAGE2, 0xfc4767c1, 0xc8b3, 0x48a2, 0x9c, 0xfa, 0x2e, 0x90, 0xcb, 0x3d, 0x35, 0x90);
DEFINE_GUID(WIA_EVENT_SCAN_IMAGE3, 0x154e27be, 0xb617, 0x4653, 0xac, 0xc5, 0x0f, 0xd7, 0xbd, 0x4c, 0x65, 0xce);
DEFINE_GUID(WIA_EVENT_SCAN_IMAGE4, 0xa65b704a, 0x7f3c, 0x4447, 0xa7, 0x5d, 0x8a, 0x26, 0xdf, 0xca, 0x1f, 0xdf);
DEFINE_GUID(WIA_EVENT_STORAGE_CREATED, 0x353308b2, 0xfe73, 0x46c8, 0x89, 0x5e, 0xfa, 0x45, 0x51, 0xcc, 0xc8, 0x5a);
DEFINE_GUID(WIA_EVENT_STORAGE_DELETED, 0x5e41e75e, 0x9390, 0x44c5, 0x9a, 0x51, 0xe4, 0x70, 0x19, 0xe3, 0x90, 0xcf);
DEFINE_GUID(WIA_EVENT_STI_PROXY, 0xd711f81f, 0x1f0d, 0x422d, 0x86, 0x41, 0x92, 0x7d, 0x1b, 0x93, 0xe5, 0xe5);
DEFINE_GUID(WIA_EVENT_CANCEL_IO, 0xc860f7b8, 0x9ccd, 0x41ea, 0xbb, 0xbf, 0x4d, 0xd0, 0x9c, 0x5b, 0x17, 0x95);
DEFINE_GUID(WIA_EVENT_POWER_SUSPEND, 0xa0922ff9, 0xc3b4, 0x411c, 0x9e, 0x29, 0x03, 0xa6, 0x69, 0x93, 0xd2, 0xbe);
DEFINE_GUID(WIA_EVENT_POWER_RESUME, 0x618f153e, 0xf686, 0x4350, 0x96, 0x34, 0x41, 0x15, 0xa3, 0x04, 0x83, 0x0c);
DEFINE_GUID(WIA_EVENT_HANDLER_NO_ACTION, 0xe0372b7d, 0xe115, 0x4525, 0xbc, 0x55, 0xb6, 0x29, 0xe6, 0x8c, 0x74, 0x5a);
DEFINE_GUID(WIA_EVENT_HANDLER_PROMPT, 0x5f4baad0, 0x4d59, 0x4fcd, 0xb2, 0x13, 0x78, 0x3c, 0xe7, 0xa9, 0x2f, 0x22);

DEFINE_GUID(WIA_CMD_SYNCHRONIZE, 0x9b26b7b2, 0xacad, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(WIA_CMD_TAKE_PICTURE, 0xaf933cac, 0xacad, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(WIA_CMD_DELETE_ALL_ITEMS, 0xe208c170, 0xacad, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(WIA_CMD_CHANGE_DOCUMENT, 0x04e725b0, 0xacae, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(WIA_CMD_UNLOAD_DOCUMENT, 0x1f3b3d8e, 0xacae, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(WIA_CMD_DIAGNOSTIC, 0x10ff52f5, 0xde04, 0x4cf0, 0xa5, 0xad, 0x69, 0x1f, 0x8d, 0xce, 0x01, 0x41);
DEFINE_GUID(WIA_CMD_DELETE_DEVICE_TREE, 0x73815942, 0xdbea, 0x11d2, 0x84, 0x16, 0x00, 0xc0, 0x4f, 0xa3, 0x61, 0x45);
DEFINE_GUID(WIA_CMD_BUILD_DEVICE_TREE, 0x9cba5ce0, 0xdbea, 0x11d2, 0x84, 0x16, 0x00, 0xc0, 0x4f, 0xa3, 0x61, 0x45);

DEFINE_GUID(CLSID_WiaDevMgr, 0xa1f4e726, 0x8cf1, 0x11d1, 0xbf, 0x92, 0x00, 0x60, 0x08, 0x1e, 0xd8, 0x11);
DEFINE_GUID(IID_IWiaDevMgr, 0x5eb2502a, 0x8cf1, 0x11d1, 0xbf, 0x92, 0x00, 0x60, 0x08, 0x1e, 0xd8, 0x11);
DEFINE_GUID(IID_IEnumWIA_DEV_INFO, 0x5e38b83c, 0x8cf1, 0x11d1, 0xbf, 0x92, 0x00, 0x60, 0x08, 0x1e, 0xd8, 0x11);
DEFINE_GUID(IID_IWiaEventCallback, 0xae6287b0, 0x0084, 0x11d2, 0x97, 0x3b, 0x00, 0xa0, 0xc9, 0x06, 0x8f, 0x2e);
DEFINE_GUID(IID_IWiaDataCallback, 0xa558a866, 0xa5b0, 0x11d2, 0xa0, 0x8f, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(IID_IWiaDataTransfer, 0xa6cef998, 0xa5b0, 0x11d2, 0xa0, 0x8f, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(IID_IWiaItem, 0x4db1ad10, 0x3391, 0x11d2, 0x9a, 0x33, 0x00, 0xc0, 0x4f, 0xa3, 0x61, 0x45);
DEFINE_GUID(IID_IWiaPropertyStorage, 0x98b5e8a0, 0x29cc, 0x491a, 0xaa, 0xc0, 0xe6, 0xdb, 0x4f, 0xdc, 0xce, 0xb6);
DEFINE_GUID(IID_IEnumWiaItem, 0x5e8383fc, 0x3391, 0x11d2, 0x9a, 0x33, 0x00, 0xc0, 0x4f, 0xa3, 0x61, 0x45);
DEFINE_GUID(IID_IEnumWIA_DEV_CAPS, 0x1fcc4287, 0xaca6, 0x11d2, 0xa0, 0x93, 0x00, 0xc0, 0x4f, 0x72, 0xdc, 0x3c);
DEFINE_GUID(IID_IEnumWIA_FORMAT_INFO, 0x81befc5b, 0x656d, 0x44f1, 0xb2, 0x4c, 0xd4, 0x1d, 0x51, 0xb4, 0xdc, 0x81);
DEFINE_GUID(IID_IWiaItemExtras, 0x6291ef2c, 0x36ef, 0x4532, 0x87, 0x6a, 0x8e, 0x13, 0x25, 0x93, 0x77, 0x8d);
// clang-format on

/* ---- Records ---- */

typedef struct _WIA_DITHER_PATTERN_DATA {
    LONG lSize;
    BSTR bstrPatternName;
    LONG lPatternWidth;
    LONG lPatternLength;
    LONG cbPattern;
    BYTE* pbPattern;
} WIA_DITHER_PATTERN_DATA, *PWIA_DITHER_PATTERN_DATA;

typedef struct _WIA_PROPID_TO_NAME {
    PROPID propid;
    LPOLESTR pszName;
} WIA_PROPID_TO_NAME, *PWIA_PROPID_TO_NAME;

typedef struct _WIA_FORMAT_INFO {
    GUID guidFormatID;
    LONG lTymed;
} WIA_FORMAT_INFO, *PWIA_FORMAT_INFO;

/** What `IT_MSG_DATA_HEADER` points to. */
typedef struct _WIA_DATA_CALLBACK_HEADER {
    LONG lSize;
    GUID guidFormatID;
    LONG lBufferSize;
    LONG lPageCount;
} WIA_DATA_CALLBACK_HEADER, *PWIA_DATA_CALLBACK_HEADER;

typedef struct _WIA_DATA_TRANSFER_INFO {
    ULONG ulSize;
    ULONG ulSection;
    ULONG ulBufferSize;
    BOOL bDoubleBuffer;
    ULONG ulReserved1;
    ULONG ulReserved2;
    ULONG ulReserved3;
} WIA_DATA_TRANSFER_INFO, *PWIA_DATA_TRANSFER_INFO;

typedef struct _WIA_EXTENDED_TRANSFER_INFO {
    ULONG ulSize;
    ULONG ulMinBufferSize;
    ULONG ulOptimalBufferSize;
    ULONG ulMaxBufferSize;
    ULONG ulNumBuffers;
} WIA_EXTENDED_TRANSFER_INFO, *PWIA_EXTENDED_TRANSFER_INFO;

/** One command or event of a device. */
typedef struct _WIA_DEV_CAP {
    GUID guid;
    ULONG ulFlags;
    BSTR bstrName;
    BSTR bstrDescription;
    BSTR bstrIcon;
    BSTR bstrCommandline;
} WIA_DEV_CAP, *PWIA_DEV_CAP, WIA_EVENT_HANDLER, *PWIA_EVENT_HANDLER;

/* ---- Interfaces ---- */

#pragma GCC visibility push(default)

struct IEnumWIA_DEV_CAPS;
struct IEnumWIA_DEV_INFO;
struct IEnumWIA_FORMAT_INFO;
struct IEnumWiaItem;
struct IWiaDataCallback;
struct IWiaEventCallback;
struct IWiaItem;
struct IWiaPropertyStorage;

/** The device manager: lists and opens devices. */
struct IWiaDevMgr : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG lFlag, IEnumWIA_DEV_INFO** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDevice(BSTR bstrDeviceID, IWiaItem** ppWiaItemRoot) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                      BSTR* pbstrDeviceID, IWiaItem** ppItemRoot) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                        BSTR* pbstrDeviceID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImageDlg(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                  LONG lIntent, IWiaItem* pItemRoot, BSTR bstrFilename,
                                                  GUID* pguidFormat) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG lFlags, BSTR bstrDeviceID,
                                                                   const GUID* pEventGUID,
                                                                   BSTR bstrCommandline, BSTR bstrName,
                                                                   BSTR bstrDescription, BSTR bstrIcon) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG lFlags, BSTR bstrDeviceID,
                                                                     const GUID* pEventGUID,
                                                                     IWiaEventCallback* pIWiaEventCallback,
                                                                     IUnknown** pEventObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG lFlags, BSTR bstrDeviceID,
                                                                 const GUID* pEventGUID, const GUID* pClsID,
                                                                 BSTR bstrName, BSTR bstrDescription,
                                                                 BSTR bstrIcon) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddDeviceDlg(HWND hwndParent, LONG lFlags) = 0;
};

/** Lists devices, each as the property storage of its device properties. */
struct IEnumWIA_DEV_INFO : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, IWiaPropertyStorage** rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWIA_DEV_INFO** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* celt) = 0;
};

/** Receives device events; implemented by the client. */
struct IWiaEventCallback : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ImageEventCallback(const GUID* pEventGUID, BSTR bstrEventDescription,
                                                         BSTR bstrDeviceID, BSTR bstrDeviceDescription,
                                                         DWORD dwDeviceType, BSTR bstrFullItemName,
                                                         ULONG* pulEventType, ULONG ulReserved) = 0;
};

/** Receives a transfer's messages (`IT_MSG_...`); implemented by the client. */
struct IWiaDataCallback : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE BandedDataCallback(LONG lMessage, LONG lStatus, LONG lPercentComplete,
                                                         LONG lOffset, LONG lLength, LONG lReserved,
                                                         LONG lResLength, BYTE* pbBuffer) = 0;
};

/** Transfers an item's data. */
struct IWiaDataTransfer : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE idtGetData(LPSTGMEDIUM pMedium,
                                                 IWiaDataCallback* pIWiaDataCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE idtGetBandedData(PWIA_DATA_TRANSFER_INFO pWiaDataTransInfo,
                                                       IWiaDataCallback* pIWiaDataCallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE idtQueryGetData(WIA_FORMAT_INFO* pfe) = 0;
    virtual HRESULT STDMETHODCALLTYPE idtEnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** ppEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    idtGetExtendedTransferInfo(PWIA_EXTENDED_TRANSFER_INFO pExtendedTransferInfo) = 0;
};

/** A node of the tree of a device. */
struct IWiaItem : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetItemType(LONG* pItemType) = 0;
    virtual HRESULT STDMETHODCALLTYPE AnalyzeItem(LONG lFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumChildItems(IEnumWiaItem** ppIEnumWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteItem(LONG lFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateChildItem(LONG lFlags, BSTR bstrItemName, BSTR bstrFullItemName,
                                                      IWiaItem** ppIWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG lFlags, const GUID* pEventGUID,
                                                            IEnumWIA_DEV_CAPS** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindItemByName(LONG lFlags, BSTR bstrFullItemName,
                                                     IWiaItem** ppIWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeviceDlg(HWND hwndParent, LONG lFlags, LONG lIntent, LONG* plItemCount,
                                                IWiaItem*** ppIWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeviceCommand(LONG lFlags, const GUID* pCmdGUID,
                                                    IWiaItem** pIWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem** ppIWiaItem) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG lFlags,
                                                             IEnumWIA_DEV_CAPS** ppIEnumWIA_DEV_CAPS) = 0;
    virtual HRESULT STDMETHODCALLTYPE DumpItemData(BSTR* bstrData) = 0;
    virtual HRESULT STDMETHODCALLTYPE DumpDrvItemData(BSTR* bstrData) = 0;
    virtual HRESULT STDMETHODCALLTYPE DumpTreeItemData(BSTR* bstrData) = 0;
    virtual HRESULT STDMETHODCALLTYPE Diagnostic(ULONG ulSize, BYTE* pBuffer) = 0;
};

/** The properties of an item or a device, of either generation. */
struct IWiaPropertyStorage : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG cpspec, const PROPSPEC rgpspec[],
                                                   PROPVARIANT rgpropvar[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG cpspec, const PROPSPEC rgpspec[],
                                                    const PROPVARIANT rgpropvar[],
                                                    PROPID propidNameFirst) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG cpspec, const PROPSPEC rgpspec[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                        LPOLESTR rglpwstrName[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                         const LPOLESTR rglpwstrName[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG cpropid, const PROPID rgpropid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** ppenum) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME* pctime, const FILETIME* patime,
                                               const FILETIME* pmtime) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG* pstatpsstg) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyAttributes(ULONG cpspec, PROPSPEC rgpspec[], ULONG rgflags[],
                                                            PROPVARIANT rgpropvar[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* pulNumProps) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyStream(GUID* pCompatibilityId, IStream** ppIStream) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPropertyStream(GUID* pCompatibilityId, IStream* pIStream) = 0;
};

/** Lists items. */
struct IEnumWiaItem : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, IWiaItem** ppIWiaItem, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWiaItem** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* celt) = 0;
};

/** Lists a device's commands or events. */
struct IEnumWIA_DEV_CAPS : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, WIA_DEV_CAP* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWIA_DEV_CAPS** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* pcelt) = 0;
};

/** Lists pairs of a format and a medium. */
struct IEnumWIA_FORMAT_INFO : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, WIA_FORMAT_INFO* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWIA_FORMAT_INFO** ppIEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* pcelt) = 0;
};

/** What a driver offers beyond the common interfaces. */
struct IWiaItemExtras : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetExtendedErrorInfo(BSTR* bstrErrorText) = 0;
    virtual HRESULT STDMETHODCALLTYPE Escape(DWORD dwEscapeCode, BYTE* lpInData, DWORD cbInDataSize,
                                             BYTE* pOutData, DWORD dwOutDataSize,
                                             DWORD* pdwActualDataSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE CancelPendingIO() = 0;
};

#pragma GCC visibility pop

#endif
