#include "DriverHost.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>

#include <nlohmann/json.hpp>

#include "../../include/comobject.h"

extern char** environ;

namespace vorn::wia {

namespace {

using nlohmann::json;
using process::Clock;
using process::Lost;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr auto kOpenPatience = seconds{15};
constexpr auto kOptionPatience = seconds{5};
constexpr auto kCancelPatience = seconds{5};
constexpr auto kClosePatience = seconds{5};

/** A device whose scan has just been cancelled is not waited for when nobody wants it any more. */
constexpr auto kCancelledClosePatience = seconds{1};

/** The program lies beside the library that this is part of, in a folder of its own. */
std::string HostPath()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&HostPath), &info) == 0 || !info.dli_fname)
        return {};
    const std::string library{info.dli_fname};
    return library.substr(0, library.rfind('/') + 1) + "vornwia/sane-host";
}

/** Who asks a back end for its debug messages wants to see them. */
bool WantsDebugMessages()
{
    for (char** variable = environ; *variable; ++variable)
        if (std::string_view{*variable}.starts_with("SANE_DEBUG"))
            return true;
    return false;
}

}  // namespace

DriverHost::DriverHost()
try : memory_{process::SharedMemory::Create(sane::RingLayout::kBytes)}, control_{process::Descriptor{}
}  // namespace vorn::wia
{
    auto [ourControl, itsControl] = process::SocketPair(SOCK_STREAM);
    auto [ourRing, itsRing] = process::SocketPair(SOCK_SEQPACKET);
    control_ = process::Channel{std::move(ourControl)};
    ring_ = std::move(ourRing);
    const std::array<int, 3> passed{itsControl.Get(), itsRing.Get(), memory_.Get()};
    child_.emplace(HostPath(), std::vector{std::to_string(getpid())}, passed, WantsDebugMessages());
}
catch (const std::system_error&)
{
    throw Failure{WIA_S_NO_DEVICE_AVAILABLE};
}

DriverHost::~DriverHost()
{
    control_.ShutDown();
    if (child_)
        child_->End(Clock::now() < settled_ ? kCancelledClosePatience : kClosePatience);
}

void DriverHost::Kill() noexcept
{
    control_.ShutDown();
    child_.reset();
}

void DriverHost::Fail(const Lost& lost, HRESULT late)
{
    const bool loaded = lost.reason != Lost::Reason::Ended || !child_ || !child_->FailedToLoad();
    Kill();
    switch (lost.reason) {
        case Lost::Reason::Ended:
            throw Failure{loaded ? WIA_ERROR_EXCEPTION_IN_DRIVER : WIA_S_NO_DEVICE_AVAILABLE};
        case Lost::Reason::TimedOut:
            throw Failure{late};
        default:
            throw Failure{WIA_ERROR_INVALID_DRIVER_RESPONSE};
    }
}

/** Runs what reads an answer; an answer that is not as it should be ends the host. */
template <typename Decode>
auto DriverHost::Decoded(Decode&& decode)
try {
    return decode();
} catch (const json::exception&) {
    Fail({Lost::Reason::BadMessage});
}

void DriverHost::Post(json request)
try {
    request["id"] = ++lastRequest_;
    control_.Send(request, Clock::now() + kOptionPatience);
} catch (const Lost& lost) {
    Fail(lost);
}

/** Answers to requests that nobody waits for any more are passed over. */
json DriverHost::AwaitAnswer(Clock::time_point end)
{
    for (;;) {
        json answer = control_.Receive(end, child_ ? child_->EndDescriptor() : -1);
        const auto id = Decoded([&] { return answer.at("id").get<uint32_t>(); });
        if (id == lastRequest_)
            return answer;
        if (id > lastRequest_)
            throw Lost{Lost::Reason::BadMessage};
    }
}

json DriverHost::Call(json request, milliseconds patience, HRESULT late)
try {
    const auto begin = std::max(Clock::now(), settled_);
    Post(std::move(request));
    json answer = AwaitAnswer(begin + patience);
    settled_ = {};
    return answer;
} catch (const Lost& lost) {
    Fail(lost, late);
}

namespace {

SANE_Status StatusOf(const json& answer)
{
    return static_cast<SANE_Status>(answer.at("status").get<int>());
}

std::vector<SaneOption> OptionsOf(const json& answer)
{
    const json& listed = answer.at("options");
    std::vector<SaneOption> options;
    for (const json& each : listed) {
        SaneOption option;
        sane::FromMessage(each, option);
        const bool inOrder = options.empty() || option.index > options.back().index;
        if (!IsSound(option) || !inOrder || options.size() == static_cast<size_t>(sane::kMostOptions))
            throw json::other_error::create(0, "no option", nullptr);
        options.push_back(std::move(option));
    }
    return options;
}

}  // namespace

SANE_Status DriverHost::Search(bool local, milliseconds patience, std::vector<FoundScanner>& found)
{
    const json answer = Call({{"do", "search"}, {"local", local}}, patience);
    return Decoded([&] {
        for (const json& each : answer.at("devices"))
            sane::FromMessage(each, found.emplace_back());
        return StatusOf(answer);
    });
}

SANE_Status DriverHost::Open(const std::string& name, std::vector<SaneOption>& options)
{
    const json answer = Call({{"do", "open"}, {"name", name}}, kOpenPatience, WIA_ERROR_OFFLINE);
    return Decoded([&] {
        const SANE_Status status = StatusOf(answer);
        if (status == SANE_STATUS_GOOD)
            options = OptionsOf(answer);
        return status;
    });
}

SANE_Status DriverHost::Set(SANE_Int index, const std::optional<RawValue>& value, Change& change)
{
    json request{{"do", "set"}, {"index", index}};
    if (value)
        request["value"] = json::binary(*value);
    const json answer = Call(std::move(request), kOptionPatience);
    return Decoded([&] {
        if (answer.contains("options"))
            change = {answer.at("all").get<bool>(), OptionsOf(answer)};
        return StatusOf(answer);
    });
}

RawValue DriverHost::Get(SANE_Int index)
{
    const json answer = Call({{"do", "get"}, {"index", index}}, kOptionPatience);
    return Decoded([&] { return RawValue{answer.at("value").get_binary()}; });
}

SANE_Status DriverHost::Parameters(SANE_Parameters& parameters)
{
    const json answer = Call({{"do", "parameters"}}, kOptionPatience);
    return Decoded([&] {
        sane::FromMessage(answer.at("parameters"), parameters);
        return StatusOf(answer);
    });
}

void DriverHost::Start()
{
    Post({{"do", "start"}});
}

std::optional<SANE_Status> DriverHost::AwaitStarted(milliseconds moment, SANE_Parameters& parameters)
try {
    const json answer = AwaitAnswer(Clock::now() + moment);
    settled_ = {};
    return Decoded([&] {
        const SANE_Status status = StatusOf(answer);
        if (status == SANE_STATUS_GOOD)
            sane::FromMessage(answer.at("parameters"), parameters);
        return status;
    });
} catch (const Lost& lost) {
    if (lost.reason != Lost::Reason::TimedOut)
        Fail(lost);
    return std::nullopt;
}

void DriverHost::Read(size_t lineBytes)
{
    ForgetSlots();
    layout_ = sane::RingLayout{lineBytes};
    lineBytes_ = lineBytes;
    Post({{"do", "read"}});
}

/** Those of a frame that nobody reads any more: its read has been answered, so no more of them come. */
void DriverHost::ForgetSlots()
{
    slot_ = 0;
    slotTaken_ = false;
    uint32_t ignored = 0;
    while (recv(ring_.Get(), &ignored, sizeof ignored, MSG_DONTWAIT) > 0) {
    }
}

void DriverHost::ReturnSlot()
{
    if (!std::exchange(slotTaken_, false))
        return;
    slot_ = (slot_ + 1) % layout_.slots;
    const uint8_t one = 1;
    send(ring_.Get(), &one, sizeof one, MSG_NOSIGNAL | MSG_DONTWAIT);
}

DriverHost::Lines DriverHost::AwaitLines(milliseconds moment)
try {
    ReturnSlot();
    const auto end = Clock::now() + moment;
    for (bool ended = false;;) {
        uint32_t bytes = 0;
        const ssize_t length = recv(ring_.Get(), &bytes, sizeof bytes, MSG_DONTWAIT);
        if (length > 0) {
            if (length != sizeof bytes || bytes == 0 || bytes > layout_.slotBytes || bytes % lineBytes_ != 0)
                throw Lost{Lost::Reason::BadMessage};
            slotTaken_ = true;
            return {{memory_.Data() + slot_ * layout_.slotBytes, bytes}, std::nullopt};
        }
        if (ended) {
            const json answer = AwaitAnswer(end + kOptionPatience);
            return {{}, Decoded([&] { return StatusOf(answer); })};
        }
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        if (left.count() <= 0)
            return {};
        std::array<pollfd, 3> waiting{{{ring_.Get(), POLLIN, 0},
                                       {control_.Get(), POLLIN, 0},
                                       {child_ ? child_->EndDescriptor() : -1, POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), static_cast<int>(left.count()));
        ended = waiting[1].revents || waiting[2].revents;  // its last lines were announced before
    }
} catch (const Lost& lost) {
    Fail(lost);
}

void DriverHost::Cancel()
{
    Post({{"do", "cancel"}});
    settled_ = Clock::now() + kCancelPatience;
}

bool DriverHost::Settle() noexcept
try {
    if (settled_ != Clock::time_point{})
        AwaitAnswer(settled_);
    settled_ = {};
    return true;
} catch (...) {
    return false;
}

}  // namespace vorn::wia
