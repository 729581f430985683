/**
 * @file SaneScans.h
 * One page of SANE's test device into memory; each is run in a process of its own.
 */
#pragma once

namespace vorn::bench {

inline constexpr auto kSaneDevice = "test:0";

/** The work that cannot be avoided: SANE's reads, and colours in a DIB's order in fresh memory. Throws as all do. */
void ScanBare();
/** The same through the library, generation 1. */
void ScanToMemory();

}  // namespace vorn::bench
