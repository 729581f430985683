/**
 * @file Apartment.h
 * Whether classes may be asked for.
 */
#pragma once

namespace vorn::ole {

/** True while any thread of the process is in an apartment: one then serves all threads. */
bool ProcessHasApartment() noexcept;

}  // namespace vorn::ole
