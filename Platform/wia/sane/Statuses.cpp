#include "Statuses.h"

namespace vorn::wia {

namespace {

struct Row {
    int status;  ///< the last two are later than the published enumeration
    HRESULT result;
};

// No published result tells that the scan was stopped at the device. This one passes through the library, whose
// own status for a stop it is.
constexpr HRESULT kStopped = -100;

constexpr Row kRows[] = {
    {SANE_STATUS_GOOD, S_OK},
    {SANE_STATUS_UNSUPPORTED, WIA_ERROR_INVALID_COMMAND},
    {SANE_STATUS_CANCELLED, kStopped},
    {SANE_STATUS_DEVICE_BUSY, WIA_ERROR_BUSY},
    {SANE_STATUS_INVAL, WIA_ERROR_INCORRECT_HARDWARE_SETTING},
    {SANE_STATUS_EOF, WIA_ERROR_INVALID_DRIVER_RESPONSE},  // where data should have come
    {SANE_STATUS_JAMMED, WIA_ERROR_PAPER_JAM},
    {SANE_STATUS_NO_DOCS, WIA_ERROR_PAPER_EMPTY},
    {SANE_STATUS_COVER_OPEN, WIA_ERROR_COVER_OPEN},
    {SANE_STATUS_IO_ERROR, WIA_ERROR_DEVICE_COMMUNICATION},
    {SANE_STATUS_NO_MEM, E_OUTOFMEMORY},
    {SANE_STATUS_ACCESS_DENIED, E_ACCESSDENIED},
    {12, WIA_ERROR_WARMING_UP},
    {13, WIA_ERROR_DEVICE_LOCKED},
};

}  // namespace

HRESULT ResultOf(SANE_Status status) noexcept
{
    for (const Row& row : kRows) {
        if (row.status == static_cast<int>(status))
            return row.result;
    }
    return WIA_ERROR_GENERAL_ERROR;
}

}  // namespace vorn::wia
