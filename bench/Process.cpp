#include "Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "Seconds.h"

extern char** environ;

namespace vorn::bench {
namespace {

double InSeconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

Usage RunProgram(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    int status = -1;
    rusage usage{};
    const double seconds = Seconds([&] {
        pid_t process = 0;
        if (posix_spawnp(&process, arguments.front(), &actions, nullptr, arguments.data(), environ) == 0)
            wait4(process, &status, 0, &usage);
    });
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0)
        throw std::runtime_error{command.front() + " does not run, or fails"};
    return {seconds, InSeconds(usage.ru_utime) + InSeconds(usage.ru_stime), int64_t{usage.ru_maxrss} * 1024};
}

}  // namespace vorn::bench
