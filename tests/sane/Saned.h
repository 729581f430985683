/** SANE's network daemon on loopback. */
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <string>
#include <vector>

extern char** environ;

namespace vorn::test {

inline std::vector<std::string> SanedCommand()
{
    return {"/usr/sbin/saned", "-l", "-b", "127.0.0.1", "-e"};
}

/** A process that ends with the object. */
class Process {
public:
    explicit Process(std::vector<std::string> words)
    {
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        if (posix_spawnp(&id_, arguments[0], nullptr, &attributes, arguments.data(), environ) != 0)
            id_ = 0;
        posix_spawnattr_destroy(&attributes);
    }
    Process(const Process&) = delete;
    ~Process()
    {
        if (id_ <= 0)
            return;
        kill(id_, SIGTERM);
        waitpid(id_, nullptr, 0);
    }
    /** With the processes that it has started. */
    void Signal(int number) const { kill(-id_, number); }
    bool Started() const { return id_ > 0; }

private:
    pid_t id_ = 0;
};

}  // namespace vorn::test
