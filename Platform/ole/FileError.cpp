#include "FileError.h"

#include <sys/stat.h>

#include "Vornkrnx.h"

namespace vorn::ole {
namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

struct ErrorRow {
    int fromKernel;
    DWORD error;
};

constexpr ErrorRow kErrors[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EIO, ERROR_IO_DEVICE},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EBADF, ERROR_INVALID_HANDLE},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
};

/** True when the directory that should hold `name` is there. */
bool DirectoryExists(std::string_view name) noexcept
{
    char directory[PATH_MAX] = ".";
    const size_t slash = name.find_last_of('/');
    if (slash != std::string_view::npos && slash + 1 < sizeof directory)
        directory[name.copy(directory, slash + 1)] = 0;
    struct stat status;
    return stat(directory, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

DWORD ErrorFromErrno(int error) noexcept
{
    for (const ErrorRow& row : kErrors) {
        if (row.fromKernel == error)
            return row.error;
    }
    return ERROR_GEN_FAILURE;
}

DWORD ErrorOfName(int error, std::string_view name) noexcept
{
    return error == ENOENT && !DirectoryExists(name) ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(error);
}

KernelName::KernelName(LPCWSTR name) noexcept
{
    *text_ = 0;
    if (!name || !*name)
        SetLastError(name ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_PARAMETER);
    else if (KrnWideToAnsi(name, text_, sizeof text_, nullptr) != KRN_SUCCESS)
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
}

}  // namespace vorn::ole

DWORD GetLastError() noexcept
{
    return vorn::ole::t_lastError;
}

void SetLastError(DWORD error) noexcept
{
    vorn::ole::t_lastError = error;
}
