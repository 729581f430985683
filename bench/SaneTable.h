/**
 * @file SaneTable.h
 * Scans of SANE's test device side by side with SANE's own program.
 */
#pragma once

#include <ostream>

namespace vorn::bench {

/** Runs the tool and scanimage in turns, and prints what both take. Needs scanimage (package sane-utils). */
void PrintSaneTable(int repetitions, std::ostream& out);

}  // namespace vorn::bench
