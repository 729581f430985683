/**
 * @file FolderListing.h
 * The image files of a folder, in the order in which a person would lay them into a feeder.
 */
#pragma once

#include <vector>

#include "../Export.h"
#include "com.h"

namespace vorn::wia {

/**
 * True when `left` comes before `right`: letters without regard to case, numbers by their value, so that
 * "page2" comes before "page10".
 */
VORN_WIA_API bool NaturallyBefore(WStringView left, WStringView right) noexcept;

/**
 * Full names of the files in `folder` whose extension the file library knows. Empty when there are none, or
 * no such folder.
 */
std::vector<WString> ListImages(const WCHAR* folder);

}  // namespace vorn::wia
