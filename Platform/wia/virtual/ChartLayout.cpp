#include "ChartLayout.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vorn::wia {

namespace {

constexpr double kMillimetresPerInch = 25.4;

constexpr ChartColor kBlack{0, 0, 0};
constexpr ChartColor kWhite{255, 255, 255};
constexpr ChartColor kGrid{214, 228, 244};
constexpr ChartColor kStrongGrid{150, 184, 222};
constexpr ChartColor kFront{24, 62, 120};
constexpr ChartColor kBack{150, 32, 40};

WString Number(uint64_t value)
{
    WString text;
    do
        text.insert(text.begin(), static_cast<WCHAR>('0' + value % 10));
    while (value /= 10);
    return text;
}

/** With one digit after the point, whatever the locale. */
WString Millimetres(double value)
{
    const uint64_t tenths = static_cast<uint64_t>(std::llround(value * 10));
    return Number(tenths / 10) + VORN_TEXT(".") + Number(tenths % 10);
}

double PixelsToMillimetres(uint32_t pixels, uint32_t dpi)
{
    return pixels * kMillimetresPerInch / dpi;
}

/** Draws the chart's parts. `Unit` makes the layout of an A4 sheet fit other sizes; grid and rules stay in
 * real millimetres. */
class ChartArtist {
public:
    ChartArtist(const ChartSheet& sheet, const PageRequest& request)
        : sheet_{sheet},
          request_{request},
          width_{sheet.widthInches * kMillimetresPerInch},
          height_{sheet.heightInches * kMillimetresPerInch},
          unit_{std::min(width_ / 210, height_ / 297)},
          ink_{request.backSide ? kBack : kFront},
          drawing_{request.xDpi, request.yDpi}
    {
    }

    ChartDrawing Draw()
    {
        DrawGrid();
        DrawRulers();
        DrawMark();
        DrawHeading();
        DrawColorBars();
        DrawGreys();
        DrawLinePairs();
        DrawPageNumber();
        DrawCornerNames();
        return std::move(drawing_);
    }

private:
    double Unit(double millimetres) const noexcept { return millimetres * unit_; }
    double Margin() const noexcept { return Unit(12); }
    double InnerWidth() const noexcept { return width_ - 2 * Margin(); }

    void DrawGrid();
    void DrawRulers();
    void DrawMark();
    void DrawHeading();
    void DrawColorBars();
    void DrawGreys();
    void DrawLinePairs();
    void DrawPageNumber();
    void DrawCornerNames();

    /** Text no wider than `room`, its letters made smaller where they must be. */
    void FitText(double x, double y, double cell, double room, const WString& text, ChartColor color)
    {
        const double wanted = ChartDrawing::TextWidth(cell, text);
        drawing_.Text(x, y, wanted > room ? cell * room / wanted : cell, text, color);
    }

    const ChartSheet& sheet_;
    const PageRequest& request_;
    double width_, height_;  // millimetres
    double unit_;
    ChartColor ink_;
    ChartDrawing drawing_;
};

void ChartArtist::DrawGrid()
{
    // The strong lines last: a light one must not cut them.
    for (const bool strong : {false, true}) {
        const ChartColor color = strong ? kStrongGrid : kGrid;
        for (int i = 1; i * 10 < width_; ++i)
            if ((i % 5 == 0) == strong)
                drawing_.Box(i * 10 - 0.1, 0, 0.2, height_, color);
        for (int i = 1; i * 10 < height_; ++i)
            if ((i % 5 == 0) == strong)
                drawing_.Box(0, i * 10 - 0.1, width_, 0.2, color);
    }
}

void ChartArtist::DrawRulers()
{
    constexpr double kFrame = 4, kLine = 0.5, kTick = 0.15, kCell = 0.25;
    drawing_.Frame(0, 0, width_, height_, 0.2, kBlack);
    drawing_.Frame(kFrame, kFrame, width_ - 2 * kFrame, height_ - 2 * kFrame, kLine, kBlack);

    const auto length = [](int millimetre) {
        return millimetre % 10 == 0 ? 3.2 : millimetre % 5 == 0 ? 2.2 : 1.4;
    };
    for (int x = 1; x < width_; ++x)
        drawing_.Box(x - kTick / 2, 0, kTick, length(x), kBlack);
    for (int y = 1; y < height_; ++y)
        drawing_.Box(0, y - kTick / 2, length(y), kTick, kBlack);

    for (int x = 10; x < width_ - 10; x += 10)
        drawing_.Text(x + 0.5, kFrame + 1, kCell, Number(static_cast<uint64_t>(x)), kBlack);
    for (int y = 10; y < height_ - 10; y += 10)
        drawing_.Text(kFrame + 1, y + 0.5, kCell, Number(static_cast<uint64_t>(y)), kBlack);
}

/** An F in a box: no turn or mirror image of it looks the same. */
void ChartArtist::DrawMark()
{
    const double left = Margin(), top = Margin();
    drawing_.Box(left, top, Unit(26), Unit(26), kBlack);
    drawing_.Box(left + Unit(6), top + Unit(4), Unit(4), Unit(18), kWhite);
    drawing_.Box(left + Unit(6), top + Unit(4), Unit(14), Unit(4), kWhite);
    drawing_.Box(left + Unit(6), top + Unit(11), Unit(10), Unit(4), kWhite);
}

void ChartArtist::DrawHeading()
{
    const double left = Unit(42), room = width_ - left - Margin() - Unit(2);
    drawing_.Box(left, Margin(), room + Unit(2), Unit(37), kWhite);

    const WString side = request_.backSide ? VORN_TEXT("BACK") : VORN_TEXT("FRONT");
    WString resolution = Number(request_.xDpi);
    if (request_.yDpi != request_.xDpi)
        resolution += VORN_TEXT(" X ") + Number(request_.yDpi);
    const WString mode = request_.bitsPerPixel == 1   ? VORN_TEXT("BLACK AND WHITE")
                         : request_.bitsPerPixel == 8 ? VORN_TEXT("GREY")
                                                      : VORN_TEXT("COLOUR");
    const WString area = Millimetres(PixelsToMillimetres(request_.width, request_.xDpi)) + VORN_TEXT(" X ") +
                         Millimetres(PixelsToMillimetres(request_.height, request_.yDpi)) +
                         VORN_TEXT(" MM AT ") + Millimetres(PixelsToMillimetres(request_.x, request_.xDpi)) +
                         VORN_TEXT(", ") + Millimetres(PixelsToMillimetres(request_.y, request_.yDpi));

    const struct {
        double y, cell;
        WString text;
        ChartColor color;
    } lines[] = {
        {14, 0.75, sheet_.title, kBlack},
        {22.5, 1.1, VORN_TEXT("PAGE ") + Number(request_.pageNumber) + VORN_TEXT(" ") + side, ink_},
        {34, 0.7,
         resolution + VORN_TEXT(" DPI  ") + mode + VORN_TEXT(", ") + Number(request_.bitsPerPixel) +
             VORN_TEXT(" BIT"),
         kBlack},
        {41.5, 0.7, VORN_TEXT("AREA ") + area, kBlack},
    };
    for (const auto& line : lines)
        FitText(left + Unit(2), Unit(line.y), Unit(line.cell), room - Unit(2), line.text, line.color);
}

void ChartArtist::DrawColorBars()
{
    const struct {
        ChartColor color;
        const WCHAR* name;
    } bars[] = {
        {{255, 0, 0}, VORN_TEXT("RED")},       {{0, 255, 0}, VORN_TEXT("GREEN")},
        {{0, 0, 255}, VORN_TEXT("BLUE")},      {{0, 255, 255}, VORN_TEXT("CYAN")},
        {{255, 0, 255}, VORN_TEXT("MAGENTA")}, {{255, 255, 0}, VORN_TEXT("YELLOW")},
        {{0, 0, 0}, VORN_TEXT("BLACK")},
    };
    const double step = InnerWidth() / static_cast<double>(std::size(bars));
    double x = Margin();
    for (const auto& bar : bars) {
        drawing_.Box(x, Unit(56), step, Unit(36), bar.color);
        FitText(x + Unit(0.5), Unit(93.5), Unit(0.5), step - Unit(1), bar.name, kBlack);
        x += step;
    }
}

void ChartArtist::DrawGreys()
{
    constexpr int kLevels = 256, kSteps = 11;
    for (int i = 0; i < kLevels; ++i) {
        const uint8_t level = static_cast<uint8_t>(i);
        drawing_.Box(Margin() + InnerWidth() * i / kLevels, Unit(102), InnerWidth() / kLevels, Unit(16),
                     {level, level, level});
    }
    for (int i = 0; i < kSteps; ++i) {
        const uint8_t level = static_cast<uint8_t>(i * 255 / (kSteps - 1));
        const double x = Margin() + InnerWidth() * i / kSteps;
        drawing_.Box(x, Unit(118), InnerWidth() / kSteps, Unit(12), {level, level, level});
        const WString text = Number(static_cast<uint64_t>(i) * 10) + VORN_TEXT("%");
        drawing_.Text(x + Unit(2), Unit(122), Unit(0.5), text, level < 128 ? kWhite : kBlack);
    }
    drawing_.Frame(Margin(), Unit(102), InnerWidth(), Unit(28), Unit(0.2), kBlack);
}

/** Lines across and lines down, finer from group to group: what the resolution can still tell apart. */
void ChartArtist::DrawLinePairs()
{
    constexpr double kWidths[] = {1, 0.5, 0.25, 0.125};
    const double step = InnerWidth() / static_cast<double>(2 * std::size(kWidths));
    const double size = std::min(step - Unit(3), Unit(18));
    double x = Margin();
    for (const bool upright : {true, false}) {
        for (const double line : kWidths) {
            drawing_.Box(x, Unit(138), size, size, kWhite);
            for (double at = 0; at + line <= size; at += 2 * line) {
                if (upright)
                    drawing_.Box(x + at, Unit(138), line, size, kBlack);
                else
                    drawing_.Box(x, Unit(138) + at, size, line, kBlack);
            }
            const uint64_t micrometres = static_cast<uint64_t>(line * 1000);
            FitText(x, Unit(138) + size + Unit(1.5), Unit(0.4), step - Unit(2),
                    Number(micrometres) + VORN_TEXT(" UM"), kBlack);
            x += step;
        }
    }
}

void ChartArtist::DrawPageNumber()
{
    const WString number = Number(request_.pageNumber);
    const double top = Unit(170), room = Unit(80);
    const double perCell = ChartDrawing::TextWidth(1, number);
    const double cell = std::min(room / ChartDrawing::TextHeight(1), (InnerWidth() - Unit(40)) / perCell);
    drawing_.Text((width_ - cell * perCell) / 2, top, cell, number, ink_);

    const WString side = request_.backSide ? VORN_TEXT("BACK") : VORN_TEXT("FRONT");
    const double sideCell = Unit(1.6);
    drawing_.Text((width_ - ChartDrawing::TextWidth(sideCell, side)) / 2, top + room + Unit(6), sideCell,
                  side, ink_);
}

void ChartArtist::DrawCornerNames()
{
    const double cell = Unit(0.4), bottom = height_ - Margin() - ChartDrawing::TextHeight(cell);
    const WString topRight = VORN_TEXT("TOP RIGHT"), bottomLeft = VORN_TEXT("BOTTOM LEFT"),
                  bottomRight = VORN_TEXT("BOTTOM RIGHT");
    const double right = width_ - Margin();
    drawing_.Text(right - ChartDrawing::TextWidth(cell, topRight), Unit(8.2), cell, topRight, kBlack);
    drawing_.Text(Margin(), bottom, cell, bottomLeft, kBlack);
    drawing_.Text(right - ChartDrawing::TextWidth(cell, bottomRight), bottom, cell, bottomRight, kBlack);
}

}  // namespace

ChartDrawing DrawChart(const ChartSheet& sheet, const PageRequest& request)
{
    return sheet.blank ? ChartDrawing{request.xDpi, request.yDpi} : ChartArtist{sheet, request}.Draw();
}

}  // namespace vorn::wia
