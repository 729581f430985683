#include "FrameReader.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "Statuses.h"

namespace vorn::wia {

namespace {

/** A back end is asked for at least so much at once: calls cost, and those across a network more. */
constexpr size_t kPieceBytes = 128 * 1024;

/** How long a device may answer that there is nothing yet. */
constexpr auto kSilence = std::chrono::seconds{60};
constexpr auto kPause = std::chrono::milliseconds{2};

/** What a device sends beyond the lines that it announced is read up to here. */
constexpr size_t kMostBeyond = 64 * 1024 * 1024;

}  // namespace

HRESULT FrameReader::Begin()
{
    if (!scanner_->Parameters(parameters_) || parameters_.pixels_per_line <= 0 || parameters_.lines == 0)
        return WIA_ERROR_INVALID_DRIVER_RESPONSE;
    format_ = LineFormatOf(parameters_.format, parameters_.depth);
    if (!format_)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
    if (parameters_.bytes_per_line < 0 ||
        static_cast<uint64_t>(parameters_.bytes_per_line) < format_->LineBytes(Pixels()))
        return WIA_ERROR_INVALID_DRIVER_RESPONSE;
    lineBytes_ = static_cast<size_t>(parameters_.bytes_per_line);
    capacity_ = kPieceBytes + lineBytes_;
    buffer_ = std::make_unique_for_overwrite<uint8_t[]>(capacity_);
    begin_ = end_ = 0;
    ended_ = false;
    const HRESULT result = Fill();
    // A page without any data is none.
    return result == S_OK && end_ == 0 ? WIA_ERROR_INVALID_DRIVER_RESPONSE : result;
}

HRESULT FrameReader::Fill()
{
    std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    const auto patience = std::chrono::steady_clock::now() + kSilence;
    for (SANE_Int length = 0; length == 0;) {
        const SANE_Status status =
            scanner_->Read(buffer_.get() + end_, static_cast<SANE_Int>(capacity_ - end_), length);
        if (status == SANE_STATUS_EOF) {
            ended_ = true;
            return S_OK;
        }
        if (status != SANE_STATUS_GOOD)
            return ResultOf(status);
        if (length < 0 || static_cast<size_t>(length) > capacity_ - end_)
            return WIA_ERROR_INVALID_DRIVER_RESPONSE;
        if (length == 0) {
            if (std::chrono::steady_clock::now() > patience)
                return WIA_ERROR_DEVICE_COMMUNICATION;
            std::this_thread::sleep_for(kPause);
        }
        end_ += static_cast<size_t>(length);
    }
    return S_OK;
}

HRESULT FrameReader::NextLine(const uint8_t*& line)
{
    while (end_ - begin_ < lineBytes_) {
        if (ended_)
            return S_FALSE;
        if (const HRESULT result = Fill(); result != S_OK)
            return result;
    }
    line = buffer_.get() + begin_;
    begin_ += lineBytes_;
    return S_OK;
}

void FrameReader::Finish()
{
    for (size_t beyond = 0; !ended_ && beyond < kMostBeyond;) {
        begin_ = end_ = 0;
        if (Fill() != S_OK)
            return;
        beyond += std::max<size_t>(1, end_);
    }
}

}  // namespace vorn::wia
