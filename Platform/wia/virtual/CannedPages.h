/**
 * @file CannedPages.h
 * Page sources for devices defined by hand: pages that are given, and what can be put around another source.
 */
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include "../Export.h"
#include "../model/Page.h"

namespace vorn::wia {

/** A page that is delivered as it stands, whatever was asked for. */
struct CannedPage {
    PageGeometry geometry;
    /** The pixel array of a DIB, bottom up. Shorter than the geometry says: the rest is zero. */
    std::vector<uint8_t> pixels;
    /** The page can be had without copying it row by row. */
    bool ready = true;
    /** When not `S_OK`: the page fails once `rowsBeforeFailure` rows have been read. Not for a ready page. */
    HRESULT failure = S_OK;
    uint32_t rowsBeforeFailure = 0;
};

/** A page of one colour; `value` fills every byte of the rows. Up to 8 bits it has a grey palette. */
VORN_WIA_API CannedPage PlainPage(uint32_t width, uint32_t height, uint32_t bitsPerPixel, uint8_t value,
                                  double dpi = 100);

/** Delivers the pages in their order; then the source is empty, or starts again when `forever`. */
VORN_WIA_API std::shared_ptr<PageSource> MakeCannedPages(std::vector<CannedPage> pages, bool forever = false);

/** Never empty, or `count` pages: each a plain page of the geometry that was asked for, white. */
VORN_WIA_API std::shared_ptr<PageSource> MakeBlankPages(uint32_t count = UINT32_MAX);

/** The pages of `source`, each taking at least `perPage`, spread over its rows. */
VORN_WIA_API std::shared_ptr<PageSource> MakeSlow(std::shared_ptr<PageSource> source,
                                                  std::chrono::milliseconds perPage);

/** `page`, taking at least `duration` from its first row to its last. */
std::unique_ptr<Page> MakeSlow(std::unique_ptr<Page> page, std::chrono::milliseconds duration);

}  // namespace vorn::wia
