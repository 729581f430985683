#include "FindScanners.h"

#include "../../include/comobject.h"

namespace vorn::wia {

namespace {

HRESULT Search(bool local, std::chrono::milliseconds patience, std::vector<FoundScanner>& found)
try {
    DriverHost host;
    const SANE_Status status = host.Search(local, patience, found);
    host.Kill();  // no back end gets to hang at the end
    return status == SANE_STATUS_GOOD ? S_OK : WIA_ERROR_EXCEPTION_IN_DRIVER;
} catch (const Failure& failure) {
    found.clear();
    return failure.result == WIA_S_NO_DEVICE_AVAILABLE ? WIA_ERROR_GENERAL_ERROR : failure.result;
}

}  // namespace

ScannerSearch FindScanners(std::chrono::milliseconds patience)
{
    std::vector<FoundScanner> found;
    const HRESULT failure = Search(false, patience, found);
    if (failure == S_OK || failure == WIA_ERROR_GENERAL_ERROR)
        return {std::move(found), failure};
    const HRESULT local = Search(true, patience, found);
    // A machine that does not answer is no fault of the search.
    return {std::move(found), failure == WIA_ERROR_DEVICE_COMMUNICATION ? local : failure};
}

}  // namespace vorn::wia
