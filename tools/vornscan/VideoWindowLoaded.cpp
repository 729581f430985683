// The preview's window from a library that is loaded for it: scanning has no use for a window system.
#include <dlfcn.h>

#include "VideoWindow.h"

namespace vornscan {

std::unique_ptr<VideoWindow> VideoWindow::Open(const std::string& title)
{
    void* const library = dlopen("libvornwindow.so." VORN_SOVERSION, RTLD_NOW | RTLD_LOCAL);
    const auto open = library ? reinterpret_cast<OpenWindowFunction>(dlsym(library, kOpenWindow)) : nullptr;
    return std::unique_ptr<VideoWindow>{open ? open(title) : nullptr};
}

}  // namespace vornscan
