/**
 * @file Classes.h
 * The class objects of the device managers.
 */
#pragma once

#include "platform.h"

namespace vorn::wia {

/** Makes the class object of a device manager, which refuses with `REGDB_E_CLASSNOTREG` while it is hidden. */
HRESULT MakeManagerClass(REFIID iid, void** object) noexcept;
HRESULT MakeManagerClass2(REFIID iid, void** object) noexcept;

}  // namespace vorn::wia
