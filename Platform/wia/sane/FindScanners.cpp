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

    /** What the program prints; `S_OK` when it has ended well within the time, else why not. */
    HRESULT ReadAll(std::string& output, Clock::time_point end)
    {
        if (process_ <= 0)
            return WIA_ERROR_GENERAL_ERROR;
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            pollfd waiting{output_, POLLIN, 0};
            const int ready = left.count() > 0 ? poll(&waiting, 1, static_cast<int>(left.count())) : 0;
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return WIA_ERROR_DEVICE_COMMUNICATION;
            std::array<char, 4096> piece{};
            const ssize_t length = read(output_, piece.data(), piece.size());
            if (length == 0)
                return Wait();
            if (length > 0)
                output.append(piece.data(), static_cast<size_t>(length));
            else if (errno != EINTR)
                return WIA_ERROR_GENERAL_ERROR;
        }
    }

private:
    /** How the program ended, which has closed its output. */
    HRESULT Wait()
    {
        constexpr int kNotLoaded = 127;  // one of its libraries is missing
        int status = 0;
        while (waitpid(process_, &status, 0) < 0)
            if (errno != EINTR)
                return WIA_ERROR_GENERAL_ERROR;
        process_ = -1;
        if (WIFEXITED(status) && WEXITSTATUS(status) == kNotLoaded)
            return WIA_ERROR_GENERAL_ERROR;
        return status == 0 ? S_OK : WIA_ERROR_EXCEPTION_IN_DRIVER;
    }

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

ScannerSearch FindScanners(std::chrono::milliseconds patience)
{
    const std::string program = FinderPath();
    std::string output;
    const HRESULT failure = Child{program, "all"}.ReadAll(output, Clock::now() + patience);
    if (failure == S_OK)
        return {Parse(output), S_OK};
    output.clear();
    const HRESULT local = Child{program, "local"}.ReadAll(output, Clock::now() + patience);
    // A host that does not answer is no fault of the search.
    return {Parse(output), failure == WIA_ERROR_DEVICE_COMMUNICATION ? local : failure};
}

}  // namespace vorn::wia
