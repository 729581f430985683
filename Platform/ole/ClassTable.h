/**
 * @file ClassTable.h
 * The classes that CoCreateInstance knows without being told by CoRegisterClassObject.
 */
#pragma once

#include "ole.h"

namespace vorn::ole {

/** Makes a class object: answers `iid`, mostly that of IClassFactory, with a new reference in `object`. */
using ClassObjectMaker = HRESULT (*)(REFIID iid, void** object);

/**
 * Makes a class known to the whole process; a later maker replaces an earlier one. Callable while static
 * objects are initialised.
 */
__attribute__((visibility("default"))) void RegisterBuiltInClass(REFCLSID clsid, ClassObjectMaker maker);

}  // namespace vorn::ole
