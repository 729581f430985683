#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>

#include "FileError.h"
#include "Vornkrnx.h"

// Nothing here throws: a directory is made, and one that was left is removed, also when allocation fails.

namespace vorn::ole {
namespace {

constexpr std::string_view kPrefix = "vornwia-";
constexpr std::string_view kPattern = "XXXXXX";  // mkdtemp puts letters and digits there

/** Held locked as long as the process lives that made the directory. */
constexpr char kLockName[] = ".vornwia-lock";

/** Of the files WIA.bmp, WIA 1.bmp and so on that a transfer without a file name makes. */
constexpr std::string_view kEndings[] = {".tmp", ".bmp", ".tif", ".jpg", ".png"};

/** A younger directory may belong to a process that is about to lock it. */
constexpr time_t kSettledSeconds = 60;

/** All that a directory of ours may hold: anything else is somebody's. */
bool IsOwnName(std::string_view name)
{
    if (name == kLockName || name == "WiaTempFile.tmp")
        return true;
    for (const std::string_view ending : kEndings)
        if (name.starts_with("WIA") && name.ends_with(ending))
            return true;
    return false;
}

bool HasOurForm(std::string_view name)
{
    if (name.size() != kPrefix.size() + kPattern.size() || !name.starts_with(kPrefix))
        return false;
    for (const char each : name.substr(kPrefix.size()))
        if (!isalnum(static_cast<unsigned char>(each)))
            return false;
    return true;
}

/** The entries of an open directory, without `.` and `..`; each is given to `visit` until it answers false. */
template <typename Visit>
bool ForEachName(int directory, Visit&& visit)
{
    const int copy = openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const entries = copy < 0 ? nullptr : fdopendir(copy);
    if (!entries) {
        Descriptor{copy}.Close();
        return false;
    }
    bool all = true;
    while (const dirent* entry = all ? readdir(entries) : nullptr) {
        const std::string_view name{entry->d_name};
        all = name == "." || name == ".." || visit(entry->d_name);
    }
    closedir(entries);
    return all;
}

/** Removes the files of ours by their names, and the directory when it is then empty. */
void Remove(int parent, const char* name, int directory)
{
    ForEachName(directory, [directory](const char* file) {
        if (IsOwnName(file))
            unlinkat(directory, file, 0);
        return true;
    });
    unlinkat(parent, name, AT_REMOVEDIR);
}

/** Removes a directory that a killed process of this user left: one of our form, whose lock is there and free, and that holds
 * nothing but what we make. */
void RemoveIfLeft(int parent, const char* name)
{
    const Descriptor directory{openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    struct stat status;
    if (!directory || fstat(directory.Get(), &status) != 0 || status.st_uid != geteuid() ||
        (status.st_mode & 0777) != 0700)
        return;
    const Descriptor lock{openat(directory.Get(), kLockName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
    if (!lock || fstat(lock.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size != 0 ||
        time(nullptr) - status.st_mtime <= kSettledSeconds || flock(lock.Get(), LOCK_EX | LOCK_NB) != 0)
        return;
    if (ForEachName(directory.Get(), IsOwnName))
        Remove(parent, name, directory.Get());
}

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

    /** Its name with a `/` at the end; empty, with `errno` set, when there is none. It stays until the next call. */
    std::string_view Name()
    {
        const std::lock_guard lock{mutex_};
        if (owner_ != getpid() || !StillThere())
            Make();
        return {name_.data(), length_};
    }

private:
    TempDirectory() { pthread_atfork(Lock, Unlock, Unlock); }
    ~TempDirectory()
    {
        if (owner_ != getpid() || length_ == 0)
            return;
        name_[length_ - 1] = 0;
        const Descriptor directory{open(name_.data(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
        if (directory)
            Remove(AT_FDCWD, name_.data(), directory.Get());
    }

    static void Lock() { Instance().mutex_.lock(); }
    static void Unlock() { Instance().mutex_.unlock(); }

    /** A cleaner of old files may have removed it. */
    bool StillThere() const
    {
        struct stat status;
        return length_ > 0 && stat(name_.data(), &status) == 0 && S_ISDIR(status.st_mode);
    }

    /** The parent's absolute name. @return false, with `errno` set, when there is none */
    static bool FindParent(std::array<char, PATH_MAX>& parent)
    {
        const char* const asked = std::getenv("TMPDIR");
        return realpath(asked && *asked ? asked : "/tmp", parent.data()) != nullptr;
    }

    void Make()
    {
        length_ = 0;
        owner_ = getpid();
        lock_.Close();
        std::array<char, PATH_MAX> parent{};
        if (!FindParent(parent))
            return;
        const int length =
            snprintf(name_.data(), name_.size(), "%s/%s%s", parent.data(), kPrefix.data(), kPattern.data());
        if (length < 0 || static_cast<size_t>(length) + 2 > name_.size()) {
            errno = ENAMETOOLONG;
            return;
        }
        if (!mkdtemp(name_.data()))
            return;
        const Descriptor directory{open(name_.data(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
        lock_ = Descriptor{openat(directory.Get(), kLockName, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
        if (!lock_ || flock(lock_.Get(), LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            Remove(AT_FDCWD, name_.data(), directory.Get());
            errno = error;
            return;
        }
        name_[static_cast<size_t>(length)] = '/';
        name_[static_cast<size_t>(length) + 1] = 0;
        length_ = static_cast<size_t>(length) + 1;
        Sweep(parent.data());
    }

    /** Removes what processes that were killed left. */
    static void Sweep(const char* parent)
    {
        const Descriptor directory{open(parent, O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
        if (directory)
            ForEachName(directory.Get(), [&](const char* name) {
                if (HasOurForm(name))
                    RemoveIfLeft(directory.Get(), name);
                return true;
            });
    }

    std::mutex mutex_;
    std::array<char, PATH_MAX> name_{};
    size_t length_ = 0;
    pid_t owner_ = -1;
    Descriptor lock_;
};

}  // namespace
}  // namespace vorn::ole

using namespace vorn::ole;

DWORD GetTempPathW(DWORD capacity, WCHAR* buffer) noexcept
{
    return FileCall<DWORD>(0, [&]() -> DWORD {
        const std::string_view name = TempDirectory::Instance().Name();
        if (name.empty()) {
            SetLastError(ErrorFromErrno(errno));
            return 0;
        }
        uint64_t needed = 0;
        KrnAnsiToWide(name.data(), nullptr, 0, &needed);
        if (!buffer || capacity < needed)
            return static_cast<DWORD>(needed);
        KrnAnsiToWide(name.data(), buffer, capacity, nullptr);
        return static_cast<DWORD>(needed - 1);
    });
}
