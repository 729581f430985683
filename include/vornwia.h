/**
 * @file vornwia.h
 * Flat, handle-based functions over Windows Image Acquisition, generations 1.0 and 2.0: open a session, list
 * and select devices, walk their items, read and write item properties, acquire images, show live video. Status
 * codes and handles are in `vornwia_base.h`; capabilities, formats and the scanning-properties record in
 * `vornwia_settings.h`; the ANSI forms in `vornwia_ansi.h`. This header includes the three.
 *
 * Conventions
 *
 * Results. Every operation returns a status code: SUCCESS (1), RESULT_FALSE (0), DIALOG_CANCELLED (101), or a
 * negative ERR_ code. A platform result that none of the codes names comes back as ERR_WIA_UNEXPECTED.
 * Nothing is ever thrown.
 *
 * Order of checks. First the required pointers (ERR_INVALID_ARGUMENT), then the selected device
 * (ERR_NO_DEVICE_SELECTED), then the sizes of records (ERR_BAD_STRUCT_SIZE), and only then the platform is called.
 *
 * Sessions and threads. A session is bound to one generation of the platform's interfaces and to the thread
 * that created it. Callbacks run synchronously on the calling thread, inside the operation that was called.
 * The library starts no threads. One acquisition may run in a process at a time.
 *
 * Text is UTF-16, terminated. File names have 259 characters at most.
 *
 * Memory. Handles, records and strings given to a callback belong to the library and end with the callback,
 * unless its description says otherwise. What an operation hands out for keeps (the list of output files) is
 * freed with KrnFree of the kernel library (Vornkrnx.h), the strings before the array.
 *
 * Stopping. A callback that returns ERR_ABORTED (-100) stops the acquisition or enumeration.
 *
 * Records are packed: fields follow each other without gaps.
 *
 * Valid C11 and C++17.
 */
#ifndef VORNWIA_H
#define VORNWIA_H

#include "vornwia_base.h"
#include "vornwia_settings.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Sessions ----------------------------------------------------------------------------------- */

/**
 * Tells whether sessions of a generation can be created on this machine.
 *
 * @param version  1 or 2
 * @return SUCCESS or RESULT_FALSE, never anything else
 */
VORNWIA_API int32_t Vorn_WiaIsAvailable(uint32_t version);

/**
 * Creates a session and enters a single-threaded COM apartment on the calling thread.
 *
 * @param version  1 for WIA 1.0, 2 for WIA 2.0
 * @param session  receives the session, ended with Vorn_WiaEndSession
 * @return SUCCESS; RESULT_FALSE with a null session when the platform has no device manager of that
 *         generation; ERR_INVALID_ARGUMENT for a null `session`; ERR_INVALID_WIA_VERSION and
 *         ERR_OUT_OF_MEMORY, both with `*session` left as it was
 */
VORNWIA_API int32_t Vorn_WiaInitSession(uint32_t version, WiaSession** session);

/**
 * Ends a session: releases its device and everything else it holds, and leaves the apartment. Not to be called from a
 * callback of the session, whose operation goes on to use it.
 *
 * @param session  the session; the handle must not be used again
 * @return SUCCESS; ERR_INVALID_ARGUMENT for null
 */
VORNWIA_API int32_t Vorn_WiaEndSession(WiaSession* session);

/**
 * The ID of the device selected last.
 *
 * @param session  an open session
 * @return the session's own string, valid until the next successful selection or the end of the session;
 *         null for a null session and before the first selection. A selection that failed leaves the ID of
 *         the one before it.
 */
VORNWIA_API const WCHAR* Vorn_WiaGetSelectedDevice(WiaSession* session);

/* ---- Devices ------------------------------------------------------------------------------------ */

#pragma pack(push, 1)
/** A device, as the enumeration tells it. A text that the device does not publish is null. */
typedef struct WiaDeviceInfo {
    uint32_t structSize;            /**< 0: 28 */
    const WCHAR* deviceId;          /**< 4: what Vorn_WiaSelectDevice takes */
    const WCHAR* deviceName;        /**< 12: the name to show */
    const WCHAR* deviceDescription; /**< 20 */
} WiaDeviceInfo;
#pragma pack(pop)

/**
 * Hears of one device.
 *
 * @param session   the session that enumerates
 * @param device    the device; record and strings are valid during the call only
 * @param userData  as given to the enumeration
 * @return 1 to go on. Anything else stops: 0 or above makes the enumeration return SUCCESS; a negative value
 *         comes back mapped as a platform result, so ERR_ABORTED comes back as it is and codes of your own as
 *         ERR_WIA_UNEXPECTED.
 */
typedef int32_t (*EnumDevicesCallback)(WiaSession* session, const WiaDeviceInfo* device, void* userData);

/**
 * Lists the local devices in the platform's order.
 *
 * @param session   an open session; no device need be selected
 * @param callback  called once a device
 * @param userData  handed to the callback
 * @return SUCCESS, also when the callback stopped with 0 or above, or when a device's properties could not be
 *         read, which ends the list; ERR_WIA_NO_DEVICE_AVAILABLE when there is no device;
 *         ERR_INVALID_ARGUMENT for a null session or callback; ERR_ABORTED; a mapped platform error. On Linux, when
 *         the search for scanners is incomplete, the devices found come first, and then
 *         ERR_WIA_EXCEPTION_IN_DRIVER (it crashed or failed), ERR_WIA_GENERAL_ERROR (it could not be started) or
 *         ERR_WIA_DEVICE_COMMUNICATION (it did not end in time)
 */
VORNWIA_API int32_t Vorn_WiaEnumDevices(WiaSession* session, EnumDevicesCallback callback, void* userData);

/**
 * Selects the session's device by its ID. The device selected before is released first; when the new one
 * cannot be opened the session is left without a device.
 *
 * @param session   an open session
 * @param deviceId  the ID, as the enumeration tells it; copied
 * @return SUCCESS; ERR_INVALID_ARGUMENT; ERR_OUT_OF_MEMORY, with the device selected before left as it was; the mapped
 *         platform error of opening, for example ERR_WIA_NO_DEVICE_AVAILABLE for an unknown ID
 */
VORNWIA_API int32_t Vorn_WiaSelectDevice(WiaSession* session, const WCHAR* deviceId);

/** Device types, as the platform numbers them (its StiDeviceType values). */
#define WIA_DEVICE_TYPE_ANY 0
#define WIA_DEVICE_TYPE_SCANNER 1
#define WIA_DEVICE_TYPE_CAMERA 2
#define WIA_DEVICE_TYPE_VIDEO 3

/**
 * Lets the user choose the device in the platform's selection dialog.
 *
 * @param session     an open session
 * @param parent      the dialog's parent window, or null
 * @param deviceType  the type of device to offer; WIA_DEVICE_TYPE_ANY for all
 * @param flags       the platform's dialog flags; 1 shows the dialog also when there is only one device
 * @return SUCCESS; DIALOG_CANCELLED with the device selected before left as it was;
 *         ERR_WIA_NO_DEVICE_AVAILABLE when there is nothing to offer; ERR_INVALID_ARGUMENT for a null
 *         session; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaSelectDeviceDlg(WiaSession* session, HWND parent, int32_t deviceType,
                                            int32_t flags);

/**
 * The type of the selected device.
 *
 * @param session     a session with a selected device
 * @param deviceType  receives a WIA_DEVICE_TYPE_ value; untouched on failure
 * @return SUCCESS; ERR_INVALID_ARGUMENT; ERR_NO_DEVICE_SELECTED; RESULT_FALSE when the device does not tell;
 *         a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaGetSelectedDeviceType(WiaSession* session, uint32_t* deviceType);

/* ---- Items -------------------------------------------------------------------------------------- */

/**
 * The root item of the selected device or of an item.
 *
 * @param session   a session with a selected device
 * @param item      null: the session's own root item is lent, without a reference; it stays valid while the
 *                  device stays selected and must not be freed. An item: it is consumed, whatever the result,
 *                  and the root item received is freed with Vorn_WiaFreeItem.
 * @param rootItem  receives the root item; null after a failure
 * @return SUCCESS; ERR_INVALID_ARGUMENT for a null session or `rootItem`, and `item` is then not consumed;
 *         ERR_NO_DEVICE_SELECTED; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaGetRootItem(WiaSession* session, WiaItemHandle item, WiaItemHandle* rootItem);

/**
 * Hears of one child item.
 *
 * @param session   the session that enumerates
 * @param count     number of children that the platform announced, the same on every call
 * @param item      the child; the callback owns it and frees it with Vorn_WiaFreeItem
 * @param userData  as given to the enumeration
 * @return 1 to go on; anything else stops and becomes the result of the enumeration, unchanged
 */
typedef int32_t (*EnumChildItemsCallback)(WiaSession* session, uint32_t count, WiaItemHandle item,
                                          void* userData);

/**
 * Lists the direct children of an item.
 *
 * @param session   a session with a selected device
 * @param item      the parent; stays the caller's
 * @param callback  called once a child; null only counts as a test whether there are any
 * @param userData  handed to the callback
 * @return SUCCESS; the callback's stopping value; ERR_NO_CHILD_ITEMS when the item is neither a folder nor
 * has attachments, or is empty; ERR_INVALID_ARGUMENT; ERR_NO_DEVICE_SELECTED; RESULT_FALSE when the device
 * does not tell its type; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaEnumChildItems(WiaSession* session, WiaItemHandle item,
                                           EnumChildItemsCallback callback, void* userData);

/**
 * Frees an item that the caller owns.
 *
 * @param session  an open session
 * @param item     the item
 * @return SUCCESS; ERR_INVALID_ARGUMENT
 */
VORNWIA_API int32_t Vorn_WiaFreeItem(WiaSession* session, WiaItemHandle item);

/* ---- Single properties -------------------------------------------------------------------------- */

/*
 * Common to the ten operations.
 *
 *   session  an open session; only its generation is used, no device need be selected
 *   item     the item that holds the property (device properties are the root item's); stays the caller's
 *   name     the property's name, or null to address it by `id`
 *   id       the property's numeric WIA ID; ignored when `name` is given
 *
 * All return SUCCESS; ERR_INVALID_ARGUMENT for a null session, item or required value pointer;
 * ERR_WIA_UNEXPECTED for an item without a property storage; a mapped platform error (ERR_INVALID_ARGUMENT for a
 * value that the device refuses, ERR_ACCESS_DENIED for a read-only property). The readers also return
 * RESULT_FALSE, with nothing written, when the item has no such property or it is of a type that the
 * operation does not take. The writers also return ERR_OUT_OF_MEMORY.
 */

/** Reads an integer: any of 8 to 32 bits, or a float, to which a half is added before truncation. */
VORNWIA_API int32_t Vorn_WiaGetPropertyLong(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                            uint32_t id, int32_t* value);
/** Writes a 32-bit integer. */
VORNWIA_API int32_t Vorn_WiaSetPropertyLong(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                            uint32_t id, int32_t value);

/**
 * Reads a GUID, also from a text that holds one in braces: ERR_WIA_UNEXPECTED when that text is malformed, RESULT_FALSE
 * when it is null.
 */
VORNWIA_API int32_t Vorn_WiaGetPropertyGUID(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                            uint32_t id, GUID* value);
/** Writes a GUID. */
VORNWIA_API int32_t Vorn_WiaSetPropertyGUID(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                            uint32_t id, const GUID* value);

/**
 * Reads a text, or a float as decimal digits: all of its fraction, with a point whatever the locale.
 *
 * Call once with `buffer` null to learn the size, then again with a buffer of that size. An empty text, and one
 * that is null, writes neither buffer nor size.
 *
 * @param buffer  receives the text and its terminator, the rest of the capacity cleared; or null
 * @param size    in: capacity of `buffer` in characters, left as it is when the text fits;
 *                out, with a null buffer or one too small: characters needed, terminator included
 * @return besides the common ones: ERR_BUFFER_TOO_SMALL with the buffer untouched
 */
VORNWIA_API int32_t Vorn_WiaGetPropertyString(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                              uint32_t id, WCHAR* buffer, uint64_t* size);
/** Writes a text. */
VORNWIA_API int32_t Vorn_WiaSetPropertyString(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                              uint32_t id, const WCHAR* value);

/** Reads a time: a vector of eight 16-bit values, or at least as many. */
VORNWIA_API int32_t Vorn_WiaGetPropertySystemTime(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                                  uint32_t id, SYSTEMTIME* value);
/** Writes a time. */
VORNWIA_API int32_t Vorn_WiaSetPropertySystemTime(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                                  uint32_t id, const SYSTEMTIME* value);

/**
 * Reads a vector of bytes, by the same protocol as a text.
 *
 * @param buffer  receives the bytes, the rest of the capacity cleared; or null
 * @param size    in: capacity of `buffer` in bytes; out, with a null buffer or one too small: bytes needed
 * @return besides the common ones: ERR_BUFFER_TOO_SMALL with the buffer untouched
 */
VORNWIA_API int32_t Vorn_WiaGetPropertyBuffer(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                              uint32_t id, uint8_t* buffer, uint64_t* size);
/** Writes `size` bytes. */
VORNWIA_API int32_t Vorn_WiaSetPropertyBuffer(WiaSession* session, WiaItemHandle item, const WCHAR* name,
                                              uint32_t id, const uint8_t* buffer, uint32_t size);

/* ---- Acquisition -------------------------------------------------------------------------------- */

/** Number of characters in a file-name buffer, terminator included. */
#define VORNWIA_NAME_CHARS 260

#pragma pack(push, 1)
/**
 * How to acquire. A null pointer stands for a record of zeros. The library works on a copy.
 *
 * File modes. Without any, every page gets a file of its own under the first free name: "page.bmp",
 * "page (1).bmp", ... `overwriteFile`: the same names, replacing what is there. `multiPageFile`: all pages in
 * one file, whose name is the first free one. `appendToFile`: all pages are added to the named file, existing
 * or not. `overwriteFile` with one of the other two: the named file is deleted first.
 */
typedef struct AcquireOptions {
    uint32_t structSize;    /**< 0: 544; not examined */
    uint32_t bufferSize;    /**< 4: transfer buffer of 1.0 memory transfers, bytes; 0: the item's minimum */
    uint32_t doubleBuffer;  /**< 8: nonzero asks for double buffering there */
    uint32_t overwriteFile; /**< 12 */
    uint32_t multiPageFile; /**< 16 */
    uint32_t appendToFile;  /**< 20 */
    WCHAR fileName[VORNWIA_NAME_CHARS]; /**< 24: the output file of file transfers */
} AcquireOptions;
#pragma pack(pop)

/** What an acquisition callback hears about. */
#define TRANSFER_STATE_PROGRESS 0
#define TRANSFER_STATE_BEGIN 1 /**< a page has begun */
#define TRANSFER_STATE_END 2   /**< a page, or the transfer, has ended */

/**
 * Hears of an acquisition.
 *
 * @param session   the session that acquires
 * @param bitmap    at the end of a page transferred into memory: its bitmap, a record whose image stays the
 *                  library's and is valid during the call only (KrnDuplicateBitmap makes a copy); else null. At the end of a
 *                  transfer that brought no page the record may have no image: its `image` is null
 * @param fileName  in a file transfer the name of the output file; else null or empty
 * @param percent   0 to 100
 * @param state     a TRANSFER_STATE_ value
 * @param userData  as given to the acquisition
 * @return ERR_ABORTED to stop; any other value goes on
 */
typedef int32_t (*AcquireCallback)(WiaSession* session, BitmapHandle* bitmap, const WCHAR* fileName,
                                   int32_t percent, int32_t state, void* userData);

/** As AcquireCallback, for acquisitions that only write files. */
typedef int32_t (*AcquireToFileCallback)(WiaSession* session, const WCHAR* fileName, int32_t percent,
                                         int32_t state, void* userData);

/** `flags`, both bits together: show the platform's acquisition dialog also for a scanner. */
#define WIA_ACQUIRE_SHOW_DIALOG 3u

/**
 * Acquires from the selected device: pages as bitmaps through the callback, or as files when the item's
 * medium (its property WIA_IPA_TYMED) is a file.
 *
 * A scanner transfers `item` at once. Any other device shows the platform's acquisition dialog first, as does
 * a scanner when `flags` hold WIA_ACQUIRE_SHOW_DIALOG: in generation 1 the user picks the items to transfer;
 * in generation 2 the dialog acquires into files itself, for which `options` must name a file, and the
 * callback is not called.
 *
 * The device tells the number of pages (WIA_DPS_PAGES of the root item; 0: until the feeder is empty).
 * Flatbeds and cameras give one. Running out of paper after at least one page is success, except for a page
 * count of 1.
 *
 * @param session    a session with a selected device
 * @param parent     parent window of dialogs, or null
 * @param flags      WIA_ACQUIRE_SHOW_DIALOG or 0; other bits go to the platform's dialog
 * @param item       the item to transfer; null: the first child of the root item
 * @param options    see AcquireOptions; file transfers need `fileName`
 * @param fileCount  receives the number of files written, 0 when none was, also when no transfer began; may be null
 * @param fileList   receives the files' names: an array of strings of 260 characters, one for each file in
 *                   the order of writing; in the multi-page and append modes the name repeats for every page
 *                   transferred. Set to null when no file was written. Strings and array are freed with
 *                   KrnFree, also after an error that left some files. May be null.
 * @param callback   hears of progress and pages; may be null
 * @param userData   handed to the callback
 * @return SUCCESS; DIALOG_CANCELLED; ERR_ABORTED when the callback stopped (a 2.0 memory transfer that was
 *         stopped returns SUCCESS); ERR_INVALID_ARGUMENT for a null session or a missing file name;
 *         ERR_NO_DEVICE_SELECTED; ERR_NO_CHILD_ITEMS; ERR_OUT_OF_MEMORY, also when the item cannot transfer;
 *         ERR_TEMP_PATH; ERR_FILE_COPY; a code of the file library (Vornfilx.h); ERR_WIA_PAPER_EMPTY and the
 *         other device errors
 */
VORNWIA_API int32_t Vorn_WiaAcquire(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                                    const AcquireOptions* options, uint32_t* fileCount, WCHAR*** fileList,
                                    AcquireCallback callback, void* userData);

/**
 * As Vorn_WiaAcquire, with a callback of its own shape. In generation 1 the item's medium is set to a file
 * first and stays so; in generation 2 set WIA_IPA_TYMED to a file (2) before the call.
 */
VORNWIA_API int32_t Vorn_WiaAcquireToFile(WiaSession* session, HWND parent, uint32_t flags,
                                          WiaItemHandle item, const AcquireOptions* options,
                                          uint32_t* fileCount, WCHAR*** fileList,
                                          AcquireToFileCallback callback, void* userData);

/**
 * Acquires without a session: opens one, lets the user choose a device in the platform's selection dialog,
 * acquires as Vorn_WiaAcquire does, and ends the session.
 *
 * @param version     1 or 2
 * @param parent      parent window of dialogs, or null
 * @param deviceType  the type of device to offer, a WIA_DEVICE_TYPE_ value
 * @param flags       as for Vorn_WiaAcquire; bit 0 also shows the selection dialog for a single device
 * @param item        null, as no item can exist before the call
 * @param options, fileCount, fileList, callback, userData  as for Vorn_WiaAcquire; the session that the
 *                    callback sees ends with the call
 * @return as Vorn_WiaInitSession, Vorn_WiaSelectDeviceDlg and Vorn_WiaAcquire
 */
VORNWIA_API int32_t Vorn_WiaAcquireSimple(uint32_t version, HWND parent, int32_t deviceType, uint32_t flags,
                                          WiaItemHandle item, const AcquireOptions* options,
                                          uint32_t* fileCount, WCHAR*** fileList, AcquireCallback callback,
                                          void* userData);

/* ---- Video preview ------------------------------------------------------------------------------ */

/*
 * Live video of a streaming-video device, in a session of generation 1. The platform draws it into a window of
 * the caller's, and writes still pictures as files into the device's image directory (its property
 * WIA_DPV_IMAGES_DIRECTORY, 3587). No callback is involved.
 *
 * A start that fails after it has made the platform's video object leaves that object with the session: the
 * preview then counts as available until another start replaces it, or its end or that of the session drops
 * it. Selecting another device leaves the preview as it is.
 */

/**
 * Shows the live video of the selected device inside a window and plays it. A preview that the session has
 * already is replaced.
 *
 * @param session             a session of generation 1 with a streaming-video device selected
 * @param parent              the window that shows the video, or null; it stays the caller's and must outlive
 *                            the preview
 * @param stretchToFitParent  nonzero: the video fills the parent window; 0: it keeps its own size
 * @return SUCCESS; ERR_INVALID_ARGUMENT for a null session and in a session of generation 2;
 *         ERR_NO_DEVICE_SELECTED; ERR_NOT_VIDEO_DEVICE, with a preview that runs left as it is; RESULT_FALSE
 *         when the device tells no type or no image directory; ERR_BUFFER_TOO_SMALL for an image directory of
 *         260 characters or more; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaStartVideoPreview(WiaSession* session, HWND parent, int32_t stretchToFitParent);

/**
 * Tells whether the session has a video preview; not whether its device could have one.
 *
 * @param session  an open session, or null
 * @return 1 when a device is selected and a video object exists, else 0
 */
VORNWIA_API int32_t Vorn_WiaIsVideoPreviewAvailable(WiaSession* session);

/**
 * Takes a still picture of the running video. The platform writes it into a new file, whose name is told.
 *
 * Asking for the size takes a picture too, and so does a buffer that is too small: one of VORNWIA_NAME_CHARS
 * characters saves the second call and the second picture.
 *
 * @param session  a session with a video preview
 * @param buffer   receives the name and its terminator; or null
 * @param size     in: capacity of `buffer` in characters, left as it is when the name fits;
 *                 out, with a null buffer or one too small: characters needed, terminator included
 * @return SUCCESS; ERR_BUFFER_TOO_SMALL with the buffer untouched; ERR_INVALID_ARGUMENT for a null session or
 *         size; ERR_NO_DEVICE_SELECTED; ERR_VIDEO_PREVIEW_NOT_STARTED; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaAcquireImageFromVideo(WiaSession* session, WCHAR* buffer, uint64_t* size);

/**
 * Fits the video to its parent window, after the caller has resized that window.
 *
 * @param session             a session with a video preview
 * @param stretchToFitParent  as for Vorn_WiaStartVideoPreview
 * @return SUCCESS; ERR_INVALID_ARGUMENT for a null session; ERR_NO_DEVICE_SELECTED;
 *         ERR_VIDEO_PREVIEW_NOT_STARTED; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaResizeVideoPreview(WiaSession* session, int32_t stretchToFitParent);

/**
 * Ends the video preview. Pictures that were taken stay.
 *
 * @param session  a session with a video preview
 * @return SUCCESS; ERR_INVALID_ARGUMENT for a null session; ERR_NO_DEVICE_SELECTED;
 *         ERR_VIDEO_PREVIEW_NOT_STARTED; a mapped platform error, with the preview kept so that ending it can
 *         be tried again
 */
VORNWIA_API int32_t Vorn_WiaEndVideoPreview(WiaSession* session);

#ifdef __cplusplus
}  // extern "C"
#endif

VORNWIA_ASSERT_SIZE(WiaDeviceInfo, 28);
VORNWIA_ASSERT_OFFSET(WiaDeviceInfo, deviceDescription, 20);
VORNWIA_ASSERT_SIZE(AcquireOptions, 544);
VORNWIA_ASSERT_OFFSET(AcquireOptions, fileName, 24);

#include "vornwia_ansi.h"

#endif
