#include "Resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorn::wia {

namespace {

constexpr uint8_t kPaper = 255;

}  // namespace

PixelRange RangeBehind(uint64_t index, double ratio, uint32_t size) noexcept
{
    const double first = static_cast<double>(index);
    const double begin = std::floor(ratio > 1 ? first * ratio : (first + 0.5) * ratio);
    if (!(begin < size))
        return {};
    const double end = std::max(begin + 1, ratio > 1 ? std::floor((first + 1) * ratio) : 0.0);
    return {static_cast<uint32_t>(begin), static_cast<uint32_t>(std::min<double>(end, size))};
}

Resampler::Resampler(const Picture& picture, uint32_t x, uint32_t y, uint32_t width, double xRatio,
                     double yRatio, uint32_t channels)
    : picture_{picture},
      y_{y},
      yRatio_{yRatio},
      channels_{channels},
      sameColumns_{xRatio == 1},
      averages_{xRatio > 1 || yRatio > 1},
      source_(size_t{picture.Width()} * channels),
      line_(size_t{width} * channels, kPaper)
{
    for (uint32_t i = 0; i < width; ++i) {
        const PixelRange range = RangeBehind(uint64_t{x} + i, xRatio, picture.Width());
        if (range.IsEmpty())
            break;
        columns_.push_back(range);
    }
    if (averages_)
        sums_.resize(columns_.size() * channels);
}

const uint8_t* Resampler::Line(uint32_t index)
{
    const PixelRange rows = RangeBehind(uint64_t{y_} + index, yRatio_, picture_.Height());
    if (rows == lineRows_)
        return line_.data();

    lineRows_ = rows;
    if (rows.IsEmpty())
        std::fill(line_.begin(), line_.end(), kPaper);
    else if (averages_)
        Average(rows);
    else
        TakeNearest(rows.begin);
    return line_.data();
}

void Resampler::TakeNearest(uint32_t row)
{
    const uint8_t* const ready = channels_ == 3 ? picture_.ColorRow(row) : nullptr;
    if (!ready)
        picture_.ReadRow(row, channels_, source_.data());
    CopyRow(ready ? ready : source_.data());
}

void Resampler::CopyRow(const uint8_t* row) noexcept
{
    if (sameColumns_ && !columns_.empty()) {
        std::memcpy(line_.data(), row + size_t{columns_.front().begin} * channels_,
                    columns_.size() * channels_);
        return;
    }
    uint8_t* target = line_.data();
    for (const PixelRange& column : columns_)
        for (uint32_t channel = 0; channel < channels_; ++channel)
            *target++ = row[size_t{column.begin} * channels_ + channel];
}

void Resampler::Average(PixelRange rows)
{
    std::fill(sums_.begin(), sums_.end(), 0);
    for (uint32_t row = rows.begin; row < rows.end; ++row) {
        picture_.ReadRow(row, channels_, source_.data());
        uint64_t* sum = sums_.data();
        for (const PixelRange& column : columns_) {
            const uint8_t* sample = source_.data() + size_t{column.begin} * channels_;
            for (uint32_t x = column.begin; x < column.end; ++x)
                for (uint32_t channel = 0; channel < channels_; ++channel)
                    sum[channel] += *sample++;
            sum += channels_;
        }
    }

    const uint64_t rowCount = rows.end - rows.begin;
    const uint64_t* sum = sums_.data();
    uint8_t* target = line_.data();
    for (const PixelRange& column : columns_) {
        const uint64_t count = rowCount * (column.end - column.begin);
        for (uint32_t channel = 0; channel < channels_; ++channel)
            *target++ = static_cast<uint8_t>((*sum++ + count / 2) / count);
    }
}

}  // namespace vorn::wia
