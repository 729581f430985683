/**
 * @file vornwia_base.h
 * What every part of the interface is written in: the export mark, the status codes, the handles. Applications
 * include `vornwia.h`, which brings the other headers along.
 *
 * Valid C11 and C++17.
 */
#ifndef VORNWIA_BASE_H
#define VORNWIA_BASE_H

#include <stddef.h>

#include "vornwia_types.h"

#ifndef VORNWIA_API
#if defined(_WIN32) && defined(VORNWIA_BUILD)
#define VORNWIA_API __declspec(dllexport)
#elif defined(_WIN32)
#define VORNWIA_API __declspec(dllimport)
#else
#define VORNWIA_API __attribute__((visibility("default")))
#endif
#endif

/* The records are part of the calling interface: each header asserts the layout of its own. */
#ifdef __cplusplus
#define VORNWIA_ASSERT_LAYOUT static_assert
#else
#include <assert.h>
#define VORNWIA_ASSERT_LAYOUT static_assert
#endif

/** Asserts a record's size, or the offset of a field, where pointers have 64 bits. */
#define VORNWIA_ASSERT_SIZE(record, size) \
    VORNWIA_ASSERT_LAYOUT(sizeof(void*) != 8 || sizeof(record) == (size), #record)
#define VORNWIA_ASSERT_OFFSET(record, field, offset) \
    VORNWIA_ASSERT_LAYOUT(sizeof(void*) != 8 || offsetof(record, field) == (offset), #record "::" #field)

/* ---- Status codes ------------------------------------------------------------------------------- */

#define SUCCESS 1            /**< the operation succeeded */
#define RESULT_FALSE 0       /**< nothing was done, or the answer is no */
#define DIALOG_CANCELLED 101 /**< the user closed a dialog without a choice; not an error */

#define ERR_OUT_OF_MEMORY (-1)      /**< no memory; in an acquisition also: the item cannot transfer */
#define ERR_INVALID_ARGUMENT (-13)  /**< a required argument is null, or the platform refused a value */
#define ERR_ABORTED (-100)          /**< a callback asked to stop */
#define ERR_TEMP_PATH (-261)        /**< there is no usable temporary directory */
#define ERR_BUFFER_TOO_SMALL (-290) /**< the buffer is too small; the size needed was written */
#define ERR_FILE_COPY (-295)        /**< a page was transferred but could not be copied to its output file */
#define ERR_BAD_STRUCT_SIZE (-789)  /**< a record's structSize is not what this library expects */

/** What the device or its driver reported; one code for each of the platform's WIA_ERROR_ results. */
#define ERR_WIA_GENERAL_ERROR (-1450)
#define ERR_WIA_PAPER_JAM (-1451)
#define ERR_WIA_PAPER_EMPTY (-1452)
#define ERR_WIA_PAPER_PROBLEM (-1453)
#define ERR_WIA_OFFLINE (-1454)
#define ERR_WIA_BUSY (-1455)
#define ERR_WIA_WARMING_UP (-1456)
#define ERR_WIA_USER_INTERVENTION (-1457)
#define ERR_WIA_ITEM_DELETED (-1458)
#define ERR_WIA_DEVICE_COMMUNICATION (-1459)
#define ERR_WIA_INVALID_COMMAND (-1460)
#define ERR_WIA_INCORRECT_HARDWARE_SETTING (-1461)
#define ERR_WIA_DEVICE_LOCKED (-1462)
#define ERR_WIA_EXCEPTION_IN_DRIVER (-1463)
#define ERR_WIA_INVALID_DRIVER_RESPONSE (-1464)
#define ERR_WIA_COVER_OPEN (-1465)
#define ERR_WIA_LAMP_OFF (-1466)
#define ERR_WIA_DESTINATION (-1467)
#define ERR_WIA_NETWORK_RESERVATION_FAILED (-1468)
#define ERR_WIA_NO_DEVICE_AVAILABLE (-1469) /**< there is no such device, or none at all */

#define ERR_NO_DEVICE_SELECTED (-1470)        /**< the session has no selected device */
#define ERR_NOT_VIDEO_DEVICE (-1471)          /**< the selected device is no streaming-video device */
#define ERR_VIDEO_PREVIEW_NOT_STARTED (-1472) /**< no video preview was started */
#define ERR_ACCESS_DENIED (-1473)             /**< the platform denied access; writing a read-only property */
#define ERR_NO_CHILD_ITEMS (-1474)            /**< the item cannot have children, or has none */
#define ERR_WIA_UNEXPECTED (-1475)            /**< a platform result that has no code of its own */
#define ERR_INVALID_WIA_VERSION (-1476)       /**< the generation asked for is neither 1 nor 2 */

/* ---- Handles ------------------------------------------------------------------------------------ */

/** A session: one generation, one device manager, at most one selected device. */
typedef struct WiaSession WiaSession;

/**
 * An item of the selected device: its root, a folder, or something to transfer. It is the platform's own
 * interface pointer: an `IWiaItem` in a session of generation 1, an `IWiaItem2` in one of generation 2.
 */
typedef struct VornWiaItem* WiaItemHandle;

/** The kernel library's bitmap record; see Vornkrnx.h. */
typedef struct BitmapHandle BitmapHandle;

#endif
