/**
 * @file Driver.h
 * libsane and the one device that this process has open. What a back end says is checked as far as its interface allows.
 */
#pragma once

#include "Protocol.h"

namespace vorn::sane {

class Driver {
public:
    Driver();
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    SANE_Status Search(bool local, std::vector<FoundScanner>& found);

    SANE_Status Open(const std::string& name);
    /** Cancels, and closes the device; nothing without one. */
    void Close();
    SANE_Handle Handle() const noexcept { return handle_; }

    /** All options but groups and what contradicts itself. */
    std::vector<Option> Options();
    /** Sets an option, or presses a button. @param info  SANE's flags for what else has changed */
    SANE_Status Set(SANE_Int index, const std::optional<RawValue>& value, SANE_Int& info);
    /** The option as it is now; nothing when there is none. */
    std::optional<Option> Describe(SANE_Int index);

    SANE_Status Parameters(SANE_Parameters& parameters);
    SANE_Status Start();
    /** Waits until data has come; a device that does not say so is read at once. @param other  ends the wait when readable */
    void AwaitData(int other) const;
    /** True when whoever brings the data has gone; what came before may still be read. */
    bool HasHungUp() const;
    SANE_Status Read(uint8_t* data, size_t capacity, size_t& length);
    /** Ends a batch; nothing without one, and once only. */
    void Cancel();
    /** The watchdog has cancelled already. */
    void NoteCancelled() noexcept { batch_ = false; }

private:
    RawValue ValueOf(const Option& option);

    SANE_Status initialised_;
    SANE_Handle handle_ = nullptr;
    bool batch_ = false;  ///< started, and not cancelled since
    int dataDescriptor_ = -1;
};

}  // namespace vorn::sane
