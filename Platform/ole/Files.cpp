#include "FileError.h"

using namespace vorn::ole;

BOOL DeleteFileW(LPCWSTR name) noexcept
{
    const KernelName file{name};
    if (!file)
        return FALSE;
    return unlink(file.Get()) == 0 ? TRUE : Fail(ErrorOfName(errno, file.Get()));
}

int _waccess(const WCHAR* name, int mode) noexcept
{
    constexpr int kKnownModes = R_OK | W_OK;
    const KernelName file{name};
    if ((mode & ~kKnownModes) || !file) {
        errno = (mode & ~kKnownModes) || !name ? EINVAL : *name ? ENAMETOOLONG : ENOENT;
        return -1;
    }
    return access(file.Get(), mode);
}
