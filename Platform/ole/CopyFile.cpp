#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "FileError.h"

namespace vorn::ole {
namespace {

constexpr size_t kKernelCopyBytes = size_t{1} << 30;
constexpr size_t kBufferBytes = size_t{1} << 18;

/** Opens for reading what can be copied: a regular file. */
Descriptor OpenSource(const std::string& name, struct stat& status)
{
    Descriptor source{open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
    if (!source || fstat(source.Get(), &status) != 0) {
        Fail(ErrorOfName(errno, name));
        return Descriptor{};
    }
    if (S_ISREG(status.st_mode))
        return source;
    Fail(S_ISDIR(status.st_mode) ? ERROR_ACCESS_DENIED : ERROR_NOT_SUPPORTED);
    return Descriptor{};
}

bool WriteAll(int target, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = write(target, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

/** Copies the rest of `source` through a buffer. */
bool CopyByBuffer(int source, int target)
{
    const auto buffer = std::make_unique<char[]>(kBufferBytes);
    for (;;) {
        const ssize_t got = read(source, buffer.get(), kBufferBytes);
        if (got == 0)
            return true;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 || !WriteAll(target, buffer.get(), static_cast<size_t>(got)))
            return false;
    }
}

/** True for an error that says that the kernel cannot copy between these two files, not that copying failed.
 */
bool NeedsBuffer(int error) noexcept
{
    return error == EXDEV || error == ENOSYS || error == EINVAL || error == EOPNOTSUPP || error == EPERM ||
           error == EBADF || error == ETXTBSY;
}

/** Copies from the beginning; `errno` tells about a failure. */
bool CopyContent(int source, int target)
{
    for (;;) {
        const ssize_t copied = copy_file_range(source, nullptr, target, nullptr, kKernelCopyBytes, 0);
        if (copied > 0 || (copied < 0 && errno == EINTR))
            continue;
        if (copied < 0 && !NeedsBuffer(errno))
            return false;
        // Some file systems answer 0 though there is something to read: the buffer finds out.
        return CopyByBuffer(source, target);
    }
}

/** Gives a file another name; `errno` tells about a failure. */
bool Rename(const std::string& from, const std::string& to, bool failIfExists)
{
    if (!failIfExists)
        return rename(from.c_str(), to.c_str()) == 0;
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system that cannot rename so can link.
    return link(from.c_str(), to.c_str()) == 0 && unlink(from.c_str()) == 0;
}

/** A new file beside the destination, which disappears unless it takes the destination's place. */
class Sibling {
public:
    explicit Sibling(const std::string& destination)
        : prefix_{destination.substr(0, destination.find_last_of('/') + 1) + ".vornwia-"}
    {
        // The kernel applies the umask, which mkstemp would not let it do.
        do {
            name_ = prefix_ + RandomSuffix();
            descriptor_ = Descriptor{open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)};
        } while (!descriptor_ && errno == EEXIST);
    }
    Sibling(const Sibling&) = delete;
    Sibling& operator=(const Sibling&) = delete;
    ~Sibling()
    {
        if (exists_)
            unlink(name_.c_str());
    }

    /** Asked first: false, with `errno` set, when the directory refused the file. */
    bool Made() noexcept { return exists_ = static_cast<bool>(descriptor_); }

    int Number() const noexcept { return descriptor_.Get(); }

    /** Ends writing and takes the destination's place; `errno` tells about a failure. */
    bool Become(const std::string& destination, bool failIfExists)
    {
        if (!descriptor_.Close())
            return false;
        if (!Rename(name_, destination, failIfExists))
            return false;
        exists_ = false;
        return true;
    }

private:
    static std::string RandomSuffix()
    {
        uint64_t random = 0;
        if (getrandom(&random, sizeof(random), 0) != sizeof(random))
            random = reinterpret_cast<uintptr_t>(&random) ^ static_cast<uint64_t>(getpid());
        char digits[17];
        std::snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(random));
        return digits;
    }

    const std::string prefix_;
    std::string name_;
    Descriptor descriptor_;
    bool exists_ = false;
};

/** The copy keeps the owner, as far as that is allowed, and the permissions of what it replaces. */
bool TakeOverPermissions(int target, const struct stat& replaced)
{
    // Only the superuser gives files away; the file is then the caller's, who could write the old one.
    const bool sameOwner = fchown(target, replaced.st_uid, replaced.st_gid) == 0;
    return fchmod(target, replaced.st_mode & (sameOwner ? 07777 : 0777)) == 0;
}

BOOL CopyBeside(int source, Sibling& sibling, const std::string& destination, const struct stat* replaced,
                bool failIfExists)
{
    if (!CopyContent(source, sibling.Number()) ||
        (replaced && !TakeOverPermissions(sibling.Number(), *replaced)) ||
        !sibling.Become(destination, failIfExists))
        return Fail(ErrorFromErrno(errno));
    return TRUE;
}

/** Writes straight into a destination that holds nothing to lose: an empty file or a device. */
BOOL CopyInto(int source, const std::string& destination)
{
    Descriptor target{open(destination.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY)};
    if (!target)
        return Fail(ErrorFromErrno(errno));
    if (CopyContent(source, target.Get()) && target.Close())
        return TRUE;
    const DWORD error = ErrorFromErrno(errno);
    // The file is empty again; a device has no length, and the answer says nothing new.
    [[maybe_unused]] const int ignored = truncate(destination.c_str(), 0);
    return Fail(error);
}

/** The name behind a symbolic link, which a copy goes through and does not replace. */
std::string ResolveLinks(const std::string& name)
{
    const std::unique_ptr<char, void (*)(void*)> resolved{realpath(name.c_str(), nullptr), std::free};
    return resolved ? std::string{resolved.get()} : name;
}

/** False, with the last error set, when an existing destination must not be replaced. */
bool MayReplace(const std::string& destination, const struct stat& existing, const struct stat& source,
                bool failIfExists)
{
    if (failIfExists)
        return Fail(ERROR_FILE_EXISTS);
    if (existing.st_dev == source.st_dev && existing.st_ino == source.st_ino)
        return Fail(ERROR_SHARING_VIOLATION);
    if (!S_ISREG(existing.st_mode) && !S_ISCHR(existing.st_mode))
        return Fail(ERROR_ACCESS_DENIED);
    // A read-only file is not replaced, though its directory would allow it.
    if (faccessat(AT_FDCWD, destination.c_str(), W_OK, AT_EACCESS) != 0)
        return Fail(ErrorFromErrno(errno));
    return true;
}

enum class Source { Stays, Goes };

/** The source itself takes the destination's place; false when that cannot be, and all is as it was. */
bool Move(const std::string& from, int source, const std::string& destination, const struct stat* replaced,
          bool failIfExists)
{
    return (!replaced || (S_ISREG(replaced->st_mode) && TakeOverPermissions(source, *replaced))) &&
           Rename(from, destination, failIfExists);
}

BOOL Copy(const std::string& from, const std::string& to, bool failIfExists, Source then)
{
    struct stat sourceStatus;
    const Descriptor source = OpenSource(from, sourceStatus);
    if (!source)
        return FALSE;
    const std::string destination = ResolveLinks(to);
    struct stat existing;
    const bool replaces = stat(destination.c_str(), &existing) == 0;
    if (!replaces && errno != ENOENT)
        return Fail(ErrorFromErrno(errno));
    if (replaces && !MayReplace(destination, existing, sourceStatus, failIfExists))
        return FALSE;
    if (replaces && !S_ISREG(existing.st_mode))
        return CopyInto(source.Get(), destination);
    if (then == Source::Goes &&
        Move(from, source.Get(), destination, replaces ? &existing : nullptr, failIfExists))
        return TRUE;

    Sibling sibling{destination};
    if (sibling.Made())
        return CopyBeside(source.Get(), sibling, destination, replaces ? &existing : nullptr, failIfExists);
    if (replaces && existing.st_size == 0)
        return CopyInto(source.Get(), destination);
    return Fail(ErrorOfName(errno, destination));
}

BOOL CopyNamed(LPCWSTR existing, LPCWSTR copy, bool failIfExists, Source then) noexcept
{
    const KernelName from{existing};
    if (!from)
        return FALSE;
    const KernelName to{copy};
    return to ? FileCall<BOOL>(FALSE, [&] { return Copy(from.Get(), to.Get(), failIfExists, then); }) : FALSE;
}

}  // namespace
}  // namespace vorn::ole

using namespace vorn::ole;

BOOL CopyFileW(LPCWSTR existing, LPCWSTR copy, BOOL failIfExists) noexcept
{
    return CopyNamed(existing, copy, failIfExists != FALSE, Source::Stays);
}

BOOL PassFileW(LPCWSTR existing, LPCWSTR destination, BOOL failIfExists) noexcept
{
    return CopyNamed(existing, destination, failIfExists != FALSE, Source::Goes);
}
