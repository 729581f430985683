#include "ToolRun.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace vorn::test {
namespace {

constexpr uid_t kNobody = 65534;

void SendTo(const std::filesystem::path& file, int descriptor)
{
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (opened < 0 || dup2(opened, descriptor) < 0)
        _exit(126);
}

std::string Content(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

}  // namespace

ToolRun::ToolRun(const std::filesystem::path& folder, const Arguments& arguments, bool unprivileged,
                 unsigned megabytes)
    : folder_{folder}
{
    std::vector<char*> argv{const_cast<char*>(VORNSCAN_PATH)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    process_ = fork();
    if (process_ != 0)
        return;
    SendTo(folder_ / "stdout", STDOUT_FILENO);
    SendTo(folder_ / "stderr", STDERR_FILENO);
    setenv("TMPDIR", (folder_ / "tmp").c_str(), 1);
    const rlimit data{megabytes * rlim_t{1 << 20}, megabytes * rlim_t{1 << 20}};
    if (kBounded && megabytes > 0 && setrlimit(RLIMIT_DATA, &data) != 0)
        _exit(126);
    if (chdir((folder_ / "out").c_str()) != 0 || (unprivileged && geteuid() == 0 && setuid(kNobody) != 0))
        _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
}

void ToolRun::Signal(int number) const
{
    kill(process_, number);
}

ToolResult ToolRun::Wait()
{
    int status = 0;
    waitpid(process_, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Content(folder_ / "stdout"),
            Content(folder_ / "stderr")};
}

}  // namespace vorn::test
