/**
 * @file ReadAhead.h
 * A frame that a thread of its own has the device start and reads, while what has come is converted and stored. So
 * neither waits for the other, and a device that lets no one go holds up that thread only.
 */
#pragma once

#include <thread>

#include "FrameInput.h"
#include "PieceQueue.h"

namespace vorn::wia {

class ReadAhead {
public:
    /** Begins. Throws std::bad_alloc, and std::system_error when there can be no thread. */
    explicit ReadAhead(std::shared_ptr<Scanner> scanner);
    ReadAhead(const ReadAhead&) = delete;
    /** Stops. A device that does not let go within a second is left to the thread, which then ends the batch. */
    ~ReadAhead();

    /** As PieceQueue's; whole lines, but in the last piece. Fails with what the device failed with. */
    HRESULT Take(std::chrono::milliseconds moment, const Piece*& piece);
    /** What the frame is; known with its first piece. */
    const FrameHead& Head() const noexcept;

private:
    class Reading;
    std::shared_ptr<Reading> reading_;
    std::thread thread_;
};

}  // namespace vorn::wia
