// Where the build has no window system: previews are not shown.
#include "VideoWindow.h"

namespace vornscan {

std::unique_ptr<VideoWindow> VideoWindow::Open(const std::string&)
{
    return nullptr;
}

}  // namespace vornscan
