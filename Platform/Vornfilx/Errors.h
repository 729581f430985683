/**
 * @file Errors.h
 * How results of the system and of the kernel library become this library's codes.
 */
#pragma once

#include <cstdint>

#include "Vornfilx.h"

namespace vorn::fil {

/** The code of an `errno` value; `otherwise` (FIL_ERR_READ, FIL_ERR_WRITE) when the value tells nothing better. */
int32_t FromErrno(int error, int32_t otherwise) noexcept;

/** The code of a kernel library result. */
int32_t FromKernel(int32_t status) noexcept;

}  // namespace vorn::fil
