// File names with a number: "page%03d.png".
#pragma once

#include <cstdint>
#include <string>

namespace vornscan {

/** A file name with one %d, %4d or %03d in it, and %% for a percent sign; never a format of printf. */
class BatchPattern {
public:
    /** @throws Failure for a pattern without a number, with two, or with anything else behind a percent sign */
    explicit BatchPattern(const std::string& pattern);

    std::string Name(uint64_t number) const;

private:
    std::string before_, after_;
    size_t width_ = 0;
    char fill_ = ' ';
};

}  // namespace vornscan
