/**
 * @file Screen.h
 * A display without a screen, an application's window on it, and what it shows.
 */
#pragma once

#include <sys/types.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "com.h"

namespace vorn::test {

/** A virtual X display that is the process's DISPLAY while it lives. */
class Display {
public:
    Display();
    Display(const Display&) = delete;
    ~Display();

    bool Works() const { return server_ > 0; }

private:
    pid_t server_ = -1;
};

/** A rectangle of the screen; empty when width is 0. */
struct Area {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const Area&) const = default;
};

/** What a window shows: 0xRRGGBB, row by row. */
struct Screenshot {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;

    /** The smallest rectangle around everything that is not the window's own ground. */
    Area Drawn() const;
    /** How many pixels are close to a colour. */
    size_t Count(uint32_t colour) const;
};

/** An application's window, of one colour. */
class Window {
public:
    static constexpr uint32_t kGround = 0x123456;

    Window(int width, int height);
    Window(const Window&) = delete;
    ~Window();

    HWND Handle() const { return reinterpret_cast<HWND>(uintptr_t{window_}); }
    void Resize(int width, int height);
    void Destroy();
    Screenshot Look() const;
    /** Looks until something satisfies, for some seconds at most; the last look. */
    template <typename Condition>
    Screenshot LookUntil(Condition satisfies) const
    {
        Screenshot seen = Look();
        for (int i = 0; i < 60 && !satisfies(seen); ++i) {
            Wait();
            seen = Look();
        }
        return seen;
    }

private:
    static void Wait();
    void Flush() const;

    xcb_connection_t* connection_;
    xcb_screen_t* screen_;
    uint32_t window_ = 0;
    int width_, height_;
};

/** Somebody at the display, who finds windows by their titles and types into them. */
class Viewer {
public:
    Viewer() : connection_{xcb_connect(nullptr, nullptr)} {}
    Viewer(const Viewer&) = delete;
    ~Viewer() { xcb_disconnect(connection_); }

    /** The window of that title, as soon as it is there; 0 when it does not come. */
    uint32_t Find(const std::string& title) const;
    void Press(uint32_t window, uint32_t keysym) const;

private:
    std::string TitleOf(uint32_t window) const;

    xcb_connection_t* connection_;
};

}  // namespace vorn::test
