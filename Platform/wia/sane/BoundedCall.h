/**
 * @file BoundedCall.h
 * Calls of SANE that a host which answers nothing may put off for ever.
 */
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace vorn::wia {

/** Of a device of that name. The other back ends bound their waiting themselves, and a thread takes its time. */
bool MayTakeForever(std::string_view name) noexcept;

/**
 * Makes a call from a thread of its own. One that is given up keeps SANE from everybody until it returns.
 * @param call   both own what they use
 * @param after  follows a call that was given up
 * @return false when it was given up; throws std::system_error when there can be no thread
 */
bool CallWithin(std::chrono::milliseconds patience, std::function<void()> call, std::function<void()> after);

}  // namespace vorn::wia
