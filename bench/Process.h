/**
 * @file Process.h
 * What a program takes from its start to its end.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorn::bench {

struct Usage {
    double seconds = 0;     ///< by the clock
    double cpuSeconds = 0;  ///< of the program and those that it started, in the kernel too
    int64_t peakBytes = 0;  ///< resident at most; never told below what the calling program takes
};

/** Runs a program that prints to nobody. Throws std::runtime_error unless it ends with 0. */
Usage RunProgram(const std::vector<std::string>& command);

}  // namespace vorn::bench
