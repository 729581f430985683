/**
 * @file FileNames.h
 * Names for files that the service makes.
 */
#pragma once

#include "com.h"

namespace vorn::wia {

/** The usual extension of a format's files, with its dot. */
WStringView ExtensionOf(REFGUID format) noexcept;

/** `folder` and `name`, joined by a separator where the folder does not end in one. */
WString JoinPath(WStringView folder, WStringView name);

/** A name that no file has: `folder`/`name``extension`, else with " 1", " 2", ... after the name. */
WString FreeFileName(WStringView folder, WStringView name, WStringView extension);

/** The directory for temporary files; empty when there is none. */
WString TempFolder();

/** A number in decimal digits. */
WString Digits(uint32_t number);

}  // namespace vorn::wia
