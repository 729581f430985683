#include "FileError.h"

using namespace vorn::ole;

BOOL DeleteFileW(LPCWSTR name) noexcept
{
    return FileCall<BOOL>(FALSE, [&] {
        const std::string kernelName = KernelName(name);
        if (kernelName.empty())
            return FALSE;
        return unlink(kernelName.c_str()) == 0 ? TRUE : Fail(ErrorOfName(errno, kernelName));
    });
}

int _waccess(const WCHAR* name, int mode) noexcept
{
    constexpr int kKnownModes = R_OK | W_OK;
    if (mode & ~kKnownModes) {
        errno = EINVAL;
        return -1;
    }
    return FileCall<int>(-1, [&] {
        const std::string kernelName = KernelName(name);
        if (kernelName.empty()) {
            errno = name ? ENOENT : EINVAL;
            return -1;
        }
        return access(kernelName.c_str(), mode);
    });
}
