/**
 * @file PeakMemory.h
 * How much memory this process takes while it does something.
 */
#pragma once

#include <cstdint>
#include <functional>

namespace vorn::bench {

/** Bytes that were resident at most while `work` ran, less those resident before. */
int64_t PeakBytes(const std::function<void()>& work);

}  // namespace vorn::bench
