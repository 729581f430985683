/**
 * @file Resample.h
 * A picture in another resolution, line by line.
 */
#pragma once

#include "../Export.h"
#include "Picture.h"

namespace vorn::wia {

/** The pixels of a picture, along one direction, that make up a wanted one: none beyond its edge. */
struct PixelRange {
    uint32_t begin = 0, end = 0;

    bool IsEmpty() const noexcept { return begin == end; }
    bool operator==(const PixelRange&) const = default;
};

/**
 * The range behind wanted pixel `index`.
 * @param ratio  the picture's pixels to one wanted pixel: up to 1 the nearest one is taken, beyond it all
 * that the wanted pixel covers
 */
VORN_WIA_API PixelRange RangeBehind(uint64_t index, double ratio, uint32_t size) noexcept;

/** Cuts an area out of a picture and delivers it at another resolution; beyond the picture it is white. */
class Resampler {
public:
    /**
     * @param x, y            top left of the area, in wanted pixels
     * @param xRatio, yRatio  the picture's pixels to one wanted pixel
     * @param channels        samples of a pixel: 1 or 3, as Picture::ReadRow has them
     */
    Resampler(const Picture& picture, uint32_t x, uint32_t y, uint32_t width, double xRatio, double yRatio,
              uint32_t channels);

    /** Line `index` of the area. The memory stays valid until the next call. */
    const uint8_t* Line(uint32_t index);

private:
    void Average(PixelRange rows);
    void TakeNearest(uint32_t row);
    void CopyRow(const uint8_t* row) noexcept;

    const Picture& picture_;
    uint32_t y_;
    double yRatio_;
    uint32_t channels_;
    std::vector<PixelRange> columns_;  // cut off at the picture's edge
    bool sameColumns_;                 // at the picture's own resolution
    bool averages_;
    std::vector<uint8_t> source_;
    std::vector<uint64_t> sums_;
    std::vector<uint8_t> line_;
    PixelRange lineRows_;  // what line_ was made of
};

}  // namespace vorn::wia
