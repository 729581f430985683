#include <pthread.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "FileError.h"
#include "Vornkrnx.h"

namespace vorn::ole {
namespace {

/**
 * The directory of this process's temporary files. Nobody else can plant a file in it or share one by
 * accident. A forked child gets one of its own and leaves its parent's alone.
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
        std::string pattern = (parent / "vornwia-XXXXXX").string();
        name_.clear();
        if (mkdtemp(pattern.data()))
            name_ = pattern + '/';
        owner_ = getpid();
    }

    std::mutex mutex_;
    std::string name_;
    pid_t owner_ = -1;
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
