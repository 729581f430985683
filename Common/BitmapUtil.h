/**
 * @file BitmapUtil.h
 * Device-independent bitmap data, as the platform delivers it, on its way into kernel bitmaps.
 *
 * A device is not trusted: headers come with the number of bytes at hand, and nothing beyond them is read.
 */
#pragma once

#include <cstdint>
#include <span>

#include "Vornkrnx.h"
#include "vornwia.h"

namespace vorn {

/** A DIB header and what follows it, without a file header. */
using DibBytes = std::span<const uint8_t>;

/** The size of a DIB header, 12, 40, 108 or 124; 0 when it is none of these or not all at hand. */
uint32_t GetDibHeaderSize(DibBytes dib) noexcept;

/**
 * Reads a DIB header. Out pointers may be null.
 *
 * @param palette  receives, when the header counts colours, their table as a tracked block of 4 bytes an
 * entry that the caller frees with KrnFree; otherwise it is left as it was, so preset it to null
 * @return 1; 0 with nothing written when the header is not recognised, or its colour table is larger than its
 *         depth allows, lies beyond the bytes at hand, or cannot be copied for want of memory
 */
int GetDibInfo(DibBytes dib, uint32_t* width, uint32_t* height, uint32_t* bitsPerPixel,
               uint8_t** palette) noexcept;

/**
 * The colour table that a header of up to 8 bits implies without counting its colours: 2^bits entries, of
 * 3 bytes after a 12-byte header, else of 4. A tracked block as above; null when it is not all at hand.
 */
uint8_t* CopyImpliedPalette(DibBytes dib) noexcept;

/** Stores the resolution that a DIB header tells in a bitmap record. */
void CopyDibResolution(DibBytes dib, BitmapHandle* bitmap) noexcept;

/**
 * Copies a band to the image of a bitmap that is open for access.
 *
 * @param band          `length` bytes
 * @param offset        the band's place in the stream of header and pixels
 * @param headerLength  where in that stream the image begins
 * @return false, with nothing copied, when the band does not lie inside the image
 */
bool CopyBandToBitmap(const uint8_t* band, BitmapHandle* bitmap, int32_t length, int32_t offset,
                      int32_t headerLength) noexcept;

/**
 * Hands a bitmap to a callback as a temporary copy of its record, at 100 percent and without a file name.
 * @return the callback's answer; 1 without a call when the copy cannot be made
 */
int NotifyBitmapCopy(WiaSession* session, const BitmapHandle* bitmap, int32_t state, AcquireCallback callback,
                     void* userData) noexcept;

/** A new bitmap record of zeros, a tracked block; null without memory. */
BitmapHandle* NewBitmapRecord() noexcept;

/** Frees a record and the image that it holds; null is fine. */
void FreeBitmapRecord(BitmapHandle* bitmap) noexcept;

/** True while the record holds an image. */
inline bool HasImage(const BitmapHandle* bitmap) noexcept
{
    return bitmap && (bitmap->flags & KRN_BITMAP_HAS_IMAGE);
}

}  // namespace vorn
