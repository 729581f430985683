/**
 * @file RowStream.h
 * Moves a page's rows into a sink, chunk by chunk: the part that all encoders share.
 */
#pragma once

#include "PageEncoder.h"

namespace vorn::wia {

/** How the rows of a page lie in its encoded form. */
struct RowLayout {
    uint64_t offset = 0;    ///< of the first byte of pixels
    uint64_t rowBytes = 0;  ///< of an encoded row: at most those of the page's own
    RowOrder order = RowOrder::TopDown;

    /** Turns `count` rows of a DIB into encoded ones, in place; null: they are the same. */
    void (*pack)(const PageGeometry& geometry, uint8_t* rows, uint32_t count) = nullptr;
    /** That is what a page's RGB rows are already. */
    bool rgb = false;
};

/**
 * Reads the whole page and writes its rows. A picture that is ready in memory and needs no change is written
 * from there; otherwise one chunk is all the memory this takes.
 */
HRESULT StreamRows(Page& page, const RowLayout& layout, PageSink& sink, uint32_t chunkBytes);

/**
 * True for a page with pixels, no wider or higher than a signed 32-bit number tells, of a depth that there
 * is, with a palette no longer than the depth can use. The 64-bit sizes of such a page do not overflow.
 */
bool IsPlausible(const PageGeometry& geometry) noexcept;

/** The palette of a page of up to 8 bits; without one of its own, the ramp from black to white. */
std::vector<PaletteEntry> PaletteOf(const PageGeometry& geometry);

}  // namespace vorn::wia
