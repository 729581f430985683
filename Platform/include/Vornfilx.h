/**
 * @file Vornfilx.h
 * The image file library: tells about image files, loads and saves them.
 *
 * Conventions
 * - Each operation answers FIL_SUCCESS or a negative FIL_ERR_ code.
 * - A bitmap is a record of the kernel library, and its size argument is KRN_BITMAP_SIZE. A load frees an image
 *   that the record holds and replaces it; the new one is freed with KrnFreeBitmap. Loaded bitmaps have their
 *   colours in the order blue, green, red and their rows from the bottom up; only a BMP whose own rows run from
 *   the top down keeps that order, and the record's view perspective tells.
 * - File names are wide, terminated, and survive whatever their script.
 * - Resolution travels in the bitmap record (xDpi, yDpi).
 *
 * Valid C11 and C++17.
 */
#ifndef VORNFILX_H
#define VORNFILX_H

#include "Vornkrnx.h"

#ifndef VORNFILX_API
#if defined(_WIN32) && defined(VORNFILX_BUILD)
#define VORNFILX_API __declspec(dllexport)
#elif defined(_WIN32)
#define VORNFILX_API __declspec(dllimport)
#else
#define VORNFILX_API __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define FIL_SUCCESS 1
#define FIL_ERR_NOT_FOUND (-2001)      /**< no such file or directory */
#define FIL_ERR_ACCESS (-2002)         /**< the file or its directory may not be read or written */
#define FIL_ERR_READ (-2003)           /**< reading failed */
#define FIL_ERR_WRITE (-2004)          /**< writing failed */
#define FIL_ERR_DISK_FULL (-2005)      /**< no room left; the file is as it was */
#define FIL_ERR_UNKNOWN_FORMAT (-2006) /**< the data is of no format that this library knows */
#define FIL_ERR_UNSUPPORTED (-2007)    /**< the format is known, this variant of it is not */
#define FIL_ERR_CORRUPT (-2008)        /**< the data contradicts itself or ends early */
#define FIL_ERR_TOO_LARGE (-2009)      /**< the image exceeds what a bitmap can hold */
#define FIL_ERR_NO_SUCH_PAGE (-2010)   /**< the page number is past the last page */
#define FIL_ERR_SINGLE_PAGE_FORMAT \
    (-2011) /**< the file has its page, and its format holds one; it is as it was */
#define FIL_ERR_INVALID_ARGUMENT (-2012) /**< a required pointer is null, or a value is out of its range */
#define FIL_ERR_OUT_OF_MEMORY (-2013)    /**< no memory */
#define FIL_ERR_IS_DIRECTORY (-2014)     /**< the name is that of a directory */
#define FIL_ERR_LOCKED (-2015)           /**< another program keeps adding pages to the file; it is as it was */

/** File formats. */
#define FIL_FORMAT_UNKNOWN 0
#define FIL_FORMAT_BMP 1
#define FIL_FORMAT_TIFF 2
#define FIL_FORMAT_JPEG 3
#define FIL_FORMAT_PNG 4
#define FIL_FORMAT_PDF 5
#define FIL_FORMAT_GIF 6

#define FIL_INFO_SIZE 2212
#define FIL_LOAD_OPTIONS_SIZE 48
#define FIL_SAVE_OPTIONS_SIZE 48

#pragma pack(push, 1)
/** What FilInfo tells about a file. The picture's fields are those of the page that the load options name. */
typedef struct FilFileInfo {
    uint32_t structSize;     /**< 0: FIL_INFO_SIZE */
    int32_t format;          /**< 4: FIL_FORMAT_ code */
    WCHAR fileName[260];     /**< 8: the name asked about, cut when longer */
    uint8_t reserved1[512];  /**< 528 */
    uint32_t bitsPerPixel;   /**< 1040: as a load delivers them */
    uint32_t width;          /**< 1044: pixels */
    uint32_t height;         /**< 1048: rows */
    double xDpi;             /**< 1052: 0 when unknown */
    double yDpi;             /**< 1060 */
    uint64_t fileBytes;      /**< 1068: size of the file or buffer */
    uint8_t reserved2[28];   /**< 1076 */
    uint32_t colorOrder;     /**< 1104: KRN_COLOR_ORDER_BGR */
    uint8_t reserved3[4];    /**< 1108 */
    uint32_t pageCount;      /**< 1112 */
    uint8_t reserved4[1096]; /**< 1116 */
} FilFileInfo;

/** How to load. */
typedef struct FilLoadOptions {
    uint32_t structSize;   /**< 0: FIL_LOAD_OPTIONS_SIZE */
    uint8_t reserved1[16]; /**< 4 */
    uint32_t page;         /**< 20: the page to load, counted from 1 */
    uint8_t reserved2[24]; /**< 24 */
} FilLoadOptions;

/** How to save. Bytes that are reserved are 0. */
typedef struct FilSaveOptions {
    uint32_t structSize;  /**< 0: FIL_SAVE_OPTIONS_SIZE */
    uint32_t jpegQuality; /**< 4: of JPEG data, 1 to 100; 0: the default, 90 */
    uint8_t reserved[40]; /**< 8 */
} FilSaveOptions;
#pragma pack(pop)

/** Fills load options with their defaults: the first page. `size` is FIL_LOAD_OPTIONS_SIZE. */
VORNFILX_API int32_t FilDefaultLoadOptions(FilLoadOptions* options, uint32_t size);

/** FilInfo's flags: 1 reads the page count as well. */
#define FIL_INFO_COUNT_PAGES 1u

/**
 * Tells about a file without loading it.
 * @param fileName  the file
 * @param info      filled on success
 * @param infoSize  FIL_INFO_SIZE
 * @param flags     FIL_INFO_COUNT_PAGES, or 0: pageCount is then 1
 * @param options   names the page to tell about; null: the first
 */
VORNFILX_API int32_t FilInfo(const WCHAR* fileName, FilFileInfo* info, uint32_t infoSize, uint32_t flags,
                             const FilLoadOptions* options);

/**
 * Loads one page of a file.
 * @param fileName      the file
 * @param bitmap        receives the image
 * @param bitmapSize    KRN_BITMAP_SIZE
 * @param bitsPerPixel  depth wanted: that of the file, or 0 for it; another answers FIL_ERR_UNSUPPORTED. A file
 *                      whose depth a load changes (16 bits become 24) answers to both
 * @param colorOrder    KRN_COLOR_ORDER_BGR or KRN_COLOR_ORDER_ANY
 * @param options       names the page; null: the first
 * @param info          also filled when not null, page count included
 */
VORNFILX_API int32_t FilLoad(const WCHAR* fileName, BitmapHandle* bitmap, uint32_t bitmapSize,
                             uint32_t bitsPerPixel, uint32_t colorOrder, const FilLoadOptions* options,
                             FilFileInfo* info);

/**
 * As FilLoad, from an encoded image of `size` bytes in memory. A BMP that is only its header and colour
 * table gives its geometry: FIL_ERR_CORRUPT is answered, and the record holds no image but the
 * width, height, depth, view perspective and resolution that the header tells, and its palette, which KrnFreeBitmap
 * frees.
 */
VORNFILX_API int32_t FilLoadMemory(const void* buffer, BitmapHandle* bitmap, uint32_t bitmapSize,
                                   uint32_t bitsPerPixel, uint32_t colorOrder, int32_t size,
                                   const FilLoadOptions* options, FilFileInfo* info);

/** FilSave's modes. */
#define FIL_SAVE_NEW 1      /**< the file must not exist: FIL_ERR_ACCESS when it does */
#define FIL_SAVE_ADD_PAGE 2 /**< the bitmap becomes the file's last page; a missing file is created. Programs that add at
                                 the same time take turns: FIL_ERR_LOCKED after waiting for 30 seconds. A file that FilInfo
                                 refuses is refused with the same code, and stays as it is */
#define FIL_SAVE_REPLACE 3  /**< of FilMoveFile only */

/** FilSave's compressions. Which a format has depends on the system's codecs too. */
#define FIL_COMPRESSION_NONE 1    /**< BMP, TIFF */
#define FIL_COMPRESSION_DEFLATE 2 /**< TIFF, PNG */
#define FIL_COMPRESSION_LZW 3     /**< TIFF */
#define FIL_COMPRESSION_JPEG 4    /**< TIFF of 8-bit grey or 24-bit colour, JPEG */
#define FIL_COMPRESSION_GROUP4 5  /**< TIFF of 1 bit, black and white */
#define FIL_COMPRESSION_DEFAULT 6 /**< the format's usual one; for BMP and TIFF none */

/**
 * Saves a bitmap as a page of a file.
 * @param fileName      the file
 * @param bitmap        the image, open for access or not
 * @param format        FIL_FORMAT_ code; adding a page to a file of another format gives FIL_ERR_UNSUPPORTED
 * @param bitsPerPixel  the bitmap's depth, or 0 for it; another answers FIL_ERR_UNSUPPORTED
 * @param mode          FIL_SAVE_ mode
 * @param compression   FIL_COMPRESSION_ code; one that the format or the bitmap's depth does not have gives
 *                      FIL_ERR_UNSUPPORTED
 * @param options       null for the defaults
 * @param reserved1, reserved2  null
 * @return FIL_SUCCESS, or a FIL_ERR_ code with the file as it was: a new file is not left behind half
 *         written, and an existing one keeps every page it had.
 */
VORNFILX_API int32_t FilSave(const WCHAR* fileName, const BitmapHandle* bitmap, int32_t format,
                             uint32_t bitsPerPixel, int32_t mode, int32_t compression,
                             const FilSaveOptions* options, void* reserved1, void* reserved2);

/**
 * Saves the pages of an image file as pages of another: FilSave without a bitmap. A BMP file is read piece by piece, and
 * a JPEG picture goes into a PDF file as it is, unless the options ask for a quality; other pages pass through memory one
 * at a time.
 * @param source  the file with the pages, which stays
 * @return as FilSave; pages before one that failed are saved
 */
VORNFILX_API int32_t FilSaveFile(const WCHAR* fileName, const WCHAR* source, int32_t format, int32_t mode,
                                 int32_t compression, const FilSaveOptions* options);

/**
 * Gives a file another name on the same file system.
 * @param from  the file; it stays when the call fails
 * @param to    the name
 * @param mode  FIL_SAVE_NEW: no file may have the name, FIL_ERR_ACCESS otherwise; FIL_SAVE_REPLACE: one that has it is
 *              replaced in one step, and its permissions stay
 */
VORNFILX_API int32_t FilMoveFile(const WCHAR* from, const WCHAR* to, int32_t mode);

/** The format whose usual extension `fileName` ends in, without regard to case; FIL_FORMAT_UNKNOWN otherwise. */
VORNFILX_API int32_t FilFormatFromName(const WCHAR* fileName);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif
