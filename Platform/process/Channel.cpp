#include "Channel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

namespace vorn::process {

namespace {

constexpr size_t kMostBytes = 16 * 1024 * 1024;
constexpr size_t kPieceBytes = 64 * 1024;

int MillisecondsUntil(Clock::time_point end) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 1'000'000'000));
}

template <typename Number>
std::span<uint8_t> BytesOf(Number& number) noexcept
{
    return {reinterpret_cast<uint8_t*>(&number), sizeof number};
}

}  // namespace

MessageWriter& MessageWriter::Number(int32_t number)
{
    const auto bytes = BytesOf(number);
    content_.insert(content_.end(), bytes.begin(), bytes.end());
    return *this;
}

MessageWriter& MessageWriter::Bytes(std::span<const uint8_t> bytes)
{
    Number(static_cast<int32_t>(bytes.size()));
    content_.insert(content_.end(), bytes.begin(), bytes.end());
    return *this;
}

MessageWriter& MessageWriter::Text(std::string_view text)
{
    return Bytes({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

MessageWriter& MessageWriter::Append(const MessageWriter& other)
{
    content_.insert(content_.end(), other.content_.begin(), other.content_.end());
    return *this;
}

std::span<const uint8_t> MessageReader::Take(size_t bytes)
{
    if (bytes > content_.size() - read_)
        throw Lost{Lost::Reason::BadMessage};
    const std::span<const uint8_t> taken{content_.data() + read_, bytes};
    read_ += bytes;
    return taken;
}

int32_t MessageReader::Number()
{
    int32_t number = 0;
    std::ranges::copy(Take(sizeof number), BytesOf(number).begin());
    return number;
}

size_t MessageReader::Count(size_t most)
{
    const int32_t count = Number();
    if (count < 0 || static_cast<size_t>(count) > most)
        throw Lost{Lost::Reason::BadMessage};
    return static_cast<size_t>(count);
}

std::vector<uint8_t> MessageReader::Bytes()
{
    const auto bytes = Take(Count(kMostBytes));
    return {bytes.begin(), bytes.end()};
}

std::string MessageReader::Text()
{
    const auto bytes = Take(Count(kMostBytes));
    return {bytes.begin(), bytes.end()};
}

std::pair<Descriptor, Descriptor> SocketPair(int type)
{
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::system_error{errno, std::generic_category(), "socketpair"};
    return {Descriptor{ends[0]}, Descriptor{ends[1]}};
}

void Channel::SendBytes(std::span<const uint8_t> bytes, Clock::time_point end)
{
    while (!bytes.empty()) {
        const ssize_t count = send(Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            bytes = bytes.subspan(static_cast<size_t>(count));
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

void Channel::Send(const MessageWriter& message, Clock::time_point end)
{
    auto length = static_cast<uint32_t>(message.Content().size());
    SendBytes(BytesOf(length), end);
    SendBytes(message.Content(), end);
}

void Channel::ReceiveBytes(std::span<uint8_t> bytes, Clock::time_point end, int endDescriptor)
{
    for (bool ended = false; !bytes.empty();) {
        const ssize_t length = recv(Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (length > 0) {
            bytes = bytes.subspan(static_cast<size_t>(length));
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

MessageReader Channel::Receive(Clock::time_point end, int endDescriptor)
{
    uint32_t length = 0;
    ReceiveBytes(BytesOf(length), end, endDescriptor);
    if (length > kMostBytes)
        throw Lost{Lost::Reason::BadMessage};
    std::vector<uint8_t> content;
    while (content.size() < length) {  // memory for what comes, not for what is announced
        const size_t before = content.size();
        content.resize(std::min<size_t>(length, before + kPieceBytes));
        ReceiveBytes(std::span{content}.subspan(before), end, endDescriptor);
    }
    return MessageReader{std::move(content)};
}

void Channel::ShutDown() noexcept
{
    shutdown(Get(), SHUT_RDWR);
}

}  // namespace vorn::process
