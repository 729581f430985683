/**
 * @file FolderEntries.h
 * What a folder holds.
 */
#pragma once

#include <filesystem>
#include <vector>

namespace vorn::wia {

/**
 * The full paths of all entries of a folder, in no order; none when there is no such folder. The standard's iterator
 * ends the process when an allocation fails.
 * @throws std::bad_alloc
 */
std::vector<std::filesystem::path> FolderEntries(const std::filesystem::path& folder);

}  // namespace vorn::wia
