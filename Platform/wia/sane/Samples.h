/**
 * @file Samples.h
 * A line of SANE's samples as a row of a DIB.
 */
#pragma once

#include <cstdint>

#include <sane/sane.h>

namespace vorn::wia {

/**
 * Converts one line. The padding of the row is cleared.
 * @param line     as the device delivers it
 * @param row      of the DIB; of a frame of one colour only that colour is written
 * @param pixels   in the line; more bytes that the device may deliver are left out
 */
using LineConverter = void (*)(const uint8_t* line, uint8_t* row, uint32_t pixels);

/** How lines of a frame are converted, and how long they are. */
struct LineFormat {
    SANE_Frame frame;
    SANE_Int depth;
    uint32_t bitsPerPixel;  ///< of the DIB
    uint32_t sampleBits;    ///< of a pixel in the line
    LineConverter convert;

    /** Bytes that the pixels of a line take; colours of one bit come in groups of eight pixels. */
    uint64_t LineBytes(uint32_t pixels) const noexcept
    {
        return sampleBits == 3 ? (uint64_t{pixels} + 7) / 8 * 3 : (uint64_t{pixels} * sampleBits + 7) / 8;
    }
};

/** Null for a frame that no one knows. 16 bits a sample become the upper 8 of them. */
const LineFormat* LineFormatOf(SANE_Frame frame, SANE_Int depth) noexcept;

}  // namespace vorn::wia
