/**
 * @file ChartLayout.h
 * What the test chart shows, and where on the sheet.
 */
#pragma once

#include "../model/Page.h"
#include "ChartDrawing.h"

namespace vorn::wia {

/** The sheet that a chart is printed on. */
struct ChartSheet {
    double widthInches = 210 / 25.4;
    double heightInches = 297 / 25.4;
    WString title;
    bool blank = false;  ///< nothing is printed on it
};

/**
 * The chart of one side of a sheet. It is fixed to the paper: of the request only the resolution moves an
 * edge, and only the lines of text that tell the request differ.
 */
ChartDrawing DrawChart(const ChartSheet& sheet, const PageRequest& request);

}  // namespace vorn::wia
