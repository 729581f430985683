/**
 * @file Channel.h
 * Messages between two processes over a socket, and what is wrong when none comes.
 *
 * A message is a sequence of numbers and texts, in an order that both sides know. What comes from the other process is data
 * from outside: a message that is too long, or shorter than what is read from it, is refused.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Descriptor.h"

namespace vorn::process {

using Clock = std::chrono::steady_clock;

/** Thrown when the other process cannot be talked to any more. */
struct Lost {
    enum class Reason {
        Ended,      ///< it has ended, or closed its end
        TimedOut,   ///< it did not answer in time
        BadMessage  ///< what it sent is no message of ours
    } reason;
};

class MessageWriter {
public:
    MessageWriter& Number(int32_t number);
    MessageWriter& Bytes(std::span<const uint8_t> bytes);
    MessageWriter& Text(std::string_view text);
    /** What another one holds. */
    MessageWriter& Append(const MessageWriter& other);

    std::span<const uint8_t> Content() const noexcept { return content_; }

private:
    std::vector<uint8_t> content_;
};

/** Each operation throws Lost for a message that does not have what is asked for. */
class MessageReader {
public:
    explicit MessageReader(std::vector<uint8_t> content) noexcept : content_{std::move(content)} {}

    int32_t Number();
    bool Flag() { return Number() != 0; }
    std::vector<uint8_t> Bytes();
    std::string Text();
    /** The number of elements that follow. */
    size_t Count(size_t most);

private:
    std::span<const uint8_t> Take(size_t bytes);

    std::vector<uint8_t> content_;
    size_t read_ = 0;
};

/** Two connected sockets, inherited by no program. Throws std::system_error. */
std::pair<Descriptor, Descriptor> SocketPair(int type);

class Channel {
public:
    explicit Channel(Descriptor socket) noexcept : socket_{std::move(socket)} {}

    int Get() const noexcept { return socket_.Get(); }

    /** Throws Lost. */
    void Send(const MessageWriter& message, Clock::time_point end);

    /**
     * Waits for a message.
     * @param endDescriptor  readable when the other process has ended, as Child has it; or -1
     * Throws Lost.
     */
    MessageReader Receive(Clock::time_point end, int endDescriptor = -1);

    /** The other process finds the channel closed, whoever has inherited this end. */
    void ShutDown() noexcept;

private:
    void SendBytes(std::span<const uint8_t> bytes, Clock::time_point end);
    void ReceiveBytes(std::span<uint8_t> bytes, Clock::time_point end, int endDescriptor);

    Descriptor socket_;
};

}  // namespace vorn::process
