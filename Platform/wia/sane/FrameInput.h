/**
 * @file FrameInput.h
 * A frame as its device delivers it: started, described, and read as long as the device takes.
 */
#pragma once

#include <chrono>
#include <stop_token>

#include "Samples.h"
#include "Scanner.h"

namespace vorn::wia {

/** What a device tells of the frame that it has started. */
struct FrameHead {
    SANE_Parameters parameters{};
    const LineFormat* format = nullptr;

    size_t LineBytes() const noexcept { return static_cast<size_t>(parameters.bytes_per_line); }
    uint32_t Pixels() const noexcept { return static_cast<uint32_t>(parameters.pixels_per_line); }
};

class FrameInput {
public:
    /** @param stop  asks to give up, which is done as soon as the device lets go; the answer is then `S_FALSE` */
    FrameInput(Scanner& scanner, std::stop_token stop) noexcept : scanner_{scanner}, stop_{std::move(stop)} {}

    /**
     * Has the device start a frame, asking again for a while when it is busy.
     * @return `S_OK`; `S_FALSE`; `WIA_ERROR_PAPER_EMPTY`; another result of the platform
     */
    HRESULT Start(FrameHead& head);

    /**
     * Reads what there is, at most `capacity` bytes; waits for some.
     * @param length  0 at the end of the frame
     * @return `S_OK`; `S_FALSE`; a result of the platform
     */
    HRESULT Read(uint8_t* data, size_t capacity, size_t& length);

private:
    bool AwaitData() const;
    size_t MostNow(size_t capacity);
    bool IsSilentTooLong(std::chrono::steady_clock::time_point since) const;

    Scanner& scanner_;
    std::stop_token stop_;
    uint64_t beforeLastLine_ = 0;  ///< bytes still to come before the last line, where the height is known
    bool rested_ = false;
};

}  // namespace vorn::wia
