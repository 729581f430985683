#include "DriverHost.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>

#include "../../include/comobject.h"

extern char** environ;

namespace vorn::wia {

namespace {

using process::Clock;
using process::Lost;
using process::MessageReader;
using process::MessageWriter;
using sane::Request;
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

SANE_Status StatusOf(MessageReader& answer)
{
    return sane::EnumeratorOf<SANE_Status, 15>(answer.Number());
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

void DriverHost::Post(Request what, const MessageWriter& arguments)
try {
    MessageWriter request;
    request.Number(++lastRequest_).Number(static_cast<int32_t>(what)).Append(arguments);
    control_.Send(request, Clock::now() + kOptionPatience);
} catch (const Lost& lost) {
    Fail(lost);
}

/** Answers to requests that nobody waits for any more are passed over. */
MessageReader DriverHost::AwaitAnswer(Clock::time_point end)
{
    for (;;) {
        MessageReader answer = control_.Receive(end, child_ ? child_->EndDescriptor() : -1);
        const int32_t number = answer.Number();
        if (number == lastRequest_)
            return answer;
        if (number > lastRequest_ || number <= 0)
            throw Lost{Lost::Reason::BadMessage};
    }
}

template <typename Decode>
SANE_Status DriverHost::Call(Request what, const MessageWriter& arguments, milliseconds patience,
                             Decode&& read, HRESULT late)
try {
    const auto begin = std::max(Clock::now(), settled_);
    Post(what, arguments);
    MessageReader answer = AwaitAnswer(begin + patience);
    settled_ = {};
    const SANE_Status status = StatusOf(answer);
    read(answer, status);
    return status;
} catch (const Lost& lost) {
    Fail(lost, late);
}

SANE_Status DriverHost::Search(bool local, milliseconds patience, std::vector<FoundScanner>& found)
{
    return Call(Request::Search, MessageWriter{}.Number(local), patience,
                [&](MessageReader& answer, SANE_Status) { sane::Take(answer, found); });
}

SANE_Status DriverHost::Open(const std::string& name, std::vector<SaneOption>& options)
{
    const auto read = [&](MessageReader& answer, SANE_Status status) {
        if (status == SANE_STATUS_GOOD)
            sane::Take(answer, options);
    };
    return Call(Request::Open, MessageWriter{}.Text(name), kOpenPatience, read, WIA_ERROR_OFFLINE);
}

SANE_Status DriverHost::Set(SANE_Int index, const std::optional<RawValue>& value, Change& change)
{
    MessageWriter arguments;
    arguments.Number(index).Number(value.has_value());
    if (value)
        arguments.Bytes(*value);
    return Call(Request::Set, arguments, kOptionPatience, [&](MessageReader& answer, SANE_Status) {
        change.all = answer.Flag();
        sane::Take(answer, change.options);
    });
}

RawValue DriverHost::Get(SANE_Int index)
{
    RawValue value;
    Call(Request::Get, MessageWriter{}.Number(index), kOptionPatience,
         [&](MessageReader& answer, SANE_Status) { value = answer.Bytes(); });
    return value;
}

SANE_Status DriverHost::Parameters(SANE_Parameters& parameters)
{
    return Call(Request::Parameters, {}, kOptionPatience,
                [&](MessageReader& answer, SANE_Status) { sane::Take(answer, parameters); });
}

void DriverHost::Start()
{
    Post(Request::Start);
}

std::optional<SANE_Status> DriverHost::AwaitStarted(milliseconds moment, SANE_Parameters& parameters)
try {
    MessageReader answer = AwaitAnswer(Clock::now() + moment);
    settled_ = {};
    const SANE_Status status = StatusOf(answer);
    if (status == SANE_STATUS_GOOD)
        sane::Take(answer, parameters);
    return status;
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
    Post(Request::Read);
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
            MessageReader answer = AwaitAnswer(end + kOptionPatience);
            return {{}, StatusOf(answer)};
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
    Post(Request::Cancel);
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
