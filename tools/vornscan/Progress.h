// How far the scan is, on standard error: a bar on a terminal, plain lines elsewhere.
#pragma once

#include <cstdint>

namespace vornscan {

class Progress {
public:
    explicit Progress(bool wanted);
    Progress(const Progress&) = delete;
    ~Progress();

    /** Takes what an acquisition callback hears: 0 to 100, and a TRANSFER_STATE_ value. */
    void Show(int32_t percent, int32_t state);

private:
    void Draw(int32_t percent);

    bool wanted_;
    bool bar_;
    int32_t page_ = 1;
    int32_t shown_ = -1;  ///< the percentage drawn last, or above 100 when the page has ended
};

}  // namespace vornscan
