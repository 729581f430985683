/*
 * How libpng is to write a picture: the strategy is chosen from a sample of rows.
 */
#include <algorithm>
#include <array>
#include <cstring>

#include "EncodePage.h"
#include "png/Pages.h"

namespace vorn::fil::png {
namespace {

/**
 * From fast to slow. The last is what the codec does of its own. The first is for pages whose rows are all alike:
 * of others the sample does not tell how much is lost in rows like those above them.
 */
constexpr PngStrategy kStrategies[] = {
    {PngFilter::None, PngSearch::Runs},         {PngFilter::Paeth, PngSearch::Runs},
    {PngFilter::Best, PngSearch::Runs},         {PngFilter::None, PngSearch::Thorough, 3},
    {PngFilter::Paeth, PngSearch::Thorough, 6}, {PngFilter::Usual, PngSearch::Thorough, 6},
};
using Sizes = std::array<uint64_t, std::size(kStrategies)>;

/** How much larger than the smallest a faster file may be: the sample is not the page. */
constexpr double kMostLarger = 1.03;

/** Bands of rows all over what the page shows are enough, or as many as make so much: noise is alike everywhere. */
constexpr uint32_t kBands = 16;
constexpr uint64_t kBandsOfPage = 1024;  ///< so that the sample costs little, however small the page
constexpr uint32_t kBandRows = 16;
constexpr uint64_t kEnoughBytes = 256 * 1024;

/** The bytes that a band's rows take, but for the first, which has no row above it. 0 if allocation fails. */
uint64_t MeasureBand(PageRows& bitmap, uint32_t first, uint32_t rows, const PngStrategy& strategy)
{
    std::vector<uint8_t> bytes;
    const std::unique_ptr<ImageWriter> file = CreatePngWriter(RowImageOf(bitmap), bytes, strategy);
    if (!file->Begin() || !WriteBitmapRows(*file, bitmap, first, 1) || !file->Flush())
        return 0;
    const size_t before = bytes.size();
    return WriteBitmapRows(*file, bitmap, first + 1, rows - 1) && file->Flush() ? bytes.size() - before : 0;
}

/** Rows that differ from the one above: where a clean page has its content, and most of its file. */
std::vector<uint32_t> ChangingRows(PageRows& bitmap)
{
    constexpr uint64_t kPieceBytes = 256 * 1024;
    std::vector<uint32_t> changing;
    const auto step =
        static_cast<uint32_t>(std::clamp<uint64_t>(kPieceBytes / bitmap.rowBytes, 2, bitmap.height));
    for (uint32_t y = 0; y + 1 < bitmap.height;
         y += step - 1) {  // the last row of a piece is the next one's first
        const uint32_t count = std::min(step, bitmap.height - y);
        const RowSpan rows = bitmap.Rows(y, count);
        for (uint32_t i = 1; rows.top && i < count; ++i)
            if (std::memcmp(rows[i - 1], rows[i], bitmap.rowBytes) != 0)
                changing.push_back(y + i);
    }
    return changing;
}

Sizes Measure(PageRows& bitmap)
{
    constexpr uint32_t kStep = 5;  // visits all of the bands, the first ones far from each other
    const uint32_t rows = std::max(kBandRows, static_cast<uint32_t>(bitmap.height / kBandsOfPage));
    const uint32_t room = bitmap.height - std::min(rows, bitmap.height);
    const std::vector<uint32_t> changing = ChangingRows(bitmap);
    Sizes sizes{};
    sizes.front() = changing.empty() ? 0 : UINT64_MAX;
    for (uint32_t i = 0; i < kBands && sizes.back() < kEnoughBytes; ++i) {
        const uint64_t place = i * kStep % kBands;
        const uint64_t first = changing.empty() ? room * place / (kBands - 1)
                                                : changing[(changing.size() - 1) * place / (kBands - 1)] - 1;
        for (size_t strategy = changing.empty() ? 0 : 1; strategy < sizes.size(); ++strategy)
            sizes[strategy] += MeasureBand(bitmap, static_cast<uint32_t>(std::min<uint64_t>(first, room)),
                                           std::min(rows, bitmap.height), kStrategies[strategy]);
    }
    return sizes;
}

}  // namespace

PngStrategy ChooseStrategy(PageRows& bitmap)
{
    constexpr uint64_t kWorthSampling = 1024 * 1024;
    if (bitmap.imageBytes < kWorthSampling)
        return kStrategies[std::size(kStrategies) - 1];
    const Sizes sizes = Measure(bitmap);
    const double most = kMostLarger * static_cast<double>(*std::min_element(sizes.begin(), sizes.end()));
    const auto chosen = std::find_if(sizes.begin(), sizes.end(),
                                     [most](uint64_t size) { return static_cast<double>(size) <= most; });
    return kStrategies[chosen - sizes.begin()];
}

}  // namespace vorn::fil::png
