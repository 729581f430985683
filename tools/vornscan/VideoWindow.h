// The window that a live preview is shown in.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "vornwia_types.h"

namespace vornscan {

/** What the person at the window wants. */
enum class Wish { Nothing, Picture, Resize, End };

class VideoWindow {
public:
    /** Opens a window; null where there is no display. */
    static std::unique_ptr<VideoWindow> Open(const std::string& title);
    virtual ~VideoWindow() = default;

    virtual HWND Handle() const = 0;
    /** The next wish, or Nothing after that time. Space asks for a picture; q, Escape or closing for the end. */
    virtual Wish Wait(std::chrono::milliseconds atMost) = 0;
};

/** Where the window is in a library of its own: what the library exports; the caller owns the window. */
using OpenWindowFunction = VideoWindow* (*)(const std::string& title);
inline constexpr const char* kOpenWindow = "VornOpenWindow";

}  // namespace vornscan
