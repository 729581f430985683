/**
 * @file Roads.h
 * The roads that are measured, each with the work that it cannot avoid.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vorn::bench {

/** Does something once, and tells the seconds it took without what it takes to begin anew. */
using Timed = std::function<double()>;

struct Road {
    std::string name;
    std::string unavoidable;  ///< what the baseline does
    Timed run;
    Timed baseline;
    double aim = 1.2;      ///< the ratio of both that is good enough
    int timesPerRun = 1;   ///< how often both do it in one run; above 1 no page is moved
    double sizeRatio = 0;  ///< of the files that both write; 0 when they do not compare
};

/** The roads from the device to the application. Each has seen its page arrive unharmed. */
std::vector<Road> DeviceRoads();

/** Enumerating capabilities and writing the scanning-properties record, against the platform calls they need. */
std::vector<Road> SettingsRoads();

/** Saving a page as a file of each format, and loading it, against the bare codec. */
std::vector<Road> FormatRoads();

}  // namespace vorn::bench
