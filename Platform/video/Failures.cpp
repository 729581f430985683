#include "Failures.h"

namespace vorn::video {
namespace {

struct Row {
    gint code;
    HRESULT result;
};

constexpr Row kResourceErrors[] = {
    {GST_RESOURCE_ERROR_NOT_FOUND, WIA_ERROR_OFFLINE},
    {GST_RESOURCE_ERROR_BUSY, WIA_ERROR_BUSY},
    {GST_RESOURCE_ERROR_NOT_AUTHORIZED, E_ACCESSDENIED},
};

}  // namespace

HRESULT ResultOf(const GError& error) noexcept
{
    if (error.domain == GST_RESOURCE_ERROR) {
        for (const Row& row : kResourceErrors) {
            if (row.code == error.code)
                return row.result;
        }
        return WIA_ERROR_DEVICE_COMMUNICATION;
    }
    const bool missing = (error.domain == GST_CORE_ERROR && error.code == GST_CORE_ERROR_MISSING_PLUGIN) ||
                         error.domain == GST_PARSE_ERROR;
    return missing ? REGDB_E_CLASSNOTREG : WIA_ERROR_GENERAL_ERROR;
}

}  // namespace vorn::video
