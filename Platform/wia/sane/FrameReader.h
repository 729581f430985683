/**
 * @file FrameReader.h
 * The lines of one frame, while the application hears how far the scan is, and may stop it.
 */
#pragma once

#include <functional>
#include <memory>

#include "Samples.h"
#include "Scanner.h"

namespace vorn::wia {

class FrameReader {
public:
    /** Is called with the percentage of the frame that has come; any answer but `S_OK` ends the scan with it. May be empty. */
    using Progress = std::function<HRESULT(uint32_t percent)>;

    FrameReader(std::shared_ptr<Scanner> scanner, Progress progress) noexcept
        : scanner_{std::move(scanner)}, progress_{std::move(progress)}
    {
    }

    /**
     * Begins a frame, and waits for its first lines, so that a failure shows before anything is made for the page.
     * @return `S_OK`; `WIA_ERROR_PAPER_EMPTY`; another result of the platform; what `progress` ended the scan with
     */
    HRESULT Start();

    const SANE_Parameters& Parameters() const noexcept { return parameters_; }
    const LineFormat& Format() const noexcept { return *format_; }
    uint32_t Pixels() const noexcept { return static_cast<uint32_t>(parameters_.pixels_per_line); }

    /** @return `S_OK` with the next line, which stays until the next call, or null after the last one; else what ends
     * the scan */
    HRESULT NextLine(const uint8_t*& line);

    /** Takes what the device may still send of the frame. @return false when it does not come to its end */
    bool Finish();

private:
    using Clock = std::chrono::steady_clock;

    HRESULT BeginFrame();
    HRESULT CheckParameters();
    HRESULT NextLines();
    template <typename Wait>
    HRESULT Await(Wait&& wait);
    HRESULT ReportNowAndThen();
    uint32_t Percent() const noexcept;
    size_t LineBytes() const noexcept { return static_cast<size_t>(parameters_.bytes_per_line); }

    std::shared_ptr<Scanner> scanner_;
    Progress progress_;
    Clock::time_point lastReport_ = Clock::now();
    SANE_Parameters parameters_{};
    const LineFormat* format_ = nullptr;
    std::span<const uint8_t> lines_;  ///< at hand
    size_t taken_ = 0;                ///< bytes of those
    uint64_t takenBefore_ = 0;        ///< bytes of the lines before those
    bool ended_ = false;              ///< the last line was taken
};

}  // namespace vorn::wia
