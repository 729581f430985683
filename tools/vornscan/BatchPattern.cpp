#include "BatchPattern.h"

#include "Failure.h"

namespace vornscan {
namespace {

constexpr size_t kMaxWidth = 20;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

[[noreturn]] void Refuse(const std::string& pattern)
{
    throw Failure{ExitCode::Usage, "--batch '" + pattern +
                                       "': write %d once where the page's number goes, %03d for three "
                                       "digits, %% for a percent sign, as in page%03d.png"};
}

}  // namespace

BatchPattern::BatchPattern(const std::string& pattern)
{
    bool numbered = false;
    for (size_t i = 0; i < pattern.size(); ++i) {
        std::string& part = numbered ? after_ : before_;
        if (pattern[i] != '%') {
            part += pattern[i];
            continue;
        }
        if (pattern.compare(i, 2, "%%") == 0) {
            part += pattern[++i];
            continue;
        }
        if (numbered)
            Refuse(pattern);
        ++i;
        if (i < pattern.size() && pattern[i] == '0')
            fill_ = '0';
        for (; i < pattern.size() && IsDigit(pattern[i]) && width_ <= kMaxWidth; ++i)
            width_ = width_ * 10 + static_cast<size_t>(pattern[i] - '0');
        if (i >= pattern.size() || pattern[i] != 'd' || width_ > kMaxWidth)
            Refuse(pattern);
        numbered = true;
    }
    if (!numbered)
        Refuse(pattern);
}

std::string BatchPattern::Name(uint64_t number) const
{
    const std::string digits = std::to_string(number);
    const std::string padding(digits.size() < width_ ? width_ - digits.size() : 0, fill_);
    return before_ + padding + digits + after_;
}

}  // namespace vornscan
