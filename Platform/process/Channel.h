/**
 * @file Channel.h
 * Messages between two processes over a socket, and what is wrong when none comes.
 *
 * A message is a JSON value in CBOR, after its length. What comes from the other process is data from outside: a message that
 * is too long, nested too deeply or no CBOR is refused.
 */
#pragma once

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

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

/** Two connected sockets, inherited by no program. Throws std::system_error. */
std::pair<Descriptor, Descriptor> SocketPair(int type);

class Channel {
public:
    explicit Channel(Descriptor socket) noexcept : socket_{std::move(socket)} {}

    int Get() const noexcept { return socket_.Get(); }

    /** Throws Lost. */
    void Send(const nlohmann::json& message, Clock::time_point end);

    /**
     * Waits for a message.
     * @param endDescriptor  readable when the other process has ended, as Child has it; or -1
     * Throws Lost.
     */
    nlohmann::json Receive(Clock::time_point end, int endDescriptor = -1);

    /** The other process finds the channel closed, whoever has inherited this end. */
    void ShutDown() noexcept;

private:
    void ReceiveBytes(uint8_t* bytes, size_t count, Clock::time_point end, int endDescriptor);

    Descriptor socket_;
};

}  // namespace vorn::process
