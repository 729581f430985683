/**
 * @file LongJump.h
 * Calls of C libraries that report an error by not returning.
 */
#pragma once

#include <csetjmp>

#include "Errors.h"

namespace vorn::fil {

/** The place to come back to, and why. */
class LongJump {
public:
    /**
     * Runs `work`, which answers a status, and comes back also by Leave, whose status it then answers. What lies
     * between the two is skipped: neither `work` nor what it calls may own anything.
     */
    template <typename Work>
    int32_t Guard(Work work) noexcept
    {
        if (setjmp(place_) != 0)
            return status_;
        return work();
    }

    [[noreturn]] void Leave(int32_t status) noexcept
    {
        status_ = status;
        std::longjmp(place_, 1);
    }

private:
    std::jmp_buf place_;
    int32_t status_ = FIL_SUCCESS;
};

}  // namespace vorn::fil
