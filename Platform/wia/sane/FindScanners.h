/**
 * @file FindScanners.h
 * Looks for scanners in a process of its own: SANE may wait for ever for a host that is down, loads each of its back
 * ends, and cannot be called off.
 */
#pragma once

#include <chrono>
#include <vector>

#include "../Export.h"
#include "SaneDevice.h"

namespace vorn::wia {

struct ScannerSearch {
    std::vector<FoundScanner> scanners;
    HRESULT failure;  ///< as in FoundDevices
};

/** The scanners found within that time; when it is over or the search fails, those that are not across a network. */
VORN_WIA_API ScannerSearch FindScanners(std::chrono::milliseconds patience);

}  // namespace vorn::wia
