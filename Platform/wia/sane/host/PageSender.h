/**
 * @file PageSender.h
 * Sends a frame through the ring: the back end writes its lines straight into a slot, and the application takes them from
 * there.
 */
#pragma once

#include <chrono>

#include "../../../process/SharedMemory.h"
#include "Driver.h"

namespace vorn::sane {

class PageSender {
public:
    /** @param ring  the socket that slots are announced over */
    PageSender(Driver& driver, const process::SharedMemory& memory, int ring, int control) noexcept
        : driver_{driver}, memory_{memory}, ring_{ring}, control_{control}
    {
    }

    /**
     * Reads the frame that was started to its end, or until a message or the end of the application interrupts.
     * @param lineBytes  1 to RingLayout::kMostLineBytes
     * @return SANE_STATUS_GOOD after the last line; else what ended the frame
     */
    SANE_Status Send(size_t lineBytes);

private:
    struct Slots;
    SANE_Status ReadSome(uint8_t* data, size_t capacity, size_t& length);
    bool IsInterrupted(int milliseconds) const;
    bool AwaitSlot(Slots& slots) const;
    bool Announce(Slots& slots, size_t bytes) const;

    Driver& driver_;
    const process::SharedMemory& memory_;
    int ring_, control_;
};

}  // namespace vorn::sane
