#include "PageSender.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace vorn::sane {

namespace {

using Clock = std::chrono::steady_clock;

/** A slow device's lines are not held back until they fill a slot. */
constexpr auto kBetweenSlots = std::chrono::milliseconds{50};

/** So long a device whose host has gone may say that there is nothing yet. */
constexpr auto kSilenceAfterHangUp = std::chrono::seconds{1};
constexpr int kBetweenEmptyReads = 2;  // milliseconds

}  // namespace

struct PageSender::Slots {
    RingLayout layout;
    size_t current = 0;
    size_t free = layout.slots;  ///< the current one included

    size_t Next() const noexcept { return (current + 1) % layout.slots; }
};

bool PageSender::IsInterrupted(int milliseconds) const
{
    pollfd control{control_, POLLIN | POLLRDHUP, 0};
    return poll(&control, 1, milliseconds) > 0;
}

/** Waits until the application has given back a slot, if there is none. */
bool PageSender::AwaitSlot(Slots& slots) const
{
    for (;;) {
        std::array<uint8_t, 64> returned{};
        const ssize_t count = recv(ring_, returned.data(), returned.size(), MSG_DONTWAIT);
        if (count > 0)
            slots.free += static_cast<size_t>(count);
        else if (count == 0 || (errno != EAGAIN && errno != EINTR))
            return false;
        else if (slots.free > 0)
            return true;
        else {
            std::array<pollfd, 2> waiting{{{ring_, POLLIN, 0}, {control_, POLLIN | POLLRDHUP, 0}}};
            poll(waiting.data(), waiting.size(), -1);
            if (waiting[1].revents)
                return false;
        }
    }
}

bool PageSender::Announce(Slots& slots, size_t bytes) const
{
    const auto announced = static_cast<uint32_t>(bytes);
    while (send(ring_, &announced, sizeof announced, MSG_NOSIGNAL) < 0)
        if (errno != EINTR)
            return false;
    slots.current = slots.Next();
    --slots.free;
    return true;
}

/** Waits for data as long as the device takes. Nothing at the end of the frame. */
SANE_Status PageSender::ReadSome(uint8_t* data, size_t capacity, size_t& length)
{
    for (const auto begin = Clock::now();;) {
        driver_.AwaitData(control_);
        if (IsInterrupted(0))
            return SANE_STATUS_CANCELLED;
        const SANE_Status status = driver_.Read(data, capacity, length);
        if (status != SANE_STATUS_GOOD || length > 0)
            return status;
        if (driver_.HasHungUp() && Clock::now() - begin > kSilenceAfterHangUp)
            return SANE_STATUS_IO_ERROR;
        if (IsInterrupted(kBetweenEmptyReads))
            return SANE_STATUS_CANCELLED;
    }
}

SANE_Status PageSender::Send(size_t lineBytes)
{
    Slots slots{RingLayout{lineBytes}};
    auto lastAnnounced = Clock::now();
    for (size_t filled = 0;;) {
        uint8_t* const slot = memory_.Data() + slots.current * slots.layout.slotBytes;
        size_t length = 0;
        const SANE_Status status = ReadSome(slot + filled, slots.layout.slotBytes - filled, length);
        filled += length;
        const bool ended = status != SANE_STATUS_GOOD;
        const size_t whole = filled / lineBytes * lineBytes;
        const bool due =
            ended || filled == slots.layout.slotBytes || Clock::now() - lastAnnounced >= kBetweenSlots;
        if (whole > 0 && due) {
            const size_t rest = filled - whole;
            if (!Announce(slots, whole))
                return SANE_STATUS_CANCELLED;
            if (ended)
                return status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status;
            if (!AwaitSlot(slots))
                return SANE_STATUS_CANCELLED;
            std::memcpy(memory_.Data() + slots.current * slots.layout.slotBytes, slot + whole, rest);
            filled = rest;
            lastAnnounced = Clock::now();
        }
        if (ended)
            return status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status;
    }
}

}  // namespace vorn::sane
