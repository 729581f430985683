/**
 * @file FileError.h
 * From the kernel's names and errors to the platform's.
 */
#pragma once

#include <climits>
#include <new>
#include <string_view>

#include "../process/Descriptor.h"
#include "winfiles.h"

namespace vorn::ole {

/** The ERROR_ code for an `errno` value. */
DWORD ErrorFromErrno(int error) noexcept;

/** As ErrorFromErrno, for a name that was not found: tells a missing file from a missing directory. */
DWORD ErrorOfName(int error, std::string_view name) noexcept;

/** The kernel's form of a name. It takes no memory, so that files can be found and removed when there is none. */
class KernelName {
public:
    /** For a name that is null, empty or too long there is none, and the last error says why. */
    explicit KernelName(LPCWSTR name) noexcept;

    explicit operator bool() const noexcept { return *text_ != 0; }
    const char* Get() const noexcept { return text_; }

private:
    char text_[PATH_MAX];
};

/** Sets the last error. @return FALSE, for `return Fail(...)` */
inline BOOL Fail(DWORD error) noexcept
{
    SetLastError(error);
    return FALSE;
}

/** Runs the body of a file call; what it throws becomes the last error and `failure`. */
template <typename Result, typename Body>
Result FileCall(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    } catch (...) {
        SetLastError(ERROR_GEN_FAILURE);
    }
    return failure;
}

using process::Descriptor;

}  // namespace vorn::ole
