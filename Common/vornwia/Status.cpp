/** Status codes: the one mapping from platform results. */
#include "Internal.h"

namespace vorn {
namespace {

struct StatusRow {
    HRESULT result;
    int32_t status;
};

constexpr HRESULT WiaError(uint32_t code)
{
    return static_cast<HRESULT>(0x80210000u + code);
}

/** The platform's results, and the library's own codes that return unchanged after a way through the
 * platform. */
constexpr StatusRow kStatusMap[] = {
    {S_OK, SUCCESS},
    {S_FALSE, RESULT_FALSE},
    {E_INVALIDARG, ERR_INVALID_ARGUMENT},
    {E_ACCESSDENIED, ERR_ACCESS_DENIED},
    {WiaError(1), ERR_WIA_GENERAL_ERROR},
    {WiaError(2), ERR_WIA_PAPER_JAM},
    {WiaError(3), ERR_WIA_PAPER_EMPTY},
    {WiaError(4), ERR_WIA_PAPER_PROBLEM},
    {WiaError(5), ERR_WIA_OFFLINE},
    {WiaError(6), ERR_WIA_BUSY},
    {WiaError(7), ERR_WIA_WARMING_UP},
    {WiaError(8), ERR_WIA_USER_INTERVENTION},
    {WiaError(9), ERR_WIA_ITEM_DELETED},
    {WiaError(10), ERR_WIA_DEVICE_COMMUNICATION},
    {WiaError(11), ERR_WIA_INVALID_COMMAND},
    {WiaError(12), ERR_WIA_INCORRECT_HARDWARE_SETTING},
    {WiaError(13), ERR_WIA_DEVICE_LOCKED},
    {WiaError(14), ERR_WIA_EXCEPTION_IN_DRIVER},
    {WiaError(15), ERR_WIA_INVALID_DRIVER_RESPONSE},
    {WiaError(16), ERR_WIA_COVER_OPEN},
    {WiaError(17), ERR_WIA_LAMP_OFF},
    {WiaError(18), ERR_WIA_DESTINATION},
    {WiaError(19), ERR_WIA_NETWORK_RESERVATION_FAILED},
    {WiaError(21), ERR_WIA_NO_DEVICE_AVAILABLE},
    {ERR_ABORTED, ERR_ABORTED},
    {ERR_TEMP_PATH, ERR_TEMP_PATH},
    {ERR_BUFFER_TOO_SMALL, ERR_BUFFER_TOO_SMALL},
    {ERR_FILE_COPY, ERR_FILE_COPY},
    {ERR_NO_CHILD_ITEMS, ERR_NO_CHILD_ITEMS},
};

}  // namespace

int32_t MapWiaResult(HRESULT result) noexcept
{
    for (const StatusRow& row : kStatusMap) {
        if (row.result == result)
            return row.status;
    }
    return ERR_WIA_UNEXPECTED;
}

}  // namespace vorn
