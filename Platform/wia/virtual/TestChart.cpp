#include "TestChart.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "Tone.h"

namespace vorn::wia {

namespace {

/** A box cut to the scan area, with its colour as the page's depth has it. */
struct Stripe {
    uint32_t left, top, right, bottom;
    PaletteEntry color;  ///< 24 bits: the colour; 8: the level; 1: 0 or 1, both in `red`
};

/**
 * Renders the chart row by row. Between the edges of two boxes all rows are equal, so that nearly every row
 * is a copy of the one before.
 */
class ChartPage final : public Page {
public:
    ChartPage(PageGeometry geometry, const ChartDrawing& drawing, const PageRequest& request)
        : geometry_{std::move(geometry)}, row_(static_cast<size_t>(geometry_.RowBytes()))
    {
        const Tone tone{request};
        // The paper is the first stripe: brightness and contrast change white as well.
        AddStripe({request.x,
                   request.y,
                   int64_t{request.x} + request.width,
                   int64_t{request.y} + request.height,
                   {255, 255, 255}},
                  request, tone);
        for (const ChartBox& box : drawing.Boxes())
            AddStripe(box, request, tone);

        std::sort(edges_.begin(), edges_.end());
        edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }
    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override;

private:
    void AddStripe(const ChartBox& box, const PageRequest& request, const Tone& tone);
    PaletteEntry DeviceColor(ChartColor color, const Tone& tone) const noexcept;
    void PaintRow(uint32_t y);
    void Fill(const Stripe& stripe);

    PageGeometry geometry_;
    std::vector<Stripe> stripes_;  // later ones cover earlier ones
    std::vector<uint32_t> edges_;  // rows that differ from the row above
    size_t nextEdge_ = 0;
    uint32_t nextRow_ = 0;
    std::vector<uint8_t> row_;
};

void ChartPage::AddStripe(const ChartBox& box, const PageRequest& request, const Tone& tone)
{
    const auto cut = [](int64_t edge, uint32_t origin, uint32_t size) {
        return static_cast<uint32_t>(std::clamp<int64_t>(edge - origin, 0, size));
    };
    const Stripe stripe{cut(box.left, request.x, geometry_.width), cut(box.top, request.y, geometry_.height),
                        cut(box.right, request.x, geometry_.width),
                        cut(box.bottom, request.y, geometry_.height), DeviceColor(box.color, tone)};
    if (stripe.left == stripe.right || stripe.top == stripe.bottom)
        return;
    stripes_.push_back(stripe);
    edges_.push_back(stripe.top);
    edges_.push_back(stripe.bottom);
}

PaletteEntry ChartPage::DeviceColor(ChartColor color, const Tone& tone) const noexcept
{
    if (geometry_.bitsPerPixel == 24)
        return {tone.Level(color.blue), tone.Level(color.green), tone.Level(color.red), 0};
    const uint8_t luminance = Luminance(color.blue, color.green, color.red);
    const uint8_t value = geometry_.bitsPerPixel == 8 ? tone.Level(luminance) : tone.IsWhite(luminance);
    return {value, value, value, 0};
}

void ChartPage::Fill(const Stripe& stripe)
{
    if (geometry_.bitsPerPixel == 8) {
        std::memset(row_.data() + stripe.left, stripe.color.red, stripe.right - stripe.left);
        return;
    }
    if (geometry_.bitsPerPixel == 24) {
        uint8_t* pixel = row_.data() + size_t{stripe.left} * 3;
        for (uint32_t x = stripe.left; x < stripe.right; ++x, pixel += 3) {
            pixel[0] = stripe.color.blue;
            pixel[1] = stripe.color.green;
            pixel[2] = stripe.color.red;
        }
        return;
    }
    for (uint32_t x = stripe.left; x < stripe.right;) {
        if (x % 8 == 0 && stripe.right - x >= 8) {
            const uint32_t bytes = (stripe.right - x) / 8;
            std::memset(row_.data() + x / 8, stripe.color.red ? 0xFF : 0, bytes);
            x += bytes * 8;
            continue;
        }
        const uint8_t bit = static_cast<uint8_t>(0x80 >> x % 8);
        uint8_t& byte = row_[x / 8];
        byte = static_cast<uint8_t>(stripe.color.red ? byte | bit : byte & ~bit);
        ++x;
    }
}

void ChartPage::PaintRow(uint32_t y)
{
    for (const Stripe& stripe : stripes_)
        if (stripe.top <= y && y < stripe.bottom)
            Fill(stripe);
}

HRESULT ChartPage::ReadRows(uint8_t* rows, uint32_t count, RowOrder order)
{
    if (count > geometry_.height - nextRow_)
        return E_INVALIDARG;
    for (uint32_t i = 0; i < count; ++i, ++nextRow_) {
        if (edges_[nextEdge_] == nextRow_) {
            PaintRow(nextRow_);
            ++nextEdge_;
        }
        const uint32_t place = order == RowOrder::TopDown ? i : count - 1 - i;
        std::memcpy(rows + place * row_.size(), row_.data(), row_.size());
    }
    return S_OK;
}

}  // namespace

TestChart::TestChart(ChartSheet sheet, uint32_t pages) : sheet_{std::move(sheet)}, remaining_{pages} {}

HRESULT TestChart::NextPage(const PageRequest& request, std::unique_ptr<Page>& page)
try {
    if (remaining_ == 0)
        return WIA_ERROR_PAPER_EMPTY;
    PageGeometry geometry;
    if (const HRESULT result = GeometryOf(request, geometry); result != S_OK)
        return result;

    page = std::make_unique<ChartPage>(std::move(geometry), DrawChart(sheet_, request), request);
    if (remaining_ != kEndless)
        --remaining_;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace vorn::wia
