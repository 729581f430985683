// A back end for SANE's library, with the manners that its own test back end lacks. The device's name begins with one,
// which a device of that name shows once:
// `start`, `read`: that call waits until it is cancelled; `deaf`: a read waits for longer, cancelled or not;
// `lost`: after its first lines the device fails whatever it is asked, until it is opened anew; `exited`: until all of
// SANE is started anew; `hasty`: always fails when the last line is asked for before it has come to rest.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <string>

#include <sane/sane.h>

namespace {

constexpr SANE_Parameters kPage{SANE_FRAME_GRAY, SANE_TRUE, 64, 64, 64, 8};
constexpr auto kDeaf = std::chrono::seconds{3};

std::set<std::string> g_shown;
bool g_mayOpen = true;  ///< what the back end forgets when it is started anew

struct Device {
    std::string name;
    bool fails = false;
    int linesRead = 0;
    std::chrono::steady_clock::time_point lastRead;
    bool cancelled = false;
    std::mutex mutex;
    std::condition_variable changed;

    bool Is(const char* manner) const { return name.starts_with(manner); }
    bool Misbehaves(const char* manner) const { return Is(manner) && !g_shown.contains(name); }
    SANE_Status Wait(bool deaf)
    {
        g_shown.insert(name);
        std::unique_lock lock{mutex};
        changed.wait_for(lock, deaf ? kDeaf : 10 * kDeaf, [&] { return cancelled && !deaf; });
        return SANE_STATUS_CANCELLED;
    }
};

Device& Of(SANE_Handle handle)
{
    return *static_cast<Device*>(handle);
}

const SANE_Option_Descriptor kCount{"",
                                    "",
                                    "",
                                    SANE_TYPE_INT,
                                    SANE_UNIT_NONE,
                                    sizeof(SANE_Word),
                                    SANE_CAP_SOFT_DETECT,
                                    SANE_CONSTRAINT_NONE,
                                    {nullptr}};

}  // namespace

extern "C" {

SANE_Status sane_manners_init(SANE_Int* version, SANE_Auth_Callback)
{
    g_mayOpen = true;
    if (version)
        *version = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, 0, 0);
    return SANE_STATUS_GOOD;
}

void sane_manners_exit() {}

SANE_Status sane_manners_get_devices(const SANE_Device*** devices, SANE_Bool)
{
    static const SANE_Device* none = nullptr;
    *devices = &none;
    return SANE_STATUS_GOOD;
}

SANE_Status sane_manners_open(SANE_String_Const name, SANE_Handle* handle)
{
    if (!g_mayOpen)
        return SANE_STATUS_IO_ERROR;
    auto* const device = new Device;
    device->name = name;
    *handle = device;
    return SANE_STATUS_GOOD;
}

void sane_manners_close(SANE_Handle handle)
{
    delete static_cast<Device*>(handle);
}

const SANE_Option_Descriptor* sane_manners_get_option_descriptor(SANE_Handle, SANE_Int option)
{
    return option == 0 ? &kCount : nullptr;
}

SANE_Status sane_manners_control_option(SANE_Handle, SANE_Int option, SANE_Action, void* value, SANE_Int*)
{
    if (option != 0)
        return SANE_STATUS_INVAL;
    *static_cast<SANE_Int*>(value) = 1;
    return SANE_STATUS_GOOD;
}

SANE_Status sane_manners_get_parameters(SANE_Handle, SANE_Parameters* parameters)
{
    *parameters = kPage;
    return SANE_STATUS_GOOD;
}

SANE_Status sane_manners_start(SANE_Handle handle)
{
    Device& device = Of(handle);
    device.linesRead = 0;
    device.cancelled = false;
    if (device.fails)
        return SANE_STATUS_IO_ERROR;
    return device.Misbehaves("start") ? device.Wait(false) : SANE_STATUS_GOOD;
}

SANE_Status sane_manners_read(SANE_Handle handle, SANE_Byte* data, SANE_Int capacity, SANE_Int* length)
{
    Device& device = Of(handle);
    const bool first = device.linesRead == 0;
    if (!first && (device.Misbehaves("lost") || device.Misbehaves("exited"))) {
        g_shown.insert(device.name);
        device.fails = true;
        g_mayOpen = !device.Is("exited");
    }
    if (device.fails)
        return SANE_STATUS_IO_ERROR;
    if (!first && (device.Misbehaves("read") || device.Misbehaves("deaf")))
        return device.Wait(device.Is("deaf"));
    if (device.linesRead == kPage.lines)
        return SANE_STATUS_EOF;
    const int lines = first ? 1 : std::min(kPage.lines - device.linesRead, capacity / kPage.bytes_per_line);
    const auto now = std::chrono::steady_clock::now();
    const bool tooSoon = now - device.lastRead < std::chrono::milliseconds{2};
    device.lastRead = now;
    device.linesRead += lines;
    if (device.Is("hasty") && device.linesRead == kPage.lines && (lines > 1 || tooSoon))
        return SANE_STATUS_IO_ERROR;
    *length = lines * kPage.bytes_per_line;
    std::memset(data, 0x55, static_cast<size_t>(*length));
    return SANE_STATUS_GOOD;
}

void sane_manners_cancel(SANE_Handle handle)
{
    Device& device = Of(handle);
    const std::scoped_lock lock{device.mutex};
    device.cancelled = true;
    device.changed.notify_all();
}

SANE_Status sane_manners_set_io_mode(SANE_Handle, SANE_Bool nonBlocking)
{
    return nonBlocking ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_GOOD;
}

SANE_Status sane_manners_get_select_fd(SANE_Handle, SANE_Int*)
{
    return SANE_STATUS_UNSUPPORTED;
}
}
