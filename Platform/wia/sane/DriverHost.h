/**
 * @file DriverHost.h
 * The application's side of a driver host process: SANE's calls as requests with a deadline.
 *
 * Whatever happens to the driver, each call returns in bounded time. A host that has crashed, keeps a request too long or
 * sends nonsense is ended, and the call throws Failure:
 *
 * | What happened                         | Result                          |
 * | ------------------------------------- | ------------------------------- |
 * | the host has ended                    | WIA_ERROR_EXCEPTION_IN_DRIVER   |
 * | it did not answer in time             | WIA_ERROR_DEVICE_COMMUNICATION, WIA_ERROR_OFFLINE of Open |
 * | its answer cannot be                  | WIA_ERROR_INVALID_DRIVER_RESPONSE |
 * | it cannot be started                  | WIA_S_NO_DEVICE_AVAILABLE       |
 */
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <span>

#include "../../include/platform.h"
#include "../../process/Child.h"
#include "../../process/SharedMemory.h"
#include "host/Protocol.h"

namespace vorn::wia {

using sane::FoundScanner;
using sane::RawValue;
using SaneOption = sane::Option;

class DriverHost {
public:
    using Milliseconds = std::chrono::milliseconds;

    /** Starts a host. */
    DriverHost();
    DriverHost(const DriverHost&) = delete;
    DriverHost& operator=(const DriverHost&) = delete;
    /** Closes the device, and ends the host. */
    ~DriverHost();

    SANE_Status Search(bool local, Milliseconds patience, std::vector<FoundScanner>& found);
    SANE_Status Open(const std::string& name, std::vector<SaneOption>& options);

    /** What has changed with an option. */
    struct Change {
        bool all = false;  ///< the options are those of the whole device
        std::vector<SaneOption> options;
    };
    /** Sets an option, or presses a button. */
    SANE_Status Set(SANE_Int index, const std::optional<RawValue>& value, Change& change);
    RawValue Get(SANE_Int index);
    SANE_Status Parameters(SANE_Parameters& parameters);

    /** Begins a frame; AwaitStarted tells the outcome. */
    void Start();
    /** @return the status, with the parameters of a frame that has begun; nothing when it takes longer than the moment */
    std::optional<SANE_Status> AwaitStarted(Milliseconds moment, SANE_Parameters& parameters);

    /** Begins to read the frame. @param lineBytes  as the parameters have them */
    void Read(size_t lineBytes);
    /** The outcome of a wait for lines. */
    struct Lines {
        std::span<const uint8_t> bytes;    ///< whole lines, until the next call; empty when none have come
        std::optional<SANE_Status> ended;  ///< of the frame, after its last line
    };
    /** Waits for the next lines of the frame. */
    Lines AwaitLines(Milliseconds moment);

    /** Asks for the end of the batch, and waits for nothing. */
    void Cancel();
    /** Waits until a batch that was cancelled has ended. @return false when the device does not let go */
    bool Settle() noexcept;

    /** No more use: the host is ended without ceremony. */
    void Kill() noexcept;

private:
    /** @param late  the result when the host did not answer in time */
    [[noreturn]] void Fail(const process::Lost& lost, HRESULT late = WIA_ERROR_DEVICE_COMMUNICATION);
    /** Sends a request and waits for its answer, which is then read by `read`, after the status. */
    template <typename Decode>
    SANE_Status Call(sane::Request what, const process::MessageWriter& arguments, Milliseconds patience,
                     Decode&& read, HRESULT late = WIA_ERROR_DEVICE_COMMUNICATION);
    void Post(sane::Request what, const process::MessageWriter& arguments = {});
    process::MessageReader AwaitAnswer(process::Clock::time_point end);
    void ReturnSlot();
    void ForgetSlots();

    process::SharedMemory memory_;
    process::Channel control_;
    process::Descriptor ring_;
    std::optional<process::Child> child_;
    int32_t lastRequest_ = 0;
    process::Clock::time_point settled_{};  ///< until then the answer to a cancel may take
    sane::RingLayout layout_{1};
    size_t lineBytes_ = 1;
    size_t slot_ = 0;
    bool slotTaken_ = false;
};

}  // namespace vorn::wia
