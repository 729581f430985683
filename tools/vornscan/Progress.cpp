#include "Progress.h"

#include <algorithm>
#include <iostream>
#include <string>

#include "System.h"
#include "vornwia.h"

namespace vornscan {
namespace {

constexpr int32_t kPageEnded = 101;
constexpr int32_t kBarWidth = 40;
/** Plain lines come at these steps only. */
constexpr int32_t kLineStep = 25;

}  // namespace

Progress::Progress(bool wanted) : wanted_{wanted}, bar_{wanted && ErrorsGoToTerminal()} {}

Progress::~Progress()
{
    if (bar_)
        std::cerr << "\r\x1B[K" << std::flush;
}

void Progress::Show(int32_t percent, int32_t state)
{
    if (!wanted_)
        return;
    if (state == TRANSFER_STATE_END && percent == 0) {
        if (shown_ >= 0)
            shown_ = kPageEnded;
        return;
    }
    percent = std::clamp(percent, 0, 100);
    if (percent < shown_) {  // a page starts from the beginning
        ++page_;
        shown_ = -1;
    }
    const int32_t step = bar_ ? 1 : kLineStep;
    if (shown_ < 0 || percent / step > shown_ / step)
        Draw(percent);
}

void Progress::Draw(int32_t percent)
{
    shown_ = percent;
    if (!bar_) {
        std::cerr << "page " << page_ << ": " << percent << "%\n";
        return;
    }
    const int32_t filled = percent * kBarWidth / 100;
    std::cerr << "\r[" << std::string(static_cast<size_t>(filled), '#')
              << std::string(static_cast<size_t>(kBarWidth - filled), ' ') << "] " << percent << "%  page "
              << page_ << "\x1B[K" << std::flush;
}

}  // namespace vornscan
