// The preview's window under X11.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <poll.h>

#include "VideoWindow.h"

namespace vornscan {
namespace {

constexpr unsigned kWidth = 640, kHeight = 480;

struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
};

class X11Window final : public VideoWindow {
public:
    X11Window(Display* display, const std::string& title)
        : display_{display},
          window_{XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, kWidth, kHeight, 0, 0,
                                      BlackPixel(display, DefaultScreen(display)))},
          close_{XInternAtom(display, "WM_DELETE_WINDOW", False)}
    {
        XSelectInput(display, window_, KeyPressMask | StructureNotifyMask);
        Xutf8SetWMProperties(display, window_, title.c_str(), title.c_str(), nullptr, 0, nullptr, nullptr,
                             nullptr);
        XChangeProperty(display, window_, XInternAtom(display, "_NET_WM_NAME", False),
                        XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(title.data()), static_cast<int>(title.size()));
        XSetWMProtocols(display, window_, &close_, 1);
        XMapWindow(display, window_);
        XSync(display, False);  // the platform draws over a connection of its own
    }

    HWND Handle() const override
    {
        return reinterpret_cast<HWND>(uintptr_t{window_});  // NOLINT(performance-no-int-to-ptr): its id
    }

    Wish Wait(std::chrono::milliseconds atMost) override
    {
        if (XPending(display_.get()) == 0) {
            pollfd connection{ConnectionNumber(display_.get()), POLLIN, 0};
            poll(&connection, 1, static_cast<int>(atMost.count()));
        }
        while (XPending(display_.get()) != 0) {
            XEvent event;
            XNextEvent(display_.get(), &event);
            if (const Wish wish = WishOf(event); wish != Wish::Nothing)
                return wish;
        }
        return Wish::Nothing;
    }

private:
    Wish WishOf(XEvent& event)
    {
        if (event.type == DestroyNotify ||
            (event.type == ClientMessage && static_cast<Atom>(event.xclient.data.l[0]) == close_))
            return Wish::End;
        if (event.type == ConfigureNotify)
            return IsNewSize(event.xconfigure) ? Wish::Resize : Wish::Nothing;
        if (event.type != KeyPress)
            return Wish::Nothing;
        switch (XLookupKeysym(&event.xkey, 0)) {
            case XK_space:
                return Wish::Picture;
            case XK_q:
            case XK_Escape:
                return Wish::End;
            default:
                return Wish::Nothing;
        }
    }

    bool IsNewSize(const XConfigureEvent& now)
    {
        const bool changed = now.width != width_ || now.height != height_;
        width_ = now.width;
        height_ = now.height;
        return changed;
    }

    std::unique_ptr<Display, CloseDisplay> display_;
    Window window_;
    Atom close_;
    int width_ = kWidth, height_ = kHeight;
};

}  // namespace
}  // namespace vornscan

extern "C" __attribute__((visibility("default"))) vornscan::VideoWindow* VornOpenWindow(
    const std::string& title)
{
    Display* display = XOpenDisplay(nullptr);
    return display ? new vornscan::X11Window(display, title) : nullptr;
}
