/**
 * @file jpeg/Samples.h
 * Rows as JPEG has them: levels of grey or of colours, never indices of a palette.
 */
#pragma once

#include "ImageWriter.h"

namespace vorn::fil {

/** From this quality on colours have the full resolution. */
constexpr int kFullColorQuality = 90;

class JpegSamples {
public:
    explicit JpegSamples(const RowImage& image);

    /** Bytes a pixel: 1 of grey; 3 of blue, green, red; 4 with one that means nothing. */
    uint32_t Channels() const noexcept { return channels_; }

    /** A row of the picture, as it is or in memory that is good until the next call. */
    const uint8_t* ToSamples(const uint8_t* row) noexcept;

private:
    uint32_t width_, bits_;
    std::vector<uint8_t> palette_;
    uint32_t channels_;
    std::vector<uint8_t> expanded_;  ///< one row; empty when rows are taken as they are
};

}  // namespace vorn::fil
