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
    double aim = 1.2;     ///< the ratio of both that is good enough
    int timesPerRun = 1;  ///< how often both do it in one run; above 1 no page is moved
};

/** All roads. Each has seen its page arrive unharmed. */
std::vector<Road> AllRoads();

}  // namespace vorn::bench
