/**
 * @file VideoLibrary.h
 * What the library that plays video exports to the platform, which loads it.
 */
#pragma once

#include "platform.h"

namespace vorn::video {

/** The type of the function below: makes the class object of CLSID_WiaVideo. */
using MakeVideoClassFunction = HRESULT (*)(REFIID iid, void** object);

/** Its name in the library. */
inline constexpr char kMakeVideoClass[] = "VornMakeVideoClass";

}  // namespace vorn::video
