#include "Channel.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

#include <nlohmann/json.hpp>

namespace vorn::process {

namespace {

using nlohmann::json;

constexpr size_t kMostBytes = 16 * 1024 * 1024;
constexpr size_t kPieceBytes = 64 * 1024;
constexpr size_t kDeepest = 8;

/** Builds the value, unless it is nested so deeply that reading it could overflow the stack. */
class ShallowParser : public nlohmann::detail::json_sax_dom_parser<json> {
public:
    using Base = nlohmann::detail::json_sax_dom_parser<json>;
    explicit ShallowParser(json& value) : Base{value, false} {}

    bool start_object(size_t count) { return ++depth_ <= kDeepest && Base::start_object(count); }
    bool end_object()
    {
        --depth_;
        return Base::end_object();
    }
    bool start_array(size_t count) { return ++depth_ <= kDeepest && Base::start_array(count); }
    bool end_array()
    {
        --depth_;
        return Base::end_array();
    }

private:
    size_t depth_ = 0;
};

json Parse(const std::vector<uint8_t>& bytes)
try {
    json message;
    ShallowParser parser{message};
    if (!json::sax_parse(bytes, &parser, json::input_format_t::cbor))
        throw Lost{Lost::Reason::BadMessage};
    return message;
} catch (const json::exception&) {
    throw Lost{Lost::Reason::BadMessage};
}

int MillisecondsUntil(Clock::time_point end) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 1'000'000'000));
}

}  // namespace

std::pair<Descriptor, Descriptor> SocketPair(int type)
{
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::system_error{errno, std::generic_category(), "socketpair"};
    return {Descriptor{ends[0]}, Descriptor{ends[1]}};
}

void Channel::Send(const json& message, Clock::time_point end)
{
    std::vector<uint8_t> bytes(sizeof(uint32_t));
    json::to_cbor(message, bytes);
    const auto length = static_cast<uint32_t>(bytes.size() - sizeof(uint32_t));
    std::memcpy(bytes.data(), &length, sizeof length);
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count =
            send(Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            sent += static_cast<size_t>(count);
            continue;
        }
        if (errno != EAGAIN && errno != EINTR)
            throw Lost{Lost::Reason::Ended};
        if (Clock::now() >= end)
            throw Lost{Lost::Reason::TimedOut};
        pollfd room{Get(), POLLOUT, 0};
        poll(&room, 1, MillisecondsUntil(end));
    }
}

void Channel::ReceiveBytes(uint8_t* bytes, size_t count, Clock::time_point end, int endDescriptor)
{
    bool ended = false;
    for (size_t received = 0; received < count;) {
        const ssize_t length = recv(Get(), bytes + received, count - received, MSG_DONTWAIT);
        if (length > 0) {
            received += static_cast<size_t>(length);
            continue;
        }
        // What an ended process has sent is read to its end: it looks once more after it learnt of the end.
        if (length == 0 || (errno != EAGAIN && errno != EINTR) || ended)
            throw Lost{Lost::Reason::Ended};
        const int milliseconds = MillisecondsUntil(end);
        if (milliseconds == 0)
            throw Lost{Lost::Reason::TimedOut};
        std::array<pollfd, 2> waiting{{{Get(), POLLIN, 0}, {endDescriptor, POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), milliseconds);
        ended = waiting[1].revents != 0;
    }
}

json Channel::Receive(Clock::time_point end, int endDescriptor)
{
    uint32_t length = 0;
    ReceiveBytes(reinterpret_cast<uint8_t*>(&length), sizeof length, end, endDescriptor);
    if (length > kMostBytes)
        throw Lost{Lost::Reason::BadMessage};
    std::vector<uint8_t> bytes;
    while (bytes.size() < length) {  // memory for what comes, not for what is announced
        const size_t before = bytes.size();
        bytes.resize(std::min<size_t>(length, before + kPieceBytes));
        ReceiveBytes(bytes.data() + before, bytes.size() - before, end, endDescriptor);
    }
    return Parse(bytes);
}

void Channel::ShutDown() noexcept
{
    shutdown(Get(), SHUT_RDWR);
}

}  // namespace vorn::process
