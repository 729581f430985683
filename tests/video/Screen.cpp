#include "Screen.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

namespace vorn::test {

Display::Display()
{
    int ready[2];
    if (pipe(ready) != 0)
        return;
    server_ = fork();
    if (server_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ready[0]);
        const std::string descriptor = std::to_string(ready[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1024x768x24", "-nolisten",
               "tcp", nullptr);
        _exit(127);
    }
    close(ready[1]);
    std::string number;  // and the end of the line, as soon as the display is there
    for (char c = 0; read(ready[0], &c, 1) == 1 && c != '\n';)
        number += c;
    close(ready[0]);
    setenv("DISPLAY", (":" + number).c_str(), 1);
    if (number.empty()) {
        waitpid(server_, nullptr, 0);
        server_ = -1;
    }
}

Display::~Display()
{
    unsetenv("DISPLAY");
    if (!Works())
        return;
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
}

Area Screenshot::Drawn() const
{
    int left = width, top = height, right = -1, bottom = -1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (pixels[static_cast<size_t>(y) * width + x] == Window::kGround)
                continue;
            left = std::min(left, x), right = std::max(right, x);
            top = std::min(top, y), bottom = std::max(bottom, y);
        }
    }
    return right < 0 ? Area{} : Area{left, top, right - left + 1, bottom - top + 1};
}

size_t Screenshot::Count(uint32_t colour) const
{
    constexpr int kTolerance = 24;
    return static_cast<size_t>(std::ranges::count_if(pixels, [colour](uint32_t pixel) {
        for (int shift = 0; shift < 24; shift += 8) {
            const auto part = [shift](uint32_t value) { return static_cast<int>(value >> shift & 0xFF); };
            if (std::abs(part(pixel) - part(colour)) > kTolerance)
                return false;
        }
        return true;
    }));
}

Window::Window(int width, int height)
    : connection_{xcb_connect(nullptr, nullptr)},
      screen_{xcb_setup_roots_iterator(xcb_get_setup(connection_)).data},
      window_{xcb_generate_id(connection_)},
      width_{width},
      height_{height}
{
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen_->root, 50, 40,
                      static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual, XCB_CW_BACK_PIXEL, &kGround);
    xcb_map_window(connection_, window_);
    Flush();
}

Window::~Window()
{
    Destroy();
    xcb_disconnect(connection_);
}

void Window::Flush() const
{
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void Window::Resize(int width, int height)
{
    width_ = width;
    height_ = height;
    const uint32_t size[] = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
    Flush();
}

void Window::Destroy()
{
    if (window_)
        xcb_destroy_window(connection_, window_);
    window_ = 0;
    Flush();
}

Screenshot Window::Look() const
{
    // Children are part of what the root shows, not of what a window does.
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image{
        xcb_get_image_reply(connection_,
                            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, 50, 40,
                                          static_cast<uint16_t>(width_), static_cast<uint16_t>(height_), ~0u),
                            nullptr),
        &std::free};
    Screenshot seen{width_, height_, {}};
    const uint8_t* bytes = xcb_get_image_data(image.get());
    for (int i = 0; i < width_ * height_; ++i, bytes += 4)
        seen.pixels.push_back(static_cast<uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16));
    return seen;
}

void Window::Wait()
{
    std::this_thread::sleep_for(std::chrono::milliseconds{50});
}

}  // namespace vorn::test
