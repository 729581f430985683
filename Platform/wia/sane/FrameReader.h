/**
 * @file FrameReader.h
 * One frame on its way from the device: whole lines, read in large pieces.
 */
#pragma once

#include <memory>

#include "Samples.h"
#include "Scanner.h"

namespace vorn::wia {

class FrameReader {
public:
    explicit FrameReader(std::shared_ptr<Scanner> scanner) noexcept : scanner_{std::move(scanner)} {}

    /**
     * Begins the frame that the device is about to send: asks for its parameters and reads its first bytes, so that a
     * failure shows before anything is made for the page.
     * @return `S_OK`; `WIA_ERROR_PAPER_EMPTY`; another result of the platform
     */
    HRESULT Begin();

    const SANE_Parameters& Parameters() const noexcept { return parameters_; }
    const LineFormat& Format() const noexcept { return *format_; }
    uint32_t Pixels() const noexcept { return static_cast<uint32_t>(parameters_.pixels_per_line); }

    /** @return `S_OK` with the next line, which stays until the next call; `S_FALSE` after the last one; an error */
    HRESULT NextLine(const uint8_t*& line);

    /** Reads what the device may still have of the frame, which it then knows to be over. */
    void Finish();

private:
    HRESULT Fill();

    std::shared_ptr<Scanner> scanner_;
    SANE_Parameters parameters_{};
    const LineFormat* format_ = nullptr;
    size_t lineBytes_ = 0;
    std::unique_ptr<uint8_t[]> buffer_;
    size_t capacity_ = 0, begin_ = 0, end_ = 0;
    bool ended_ = false;
};

}  // namespace vorn::wia
