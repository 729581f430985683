#include "PreviewWindow.h"

#include <algorithm>
#include <cstdlib>

namespace vorn::video {
namespace {

struct Free {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
template <typename Reply>
using ReplyHolder = std::unique_ptr<Reply, Free>;

/** The largest size of the video's proportions that is neither above its own nor above the room. */
Size Shrunk(Size natural, Size room)
{
    const auto share = [](uint32_t part, uint32_t whole) { return static_cast<double>(part) / whole; };
    const double factor =
        std::min({1.0, share(room.width, natural.width), share(room.height, natural.height)});
    return {std::max(1u, static_cast<uint32_t>(natural.width * factor)),
            std::max(1u, static_cast<uint32_t>(natural.height * factor))};
}

}  // namespace

HRESULT PreviewWindow::Open(uint32_t parent, std::unique_ptr<PreviewWindow>& window)
{
    int number = 0;
    Connection connection{xcb_connect(nullptr, &number)};
    if (xcb_connection_has_error(connection.get()))
        return S_FALSE;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; number > 0 && screens.rem > 1; --number)
        xcb_screen_next(&screens);
    const xcb_screen_t& screen = *screens.data;

    // The video is drawn in the screen's own depth, whatever depth the parent has.
    const uint32_t id = xcb_generate_id(connection.get());
    const uint32_t values[] = {screen.black_pixel, 0, screen.default_colormap};
    const auto created = xcb_create_window_checked(
        connection.get(), screen.root_depth, id, parent, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
        screen.root_visual, XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values);
    const ReplyHolder<xcb_generic_error_t> refused{xcb_request_check(connection.get(), created)};
    if (refused)
        return E_INVALIDARG;
    window.reset(new PreviewWindow{std::move(connection), parent, id});
    return S_OK;
}

PreviewWindow::~PreviewWindow()
{
    // Asking for an answer waits until the window is gone.
    const ReplyHolder<xcb_generic_error_t> alreadyGone{
        xcb_request_check(connection_.get(), xcb_destroy_window_checked(connection_.get(), window_))};
}

std::optional<Size> PreviewWindow::ParentSize() const
{
    xcb_generic_error_t* error = nullptr;
    const ReplyHolder<xcb_get_geometry_reply_t> geometry{
        xcb_get_geometry_reply(connection_.get(), xcb_get_geometry(connection_.get(), parent_), &error)};
    const ReplyHolder<xcb_generic_error_t> owned{error};
    if (!geometry)
        return std::nullopt;
    return Size{geometry->width, geometry->height};
}

std::optional<Size> PreviewWindow::Fit(bool stretch, Size natural)
{
    const std::optional<Size> room = ParentSize();
    if (!room)
        return std::nullopt;
    const Size size = stretch || natural.width == 0 || natural.height == 0 ? *room : Shrunk(natural, *room);
    const uint32_t place[] = {(room->width - size.width) / 2, (room->height - size.height) / 2, size.width,
                              size.height};
    const ReplyHolder<xcb_generic_error_t> refused{xcb_request_check(
        connection_.get(),
        xcb_configure_window_checked(
            connection_.get(), window_,
            XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
            place))};
    if (refused)
        return std::nullopt;
    return size;
}

void PreviewWindow::Show(bool visible)
{
    const auto asked = visible ? xcb_map_window_checked(connection_.get(), window_)
                               : xcb_unmap_window_checked(connection_.get(), window_);
    const ReplyHolder<xcb_generic_error_t> gone{xcb_request_check(connection_.get(), asked)};
}

}  // namespace vorn::video
