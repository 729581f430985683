/**
 * @file Statuses.h
 * What SANE's statuses are for WIA.
 */
#pragma once

#include <sane/sane.h>

#include "platform.h"

namespace vorn::wia {

/** The platform's result for a status; an unknown one is a general error. */
HRESULT ResultOf(SANE_Status status) noexcept;

}  // namespace vorn::wia
