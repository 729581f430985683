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
    constexpr int kTolerance = 12;
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

std::string Viewer::TitleOf(uint32_t window) const
{
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> title{
        xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 0, window, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
            nullptr),
        &std::free};
    if (!title)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(title.get())),
            static_cast<size_t>(xcb_get_property_value_length(title.get()))};
}

uint32_t Viewer::Find(const std::string& title) const
{
    const uint32_t root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    for (int i = 0; i < 100; ++i) {
        const std::unique_ptr<xcb_query_tree_reply_t, decltype(&std::free)> tree{
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root), nullptr), &std::free};
        const uint32_t* windows = xcb_query_tree_children(tree.get());
        for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
            if (TitleOf(windows[child]) == title)
                return windows[child];
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
    }
    return 0;
}

void Viewer::Press(uint32_t window, uint32_t keysym) const
{
    const uint8_t first = xcb_get_setup(connection_)->min_keycode;
    const auto count = static_cast<uint8_t>(xcb_get_setup(connection_)->max_keycode - first + 1);
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> keys{
        xcb_get_keyboard_mapping_reply(connection_, xcb_get_keyboard_mapping(connection_, first, count),
                                       nullptr),
        &std::free};
    const uint32_t* symbols = xcb_get_keyboard_mapping_keysyms(keys.get());
    int place = 0;
    while (symbols[place] != keysym)
        ++place;
    xcb_key_press_event_t event{};
    event.response_type = XCB_KEY_PRESS;
    event.detail = static_cast<uint8_t>(first + place / keys->keysyms_per_keycode);
    event.event = window;
    event.same_screen = 1;
    xcb_send_event(connection_, 0, window, XCB_EVENT_MASK_KEY_PRESS, reinterpret_cast<const char*>(&event));
    xcb_flush(connection_);
}

}  // namespace vorn::test
