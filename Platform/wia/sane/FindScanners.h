/**
 * @file FindScanners.h
 * The search for scanners, which may wait for ever for a machine that is down: it has a driver host of its own.
 */
#pragma once

#include <chrono>
#include <vector>

#include "../Export.h"
#include "DriverHost.h"

namespace vorn::wia {

struct ScannerSearch {
    std::vector<FoundScanner> scanners;
    HRESULT failure;  ///< as in FoundDevices
};

/** The scanners found within that time; when it is over or the search fails, those that are not across a network. */
VORN_WIA_API ScannerSearch FindScanners(std::chrono::milliseconds patience);

}  // namespace vorn::wia
