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
    /**
     * @param unprivileged  as the user "nobody", when the tests run as root
     * @param megabytes     of memory that it may take for data; 0: as many as there are. Sanitizers take more: see kBounded
     */
    ToolRun(const std::filesystem::path& folder, const Arguments& arguments, bool unprivileged = false,
            unsigned megabytes = 0);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr bool kBounded = false;
#else
    static constexpr bool kBounded = true;
#endif

    void Signal(int number) const;
    ToolResult Wait();

private:
    std::filesystem::path folder_;
    pid_t process_;
};

}  // namespace vorn::test
