#include "WindowErrors.h"

#include <X11/Xlib.h>

#include <mutex>
#include <set>

namespace vorn::video {
namespace {

/** The windows in question; the X library has one handler for the whole process. */
struct Tolerated {
    std::mutex mutex;
    std::multiset<XID> windows;
    XErrorHandler before = nullptr;
};

Tolerated& Shared()
{
    static auto* shared = new Tolerated;  // an error may still arrive while static objects are destroyed
    return *shared;
}

int OnError(Display* display, XErrorEvent* error)
{
    Tolerated& tolerated = Shared();
    XErrorHandler before = nullptr;
    {
        const std::lock_guard lock{tolerated.mutex};
        if (tolerated.windows.count(error->resourceid) != 0)
            return 0;
        before = tolerated.before;
    }
    return before ? before(display, error) : 0;
}

}  // namespace

ToleratedWindow::ToleratedWindow(uint32_t window) : window_{window}
{
    Tolerated& tolerated = Shared();
    const std::lock_guard lock{tolerated.mutex};
    tolerated.windows.insert(window_);
    if (const XErrorHandler current = XSetErrorHandler(OnError); current != OnError)
        tolerated.before = current;
}

ToleratedWindow::~ToleratedWindow()
{
    Tolerated& tolerated = Shared();
    const std::lock_guard lock{tolerated.mutex};
    tolerated.windows.erase(tolerated.windows.find(window_));
    if (!tolerated.windows.empty())
        return;
    // Another handler that was set in the meantime stays.
    if (const XErrorHandler current = XSetErrorHandler(tolerated.before); current != OnError)
        XSetErrorHandler(current);
}

}  // namespace vorn::video
