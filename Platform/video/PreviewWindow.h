/**
 * @file PreviewWindow.h
 * The window that shows the video: a child of the caller's.
 */
#pragma once

#include <xcb/xcb.h>

#include <memory>
#include <optional>

#include "WindowErrors.h"
#include "platform.h"

namespace vorn::video {

/** Width and height in pixels. */
struct Size {
    uint32_t width = 0, height = 0;
};

/**
 * A window of our own inside the caller's, so that the caller's keeps its events and its content, and the video is
 * gone with it. It uses a connection of its own, whose errors come back as results.
 */
class PreviewWindow {
public:
    /**
     * Makes the window, not yet visible.
     * @param parent  the id of the caller's window
     * @return `S_OK`; `S_FALSE` with a null window where there is no display; `E_INVALIDARG` for a parent that is none
     */
    static HRESULT Open(uint32_t parent, std::unique_ptr<PreviewWindow>& window);
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;
    ~PreviewWindow();

    uint32_t Id() const noexcept { return window_; }

    /**
     * Fits the window to its parent: filling it, or in the video's natural size in the middle, made smaller with its
     * proportions kept where the parent is too small.
     * @return the new size; nothing when the parent is gone
     */
    std::optional<Size> Fit(bool stretch, Size natural);

    void Show(bool visible);

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
    };
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    PreviewWindow(Connection connection, uint32_t parent, uint32_t window)
        : connection_{std::move(connection)}, parent_{parent}, window_{window}, tolerated_{window}
    {
    }

    std::optional<Size> ParentSize() const;

    Connection connection_;
    uint32_t parent_, window_;
    ToleratedWindow tolerated_;
};

}  // namespace vorn::video
