/**
 * @file Scanimage.h
 * What SANE's own program makes of the same scanner, and the configuration that both see.
 */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/Notes.h"

namespace vorn::test {

/** An option of SANE and its value, in SANE's words. */
struct Option {
    std::string name, value;
};
using SaneOptions = std::vector<Option>;

/** The folder of this process with SANE's configuration: the back ends `test`, and `net` when a test adds hosts. */
const std::filesystem::path& SaneFolder();

/** Why there is nothing to test with; empty when there is. */
std::string WhatIsMissing();

/** What scanimage delivers for these settings, as the library delivers it: rows from the bottom, blue first. */
SeenPage ScanimagePage(const SaneOptions& options, const std::string& device = "test:0");

}  // namespace vorn::test
