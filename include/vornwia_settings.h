/**
 * @file vornwia_settings.h
 * What a device can do, and setting it up in one call: capabilities, transfer formats, and the record of the
 * common scanning settings.
 *
 * The conventions are those of `vornwia.h`, which includes this header.
 *
 * Valid C11 and C++17.
 */
#ifndef VORNWIA_SETTINGS_H
#define VORNWIA_SETTINGS_H

#include "vornwia_base.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Capabilities ------------------------------------------------------------------------------- */

/** Characters in a capability's name, terminator included. */
#define VORNWIA_CAPABILITY_NAME_CHARS 260

/** WiaCapability::accessFlags, as the platform gives them; other bits may be set. */
#define WIA_ACCESS_READ 0x01u
#define WIA_ACCESS_WRITE 0x02u
#define WIA_ACCESS_NONE 0x08u  /**< the valid values are not restricted */
#define WIA_ACCESS_RANGE 0x10u /**< the valid values are a range */
#define WIA_ACCESS_LIST 0x20u  /**< the valid values are a list */
#define WIA_ACCESS_FLAG 0x40u  /**< the valid values are a set of bits */

/** WiaCapability::valueType: the platform's VARTYPE. These are the ones that decide what a list holds. */
#define WIA_VALUE_LONG 3   /**< a 32-bit integer */
#define WIA_VALUE_FLOAT 4  /**< a number with a fraction, of single precision */
#define WIA_VALUE_DOUBLE 5 /**< a number with a fraction, of double precision */
#define WIA_VALUE_TEXT 8   /**< a text */
#define WIA_VALUE_GUID 72  /**< a GUID */

#pragma pack(push, 4)
/** The bits that a property takes. */
typedef struct WiaFlagValues {
    uint32_t structSize; /**< 0: 12 */
    uint32_t validFlags; /**< 4: the bits that may be set */
    uint32_t nominal;    /**< 8: the default bits */
} WiaFlagValues;

/**
 * The range of numbers that a property takes. Numbers with a fraction are rounded to the nearest whole number, the ends
 * inward where there is a whole number between them.
 */
typedef struct WiaRangeValues {
    uint32_t structSize; /**< 0: 20 */
    int32_t minimum;     /**< 4 */
    int32_t maximum;     /**< 8 */
    int32_t nominal;     /**< 12: the default */
    int32_t step;        /**< 16: from one value to the next; 0 when the device does not tell */
} WiaRangeValues;

/**
 * The values that a property takes, one by one: texts (const WCHAR*), GUIDs (const GUID*) or numbers (const int32_t*), as
 * the device publishes them. For a `valueType` of WIA_VALUE_TEXT, of WIA_VALUE_GUID, or of any number they are of that
 * kind, and the list is empty when the device says otherwise. No item is null.
 */
typedef struct WiaListValues {
    uint32_t structSize;      /**< 0: 16 */
    int32_t count;            /**< 4: number of items */
    const void* const* items; /**< 8: null when there is none */
} WiaListValues;

/** What `rangeValues` points to when `valueType` is WIA_VALUE_FLOAT or WIA_VALUE_DOUBLE: the exact numbers follow. */
typedef struct WiaRealRangeValues {
    WiaRangeValues rounded; /**< 0: its structSize is 20, as everywhere */
    double minimum;         /**< 20 */
    double maximum;         /**< 28 */
    double nominal;         /**< 36 */
    double step;            /**< 44: 0 when the device does not tell */
} WiaRealRangeValues;

/** What `listValues` points to for these types: the exact numbers follow. */
typedef struct WiaRealListValues {
    WiaListValues rounded; /**< 0: its structSize is 16, as everywhere */
    const double* numbers; /**< 16: as many as `rounded` has items; null when there is none */
} WiaRealListValues;

/** Valid values: exactly one of the pointers is set, unless memory ran out, which leaves all of them null. */
typedef struct WiaCapabilityValues {
    uint32_t structSize;               /**< 0: 28 */
    const WiaFlagValues* flagValues;   /**< 4 */
    const WiaListValues* listValues;   /**< 12 */
    const WiaRangeValues* rangeValues; /**< 20 */
} WiaCapabilityValues;

/** A property of an item: its name, its type, and what may be written to it. */
typedef struct WiaCapability {
    uint32_t structSize; /**< 0: 544 */
    uint32_t propertyId; /**< 4: numeric WIA ID */
    WCHAR
    propertyName[VORNWIA_CAPABILITY_NAME_CHARS]; /**< 8: empty when there is none; a longer one is cut */
    uint32_t valueType;                          /**< 528: the platform's VARTYPE */
    uint32_t accessFlags;                        /**< 532: WIA_ACCESS_ bits; 0 when the device did not tell */
    const WiaCapabilityValues* values;           /**< 536: valid values; null when they are not restricted */
} WiaCapability;
#pragma pack(pop)

/**
 * Hears of one property.
 *
 * @param session     the session that enumerates
 * @param count       number of properties that the device announced, the same on every call
 * @param capability  the property, with everything it points to valid during the call only; null when the device
 *                    announced a property and then did not deliver it
 * @param userData    as given to the enumeration
 * @return ERR_ABORTED to stop; any other value goes on. The last value is the result of the enumeration.
 */
typedef int32_t (*EnumCapabilitiesCallback)(WiaSession* session, uint32_t count,
                                            const WiaCapability* capability, void* userData);

/**
 * Lists the properties of an item, in the device's order, with what may be written to them.
 *
 * @param session   a session with a selected device
 * @param item      the item; stays the caller's. The device's own properties are the root item's.
 * @param reserved  0; not used
 * @param callback  called once a property
 * @param userData  handed to the callback
 * @return the last value of the callback, or SUCCESS when it was not called; ERR_INVALID_ARGUMENT;
 *         ERR_NO_DEVICE_SELECTED; RESULT_FALSE when the device does not tell its type; ERR_WIA_UNEXPECTED for an
 *         item without a property storage; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaEnumCapabilities(WiaSession* session, WiaItemHandle item, uint32_t reserved,
                                             EnumCapabilitiesCallback callback, void* userData);

/* ---- Transfer formats --------------------------------------------------------------------------- */

/** Transfer media, as the platform numbers them (its TYMED values). */
#define WIA_MEDIUM_FILE 2
#define WIA_MEDIUM_MEMORY 128 /**< pages as bitmaps through the acquisition's callback */
#define WIA_MEDIUM_MULTIPAGE_FILE 256
#define WIA_MEDIUM_MULTIPAGE_MEMORY 512

/**
 * Hears of one pair of format and medium.
 *
 * @param session   the session that enumerates
 * @param count     number of pairs that the device announced, the same on every call
 * @param tymed     the medium, a WIA_MEDIUM_ value
 * @param format    the image format, valid during the call only
 * @param userData  as given to the enumeration
 * @return ERR_ABORTED to stop; any other value goes on. The last value is the result of the enumeration.
 */
typedef int32_t (*EnumFormatsCallback)(WiaSession* session, uint32_t count, uint32_t tymed,
                                       const GUID* format, void* userData);

/**
 * Lists the transfer formats of an item: what may be written to its properties WIA_IPA_FORMAT and WIA_IPA_TYMED
 * together. A pair that the device announced and does not deliver is left out.
 *
 * @param session   a session with a selected device
 * @param item      the item; stays the caller's
 * @param reserved  0; not used
 * @param callback  called once a pair
 * @param userData  handed to the callback
 * @return the last value of the callback, or SUCCESS when it was not called; ERR_INVALID_ARGUMENT;
 *         ERR_NO_DEVICE_SELECTED; RESULT_FALSE when the device does not tell its type; ERR_WIA_UNEXPECTED for an
 *         item that does not transfer; a mapped platform error
 */
VORNWIA_API int32_t Vorn_WiaEnumFormats(WiaSession* session, WiaItemHandle item, uint32_t reserved,
                                        EnumFormatsCallback callback, void* userData);

/* ---- The scanning-properties record ------------------------------------------------------------- */

/** WiaScanProperties::documentHandling: where pages come from, and which sides. */
#define WIA_SOURCE_FEEDER 1u
#define WIA_SOURCE_FLATBED 2u
#define WIA_SOURCE_DUPLEX 4u
#define WIA_SOURCE_FRONT_ONLY 32u
#define WIA_SOURCE_BACK_ONLY 64u

#pragma pack(push, 4)
/** The picture: depth, resolution, scanned area. Positions and extents are in pixels of the resolution. */
typedef struct WiaImageGeometry {
    uint32_t structSize;   /**< 0: 44 */
    uint32_t bitsPerPixel; /**< 4: WIA_IPA_DEPTH */
    uint32_t xResolution;  /**< 8: WIA_IPS_XRES, dots per inch */
    uint32_t yResolution;  /**< 12: WIA_IPS_YRES, dots per inch */
    uint32_t property3109; /**< 16: scanner property 3109; written in generation 2 only */
    uint32_t property3110; /**< 20: scanner property 3110; written in generation 2 only */
    uint32_t rotation;     /**< 24: WIA_IPS_ROTATION */
    uint32_t xPosition;    /**< 28: WIA_IPS_XPOS */
    uint32_t yPosition;    /**< 32: WIA_IPS_YPOS */
    uint32_t xExtent;      /**< 36: WIA_IPS_XEXTENT */
    uint32_t yExtent;      /**< 40: WIA_IPS_YEXTENT */
} WiaImageGeometry;

/** How the picture is transferred. */
typedef struct WiaDataFormat {
    uint32_t structSize;  /**< 0: 24 */
    GUID* formatGuid;     /**< 4: WIA_IPA_FORMAT, the caller's GUID; may be null when reading */
    uint32_t compression; /**< 12: WIA_IPA_COMPRESSION */
    uint32_t tymed;       /**< 16: WIA_IPA_TYMED, a WIA_MEDIUM_ value */
    uint32_t dataType;    /**< 20: WIA_IPA_DATATYPE */
} WiaDataFormat;

/** Tone. Values may be negative: they are the bits of an int32_t. */
typedef struct WiaImageAdjust {
    uint32_t structSize; /**< 0: 12 */
    uint32_t brightness; /**< 4: WIA_IPS_BRIGHTNESS */
    uint32_t contrast;   /**< 8: WIA_IPS_CONTRAST */
} WiaImageAdjust;

/**
 * The common scanning settings in one record. The record and what it points to are the caller's; each part tells
 * its own size. In generation 1 `documentHandling` and `pages` are the device's, everything else the item's.
 */
typedef struct WiaScanProperties {
    uint32_t structSize;        /**< 0: 44 */
    uint32_t documentHandling;  /**< 4: WIA_DPS_DOCUMENT_HANDLING_SELECT, WIA_SOURCE_ bits and others */
    uint32_t intent;            /**< 8: WIA_IPS_CUR_INTENT */
    uint32_t orientation;       /**< 12: WIA_IPS_ORIENTATION */
    uint32_t pages;             /**< 16: WIA_DPS_PAGES; 0: until the feeder is empty */
    WiaImageGeometry* geometry; /**< 20 */
    WiaDataFormat* dataFormat;  /**< 28 */
    WiaImageAdjust* adjust;     /**< 36 */
} WiaScanProperties;
#pragma pack(pop)

/**
 * Reads the settings in force into a record. A property that the item does not have leaves its field as it was,
 * except the format, which becomes all zero. An item of generation 2 that does not tell its document source is
 * told by its category: feeder, flatbed, front, back, or 0 for another one.
 *
 * @param session  a session with a selected device
 * @param item     the item; stays the caller's
 * @param record   the record, sizes set in all four parts; `formatGuid` may be null and is then not read
 * @return SUCCESS, whatever could be read; ERR_INVALID_ARGUMENT for a null session, item, record or part;
 *         ERR_BAD_STRUCT_SIZE; ERR_NO_DEVICE_SELECTED, checked last; ERR_WIA_UNEXPECTED when the item or the root
 *         item has no property storage, the record being left as it was
 */
VORNWIA_API int32_t Vorn_WiaGetProperties(WiaSession* session, WiaItemHandle item, WiaScanProperties* record);

/** What a PropertyWriteCallback answers. */
#define PROPERTY_WRITE_GO_ON 1
#define PROPERTY_WRITE_AGAIN 2 /**< write once more, the value as the callback left it */
#define PROPERTY_WRITE_STOP 3  /**< write nothing else */

/**
 * Hears of each write of a record's settings, good or refused.
 *
 * @param session    the session that writes
 * @param id         the property
 * @param status     SUCCESS, or the mapped error with which the device refused
 * @param valueType  WIA_VALUE_LONG, or WIA_VALUE_GUID for the format
 * @param value      the value written: an int32_t or a GUID of the library's own, which the callback may change
 *                   before it answers PROPERTY_WRITE_AGAIN
 * @param userData   as given to Vorn_WiaSetProperties
 * @return PROPERTY_WRITE_AGAIN, until a property was written 1000 times, after which it means to go on;
 *         PROPERTY_WRITE_STOP; any other value goes on. For the format, ERR_ABORTED stops too, and
 *         PROPERTY_WRITE_GO_ON leaves the caller's GUID as it is, where other values refresh it from the device.
 */
typedef int32_t (*PropertyWriteCallback)(WiaSession* session, uint32_t id, int32_t status, uint32_t valueType,
                                         void* value, void* userData);

/**
 * Writes a record's settings to the device, one by one, in an order in which a setting that changes the valid
 * values of others comes before them. Properties that the device does not list as writable are skipped.
 *
 * A refused value does not fail the call: the field then receives the value in force, also when the callback had
 * another one written in its place. In generation 1 a flatbed, a camera and a video device are always given one
 * page, which leaves `pages` as it was. In generation 2 the medium WIA_MEDIUM_MEMORY takes the format BMP,
 * whatever `formatGuid` says.
 *
 * @param session   a session with a selected device
 * @param item      the item; stays the caller's
 * @param record    the record, sizes set in all four parts
 * @param callback  hears of each write; may be null
 * @param userData  handed to the callback
 * @return SUCCESS; ERR_ABORTED when the callback stopped; ERR_INVALID_ARGUMENT for a null session, item, record or
 *         part, a part of a wrong size, or a null `formatGuid` where the format is writable; ERR_NO_DEVICE_SELECTED;
 *         ERR_BAD_STRUCT_SIZE for the record's own size; ERR_WIA_UNEXPECTED when the item or the root item has no
 *         property storage. What was written before an error stays written.
 */
VORNWIA_API int32_t Vorn_WiaSetProperties(WiaSession* session, WiaItemHandle item, WiaScanProperties* record,
                                          PropertyWriteCallback callback, void* userData);

#ifdef __cplusplus
}  // extern "C"
#endif

VORNWIA_ASSERT_SIZE(WiaFlagValues, 12);
VORNWIA_ASSERT_SIZE(WiaRangeValues, 20);
VORNWIA_ASSERT_SIZE(WiaListValues, 16);
VORNWIA_ASSERT_OFFSET(WiaListValues, items, 8);
VORNWIA_ASSERT_SIZE(WiaRealRangeValues, 52);
VORNWIA_ASSERT_OFFSET(WiaRealRangeValues, minimum, 20);
VORNWIA_ASSERT_SIZE(WiaRealListValues, 24);
VORNWIA_ASSERT_OFFSET(WiaRealListValues, numbers, 16);
VORNWIA_ASSERT_SIZE(WiaCapabilityValues, 28);
VORNWIA_ASSERT_OFFSET(WiaCapabilityValues, rangeValues, 20);
VORNWIA_ASSERT_SIZE(WiaCapability, 544);
VORNWIA_ASSERT_OFFSET(WiaCapability, valueType, 528);
VORNWIA_ASSERT_OFFSET(WiaCapability, values, 536);
VORNWIA_ASSERT_SIZE(WiaImageGeometry, 44);
VORNWIA_ASSERT_OFFSET(WiaImageGeometry, yExtent, 40);
VORNWIA_ASSERT_SIZE(WiaDataFormat, 24);
VORNWIA_ASSERT_OFFSET(WiaDataFormat, dataType, 20);
VORNWIA_ASSERT_SIZE(WiaImageAdjust, 12);
VORNWIA_ASSERT_SIZE(WiaScanProperties, 44);
VORNWIA_ASSERT_OFFSET(WiaScanProperties, adjust, 36);

#endif
