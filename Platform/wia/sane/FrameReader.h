/**
 * @file FrameReader.h
 * One frame on its way from the device: whole lines, read in large pieces.
 */
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "Samples.h"
#include "Scanner.h"

namespace vorn::wia {

class FrameReader {
public:
    /** Hears the percentage of the frame that has come; any answer but `S_OK` ends the scan with it. May be empty. */
    using Pulse = std::function<HRESULT(uint32_t percent)>;

    FrameReader(std::shared_ptr<Scanner> scanner, Pulse pulse) noexcept
        : scanner_{std::move(scanner)}, pulse_{std::move(pulse)}
    {
    }

    /**
     * Has the device start a frame, asking again for a while when it is busy, and reads its parameters and first bytes,
     * so that a failure shows before anything is made for the page.
     * @return `S_OK`; `WIA_ERROR_PAPER_EMPTY`; another result of the platform; what `pulse` ended the scan with
     */
    HRESULT Start();

    const SANE_Parameters& Parameters() const noexcept { return parameters_; }
    const LineFormat& Format() const noexcept { return *format_; }
    uint32_t Pixels() const noexcept { return static_cast<uint32_t>(parameters_.pixels_per_line); }

    /** @return `S_OK` with the next line, which stays until the next call, or null after the last one; else what ends
     * the scan */
    HRESULT NextLine(const uint8_t*& line);

    /** Reads what the device may still have of the frame, which it then knows to be over. */
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    HRESULT Begin();
    HRESULT Fill();
    HRESULT AwaitData();
    HRESULT TellNowAndThen();

    std::shared_ptr<Scanner> scanner_;
    Pulse pulse_;
    Clock::time_point lastTold_ = Clock::now();
    uint64_t bytesRead_ = 0;
    SANE_Parameters parameters_{};
    const LineFormat* format_ = nullptr;
    size_t lineBytes_ = 0;
    std::unique_ptr<uint8_t[]> buffer_;
    size_t capacity_ = 0, begin_ = 0, end_ = 0;
    bool ended_ = false;
};

}  // namespace vorn::wia
