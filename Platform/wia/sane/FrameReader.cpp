#include "FrameReader.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "Statuses.h"

namespace vorn::wia {

namespace {

/** A back end is asked for at least so much at once: calls cost, and those across a network more. */
constexpr size_t kPieceBytes = 128 * 1024;

/** How long a device may answer that there is nothing yet. */
constexpr auto kSilence = std::chrono::seconds{60};
/** The same, once the host that a scanner was reached through has gone. */
constexpr auto kSilenceOfTheGone = std::chrono::seconds{1};
constexpr auto kPause = std::chrono::milliseconds{2};

/** How often who waits hears that the scan goes on, and may stop it. */
constexpr auto kBetweenPulses = std::chrono::milliseconds{250};
constexpr auto kMoment = std::chrono::milliseconds{100};

/** A device that only claims to tell when data has come is read after this time all the same. */
constexpr auto kSilenceBeforeRead = std::chrono::seconds{10};

// A scanner that carries its lamp home says that it is busy.
constexpr auto kBusyPatience = std::chrono::seconds{15};

/** What a device sends beyond the lines that it announced is read up to here. */
constexpr size_t kMostBeyond = 64 * 1024 * 1024;

}  // namespace

HRESULT FrameReader::TellNowAndThen()
{
    const auto now = Clock::now();
    if (!pulse_ || now - lastTold_ < kBetweenPulses)
        return S_OK;
    lastTold_ = now;
    const uint64_t all = static_cast<uint64_t>(std::max(0, parameters_.lines)) * lineBytes_;
    return pulse_(all ? static_cast<uint32_t>(std::min<uint64_t>(100, bytesRead_ * 100 / all)) : 0);
}

HRESULT FrameReader::Start()
{
    const auto end = Clock::now() + kBusyPatience;
    for (;;) {
        const SANE_Status status = scanner_->Start();
        if (status != SANE_STATUS_DEVICE_BUSY || Clock::now() >= end)
            return status == SANE_STATUS_GOOD ? Begin() : ResultOf(status);
        std::this_thread::sleep_for(kMoment);
        if (const HRESULT result = TellNowAndThen(); result != S_OK)
            return result;
    }
}

/** While a read waits for the device no one can stop it: it begins when data has come. */
HRESULT FrameReader::AwaitData()
{
    const auto end = Clock::now() + kSilenceBeforeRead;
    while (!scanner_->AwaitData(kMoment) && Clock::now() < end) {
        if (const HRESULT result = TellNowAndThen(); result != S_OK)
            return result;
    }
    return TellNowAndThen();
}

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
    bytesRead_ = 0;
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
    const auto begun = Clock::now();
    for (SANE_Int length = 0; length == 0;) {
        if (const HRESULT result = AwaitData(); result != S_OK)
            return result;
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
            if (Clock::now() - begun > (scanner_->HasHungUp() ? kSilenceOfTheGone : kSilence))
                return WIA_ERROR_DEVICE_COMMUNICATION;
            std::this_thread::sleep_for(kPause);
        }
        end_ += static_cast<size_t>(length);
        bytesRead_ += static_cast<uint64_t>(length);
    }
    return S_OK;
}

HRESULT FrameReader::NextLine(const uint8_t*& line)
{
    while (end_ - begin_ < lineBytes_) {
        if (ended_) {
            line = nullptr;
            return S_OK;
        }
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
