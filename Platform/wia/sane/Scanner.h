/**
 * @file Scanner.h
 * An open scanner: its options with the values in force, and its scans.
 *
 * SANE opens a device once. All item trees of a process that have it open share this object, from any thread; each brings its
 * own settings into force before it scans.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "../../include/com.h"
#include "DriverHost.h"

namespace vorn::wia {

class Scanner {
public:
    using Milliseconds = std::chrono::milliseconds;

    /** The open scanner of that name, opened when no one has it open. Throws Failure. */
    static std::shared_ptr<Scanner> Open(const std::string& name);

    explicit Scanner(std::string name) : name_{std::move(name)} {}
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /**
     * Held by whoever uses the scanner; again and again by the same thread.
     * Throws Failure with WIA_ERROR_BUSY while another thread scans, or keeps the scanner for long.
     */
    class Use {
    public:
        explicit Use(Scanner& scanner);
        Use(const Use&) = delete;
        ~Use() { scanner_.mutex_.unlock(); }

    private:
        Scanner& scanner_;
    };

    /**
     * Opens the device anew when its driver host, or the machine that it was reached through, has gone. Nothing is set then as
     * it was. Throws Failure.
     */
    void OpenIfLost();

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
    /** Reads the value of a sensor anew, unless a page is scanned. */
    void Refresh(SaneOption& option);

    /** The parameters of the next page, or of the one that is scanned; those of the last one while the device is closed, and
     * zeros when it does not say. */
    SANE_Parameters Parameters();

    /** Begins a frame of a page; the rest as DriverHost has it. */
    void Start();
    std::optional<SANE_Status> AwaitStarted(Milliseconds moment);
    void Read();
    DriverHost::Lines AwaitLines(Milliseconds moment);
    /** The page that is scanned has come to its end; the batch goes on. */
    void EndPage() noexcept { scanning_ = false; }
    /** Tells the device that no page follows; nothing when none was begun. */
    void EndBatch() noexcept;
    /** As EndBatch, between two pages and when the settings in force are this client's; null stands for any. */
    void EndBatchOf(const void* client) noexcept;
    /** The driver keeps the scanner, or has failed: the next use opens it anew. */
    void Lose() noexcept;
    bool IsScanning() const noexcept { return scanning_; }

    /** Whose settings are in force; compared only. */
    const void* owner = nullptr;

private:
    template <typename Call>
    auto WithHost(Call&& call);
    SANE_Status Noted(SANE_Status status) noexcept;
    void Control(SANE_Int index, const std::optional<RawValue>& value);
    void Take(DriverHost::Change change);

    std::string name_;
    std::recursive_timed_mutex mutex_;
    std::unique_ptr<DriverHost> host_;  ///< null while the device is closed
    std::vector<SaneOption> options_;
    SANE_Parameters parameters_{};
    uint64_t changes_ = 0;
    bool batch_ = false;                  ///< started, and not cancelled since
    std::atomic<bool> scanning_ = false;  ///< a page is under way
};

}  // namespace vorn::wia
