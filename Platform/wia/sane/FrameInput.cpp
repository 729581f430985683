#include "FrameInput.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "Busy.h"
#include "Statuses.h"

namespace vorn::wia {

namespace {

using Clock = std::chrono::steady_clock;

/** How long a device may answer that there is nothing yet. */
constexpr auto kSilence = std::chrono::seconds{60};
/** The same, once the host that a scanner was reached through has gone. */
constexpr auto kSilenceOfTheGone = std::chrono::seconds{1};
constexpr auto kPause = std::chrono::milliseconds{2};
constexpr auto kMoment = std::chrono::milliseconds{100};

/** A device that only claims to tell when data has come is read after this time all the same. */
constexpr auto kSilenceBeforeRead = std::chrono::seconds{10};

/** More than any device has at once, and less than SANE's numbers hold. */
constexpr size_t kMostAtOnce = 64 * 1024 * 1024;

HRESULT Check(FrameHead& head)
{
    const SANE_Parameters& parameters = head.parameters;
    if (parameters.pixels_per_line <= 0 || parameters.lines == 0)
        return WIA_ERROR_INVALID_DRIVER_RESPONSE;
    head.format = LineFormatOf(parameters.format, parameters.depth);
    if (!head.format)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
    return parameters.bytes_per_line < 0 || head.LineBytes() < head.format->LineBytes(head.Pixels())
               ? WIA_ERROR_INVALID_DRIVER_RESPONSE
               : S_OK;
}

}  // namespace

HRESULT FrameInput::Start(FrameHead& head)
{
    const SANE_Status status =
        WhileBusy([this] { return scanner_.Start(); }, [this] { return stop_.stop_requested(); });
    if (stop_.stop_requested())
        return S_FALSE;
    if (status != SANE_STATUS_GOOD)
        return ResultOf(status);
    const HRESULT result =
        scanner_.Parameters(head.parameters) ? Check(head) : WIA_ERROR_INVALID_DRIVER_RESPONSE;
    if (result == S_OK && head.parameters.lines > 0)
        beforeLastLine_ = static_cast<uint64_t>(head.parameters.lines - 1) * head.LineBytes();
    rested_ = head.parameters.lines <= 0;
    return result;
}

/** The last line is asked for by itself, once who brings it has come to rest. */
size_t FrameInput::MostNow(size_t capacity)
{
    const size_t most = std::min(capacity, kMostAtOnce);
    if (beforeLastLine_ > 0)
        return static_cast<size_t>(std::min<uint64_t>(most, beforeLastLine_));
    if (!std::exchange(rested_, true))
        std::this_thread::sleep_for(kToComeToRest);
    return most;
}

/** While a read waits for the device it is hard to stop: it begins when data has come. */
bool FrameInput::AwaitData() const
{
    const auto end = Clock::now() + kSilenceBeforeRead;
    while (!stop_.stop_requested() && !scanner_.AwaitData(kMoment) && Clock::now() < end) {
    }
    return !stop_.stop_requested();
}

bool FrameInput::IsSilentTooLong(Clock::time_point since) const
{
    return Clock::now() - since > (scanner_.HasHungUp() ? kSilenceOfTheGone : kSilence);
}

HRESULT FrameInput::Read(uint8_t* data, size_t capacity, size_t& length)
{
    const auto begun = Clock::now();
    const auto most = static_cast<SANE_Int>(MostNow(capacity));
    while (AwaitData()) {
        SANE_Int bytes = 0;
        const SANE_Status status = scanner_.Read(data, most, bytes);
        length = static_cast<size_t>(bytes);
        if (status == SANE_STATUS_EOF) {
            length = 0;
            return S_OK;
        }
        if (status != SANE_STATUS_GOOD)
            return ResultOf(status);
        if (bytes < 0 || bytes > most)
            return WIA_ERROR_INVALID_DRIVER_RESPONSE;
        beforeLastLine_ -= std::min<uint64_t>(beforeLastLine_, length);
        if (length > 0)
            return S_OK;
        if (IsSilentTooLong(begun)) {
            scanner_.Lose();
            return WIA_ERROR_DEVICE_COMMUNICATION;
        }
        std::this_thread::sleep_for(kPause);
    }
    return S_FALSE;
}

}  // namespace vorn::wia
