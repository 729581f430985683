#include "ChartDrawing.h"

#include <algorithm>
#include <cmath>

#include "ChartFont.h"

namespace vorn::wia {

namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr int kAdvance = kGlyphColumns + 1;

int64_t Pixel(double millimetres, uint32_t dpi) noexcept
{
    return std::llround(millimetres * dpi / kMillimetresPerInch);
}

}  // namespace

void ChartDrawing::Box(double x, double y, double width, double height, ChartColor color)
{
    const int64_t left = Pixel(x, xDpi_);
    const int64_t top = Pixel(y, yDpi_);
    boxes_.push_back({left, top, std::max(left + 1, Pixel(x + width, xDpi_)),
                      std::max(top + 1, Pixel(y + height, yDpi_)), color});
}

void ChartDrawing::Frame(double x, double y, double width, double height, double line, ChartColor color)
{
    Box(x, y, width, line, color);
    Box(x, y + height - line, width, line, color);
    Box(x, y, line, height, color);
    Box(x + width - line, y, line, height, color);
}

void ChartDrawing::Text(double x, double y, double cell, WStringView text, ChartColor color)
{
    for (const WCHAR character : text) {
        const Glyph& glyph = GlyphOf(static_cast<char16_t>(character));
        for (int row = 0; row < kGlyphRows; ++row) {
            const auto lit = [&](int column) {
                return column < kGlyphColumns && (glyph.rows[row] >> (kGlyphColumns - 1 - column) & 1) != 0;
            };
            for (int column = 0; column < kGlyphColumns; ++column) {
                const int first = column;
                while (lit(column))
                    ++column;
                if (column > first)
                    Box(x + first * cell, y + row * cell, (column - first) * cell, cell, color);
            }
        }
        x += kAdvance * cell;
    }
}

double ChartDrawing::TextWidth(double cell, WStringView text) noexcept
{
    return text.empty() ? 0 : cell * (static_cast<double>(text.size()) * kAdvance - 1);
}

double ChartDrawing::TextHeight(double cell) noexcept
{
    return cell * kGlyphRows;
}

}  // namespace vorn::wia
