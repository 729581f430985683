/**
 * @file Vornkrnx.h
 * The imaging kernel library: tracked memory, bitmap records and text conversion.
 *
 * Conventions
 * - Every allocation takes the caller's source line and source-file name. `file` must stay valid as long as
 *   the block lives (a string literal): reports print it.
 * - Functions that return `int32_t` answer KRN_SUCCESS or a negative KRN_ERR_ code.
 * - Thread safe, except that one bitmap record is used by one thread at a time.
 *
 * Valid C11 and C++17 (the converter classes are C++ only).
 */
#ifndef VORNKRNX_H
#define VORNKRNX_H

#include <stddef.h>
#include <stdint.h>

#include "vornwia_types.h"

#ifndef VORNKRNX_API
#if defined(_WIN32) && defined(VORNKRNX_BUILD)
#define VORNKRNX_API __declspec(dllexport)
#elif defined(_WIN32)
#define VORNKRNX_API __declspec(dllimport)
#else
#define VORNKRNX_API __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results ------------------------------------------------------------------------------------ */

#define KRN_SUCCESS 1
#define KRN_ERR_OUT_OF_MEMORY (-1)       /**< no memory for the block, image or text */
#define KRN_ERR_INVALID_ARGUMENT (-13)   /**< a required pointer is null, or a value is out of its range */
#define KRN_ERR_BUFFER_TOO_SMALL (-290)  /**< the converted text does not fit; nothing was cut */
#define KRN_ERR_BAD_STRUCT_SIZE (-789)   /**< the record's size argument is not KRN_BITMAP_SIZE */
#define KRN_ERR_BITMAP_TOO_LARGE (-1901) /**< the image would exceed KRN_MAX_IMAGE_BYTES */
#define KRN_ERR_NO_IMAGE (-1902)         /**< the bitmap record holds no image */

/* ---- Tracked memory ----------------------------------------------------------------------------- */

/**
 * Allocates a tracked block of `count` elements of `size` bytes. The content is undefined.
 * @return the block, freed with KrnFree; null when there is no memory or count x size overflows.
 */
VORNKRNX_API void* KrnAlloc(uint64_t count, uint64_t size, int32_t line, const char* file);

/**
 * Resizes a block of KrnAlloc, tracked or taken out of the tracking, keeping its content; null allocates.
 * @return the block, perhaps moved; null when there is no memory, and the old block is then untouched.
 */
VORNKRNX_API void* KrnRealloc(void* block, uint64_t size, int32_t line, const char* file);

/** Frees a block of KrnAlloc or KrnRealloc. Null is fine; a foreign or freed block is reported and ignored. */
VORNKRNX_API void KrnFree(void* block, int32_t line, const char* file);

/** As KrnAlloc and KrnFree, for the strings and name buffers of the library family. */
VORNKRNX_API void* KrnAllocArray(uint64_t count, uint64_t size, int32_t line, const char* file);
VORNKRNX_API void KrnFreeArray(void* block, int32_t line, const char* file);

/** Fills `size` bytes of `block` with the low byte of `value`. */
VORNKRNX_API void KrnMemSet(void* block, int32_t value, uint64_t size);
/** Copies `size` bytes; the areas must not overlap. */
VORNKRNX_API void KrnMemCopy(void* destination, const void* source, uint64_t size);

/** What KrnTrackResource keeps an eye on. */
#define KRN_RESOURCE_MEMORY 1   /**< a block of KrnAlloc */
#define KRN_RESOURCE_CALLBACK 4 /**< a callback object lent to the platform */

/**
 * Registers a resource for the leak report; a block of KrnAlloc is registered from its birth.
 * KrnUntrackResource takes it out again: of kind 1, the block then belongs to whoever was given it, is no
 * longer reported, and is still freed with KrnFree. An unknown resource is reported and ignored.
 */
VORNKRNX_API void KrnTrackResource(uint32_t kind, void* resource, int32_t line, const char* file);
VORNKRNX_API void KrnUntrackResource(uint32_t kind, void* resource, int32_t line, const char* file);

/** Number of blocks and resources that are tracked now. */
VORNKRNX_API uint64_t KrnTrackedCount(void);

/** Receives one line of a report: what is tracked or what was misused, with file and line. UTF-8. */
typedef void (*KrnReportSink)(const char* line, void* userData);

/** Reports everything that is tracked now, oldest first, one line each. */
VORNKRNX_API void KrnReportTracked(KrnReportSink sink, void* userData);

/** Where misuse is reported (foreign frees and the like); null, the default, means standard error. */
VORNKRNX_API void KrnSetMisuseSink(KrnReportSink sink, void* userData);

/**
 * For tests: makes the n-th allocation from now (1 is the next) fail, and the `count` - 1 after it
 * (UINT64_MAX: all after it). 0 for `nth` switches it off. Bitmaps and text conversion count as well.
 */
VORNKRNX_API void KrnFailAllocations(uint64_t nth, uint64_t count);

/* ---- Bitmaps ------------------------------------------------------------------------------------ */

/** The declared size of a bitmap record, passed to every operation that takes one. */
#define KRN_BITMAP_SIZE 272

/** BitmapHandle::flags: the record holds an allocated image. */
#define KRN_BITMAP_HAS_IMAGE 1u

/** Memory kinds: 1 is memory of this process. */
#define KRN_MEMORY_PROCESS 1u

/** Colour orders: 0 asks for the order at hand; 4 is blue, green, red. */
#define KRN_COLOR_ORDER_ANY 0u
#define KRN_COLOR_ORDER_BGR 4u

/** View perspectives: where the first row in memory lies in the picture. */
#define KRN_VIEW_BOTTOM_LEFT 1u /**< rows run from the bottom up, as a DIB's do */
#define KRN_VIEW_TOP_LEFT 2u    /**< rows run from the top down */

/** The largest image: what a DIB's 32-bit size fields can tell. */
#define KRN_MAX_IMAGE_BYTES 0x7FFFFFFFu

#pragma pack(push, 1)
/**
 * A bitmap. Rows are padded to a multiple of 4 bytes. 1 bit: the leftmost pixel is the highest bit;
 * 4 bits: the high half first; 24 and 32 bits: blue, green, red (and a fourth byte).
 * Zero-filled, the record is an empty bitmap.
 */
typedef struct BitmapHandle {
    uint32_t structSize;      /**< 0: KRN_BITMAP_SIZE once the record holds an image */
    uint32_t memoryKind;      /**< 4: KRN_MEMORY_PROCESS */
    uint32_t colorOrder;      /**< 8: KRN_COLOR_ORDER_BGR */
    void* image;              /**< 12: the rows; valid between access and its release */
    uint32_t width;           /**< 20: pixels */
    uint32_t height;          /**< 24: rows */
    uint32_t bitsPerPixel;    /**< 28: 1, 4, 8, 16, 24 or 32 */
    uint32_t rowBytes;        /**< 32: distance from one row to the next */
    uint32_t viewPerspective; /**< 36: KRN_VIEW_BOTTOM_LEFT or KRN_VIEW_TOP_LEFT */
    uint32_t accessCount;     /**< 40: how often access is open */
    uint32_t paletteCount;    /**< 44: entries of the palette, 0 above 8 bits */
    uint32_t flags;           /**< 48: KRN_BITMAP_ flags */
    uint8_t* palette;    /**< 52: 4 bytes an entry: blue, green, red, 0; a block of KrnAlloc, the record's */
    uint64_t imageBytes; /**< 60: rowBytes x height */
    double xDpi;         /**< 68: pixels an inch across, 0 when unknown */
    double yDpi;         /**< 76: pixels an inch down, 0 when unknown */
    uint8_t reserved[188]; /**< 84 */
} BitmapHandle;
#pragma pack(pop)

/**
 * Creates an image in `bitmap`, whose old content is overwritten: free an old image first.
 *
 * @param bitmap          the record to fill
 * @param bitmapSize      KRN_BITMAP_SIZE
 * @param memoryKind      KRN_MEMORY_PROCESS
 * @param width, height   pixels, 1 or more
 * @param bitsPerPixel    1, 4, 8, 16, 24 or 32
 * @param colorOrder      KRN_COLOR_ORDER_BGR, or KRN_COLOR_ORDER_ANY which means the same
 * @param palette         a block of KrnAlloc with 4 bytes an entry, of which the record takes a copy (as many
 *                        entries as the block holds, 2^bitsPerPixel at most); null gives the grey ramp up to 8 bits
 * @param viewPerspective KRN_VIEW_BOTTOM_LEFT or KRN_VIEW_TOP_LEFT
 * @param data            `size` bytes of rows to copy in, or null for an image of zeros
 * @param size            bytes at `data`; fewer than the image needs leaves the rest zero, more are ignored
 * @return KRN_SUCCESS; KRN_ERR_INVALID_ARGUMENT; KRN_ERR_BAD_STRUCT_SIZE; KRN_ERR_BITMAP_TOO_LARGE;
 *         KRN_ERR_OUT_OF_MEMORY. After a failure the record is empty.
 */
VORNKRNX_API int32_t KrnCreateBitmap(BitmapHandle* bitmap, uint32_t bitmapSize, uint32_t memoryKind,
                                     uint32_t width, uint32_t height, uint32_t bitsPerPixel,
                                     uint32_t colorOrder, const uint8_t* palette, uint32_t viewPerspective,
                                     const void* data, uint64_t size);

/** Opens direct access to the image memory (again and again, if need be). KRN_ERR_NO_IMAGE without an image. */
VORNKRNX_API int32_t KrnAccessBitmap(BitmapHandle* bitmap);
/** Ends direct access. The image stays where it is: access may be opened again. */
VORNKRNX_API int32_t KrnReleaseBitmapAccess(BitmapHandle* bitmap);

/** Copies the record only; image and palette are shared and stay the source's. */
VORNKRNX_API int32_t KrnCopyBitmapHandle(BitmapHandle* destination, const BitmapHandle* source,
                                         uint32_t bitmapSize);

/** Makes `destination` an independent copy of `source`, image and palette included. */
VORNKRNX_API int32_t KrnDuplicateBitmap(BitmapHandle* destination, const BitmapHandle* source,
                                        uint32_t bitmapSize);

/** Frees image and palette and empties the record. A record without an image can hold a palette. */
VORNKRNX_API int32_t KrnFreeBitmap(BitmapHandle* bitmap);

/** Bytes of one row of `width` pixels, padded to 4; in 64 bits, so that no width overflows. */
VORNKRNX_API uint64_t KrnRowBytes(uint32_t width, uint32_t bitsPerPixel);

/**
 * Resolution between the pixels a metre of a DIB header and dots an inch. A whole number of dots an inch
 * survives the way there and back; 0 or less is 0, unknown.
 */
VORNKRNX_API double KrnDpiFromPelsPerMeter(int32_t pelsPerMeter);
VORNKRNX_API int32_t KrnPelsPerMeterFromDpi(double dpi);

/* ---- Text --------------------------------------------------------------------------------------- */

/*
 * ANSI is the system's code page; on Linux it is UTF-8. A lone surrogate or a malformed byte becomes the
 * replacement character, but for the bytes of file names: see KrnAllocWideName. Nothing cuts a multi-byte character in half.
 */

/** A new ANSI copy of a wide text, released with KrnFreeAnsiCopy; null for null or without memory. */
VORNKRNX_API char* KrnAllocAnsiCopy(const WCHAR* text);
VORNKRNX_API void KrnFreeAnsiCopy(char* copy);

/** A new wide copy of an ANSI text, a block released with KrnFree; null for null or without memory. */
VORNKRNX_API WCHAR* KrnAllocWideCopy(const char* text);

/**
 * As KrnAllocWideCopy, for file names: where names are bytes, each byte that is not valid UTF-8 becomes a lone surrogate,
 * U+DC80 to U+DCFF, which every conversion to ANSI turns into that byte again.
 */
VORNKRNX_API WCHAR* KrnAllocWideName(const char* name);

/**
 * Converts into the caller's buffer.
 * @param text      the text; null writes nothing and succeeds
 * @param buffer    receives text and terminator, or null to ask for the size
 * @param capacity  of `buffer`, in bytes (wide to ANSI) or characters (ANSI to wide)
 * @param needed    receives the capacity that the text needs, terminator included; may be null
 * @return KRN_SUCCESS; KRN_ERR_BUFFER_TOO_SMALL with the buffer untouched.
 */
VORNKRNX_API int32_t KrnWideToAnsi(const WCHAR* text, char* buffer, uint64_t capacity, uint64_t* needed);
VORNKRNX_API int32_t KrnAnsiToWide(const char* text, WCHAR* buffer, uint64_t capacity, uint64_t* needed);

#ifdef __cplusplus
}  // extern "C"

/** Converts ANSI text to wide text and holds the copy. */
class VORNKRNX_API Vorn_A2W {
public:
    Vorn_A2W() noexcept = default;
    Vorn_A2W(const Vorn_A2W&) = delete;
    Vorn_A2W& operator=(const Vorn_A2W&) = delete;
    ~Vorn_A2W();

    /** Nonzero on success; 0 without memory and for a text that is not valid ANSI. A null text succeeds and holds null. */
    int32_t Convert(const char* text) noexcept;
    /** The wide text, owned by this object. */
    const WCHAR* Value() const noexcept { return value_; }

    /** Converts into a buffer of `capacity` characters, as KrnAnsiToWide does; KRN_ERR_OUT_OF_MEMORY for invalid ANSI. */
    static int32_t Convert(const char* text, WCHAR* buffer, uint64_t capacity) noexcept;

private:
    WCHAR* value_ = nullptr;
};

/** Converts wide text to ANSI text. */
class VORNKRNX_API Vorn_W2A {
public:
    /** Converts into a buffer of `capacity` bytes, as KrnWideToAnsi does. */
    static int32_t Convert(const WCHAR* text, char* buffer, uint64_t capacity) noexcept;
};
#endif

#endif
