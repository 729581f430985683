#include "Table.h"

#include <algorithm>
#include <cstdio>

#include "PeakMemory.h"
#include "ReadyPage.h"

namespace vorn::bench {
namespace {

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Samples {
    std::vector<double> road, baseline;

    double Ratio() const { return Median(road) / Median(baseline); }
    double BestRatio() const
    {
        return *std::min_element(road.begin(), road.end()) /
               *std::min_element(baseline.begin(), baseline.end());
    }
};

/** In turns, so that whatever else the machine does falls on both; who begins changes too. */
Samples Measure(const Road& road, int repetitions)
{
    road.run();
    road.baseline();
    Samples samples;
    for (int i = 0; i < repetitions; ++i) {
        if (i % 2)
            samples.road.push_back(road.run());
        samples.baseline.push_back(road.baseline());
        if (i % 2 == 0)
            samples.road.push_back(road.run());
    }
    return samples;
}

std::string Duration(double seconds)
{
    char text[32];
    if (seconds < 1e-3)
        std::snprintf(text, sizeof text, "%.1f ns", seconds * 1e9);
    else
        std::snprintf(text, sizeof text, "%.1f ms", seconds * 1e3);
    return text;
}

std::string Pages(const Road& road)
{
    if (road.timesPerRun > 1)
        return "";
    const auto bytes = static_cast<double>(PeakBytes([&] { road.run(); }));
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", bytes / static_cast<double>(ReadyPixels().size()));
    return text;
}

}  // namespace

void PrintTable(const std::vector<Road>& roads, int repetitions, std::ostream& out)
{
    char line[160];
    const auto print = [&](auto... columns) {
        std::snprintf(line, sizeof line, "%-15s %10s %10s  %-28s %6s %6s %5s %7s %6s\n", columns...);
        out << line << std::flush;
    };
    out << "One A4 page, 600 dpi, 24 bits, " << ReadyPixels().size() << " bytes; medians of " << repetitions
        << " repetitions in turns.\n\n";
    print("road", "takes", "baseline", "which is", "ratio", "best", "aim", "pages", "size");
    for (const Road& road : roads) {
        const Samples samples = Measure(road, repetitions);
        const auto number = [](double value) {
            char text[16];
            std::snprintf(text, sizeof text, "%.2f", value);
            return std::string{text};
        };
        print(road.name.c_str(), Duration(Median(samples.road) / road.timesPerRun).c_str(),
              Duration(Median(samples.baseline) / road.timesPerRun).c_str(), road.unavoidable.c_str(),
              number(samples.Ratio()).c_str(), number(samples.BestRatio()).c_str(), number(road.aim).c_str(),
              Pages(road).c_str(), road.sizeRatio > 0 ? number(road.sizeRatio).c_str() : "");
    }
    out << "\nratio: of the medians. best: of the shortest times. pages: memory that the road took at most,\n"
           "in pages; the page that it starts from, 1.00, was there before and is not counted. size: of the "
           "file,\n"
           "against the baseline's.\n";
}

}  // namespace vorn::bench
