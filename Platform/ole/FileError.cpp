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
bool DirectoryExists(const std::string& name)
{
    const size_t slash = name.find_last_of('/');
    const std::string directory = slash == std::string::npos ? "." : name.substr(0, slash + 1);
    struct stat status;
    return stat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
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

DWORD ErrorOfName(int error, const std::string& name)
{
    return error == ENOENT && !DirectoryExists(name) ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(error);
}

std::string KernelName(LPCWSTR name)
{
    if (!name || !*name) {
        SetLastError(name ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_PARAMETER);
        return {};
    }
    uint64_t needed = 0;
    KrnWideToAnsi(name, nullptr, 0, &needed);
    std::string converted(needed, '\0');
    if (needed < 2 || KrnWideToAnsi(name, converted.data(), needed, nullptr) != KRN_SUCCESS)
        throw std::bad_alloc{};
    converted.pop_back();
    return converted;
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
