/**
 * @file Page.h
 * One page on its way from a device: its geometry, and its rows from the top of the picture down.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform.h"

namespace vorn::wia {

/** A palette entry in the order of a DIB's colour table. */
struct PaletteEntry {
    uint8_t blue = 0, green = 0, red = 0, reserved = 0;
};

/** What a page's pixels look like. Rows are those of a DIB: padded to 4 bytes, colours blue, green, red. */
struct PageGeometry {
    uint32_t width = 0;         ///< pixels
    uint32_t height = 0;        ///< rows
    uint32_t bitsPerPixel = 0;  ///< 1, 4, 8 or 24
    double xDpi = 0, yDpi = 0;
    std::vector<PaletteEntry> palette;  ///< up to 8 bits: 2^bitsPerPixel entries at most

    uint64_t RowBytes() const noexcept { return (uint64_t{width} * bitsPerPixel + 31) / 32 * 4; }
    uint64_t ImageBytes() const noexcept { return RowBytes() * height; }
};

/** In which direction rows lie in a buffer. */
enum class RowOrder { TopDown, BottomUp };

/** A page while it is scanned. */
class Page {
public:
    virtual ~Page() = default;

    virtual const PageGeometry& Geometry() const noexcept = 0;

    /**
     * Delivers the next `count` rows, the first call those at the top of the picture. `rows` holds
     * count x RowBytes bytes; with BottomUp the topmost of these rows comes last in it, as a DIB wants it.
     * A failure is the platform's result (`WIA_ERROR_PAPER_JAM`, ...), and the page is then lost.
     */
    virtual HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) = 0;

    /**
     * The same for pixels of 24 bits as most devices and files have them: red, green, blue, from the top down and without
     * padding. `E_NOTIMPL`, and nothing read, from a page that has them as a DIB only.
     */
    virtual HRESULT ReadRgbRows(uint8_t*, uint32_t) { return E_NOTIMPL; }

    /** The whole picture as a DIB's pixel array (bottom up), when the device has it in memory already; else
     * null. */
    virtual const uint8_t* ReadyImage() const noexcept { return nullptr; }
};

class PropertyTable;

/** What is asked of the device for one page; a virtual device delivers just this geometry, a real one comes near. */
struct PageRequest {
    uint32_t xDpi = 300, yDpi = 300;
    uint32_t bitsPerPixel = 24;  ///< 1, 8 or 24
    uint32_t x = 0, y = 0;       ///< pixels at the wanted resolution, from the top left of the scan area
    uint32_t width = 0, height = 0;
    uint32_t pageNumber = 1;  ///< counted from 1 over the pages that the device delivered from this source
    bool backSide = false;    ///< the back of a sheet that is scanned on both sides
    int32_t brightness = 0, contrast = 0, threshold = 128;  ///< -1000..1000, -1000..1000, 0..255
    const PropertyTable* settings = nullptr;  ///< the item's, for a device that has more of them

    /** Called now and then by a page that takes long to deliver the rows asked for, with the percentage of the
     * page that has come; any answer but `S_OK` ends the page with it. May be empty. */
    std::function<HRESULT(uint32_t percent)> pulse;
};

/** Where a device takes its pages from: paper in its feeder, the sheet on its glass, a stored picture. */
class PageSource {
public:
    virtual ~PageSource() = default;

    /** True while a page can be had. */
    virtual bool HasPage() const = 0;

    /**
     * Begins the next page.
     * @return `S_OK` with `page` set; `WIA_ERROR_PAPER_EMPTY` when nothing is left; another platform error.
     */
    virtual HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) = 0;

    /** Told when a transfer is over that no other one continues; not while the pages of a batch come one a transfer. */
    virtual void EndTransfer() noexcept {}
};

}  // namespace vorn::wia
