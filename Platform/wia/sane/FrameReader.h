/**
 * @file FrameReader.h
 * The lines of one frame, for who takes them, hears how far the scan is, and may stop it.
 */
#pragma once

#include <functional>
#include <memory>

#include "ReadAhead.h"

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
     * Begins a frame, and waits for its first lines, so that a failure shows before anything is made for the page.
     * @return `S_OK`; `WIA_ERROR_PAPER_EMPTY`; another result of the platform; what `pulse` ended the scan with
     */
    HRESULT Start();

    const SANE_Parameters& Parameters() const noexcept { return ahead_->Head().parameters; }
    const LineFormat& Format() const noexcept { return *ahead_->Head().format; }
    uint32_t Pixels() const noexcept { return ahead_->Head().Pixels(); }

    /** @return `S_OK` with the next line, which stays until the next call, or null after the last one; else what ends
     * the scan */
    HRESULT NextLine(const uint8_t*& line);

    /** Takes what the device may still have of the frame, which it then knows to be over. */
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    HRESULT NextPiece();
    HRESULT TellNowAndThen();
    uint32_t Percent() const noexcept;

    std::shared_ptr<Scanner> scanner_;
    Pulse pulse_;
    Clock::time_point lastTold_ = Clock::now();
    std::unique_ptr<ReadAhead> ahead_;
    const Piece* piece_ = nullptr;  ///< null when nothing is at hand
    size_t taken_ = 0;              ///< bytes of the piece
    uint64_t takenBefore_ = 0;      ///< bytes of the pieces before
};

}  // namespace vorn::wia
