#include "FrameReader.h"

#include <algorithm>
#include <thread>

#include "Statuses.h"

namespace vorn::wia {

namespace {

constexpr auto kBetweenReports = std::chrono::milliseconds{250};
constexpr auto kMoment = std::chrono::milliseconds{100};

/** A page that does not go on for so long never will. */
constexpr auto kPagePatience = std::chrono::seconds{60};

/** A scanner that says it is busy is asked again for so long. */
constexpr auto kBusyPatience = std::chrono::seconds{15};

/** What a device sends beyond the lines that it announced is taken up to here. */
constexpr uint64_t kMostBeyond = 64 * 1024 * 1024;

}  // namespace

uint32_t FrameReader::Percent() const noexcept
{
    const uint64_t all = static_cast<uint64_t>(std::max(0, parameters_.lines)) * LineBytes();
    return all ? static_cast<uint32_t>(std::min<uint64_t>(100, (takenBefore_ + taken_) * 100 / all)) : 0;
}

HRESULT FrameReader::ReportNowAndThen()
{
    const auto now = Clock::now();
    if (!progress_ || now - lastReport_ < kBetweenReports)
        return S_OK;
    lastReport_ = now;
    return progress_(Percent());
}

/** Waits moment by moment until `wait` has something, and reports meanwhile. */
template <typename Wait>
HRESULT FrameReader::Await(Wait&& wait)
{
    for (const auto begin = Clock::now(); !wait(kMoment);) {
        if (const HRESULT answer = ReportNowAndThen(); answer != S_OK)
            return answer;
        if (Clock::now() - begin > kPagePatience) {
            scanner_->Lose();
            return WIA_ERROR_DEVICE_COMMUNICATION;
        }
    }
    return S_OK;
}

HRESULT FrameReader::BeginFrame()
{
    const auto end = Clock::now() + kBusyPatience;
    for (;;) {
        std::optional<SANE_Status> status;
        scanner_->Start();
        if (const HRESULT result = Await([&](auto moment) {
                status = scanner_->AwaitStarted(moment);
                return status.has_value();
            });
            result != S_OK)
            return result;
        if (*status != SANE_STATUS_DEVICE_BUSY || Clock::now() >= end)
            return ResultOf(*status);
        const auto pauseEnd = Clock::now() + kMoment;
        if (const HRESULT result = Await([&](auto moment) {
                std::this_thread::sleep_for(moment);
                return Clock::now() >= pauseEnd;
            });
            result != S_OK)
            return result;
    }
}

HRESULT FrameReader::CheckParameters()
{
    parameters_ = scanner_->Parameters();
    if (parameters_.pixels_per_line <= 0 || parameters_.lines == 0)
        return WIA_ERROR_INVALID_DRIVER_RESPONSE;
    format_ = LineFormatOf(parameters_.format, parameters_.depth);
    if (!format_)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
    return parameters_.bytes_per_line < 0 || LineBytes() < format_->LineBytes(Pixels()) ||
                   LineBytes() > sane::RingLayout::kMostLineBytes
               ? WIA_ERROR_INVALID_DRIVER_RESPONSE
               : S_OK;
}

HRESULT FrameReader::Start()
{
    lines_ = {};
    takenBefore_ = taken_ = 0;
    ended_ = false;
    if (const HRESULT result = BeginFrame(); result != S_OK)
        return result;
    if (const HRESULT result = CheckParameters(); result != S_OK)
        return result;
    scanner_->Read();
    const HRESULT result = NextLines();
    // A page without any data is none.
    return result == S_OK && ended_ ? WIA_ERROR_INVALID_DRIVER_RESPONSE : result;
}

HRESULT FrameReader::NextLines()
{
    takenBefore_ += lines_.size();
    taken_ = 0;
    lines_ = {};
    DriverHost::Lines next;
    const HRESULT result = Await([&](auto moment) {
        next = scanner_->AwaitLines(moment);
        return next.ended || !next.bytes.empty();
    });
    if (result != S_OK)
        return result;
    lines_ = next.bytes;
    ended_ = next.ended.has_value();
    return ended_ ? ResultOf(*next.ended) : ReportNowAndThen();
}

HRESULT FrameReader::NextLine(const uint8_t*& line)
{
    line = nullptr;
    if (!ended_ && taken_ == lines_.size())
        if (const HRESULT result = NextLines(); result != S_OK)
            return result;
    if (ended_)
        return S_OK;
    line = lines_.data() + taken_;
    taken_ += LineBytes();
    return S_OK;
}

bool FrameReader::Finish()
{
    const uint64_t before = takenBefore_;
    const auto end = Clock::now() + kPagePatience;
    while (!ended_ && takenBefore_ - before < kMostBeyond && Clock::now() < end)
        if (NextLines() != S_OK)
            break;
    return ended_;
}

}  // namespace vorn::wia
