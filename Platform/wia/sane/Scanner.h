/**
 * @file Scanner.h
 * An open scanner: its options with the values in force, and its scans.
 *
 * SANE opens a device once. All item trees of a process that have it open share this object; each brings its own
 * settings into force before it scans.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "../../include/com.h"
#include "Library.h"

namespace vorn::wia {

/** The bytes of an option's value, as SANE takes them. */
using RawValue = std::vector<uint8_t>;

/** One option. The descriptor is the back end's, and changes as other options are set. */
struct SaneOption {
    SANE_Int index = 0;
    const SANE_Option_Descriptor* descriptor = nullptr;
    RawValue value;  ///< in force; empty for a button, and while it cannot be read

    std::string_view Name() const noexcept { return descriptor->name ? descriptor->name : ""; }
    bool IsActive() const noexcept { return SANE_OPTION_IS_ACTIVE(descriptor->cap); }
    bool CanBeSet() const noexcept { return IsActive() && SANE_OPTION_IS_SETTABLE(descriptor->cap); }
    bool CanBeRead() const noexcept
    {
        return IsActive() && (descriptor->cap & SANE_CAP_SOFT_DETECT) &&
               descriptor->type != SANE_TYPE_BUTTON && descriptor->type != SANE_TYPE_GROUP;
    }
    bool IsNumber() const noexcept
    {
        return descriptor->type == SANE_TYPE_INT || descriptor->type == SANE_TYPE_FIXED;
    }
    /** A number that is not one of several. */
    bool IsSingleNumber() const noexcept { return IsNumber() && descriptor->size == sizeof(SANE_Word); }

    /** The first word of the value; 0 without one. */
    SANE_Word Word() const noexcept;
    /** The number of a fixed-point or integer option. */
    double Number() const noexcept;
    std::string Text() const;
};

/**
 * A back end ends the thread that brings its data after the last byte, or with a cancel, and some do it wherever that thread
 * is: even where it holds a lock, which the next one then waits for without end. After this time it has come to rest.
 */
constexpr auto kToComeToRest = std::chrono::milliseconds{5};

class Scanner {
public:
    /** The open scanner of that name, opened when no one has it open. Throws Failure. */
    static std::shared_ptr<Scanner> Open(const std::string& name);

    explicit Scanner(std::string name);
    Scanner(const Scanner&) = delete;
    ~Scanner();

    /**
     * Opens the device anew when it, or the host that it was reached through, has gone: its handle is of no use any more.
     * Nothing is set then as it was. Throws Failure, and has no options until it succeeds.
     */
    void RenewIfLost();

    std::vector<SaneOption>& Options() noexcept { return options_; }
    /** Null when the device has no such option. */
    SaneOption* Find(std::string_view name) noexcept;

    /**
     * Sets an option; the value in force, which may be another, is then in the option. Ends a batch.
     * Throws Failure: WIA_ERROR_BUSY while a page is scanned, else the device's.
     */
    void Set(SaneOption& option, RawValue value);
    void Press(SaneOption& button);
    /** Grows with everything that may have changed an option. */
    uint64_t Changes() const noexcept { return changes_; }
    /** Reads the value of a sensor anew. */
    void Refresh(SaneOption& option);

    /** Asks for the parameters; false when the device does not tell. */
    bool Parameters(SANE_Parameters& parameters);

    /** Begins a frame of a page. This and Read are for a thread made under NoSignals. */
    SANE_Status Start();
    /** Has a start or a read return that another thread waits in: a scan may be cancelled at any time. */
    void Interrupt() noexcept;
    /** Waits a moment for data; true when there is some, or when the device does not tell. */
    bool AwaitData(std::chrono::milliseconds moment) const noexcept;
    /** True when whoever brings the data has gone; what came before may still be read. */
    bool HasHungUp() const noexcept;
    /** No answer is to be had any more. */
    void Lose() noexcept { lost_ = true; }
    SANE_Status Read(uint8_t* data, SANE_Int capacity, SANE_Int& length);
    /** The page that is scanned has come to its end; the batch goes on. */
    void EndPage() noexcept { scanning_ = false; }
    /** Tells the device that no page follows; nothing when it is at rest, or keeps another thread waiting. */
    void EndBatch() noexcept;
    /** A page is under way, or the device still keeps a call of another thread. */
    bool IsScanning() const noexcept { return scanning_ || inDevice_; }

    /** Whose settings are in force; compared only. */
    const void* owner = nullptr;

private:
    template <typename Call>
    SANE_Status WithDevice(Call&& call);
    SANE_Status Noted(SANE_Status status) noexcept;
    void Control(SaneOption& option, SANE_Action action, void* value);
    void Fetch(SaneOption& option);
    void Reload();
    void OpenHandle();
    void Cancel() noexcept;
    void Close() noexcept;
    static bool CloseLost() noexcept;

    std::string name_;
    SANE_Handle handle_ = nullptr;
    std::vector<SaneOption> options_;
    uint64_t changes_ = 0;
    // Read by the thread that scans and by others.
    std::atomic<int> dataFd_ = -1;     ///< tells by poll whether data has come; -1 when the device has none
    std::atomic<bool> batch_ = false;  ///< started, and not cancelled since
    std::atomic<bool> scanning_ = false;  ///< a page is under way
    std::atomic<bool> lost_ = false;
    std::atomic<int> inDevice_ = 0;  ///< calls that have not returned yet: a start or a read, its cancel
};

}  // namespace vorn::wia
