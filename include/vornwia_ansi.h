/**
 * @file vornwia_ansi.h
 * The ANSI forms of the operations of vornwia.h that take or give text; that header includes this one.
 *
 * Each form converts its texts, calls the operation of its name without the `A`, and answers that operation's
 * status: what is not said here is said there. ANSI is the active code page on Windows and UTF-8 elsewhere.
 *
 * Text in. A null name addresses a property by ID, as it does in the wide form. A text that cannot be converted
 * answers ERR_OUT_OF_MEMORY, and nothing else is done.
 *
 * Text out. Sizes count bytes, terminator included. A text is never cut to fit a caller's buffer: one too small
 * answers ERR_BUFFER_TOO_SMALL with the bytes needed, and stays as it was. A null buffer asks for the bytes
 * needed.
 *
 * Operations that are not here carry no text, or, as Vorn_WiaSelectDevice, have no ANSI form.
 *
 * Valid C11 and C++17.
 */
#ifndef VORNWIA_ANSI_H
#define VORNWIA_ANSI_H

#include "vornwia.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Sessions and devices ----------------------------------------------------------------------- */

/**
 * A copy of the ID of the device selected last.
 *
 * @param session  an open session
 * @return a new copy with every call, the caller's to release with KrnFreeAnsiCopy (Vornkrnx.h); null for a null
 *         session, before the first selection, and without memory
 */
VORNWIA_API char* Vorn_WiaGetSelectedDeviceA(WiaSession* session);

#pragma pack(push, 1)
/** A device, as the enumeration tells it. A text that the device does not publish is null. */
typedef struct WiaDeviceInfoA {
    uint32_t structSize;           /**< 0: 28 */
    const char* deviceId;          /**< 4 */
    const char* deviceName;        /**< 12 */
    const char* deviceDescription; /**< 20 */
} WiaDeviceInfoA;
#pragma pack(pop)

/** As EnumDevicesCallback; record and strings are valid during the call only. */
typedef int32_t (*EnumDevicesCallbackA)(WiaSession* session, const WiaDeviceInfoA* device, void* userData);

/** Lists the local devices. */
VORNWIA_API int32_t Vorn_WiaEnumDevicesA(WiaSession* session, EnumDevicesCallbackA callback, void* userData);

/* ---- Capabilities ------------------------------------------------------------------------------- */

#pragma pack(push, 1)
/**
 * A property of an item, as the enumeration tells it. A name whose ANSI form has 260 bytes or more is cut after the
 * last whole character that fits.
 */
typedef struct WiaCapabilityA {
    uint32_t structSize; /**< 0: 544, as in the wide record; this one has 284 bytes */
    uint32_t propertyId; /**< 4 */
    char propertyName[VORNWIA_CAPABILITY_NAME_CHARS]; /**< 8: empty when the platform gives no name */
    uint32_t valueType;                               /**< 268 */
    uint32_t accessFlags;                             /**< 272 */
    const WiaCapabilityValues* values;                /**< 276: the wide record's own; texts in it are wide */
} WiaCapabilityA;
#pragma pack(pop)

/** As EnumCapabilitiesCallback. */
typedef int32_t (*EnumCapabilitiesCallbackA)(WiaSession* session, uint32_t count,
                                             const WiaCapabilityA* capability, void* userData);

/** Lists an item's properties. */
VORNWIA_API int32_t Vorn_WiaEnumCapabilitiesA(WiaSession* session, WiaItemHandle item, uint32_t reserved,
                                              EnumCapabilitiesCallbackA callback, void* userData);

/* ---- Single properties -------------------------------------------------------------------------- */

VORNWIA_API int32_t Vorn_WiaGetPropertyLongA(WiaSession* session, WiaItemHandle item, const char* name,
                                             uint32_t id, int32_t* value);
VORNWIA_API int32_t Vorn_WiaSetPropertyLongA(WiaSession* session, WiaItemHandle item, const char* name,
                                             uint32_t id, int32_t value);

VORNWIA_API int32_t Vorn_WiaGetPropertyGUIDA(WiaSession* session, WiaItemHandle item, const char* name,
                                             uint32_t id, GUID* value);
VORNWIA_API int32_t Vorn_WiaSetPropertyGUIDA(WiaSession* session, WiaItemHandle item, const char* name,
                                             uint32_t id, const GUID* value);

/**
 * Reads a text.
 *
 * An empty text leaves `size` as it is, and writes its terminator alone into a buffer with room for it.
 *
 * @param buffer  receives the text and its terminator; or null
 * @param size    in: capacity of `buffer` in bytes, left as it is when the text fits; out, with a null buffer or one
 *                too small: bytes needed, terminator included
 * @return as Vorn_WiaGetPropertyString; RESULT_FALSE, with nothing done, for a buffer without `size`
 */
VORNWIA_API int32_t Vorn_WiaGetPropertyStringA(WiaSession* session, WiaItemHandle item, const char* name,
                                               uint32_t id, char* buffer, uint64_t* size);
/** Writes a text. */
VORNWIA_API int32_t Vorn_WiaSetPropertyStringA(WiaSession* session, WiaItemHandle item, const char* name,
                                               uint32_t id, const char* value);

VORNWIA_API int32_t Vorn_WiaGetPropertySystemTimeA(WiaSession* session, WiaItemHandle item, const char* name,
                                                   uint32_t id, SYSTEMTIME* value);
VORNWIA_API int32_t Vorn_WiaSetPropertySystemTimeA(WiaSession* session, WiaItemHandle item, const char* name,
                                                   uint32_t id, const SYSTEMTIME* value);

/** Reads a vector of bytes. */
VORNWIA_API int32_t Vorn_WiaGetPropertyBufferA(WiaSession* session, WiaItemHandle item, const char* name,
                                               uint32_t id, uint8_t* buffer, uint64_t* size);
/** Writes `size` bytes. */
VORNWIA_API int32_t Vorn_WiaSetPropertyBufferA(WiaSession* session, WiaItemHandle item, const char* name,
                                               uint32_t id, const uint8_t* buffer, uint32_t size);

/* ---- Acquisition -------------------------------------------------------------------------------- */

#pragma pack(push, 1)
/** As AcquireOptions. */
typedef struct AcquireOptionsA {
    uint32_t structSize; /**< 0: not examined */
    uint32_t bufferSize;
    uint32_t doubleBuffer;
    uint32_t overwriteFile;
    uint32_t multiPageFile;
    uint32_t appendToFile;
    char fileName[VORNWIA_NAME_CHARS]; /**< 24: 259 bytes and the terminator at most */
} AcquireOptionsA;
#pragma pack(pop)

/**
 * As AcquireCallback; `fileName` is never null, and empty where the wide form has none. It is whole: 259 characters can be
 * more than 259 bytes.
 */
typedef int32_t (*AcquireCallbackA)(WiaSession* session, BitmapHandle* bitmap, const char* fileName,
                                    int32_t percent, int32_t state, void* userData);

/** As AcquireToFileCallback; `fileName` is as for AcquireCallbackA. */
typedef int32_t (*AcquireToFileCallbackA)(WiaSession* session, const char* fileName, int32_t percent,
                                          int32_t state, void* userData);

/*
 * The three acquisitions.
 *
 *   options    required: null answers ERR_OUT_OF_MEMORY, and nothing is acquired. A file name without a terminator
 *              answers ERR_INVALID_ARGUMENT.
 *   fileList   receives the files' names in ANSI, also after an error that left some files; strings and array are
 *              freed with KrnFree, the strings before the array. Null when no file was written, and when there is no
 *              memory for the array.
 *   fileCount  as in the wide form. Both may be null; after any failure before a transfer they are 0 and null.
 */

VORNWIA_API int32_t Vorn_WiaAcquireA(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                                     const AcquireOptionsA* options, uint32_t* fileCount, char*** fileList,
                                     AcquireCallbackA callback, void* userData);

VORNWIA_API int32_t Vorn_WiaAcquireToFileA(WiaSession* session, HWND parent, uint32_t flags,
                                           WiaItemHandle item, const AcquireOptionsA* options,
                                           uint32_t* fileCount, char*** fileList,
                                           AcquireToFileCallbackA callback, void* userData);

VORNWIA_API int32_t Vorn_WiaAcquireSimpleA(uint32_t version, HWND parent, int32_t deviceType, uint32_t flags,
                                           WiaItemHandle item, const AcquireOptionsA* options,
                                           uint32_t* fileCount, char*** fileList, AcquireCallbackA callback,
                                           void* userData);

/* ---- Video -------------------------------------------------------------------------------------- */

/**
 * Takes a picture and tells its file's name.
 *
 * @param buffer  receives the name and its terminator; or null
 * @param size    in: capacity of `buffer` in bytes, left as it is when the name fits; out, with a null buffer or one
 *                too small: bytes needed, terminator included
 * @return as Vorn_WiaAcquireImageFromVideo; every call that gets as far as the device takes a picture, also one
 *         that answers ERR_BUFFER_TOO_SMALL
 */
VORNWIA_API int32_t Vorn_WiaAcquireImageFromVideoA(WiaSession* session, char* buffer, uint64_t* size);

#ifdef __cplusplus
}  // extern "C"
#endif

VORNWIA_ASSERT_SIZE(WiaDeviceInfoA, 28);
VORNWIA_ASSERT_SIZE(WiaCapabilityA, 284);
VORNWIA_ASSERT_OFFSET(WiaCapabilityA, values, 276);
VORNWIA_ASSERT_SIZE(AcquireOptionsA, 284);

#endif
