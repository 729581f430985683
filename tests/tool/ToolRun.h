// Runs the command-line tool as a process of its own, as a person or a script would.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vorn::test {

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments arguments, const Arguments& more)
{
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/** What a run of the tool left behind. */
struct ToolResult {
    int exitCode;  ///< the signal's number, negative, when a signal ended it
    std::string out;
    std::string err;
};

/** A running tool. Its working directory is `folder`/out, its temporary directory `folder`/tmp. */
class ToolRun {
public:
    /** `unprivileged`: as the user "nobody", when the tests run as root. */
    ToolRun(const std::filesystem::path& folder, const Arguments& arguments, bool unprivileged = false);

    void Signal(int number) const;
    ToolResult Wait();

private:
    std::filesystem::path folder_;
    pid_t process_;
};

}  // namespace vorn::test
