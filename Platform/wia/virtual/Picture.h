/**
 * @file Picture.h
 * One page of an image file, loaded, and read row by row as grey or colour.
 */
#pragma once

#include <array>

#include "../model/Page.h"
#include "Vornkrnx.h"

namespace vorn::wia {

class Picture {
public:
    Picture() noexcept = default;
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture();

    /**
     * Loads page `page`, counted from 1, of a file.
     * @return `WIA_ERROR_GENERAL_ERROR` for a page that cannot be read, `E_OUTOFMEMORY`
     */
    HRESULT Load(const WCHAR* file, uint32_t page);

    uint32_t Width() const noexcept { return bitmap_.width; }
    uint32_t Height() const noexcept { return bitmap_.height; }
    /** 0 when the file does not tell. */
    double XDpi() const noexcept { return bitmap_.xDpi; }
    double YDpi() const noexcept { return bitmap_.yDpi; }

    /** Row `y` from the top as Width() samples of `channels`: 1, the luminance, or 3: blue, green, red. */
    void ReadRow(uint32_t y, uint32_t channels, uint8_t* samples) const noexcept;
    /** Row `y` as it lies in memory, when it consists of blue, green and red already; else null. */
    const uint8_t* ColorRow(uint32_t y) const noexcept;

private:
    const uint8_t* Row(uint32_t y) const noexcept;
    void FillColorTable() noexcept;

    BitmapHandle bitmap_ = {};
    std::array<PaletteEntry, 256> colors_ = {};  // black where the palette has no entry
};

}  // namespace vorn::wia
