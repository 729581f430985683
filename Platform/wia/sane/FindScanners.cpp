#include "FindScanners.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vorn::wia {

namespace {

using Clock = std::chrono::steady_clock;

/** The program lies beside the library that this is part of, in a folder of its own. */
std::string FinderPath()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&FinderPath), &info) == 0 || !info.dli_fname)
        return {};
    const std::string library{info.dli_fname};
    return library.substr(0, library.rfind('/') + 1) + "vornwia/find-scanners";
}

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    posix_spawn_file_actions_t* Get() noexcept { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/** A program whose output is read; killed with the object when it has not ended. */
class Child {
public:
    Child(const std::string& program, const char* argument)
    {
        std::array<int, 2> ends{-1, -1};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            return;
        FileActions actions;
        posix_spawn_file_actions_adddup2(actions.Get(), ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        std::array<char*, 3> arguments{const_cast<char*>(program.c_str()), const_cast<char*>(argument),
                                       nullptr};
        if (posix_spawn(&process_, program.c_str(), actions.Get(), nullptr, arguments.data(), environ) != 0)
            process_ = -1;
        close(ends[1]);
        output_ = ends[0];
    }
    Child(const Child&) = delete;
    ~Child()
    {
        if (output_ >= 0)
            close(output_);
        if (process_ <= 0)
            return;
        kill(process_, SIGKILL);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    /** @return true when the program has closed its output within the time; false leaves `output` incomplete */
    bool ReadAll(std::string& output, Clock::time_point end)
    {
        while (process_ > 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            pollfd waiting{output_, POLLIN, 0};
            const int ready = left.count() > 0 ? poll(&waiting, 1, static_cast<int>(left.count())) : 0;
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return false;
            std::array<char, 4096> piece{};
            const ssize_t length = read(output_, piece.data(), piece.size());
            if (length == 0)
                return true;
            if (length > 0)
                output.append(piece.data(), static_cast<size_t>(length));
            else if (errno != EINTR)
                return false;
        }
        return true;
    }

private:
    pid_t process_ = -1;
    int output_ = -1;
};

/** Four terminated texts a scanner; what is cut off at the end is left out. */
std::vector<FoundScanner> Parse(const std::string& output)
{
    std::vector<std::string> texts;
    for (size_t at = 0, end = 0; (end = output.find('\0', at)) != std::string::npos; at = end + 1)
        texts.push_back(output.substr(at, end - at));
    std::vector<FoundScanner> scanners;
    for (size_t i = 0; i + 4 <= texts.size(); i += 4)
        scanners.push_back({texts[i], texts[i + 1], texts[i + 2], texts[i + 3]});
    return scanners;
}

}  // namespace

std::vector<FoundScanner> FindScanners(std::chrono::milliseconds patience)
{
    const std::string program = FinderPath();
    std::string output;
    if (Child{program, "all"}.ReadAll(output, Clock::now() + patience))
        return Parse(output);
    output.clear();
    Child{program, "local"}.ReadAll(output, Clock::now() + patience);
    return Parse(output);
}

}  // namespace vorn::wia
