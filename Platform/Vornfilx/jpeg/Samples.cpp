#include "jpeg/Samples.h"

#include <cstring>

namespace vorn::fil {
namespace {

bool IsGrey(const std::vector<uint8_t>& palette) noexcept
{
    for (size_t i = 0; i < palette.size(); i += 4) {
        if (palette[i] != palette[i + 1] || palette[i] != palette[i + 2])
            return false;
    }
    return !palette.empty();
}

}  // namespace

JpegSamples::JpegSamples(const RowImage& image)
    : width_{image.width},
      bits_{image.bitsPerPixel},
      palette_{WholePalette(image)},
      channels_{IsGrey(palette_) ? 1u
                : bits_ == 32    ? 4u
                                 : 3u}
{
    const bool asItIs = palette_.empty() || (bits_ == 8 && IsGreyRamp(palette_));
    if (!asItIs)
        expanded_.resize(size_t{width_} * channels_);
}

const uint8_t* JpegSamples::ToSamples(const uint8_t* row) noexcept
{
    if (expanded_.empty())
        return row;
    const uint32_t perByte = 8 / bits_, mask = (1u << bits_) - 1;
    uint8_t* sample = expanded_.data();
    for (uint32_t x = 0; x < width_; ++x, sample += channels_) {
        const uint32_t index = row[x / perByte] >> (perByte - 1 - x % perByte) * bits_ & mask;
        std::memcpy(sample, &palette_[size_t{index} * 4], channels_);
    }
    return expanded_.data();
}

}  // namespace vorn::fil
