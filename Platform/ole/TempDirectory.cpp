#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <mutex>

#include "FileError.h"
#include "Vornkrnx.h"

namespace vorn::ole {
namespace {

constexpr char kPrefix[] = "vornwia-";

/** A directory younger than this may belong to a process that is about to lock it. */
constexpr time_t kSettledSeconds = 60;

/** Opens a directory, following no link; -1 when it is none. */
int OpenDirectory(const std::filesystem::path& directory)
{
    return open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/** True when this user's process that made the directory has ended without removing it. */
bool IsAbandoned(int directory)
{
    struct stat status;
    return fstat(directory, &status) == 0 && status.st_uid == geteuid() &&
           time(nullptr) - status.st_mtime > kSettledSeconds && flock(directory, LOCK_EX | LOCK_NB) == 0;
}

/** Removes what processes that were killed left in `parent`. */
void Sweep(const std::filesystem::path& parent)
{
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator{parent, ignored}) {
        if (!entry.path().filename().string().starts_with(kPrefix))
            continue;
        const int directory = OpenDirectory(entry.path());
        if (directory == -1)
            continue;
        if (IsAbandoned(directory))
            std::filesystem::remove_all(entry.path(), ignored);
        close(directory);
    }
}

/**
 * The directory of this process's temporary files. Nobody else can plant a file in it or share one by
 * accident. A forked child gets one of its own and leaves its parent's alone. A lock on it tells other processes
 * that its owner lives.
 */
class TempDirectory {
public:
    static TempDirectory& Instance()
    {
        static TempDirectory directory;
        return directory;
    }

    /** Its name with a `/` at the end; empty, with `errno` set, when there is none. */
    std::string Name()
    {
        const std::lock_guard lock{mutex_};
        if (owner_ != getpid() || !StillThere())
            Make();
        return name_;
    }

private:
    TempDirectory() { pthread_atfork(Lock, Unlock, Unlock); }
    ~TempDirectory()
    {
        if (owner_ != getpid() || name_.empty())
            return;
        std::error_code ignored;
        std::filesystem::remove_all(name_, ignored);
    }

    static void Lock() { Instance().mutex_.lock(); }
    static void Unlock() { Instance().mutex_.unlock(); }

    /** A cleaner of old files may have removed it. */
    bool StillThere() const
    {
        struct stat status;
        return !name_.empty() && stat(name_.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    }

    void Make()
    {
        const char* chosen = std::getenv("TMPDIR");
        const std::filesystem::path parent = std::filesystem::absolute(chosen && *chosen ? chosen : "/tmp");
        std::string pattern = (parent / (std::string{kPrefix} + "XXXXXX")).string();
        name_.clear();
        owner_ = getpid();
        if (lock_ != -1)
            close(lock_);
        lock_ = -1;
        if (!mkdtemp(pattern.data()))
            return;
        name_ = pattern + '/';
        lock_ = OpenDirectory(name_);
        if (lock_ != -1)
            flock(lock_, LOCK_SH | LOCK_NB);
        Sweep(parent);
    }

    std::mutex mutex_;
    std::string name_;
    pid_t owner_ = -1;
    int lock_ = -1;
};

}  // namespace
}  // namespace vorn::ole

using namespace vorn::ole;

DWORD GetTempPathW(DWORD capacity, WCHAR* buffer) noexcept
{
    return FileCall<DWORD>(0, [&]() -> DWORD {
        const std::string name = TempDirectory::Instance().Name();
        if (name.empty()) {
            SetLastError(ErrorFromErrno(errno));
            return 0;
        }
        uint64_t needed = 0;
        KrnAnsiToWide(name.c_str(), nullptr, 0, &needed);
        if (!buffer || capacity < needed)
            return static_cast<DWORD>(needed);
        KrnAnsiToWide(name.c_str(), buffer, capacity, nullptr);
        return static_cast<DWORD>(needed - 1);
    });
}
