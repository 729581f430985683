/**
 * @file ChartDrawing.h
 * A drawing made of filled boxes, placed on the paper in millimetres and kept in pixels of one resolution.
 *
 * Boxes are enough for text, rules and colour fields, and they make most rows of a picture equal to the row
 * above.
 */
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "com.h"

namespace vorn::wia {

struct ChartColor {
    uint8_t red = 0, green = 0, blue = 0;
};

/** Pixels from the top left of the sheet; `right` and `bottom` lie outside. */
struct ChartBox {
    int64_t left = 0, top = 0, right = 0, bottom = 0;
    ChartColor color;
};

class ChartDrawing {
public:
    ChartDrawing(uint32_t xDpi, uint32_t yDpi) noexcept : xDpi_{xDpi}, yDpi_{yDpi} {}

    /** A box in millimetres, at least one pixel thick. What is drawn later covers what was drawn before. */
    void Box(double x, double y, double width, double height, ChartColor color);

    /** A rectangle's outline, its `line` inside of the rectangle. */
    void Frame(double x, double y, double width, double height, double line, ChartColor color);

    /** One line of text whose letters consist of cells of `cell` millimetres. (x, y) is its top left. */
    void Text(double x, double y, double cell, WStringView text, ChartColor color);
    static double TextWidth(double cell, WStringView text) noexcept;
    static double TextHeight(double cell) noexcept;

    /** In the order in which they were drawn. */
    const std::vector<ChartBox>& Boxes() const noexcept { return boxes_; }

private:
    uint32_t xDpi_, yDpi_;
    std::vector<ChartBox> boxes_;
};

}  // namespace vorn::wia
