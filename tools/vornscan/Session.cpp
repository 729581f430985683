#include "Session.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "SlowNotice.h"
#include "Text.h"

namespace vornscan {
namespace {

/**
 * Wine's proxy of the device enumerator leaves the stack with its exception handler still in the thread's list; the
 * next exception would run into it and end the process without a word. 64-bit Windows does not use that list.
 */
class ExceptionListKeeper {
#ifdef _WIN64
public:
    ExceptionListKeeper() noexcept
    {
        asm volatile("movq %%gs:0, %0" : "=r"(list_));
    }
    ~ExceptionListKeeper()
    {
        asm volatile("movq %0, %%gs:0" : : "r"(list_));
    }

private:
    void* list_;
#endif
};

std::string LowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/** The devices that `fits` holds true for. */
template <typename Predicate>
std::vector<Device> Matching(const std::vector<Device>& devices, Predicate fits)
{
    std::vector<Device> found;
    std::ranges::copy_if(devices, std::back_inserter(found), fits);
    return found;
}

/** The best matches for what the person typed: an id beats a name beats a part of a name. */
std::vector<Device> Find(const std::vector<Device>& devices, const std::string& wanted)
{
    std::vector<Device> found = Matching(devices, [&](const Device& device) { return device.id == wanted; });
    if (found.empty())
        found = Matching(devices, [&](const Device& device) { return device.name == wanted; });
    if (found.empty())
        found = Matching(devices, [part = LowerCase(wanted)](const Device& device) {
            return LowerCase(device.name).find(part) != std::string::npos;
        });
    return found;
}

/** Why a list of devices is empty or not all there is. */
Failure SearchFailure(int32_t status)
{
    const std::string subject = "listing the devices";
#ifndef _WIN32
    const char* const looks = ": the program that looks for scanners ";
    if (status == ERR_WIA_GENERAL_ERROR)
        return {ExitCode::InputOutput,
                subject + looks + "cannot be started; install vornwia and libsane1 again"};
    if (status == ERR_WIA_EXCEPTION_IN_DRIVER)
        return {ExitCode::InputOutput,
                subject + looks +
                    "failed, and scanners may be missing; if scanimage -L fails as well, "
                    "a driver of SANE is at fault"};
#endif
    return StatusFailure(subject, status);
}

std::string Lines(const std::vector<Device>& devices)
{
    std::string lines;
    for (const Device& device : devices)
        lines += "\n  " + Printable(device.id) + "  " + device.Shown();
    return lines;
}

}  // namespace

Failure NoDevice()
{
    return {ExitCode::Usage,
            "there is no scanner; connect one and switch it on, or try without one: vornscan --virtual -o "
            "page.tif"};
}

std::optional<int32_t> Item::Long(uint32_t id) const
{
    int32_t value = 0;
    if (Vorn_WiaGetPropertyLong(session_, Handle(), nullptr, id, &value) != SUCCESS)
        return std::nullopt;
    return value;
}

std::optional<int32_t> Item::Long(const WCHAR* name) const
{
    int32_t value = 0;
    if (Vorn_WiaGetPropertyLong(session_, Handle(), name, 0, &value) != SUCCESS)
        return std::nullopt;
    return value;
}

std::optional<double> Item::Real(uint32_t id) const
{
    const std::optional<std::string> digits = Text(id);
    double value = 0;
    if (!digits || std::from_chars(digits->data(), digits->data() + digits->size(), value).ec != std::errc{})
        return std::nullopt;
    return value;
}

std::optional<GUID> Item::Guid(uint32_t id) const
{
    GUID value{};
    if (Vorn_WiaGetPropertyGUID(session_, Handle(), nullptr, id, &value) != SUCCESS)
        return std::nullopt;
    return value;
}

std::optional<std::string> Item::Text(uint32_t id) const
{
    uint64_t size = 0;
    if (Vorn_WiaGetPropertyString(session_, Handle(), nullptr, id, nullptr, &size) != SUCCESS)
        return std::nullopt;
    WideText text(size, WCHAR{});
    if (Vorn_WiaGetPropertyString(session_, Handle(), nullptr, id, text.data(), &size) != SUCCESS)
        return std::nullopt;
    return ToNarrow(text.c_str());
}

std::optional<SYSTEMTIME> Item::Time(uint32_t id) const
{
    SYSTEMTIME time{};
    if (Vorn_WiaGetPropertySystemTime(session_, Handle(), nullptr, id, &time) != SUCCESS)
        return std::nullopt;
    return time;
}

std::optional<uint64_t> Item::ByteCount(uint32_t id) const
{
    uint64_t size = 0;
    if (Vorn_WiaGetPropertyBuffer(session_, Handle(), nullptr, id, nullptr, &size) != SUCCESS)
        return std::nullopt;
    return size;
}

bool Item::HasText(const WCHAR* name) const
{
    uint64_t size = 0;
    return Vorn_WiaGetPropertyString(session_, Handle(), name, 0, nullptr, &size) == SUCCESS;
}

int32_t Item::SetLong(uint32_t id, int32_t value) const
{
    return Vorn_WiaSetPropertyLong(session_, Handle(), nullptr, id, value);
}

int32_t Item::SetGuid(uint32_t id, const GUID& value) const
{
    return Vorn_WiaSetPropertyGUID(session_, Handle(), nullptr, id, &value);
}

int32_t Item::SetLong(const WCHAR* name, int32_t value) const
{
    return Vorn_WiaSetPropertyLong(session_, Handle(), name, 0, value);
}

int32_t Item::SetText(const WCHAR* name, const std::string& value) const
{
    return Vorn_WiaSetPropertyString(session_, Handle(), name, 0, ToWide(value).c_str());
}

Session::Session(uint32_t generation) : generation_{generation}
{
    if (Vorn_WiaInitSession(generation, &session_) != SUCCESS)
        throw Failure{ExitCode::Usage,
                      "WIA " + std::to_string(generation) +
                          ".0 is not available on this machine; try the other generation, --wia " +
                          std::to_string(3 - generation)};
}

Session::~Session()
{
    Vorn_WiaEndSession(session_);
}

DeviceSearch Session::Devices() const
{
    DeviceSearch search;
    const auto collect = [](WiaSession*, const WiaDeviceInfo* device, void* userData) -> int32_t {
        try {
            static_cast<std::vector<Device>*>(userData)->push_back({ToNarrow(device->deviceId),
                                                                    ToNarrow(device->deviceName),
                                                                    ToNarrow(device->deviceDescription)});
            return SUCCESS;
        } catch (const std::bad_alloc&) {
            return ERR_OUT_OF_MEMORY;
        }
    };
    const int32_t status = [&] {
        [[maybe_unused]] const ExceptionListKeeper keeper;
        const SlowNotice notice{"still looking for devices; one of another computer may not answer"};
        return Vorn_WiaEnumDevices(session_, collect, &search.devices);
    }();
    if (status != SUCCESS && status != ERR_WIA_NO_DEVICE_AVAILABLE)
        search.failure = SearchFailure(status);
    return search;
}

std::optional<Device> Session::OpenById(const std::string& id)
{
    if (id.find_first_of(":\\") == id.npos)  // every system's ids have the one or the other
        return std::nullopt;
    const int32_t status = Vorn_WiaSelectDevice(session_, ToWide(id).c_str());
    if (status == ERR_WIA_NO_DEVICE_AVAILABLE || status == ERR_INVALID_ARGUMENT)
        return std::nullopt;
    if (status != SUCCESS)
        throw StatusFailure("cannot open " + id, status);
    return Device{id, id, ""};
}

Device Session::Open(const std::optional<std::string>& wanted)
{
    if (wanted)
        if (const std::optional<Device> device = OpenById(*wanted))
            return *device;
    const auto [devices, failure] = Devices();
    if (devices.empty())
        throw failure.value_or(NoDevice());
    if (failure)
        Say(failure->what());
    if (!wanted)
        return OpenFirstScanner(devices);

    const std::vector<Device> found = Find(devices, *wanted);
    if (found.empty())
        throw Failure{ExitCode::Usage,
                      "no device is called '" + *wanted + "'; these are there:" + Lines(devices)};
    if (found.size() > 1)
        throw Failure{ExitCode::Usage, "several devices fit '" + *wanted + "'; say which:" + Lines(found)};
    Select(found.front());
    return found.front();
}

Device Session::OpenFirstScanner(const std::vector<Device>& devices)
{
    for (const Device& device : devices) {
        Select(device);
        if (IsScanner())
            return device;
    }
    throw Failure{ExitCode::Usage,
                  "none of the devices is a scanner; choose one with -d, or try the virtual one "
                  "with --virtual:" +
                      Lines(devices)};
}

void Session::Select(const Device& device)
{
    const int32_t status = Vorn_WiaSelectDevice(session_, ToWide(device.id).c_str());
    if (status == SUCCESS)
        return;
    const Failure failure = StatusFailure("cannot open " + device.Shown(), status);
    throw Failure{failure.Code() == ExitCode::Busy ? ExitCode::Busy : ExitCode::Usage, failure.what()};
}

bool Session::IsScanner() const
{
    uint32_t type = WIA_DEVICE_TYPE_ANY;
    return Vorn_WiaGetSelectedDeviceType(session_, &type) == SUCCESS && type == WIA_DEVICE_TYPE_SCANNER;
}

Item Session::Root() const
{
    WiaItemHandle root = nullptr;
    if (const int32_t status = Vorn_WiaGetRootItem(session_, nullptr, &root); status != SUCCESS)
        throw StatusFailure("reading the device", status);
    return {session_, {root, [](WiaItemHandle) { /* lent by the session */ }}};
}

bool Session::HasChildren() const
{
    return Vorn_WiaEnumChildItems(session_, Root().Handle(), nullptr, nullptr) != ERR_NO_CHILD_ITEMS;
}

std::vector<Item> Session::Children() const
{
    std::vector<Item> children;
    const auto collect = [](WiaSession* session, uint32_t, WiaItemHandle child, void* userData) -> int32_t {
        try {
            static_cast<std::vector<Item>*>(userData)->emplace_back(
                session, std::shared_ptr<VornWiaItem>{
                             child, [session](WiaItemHandle item) { Vorn_WiaFreeItem(session, item); }});
            return SUCCESS;
        } catch (const std::bad_alloc&) {
            return ERR_OUT_OF_MEMORY;
        }
    };
    const int32_t status = Vorn_WiaEnumChildItems(session_, Root().Handle(), collect, &children);
    if (status != SUCCESS)
        throw StatusFailure("reading what the device offers", status);
    return children;
}

}  // namespace vornscan
