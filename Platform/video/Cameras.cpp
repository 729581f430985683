#include "Cameras.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>

#include "wia/model/FolderEntries.h"
#include "wia/virtual/VideoDevice.h"

namespace vorn::video {
namespace {

namespace fs = std::filesystem;

/** The card's name; nothing for a node that delivers no pictures, as the one with a camera's metadata. */
std::optional<std::string> CaptureCard(const fs::path& node)
{
    const int descriptor = open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1)
        return std::nullopt;
    v4l2_capability capability{};
    const bool answered = ioctl(descriptor, VIDIOC_QUERYCAP, &capability) == 0;
    close(descriptor);
    const uint32_t abilities =
        capability.capabilities & V4L2_CAP_DEVICE_CAPS ? capability.device_caps : capability.capabilities;
    if (!answered || !(abilities & V4L2_CAP_VIDEO_CAPTURE))
        return std::nullopt;
    const auto* name = reinterpret_cast<const char*>(capability.card);
    return std::string(name, strnlen(name, sizeof(capability.card)));
}

/** The link to a node that stays the same when cameras are plugged in another order; else the node. */
fs::path LastingName(const fs::path& node)
{
    std::error_code error;
    for (const fs::path& link : wia::FolderEntries("/dev/v4l/by-id"))
        if (fs::equivalent(link, node, error))
            return link;
    return node;
}

std::vector<fs::path> VideoNodes()
{
    std::vector<fs::path> nodes;
    std::error_code error;
    for (const fs::path& entry : wia::FolderEntries("/sys/class/video4linux"))
        if (const fs::path node = "/dev" / entry.filename(); fs::exists(node, error))
            nodes.push_back(node);
    std::ranges::sort(nodes);
    return nodes;
}

}  // namespace

std::vector<wia::DevicePtr> Cameras()
{
    std::vector<wia::DevicePtr> cameras;
    for (const fs::path& node : VideoNodes()) {
        const std::optional<std::string> card = CaptureCard(node);
        if (!card)
            continue;
        const WString path = LastingName(node).string<WCHAR>();
        cameras.push_back(wia::VideoDevice({.id = VORN_TEXT("v4l2:") + path,
                                            .name = fs::path{*card}.string<WCHAR>(),
                                            .description = VORN_TEXT("Camera ") + node.string<WCHAR>(),
                                            .path = path})
                              .Build());
    }
    return cameras;
}

}  // namespace vorn::video
