/**
 * @file WindowErrors.h
 * Keeps a vanished window from ending the process.
 */
#pragma once

#include <cstdint>

namespace vorn::video {

/**
 * While it lives, drawing into this window is no error any more once the application has destroyed its parent; by
 * default the X library ends the process for that. Errors about anything else go where they went before.
 */
class ToleratedWindow {
public:
    explicit ToleratedWindow(uint32_t window);
    ToleratedWindow(const ToleratedWindow&) = delete;
    ToleratedWindow& operator=(const ToleratedWindow&) = delete;
    ~ToleratedWindow();

private:
    uint32_t window_;
};

}  // namespace vorn::video
