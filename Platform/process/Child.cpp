#include "Child.h"

#include <csignal>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

extern char** environ;

namespace vorn::process {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFirstPassed = 3;
/** Where copies of the passed descriptors lie until they take their places: above all places. */
constexpr int kAbovePlaces = 64;

/** A killed process ends soon, but for one that the kernel holds in a driver of its own. */
constexpr auto kKillPatience = std::chrono::seconds{2};

[[noreturn]] void Fail(int error, const std::string& program)
{
    throw std::system_error{error, std::generic_category(), program};
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

/** A group of its own; signals as a program started by a shell has them. */
class Attributes {
public:
    Attributes()
    {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    Attributes(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&attributes_); }
    posix_spawnattr_t* Get() noexcept { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

}  // namespace

Child::Child(const std::string& program, const std::vector<std::string>& arguments,
             std::span<const int> descriptors, bool verbose)
    : owner_{getpid()}
{
    FileActions actions;
    posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (!verbose)
        posix_spawn_file_actions_addopen(actions.Get(), STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(actions.Get(), STDERR_FILENO, STDOUT_FILENO);
    std::vector<Descriptor> copies;
    copies.reserve(descriptors.size());
    int place = kFirstPassed;
    for (const int descriptor : descriptors) {
        copies.emplace_back(fcntl(descriptor, F_DUPFD_CLOEXEC, kAbovePlaces));
        if (!copies.back())
            Fail(errno, program);
        posix_spawn_file_actions_adddup2(actions.Get(), copies.back().Get(), place++);
    }
    posix_spawn_file_actions_addclosefrom_np(actions.Get(), place);

    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    Attributes attributes;
    if (const int error =
            posix_spawn(&process_, program.c_str(), actions.Get(), attributes.Get(), words.data(), environ))
        Fail(error, program);
    pidDescriptor_ = Descriptor{static_cast<int>(syscall(SYS_pidfd_open, process_, 0))};
}

Child::~Child()
{
    End(std::chrono::milliseconds{0});
}

/** Leaves the ended program for waitpid, so that its id, which is its group's too, means no other process yet. */
bool Child::AwaitEnd(std::chrono::milliseconds patience) const noexcept
{
    const auto end = Clock::now() + patience;
    for (;;) {
        siginfo_t info{};
        if (waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) < 0 ||
            info.si_pid != 0)
            return true;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0)
            return false;
        constexpr int kWithoutDescriptor = 5;
        pollfd ended{pidDescriptor_.Get(), POLLIN, 0};
        poll(&ended, 1, pidDescriptor_ ? static_cast<int>(left.count()) : kWithoutDescriptor);
    }
}

/** Not where the application has reaped the program already: the id may mean another group by now. */
void Child::KillGroup() const noexcept
{
    siginfo_t info{};
    if (waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0)
        kill(-process_, SIGKILL);
}

bool Child::FailedToLoad() const noexcept
{
    constexpr int kNotLoaded = 127;  // what the dynamic linker ends with
    siginfo_t info{};
    return AwaitEnd(kKillPatience) &&
           waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_code == CLD_EXITED && info.si_status == kNotLoaded;
}

void Child::End(std::chrono::milliseconds patience) noexcept
{
    if (process_ <= 0 || owner_ != getpid())
        return;
    AwaitEnd(patience);
    KillGroup();  // also of a program that has ended: what it has started may still be there
    if (AwaitEnd(kKillPatience))
        while (waitpid(process_, nullptr, WNOHANG) < 0 && errno == EINTR) {
        }
    process_ = -1;
}

}  // namespace vorn::process
