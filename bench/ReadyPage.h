/**
 * @file ReadyPage.h
 * The page that all measurements move, and a device that has it in memory.
 */
#pragma once

#include <cstdint>
#include <span>

#include "wia/virtual/DeviceBuilder.h"

namespace vorn::bench {

/** The page's pixels: the rows of a DIB. */
std::span<const uint8_t> ReadyPixels();

/** A scanner with the page on its glass, as often as it is asked for. */
wia::DevicePtr ScannerWithReadyPage();

}  // namespace vorn::bench
