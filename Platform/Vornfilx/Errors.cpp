#include "Errors.h"

#include <cerrno>

namespace vorn::fil {
namespace {

struct Row {
    int from;
    int32_t to;
};

constexpr Row kErrnoRows[] = {
    {ENOENT, FIL_ERR_NOT_FOUND},
    {ENOTDIR, FIL_ERR_NOT_FOUND},
    {ENAMETOOLONG, FIL_ERR_NOT_FOUND},
    {ELOOP, FIL_ERR_NOT_FOUND},
    {EINVAL, FIL_ERR_INVALID_ARGUMENT},
    {EACCES, FIL_ERR_ACCESS},
    {EPERM, FIL_ERR_ACCESS},
    {EROFS, FIL_ERR_ACCESS},
    {EEXIST, FIL_ERR_ACCESS},
    {ETXTBSY, FIL_ERR_ACCESS},
    {EBUSY, FIL_ERR_ACCESS},
    {ENXIO, FIL_ERR_ACCESS},
    {EISDIR, FIL_ERR_IS_DIRECTORY},
    {ENOSPC, FIL_ERR_DISK_FULL},
#ifdef EDQUOT
    {EDQUOT, FIL_ERR_DISK_FULL},
#endif
    {EFBIG, FIL_ERR_TOO_LARGE},
    {EOVERFLOW, FIL_ERR_TOO_LARGE},
    {ENOMEM, FIL_ERR_OUT_OF_MEMORY},
};

constexpr Row kKernelRows[] = {
    {KRN_SUCCESS, FIL_SUCCESS},
    {KRN_ERR_OUT_OF_MEMORY, FIL_ERR_OUT_OF_MEMORY},
    {KRN_ERR_BITMAP_TOO_LARGE, FIL_ERR_TOO_LARGE},
};

}  // namespace

int32_t FromErrno(int error, int32_t otherwise) noexcept
{
    for (const Row& row : kErrnoRows)
        if (row.from == error)
            return row.to;
    return otherwise;
}

int32_t FromKernel(int32_t status) noexcept
{
    for (const Row& row : kKernelRows)
        if (row.from == status)
            return row.to;
    return FIL_ERR_INVALID_ARGUMENT;
}

}  // namespace vorn::fil
