/**
 * @file FileError.h
 * From the kernel's names and errors to the platform's.
 */
#pragma once

#include <new>
#include <string>

#include "../process/Descriptor.h"
#include "winfiles.h"

namespace vorn::ole {

/** The ERROR_ code for an `errno` value. */
DWORD ErrorFromErrno(int error) noexcept;

/** As ErrorFromErrno, for a name that was not found: tells a missing file from a missing directory. */
DWORD ErrorOfName(int error, const std::string& name);

/** The kernel's form of a name. Empty, with the last error set, for a name that is null or empty. */
std::string KernelName(LPCWSTR name);

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
