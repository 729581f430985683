#include "OpenDevice.h"

#include <chrono>
#include <memory>
#include <system_error>

#include "../../include/comobject.h"
#include "../../include/platform.h"
#include "BoundedCall.h"
#include "Busy.h"
#include "Library.h"
#include "Statuses.h"

namespace vorn::wia {

namespace {

constexpr auto kPatience = std::chrono::seconds{15};

struct Opened {
    SANE_Status status = SANE_STATUS_GOOD;
    SANE_Handle handle = nullptr;
};

SANE_Status OpenWithin(const std::string& name, SANE_Handle& handle)
try {
    const auto opened = std::make_shared<Opened>();
    const auto open = [opened, name] { opened->status = Sane()->open(name.c_str(), &opened->handle); };
    const auto close = [opened] {
        if (opened->status == SANE_STATUS_GOOD)
            Sane()->close(opened->handle);
    };
    if (!CallWithin(kPatience, open, close))
        throw Failure{WIA_ERROR_OFFLINE};
    handle = opened->handle;
    return opened->status;
} catch (const std::system_error&) {
    throw Failure{E_OUTOFMEMORY};
}

}  // namespace

SANE_Handle OpenDevice(const std::string& name)
{
    SANE_Handle handle = nullptr;
    const SANE_Status status = WhileBusy([&] {
        return MayTakeForever(name) ? OpenWithin(name, handle) : Sane()->open(name.c_str(), &handle);
    });
    if (status != SANE_STATUS_GOOD)
        throw Failure{status == SANE_STATUS_INVAL ? WIA_S_NO_DEVICE_AVAILABLE : ResultOf(status)};
    return handle;
}

}  // namespace vorn::wia
