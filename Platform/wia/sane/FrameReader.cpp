#include "FrameReader.h"

#include <algorithm>
#include <system_error>

namespace vorn::wia {

namespace {

/** How often who waits hears that the scan goes on, and may stop it. */
constexpr auto kBetweenPulses = std::chrono::milliseconds{250};
constexpr auto kMoment = std::chrono::milliseconds{100};

/** A page that stands still for so long will not go on. Before its first lines there may be a button to press. */
constexpr auto kStandstill = std::chrono::seconds{60};

/** What a device sends beyond the lines that it announced is taken up to here. */
constexpr uint64_t kMostBeyond = 64 * 1024 * 1024;

}  // namespace

uint32_t FrameReader::Percent() const noexcept
{
    if (!piece_)
        return 0;
    const uint64_t all = static_cast<uint64_t>(std::max(0, Parameters().lines)) * ahead_->Head().LineBytes();
    return all ? static_cast<uint32_t>(std::min<uint64_t>(100, (takenBefore_ + taken_) * 100 / all)) : 0;
}

HRESULT FrameReader::TellNowAndThen()
{
    const auto now = Clock::now();
    if (!pulse_ || now - lastTold_ < kBetweenPulses)
        return S_OK;
    lastTold_ = now;
    return pulse_(Percent());
}

HRESULT FrameReader::Start()
try {
    ahead_.reset();  // the frame before is over for the device, too
    ahead_ = std::make_unique<ReadAhead>(scanner_);
    piece_ = nullptr;
    takenBefore_ = taken_ = 0;
    const HRESULT result = NextPiece();
    // A page without any data is none.
    return result == S_OK && !piece_ ? WIA_ERROR_INVALID_DRIVER_RESPONSE : result;
} catch (const std::system_error&) {
    return E_OUTOFMEMORY;
}

HRESULT FrameReader::NextPiece()
{
    HRESULT result = S_FALSE;
    const Piece* next = nullptr;
    const auto begin = Clock::now();
    while ((result = ahead_->Take(kMoment, next)) == S_FALSE) {
        if (const HRESULT answer = TellNowAndThen(); answer != S_OK)
            return answer;
        if (piece_ && Clock::now() - begin > kStandstill) {
            scanner_->Lose();
            return WIA_ERROR_DEVICE_COMMUNICATION;
        }
    }
    takenBefore_ += taken_;
    taken_ = 0;
    piece_ = next;
    return result == S_OK ? TellNowAndThen() : result;
}

HRESULT FrameReader::NextLine(const uint8_t*& line)
{
    line = nullptr;
    if (piece_ && taken_ == piece_->size)
        if (const HRESULT result = NextPiece(); result != S_OK)
            return result;
    if (!piece_)
        return S_OK;
    line = piece_->bytes.get() + taken_;
    taken_ += ahead_->Head().LineBytes();
    return S_OK;
}

void FrameReader::Finish()
{
    const uint64_t announced = takenBefore_;
    while (piece_ && takenBefore_ - announced < kMostBeyond) {
        taken_ = piece_->size;
        if (NextPiece() != S_OK)
            return;
    }
}

}  // namespace vorn::wia
