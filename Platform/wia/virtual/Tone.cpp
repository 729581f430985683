#include "Tone.h"

#include <algorithm>
#include <cmath>

namespace vorn::wia {

namespace {

constexpr double kFullScale = 1000;
constexpr double kMiddle = 127.5;

/** Full contrast leaves only black and white, none at all leaves grey. */
double Slope(double contrast) noexcept
{
    return contrast <= 0 ? 1 + contrast / kFullScale : kFullScale / std::max(kFullScale - contrast, 1.0);
}

}  // namespace

Tone::Tone(const PageRequest& request) noexcept
    : threshold_{request.threshold}, neutral_{request.brightness == 0 && request.contrast == 0}
{
    const double shift = std::clamp<double>(request.brightness, -kFullScale, kFullScale) / kFullScale * 255;
    const double slope = Slope(std::clamp<double>(request.contrast, -kFullScale, kFullScale));
    for (size_t i = 0; i < levels_.size(); ++i) {
        const double level = (static_cast<double>(i) - kMiddle) * slope + kMiddle + shift;
        levels_[i] = static_cast<uint8_t>(std::lround(std::clamp(level, 0.0, 255.0)));
    }
}

HRESULT GeometryOf(const PageRequest& request, PageGeometry& geometry)
{
    const uint32_t bits = request.bitsPerPixel;
    if ((bits != 1 && bits != 8 && bits != 24) || request.width == 0 || request.height == 0 ||
        request.xDpi == 0 || request.yDpi == 0)
        return E_INVALIDARG;

    geometry = {request.width, request.height, bits, double(request.xDpi), double(request.yDpi), {}};
    for (uint32_t i = 0; bits <= 8 && i < 1u << bits; ++i) {
        const uint8_t level = static_cast<uint8_t>(i * (bits == 1 ? 255 : 1));
        geometry.palette.push_back({level, level, level, 0});
    }
    return S_OK;
}

}  // namespace vorn::wia
