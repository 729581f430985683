/**
 * @file Table.h
 * Roads and baselines, taken in turns, as one table.
 */
#pragma once

#include <ostream>

#include "Roads.h"

namespace vorn::bench {

/** Repeats each road and its baseline in turns and prints their medians, ratio, and the road's memory. */
void PrintTable(const std::vector<Road>& roads, int repetitions, std::ostream& out);

}  // namespace vorn::bench
