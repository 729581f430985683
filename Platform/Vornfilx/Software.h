/**
 * @file Software.h
 * What an image file names as its maker.
 */
#pragma once

namespace vorn::fil {

/** Printable characters only; `VORN_VERSION` comes from the build. */
constexpr char kSoftware[] = "vornwia " VORN_VERSION;

}  // namespace vorn::fil
