// The few questions to the operating system that the standard library does not answer.
#pragma once

#include <filesystem>

namespace vornscan {

/** True when standard error is a terminal. */
bool ErrorsGoToTerminal();

/** True when this process may write the file or create files in the directory. */
bool MayWrite(const std::filesystem::path& path);

}  // namespace vornscan
