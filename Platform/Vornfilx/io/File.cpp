#include "io/File.h"

#include <fcntl.h>
#ifndef _WIN32
#include <sys/file.h>
#endif
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>

#include "io/Buffer.h"
#endif

namespace vorn::fil {
namespace {

/** One call of the system takes less than 2 GiB. */
constexpr uint64_t kMostAtOnce = uint64_t{1} << 30;

#ifdef _WIN32

using Status = struct _stat64;

int OpenFile(const WCHAR* name, File::Mode mode) noexcept
{
    const int flags = mode == File::Mode::Read     ? _O_RDONLY
                      : mode == File::Mode::Update ? _O_RDWR
                                                   : _O_RDWR | _O_CREAT | _O_EXCL;
    return _wopen(name, flags | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

int GetStatus(int file, Status& status) noexcept
{
    return _fstat64(file, &status);
}

/** A directory cannot be opened here at all: tells why `name` could not. */
bool IsDirectory(const WCHAR* name) noexcept
{
    Status status{};
    return _wstat64(name, &status) == 0 && (status.st_mode & S_IFMT) == S_IFDIR;
}

int64_t ReadSome(int file, uint64_t offset, void* buffer, uint64_t count) noexcept
{
    if (_lseeki64(file, static_cast<int64_t>(offset), SEEK_SET) < 0)
        return -1;
    return _read(file, buffer, static_cast<unsigned>(count));
}

int64_t WriteSome(int file, uint64_t offset, const void* data, uint64_t count) noexcept
{
    if (_lseeki64(file, static_cast<int64_t>(offset), SEEK_SET) < 0)
        return -1;
    return _write(file, data, static_cast<unsigned>(count));
}

int SetSize(int file, uint64_t size) noexcept
{
    return _chsize_s(file, static_cast<int64_t>(size));
}

int FindRoom(int, uint64_t, uint64_t) noexcept
{
    return 0;
}

/** Of a byte far behind the end, so that reading goes on meanwhile. */
bool TryLock(int file, bool exclusive) noexcept
{
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(file));
    return LockFileEx(handle, (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0) | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                      &place) != 0;
}

/** Nobody takes the name of a file that is open. */
bool HasName(int, const WCHAR*) noexcept
{
    return true;
}

int CloseFile(int file) noexcept
{
    return _close(file);
}

int RenameFile(const WCHAR* from, const WCHAR* to) noexcept
{
    return _wrename(from, to);
}

int RenameOver(const WCHAR* from, const WCHAR* to) noexcept
{
    // Of a file that is there the permissions and attributes stay; one that is not can only be moved to.
    if (ReplaceFileW(to, from, nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
        (GetLastError() == ERROR_FILE_NOT_FOUND && MoveFileExW(from, to, 0)))
        return 0;
    errno = GetLastError() == ERROR_DISK_FULL ? ENOSPC : EACCES;
    return -1;
}

#else

using Status = struct stat;

int OpenFile(const WCHAR* name, File::Mode mode) noexcept
{
    const AnsiName path{name};
    if (!path.Get()) {
        errno = ENOMEM;
        return -1;
    }
    const int flags = mode == File::Mode::Read     ? O_RDONLY
                      : mode == File::Mode::Update ? O_RDWR
                                                   : O_RDWR | O_CREAT | O_EXCL;
    // Without O_NONBLOCK a named pipe would hold the caller until somebody writes to it.
    return open(path.Get(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
}

int GetStatus(int file, Status& status) noexcept
{
    return fstat(file, &status);
}

bool IsDirectory(const WCHAR*) noexcept
{
    return errno == EISDIR;
}

int64_t ReadSome(int file, uint64_t offset, void* buffer, uint64_t count) noexcept
{
    return pread(file, buffer, static_cast<size_t>(count), static_cast<off_t>(offset));
}

int64_t WriteSome(int file, uint64_t offset, const void* data, uint64_t count) noexcept
{
    return pwrite(file, data, static_cast<size_t>(count), static_cast<off_t>(offset));
}

int SetSize(int file, uint64_t size) noexcept
{
    return ftruncate(file, static_cast<off_t>(size)) == 0 ? 0 : errno;
}

/** The file stays as long as it is; a file system that cannot do so is no error. */
int FindRoom(int file, uint64_t offset, uint64_t count) noexcept
{
    const int done =
        fallocate(file, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset), static_cast<off_t>(count));
    return done != 0 && (errno == ENOSPC || errno == EDQUOT) ? errno : 0;
}

/** A file system without locks has none to wait for. */
bool TryLock(int file, bool exclusive) noexcept
{
    return flock(file, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0 ||
           (errno != EWOULDBLOCK && errno != EINTR);
}

/** False when another file has taken the name since this one was opened. */
bool HasName(int file, const WCHAR* name) noexcept
{
    const AnsiName path{name};
    Status open{}, named{};
    return path.Get() && fstat(file, &open) == 0 && stat(path.Get(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

int CloseFile(int file) noexcept
{
    return close(file);
}

int RenameFile(const WCHAR* from, const WCHAR* to) noexcept
{
    const AnsiName old{from}, path{to};
    if (!old.Get() || !path.Get()) {
        errno = ENOMEM;
        return -1;
    }
    if (renameat2(AT_FDCWD, old.Get(), AT_FDCWD, path.Get(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // A file system that cannot rename so can link.
    return link(old.Get(), path.Get()) == 0 ? unlink(old.Get()) : -1;
}

int RenameOver(const WCHAR* from, const WCHAR* to) noexcept
{
    const AnsiName old{from}, path{to};
    if (!old.Get() || !path.Get()) {
        errno = ENOMEM;
        return -1;
    }
    Status replaced{};
    if (stat(path.Get(), &replaced) == 0) {
        // Only the superuser gives files away; the file is then the caller's, who could write the old one.
        const bool sameOwner = chown(old.Get(), replaced.st_uid, replaced.st_gid) == 0;
        if (chmod(old.Get(), replaced.st_mode & (sameOwner ? 07777 : 0777)) != 0)
            return -1;
    }
    return rename(old.Get(), path.Get());
}

#endif

}  // namespace

File::~File()
{
    Close();
}

int32_t File::Open(const WCHAR* name, Mode mode) noexcept
{
    const int32_t otherwise = mode == Mode::Read ? FIL_ERR_READ : FIL_ERR_WRITE;
    descriptor_ = OpenFile(name, mode);
    if (descriptor_ < 0) {
        const int error = errno;
        return IsDirectory(name) ? FIL_ERR_IS_DIRECTORY : FromErrno(error, otherwise);
    }
    Status status{};
    if (GetStatus(descriptor_, status) != 0)
        return FromErrno(errno, otherwise);
    const auto kind = status.st_mode & S_IFMT;
    if (kind != S_IFREG)
        return kind == S_IFDIR ? FIL_ERR_IS_DIRECTORY : FIL_ERR_ACCESS;
    size_ = static_cast<uint64_t>(status.st_size);
    return FIL_SUCCESS;
}

int32_t File::AwaitLock(bool exclusive) noexcept
{
    constexpr auto kPatience = std::chrono::seconds{30};
    constexpr auto kPause = std::chrono::milliseconds{10};
    for (const auto end = std::chrono::steady_clock::now() + kPatience; !TryLock(descriptor_, exclusive);) {
        if (std::chrono::steady_clock::now() >= end)
            return FIL_ERR_LOCKED;
        std::this_thread::sleep_for(kPause);
    }
    return FIL_SUCCESS;
}

int32_t File::OpenLocked(const WCHAR* name, Mode mode) noexcept
{
    for (;;) {
        int32_t status = Open(name, mode);
        if (status == FIL_SUCCESS)
            status = AwaitLock(mode == Mode::Update);
        if (status != FIL_SUCCESS)
            return status;
        if (HasName(descriptor_, name)) {
            Status now{};  // what it has become while others had it
            if (GetStatus(descriptor_, now) != 0)
                return FromErrno(errno, FIL_ERR_READ);
            size_ = static_cast<uint64_t>(now.st_size);
            return FIL_SUCCESS;
        }
        Close();
    }
}

int32_t File::ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept
{
    char* at = static_cast<char*>(buffer);
    while (count > 0) {
        const int64_t done = ReadSome(descriptor_, offset, at, std::min(count, kMostAtOnce));
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return FromErrno(errno, FIL_ERR_READ);
        if (done == 0)
            return FIL_ERR_CORRUPT;
        at += done;
        offset += static_cast<uint64_t>(done);
        count -= static_cast<uint64_t>(done);
    }
    return FIL_SUCCESS;
}

int32_t File::WriteAt(uint64_t offset, const void* data, uint64_t count) noexcept
{
    const char* at = static_cast<const char*>(data);
    while (count > 0) {
        const int64_t done = WriteSome(descriptor_, offset, at, std::min(count, kMostAtOnce));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return done < 0 ? FromErrno(errno, FIL_ERR_WRITE) : FIL_ERR_DISK_FULL;
        at += done;
        offset += static_cast<uint64_t>(done);
        count -= static_cast<uint64_t>(done);
        size_ = std::max(size_, offset);
    }
    return FIL_SUCCESS;
}

int32_t File::Truncate(uint64_t size) noexcept
{
    if (const int error = SetSize(descriptor_, size); error != 0)
        return FromErrno(error, FIL_ERR_WRITE);
    size_ = size;
    return FIL_SUCCESS;
}

int32_t File::Reserve(uint64_t count) noexcept
{
    const int error = FindRoom(descriptor_, size_, count);
    return error != 0 ? FromErrno(error, FIL_ERR_WRITE) : FIL_SUCCESS;
}

int32_t File::Close() noexcept
{
    if (descriptor_ < 0)
        return FIL_SUCCESS;
    const int descriptor = descriptor_;
    descriptor_ = -1;
    return CloseFile(descriptor) == 0 ? FIL_SUCCESS : FromErrno(errno, FIL_ERR_WRITE);
}

#ifdef _WIN32
SystemName::SystemName(const WCHAR* name) noexcept : name_{name} {}
SystemName::~SystemName() = default;
#else
SystemName::SystemName(const WCHAR* name) noexcept : name_{KrnAllocAnsiCopy(name)} {}
SystemName::~SystemName()
{
    KrnFreeAnsiCopy(name_);
}
#endif

void File::Remove(const SystemName& name) noexcept
{
#ifdef _WIN32
    _wunlink(name.name_);
#else
    unlink(name.name_);
#endif
}

int32_t File::Rename(const WCHAR* from, const WCHAR* to) noexcept
{
    return RenameFile(from, to) == 0 ? FIL_SUCCESS : FromErrno(errno, FIL_ERR_WRITE);
}

int32_t File::Replace(const WCHAR* from, const WCHAR* to) noexcept
{
    return RenameOver(from, to) == 0 ? FIL_SUCCESS : FromErrno(errno, FIL_ERR_WRITE);
}

FileUpdate::~FileUpdate()
{
    if (!committed_)
        file_.Truncate(oldSize_);
}

int32_t FileUpdate::ReadAt(uint64_t offset, void* buffer, uint64_t count) noexcept
{
    return Holds(offset, count) ? file_.ReadAt(offset, buffer, count) : FIL_ERR_CORRUPT;
}

int32_t FileUpdate::WriteAt(uint64_t offset, const void* data, uint64_t count) noexcept
{
    if (offset >= oldSize_) {
        const uint64_t end = std::max(size_, offset + count);
        int32_t status = FIL_SUCCESS;
        if (endCount_ > 0 && end > size_)
            status = file_.WriteAt(PlaceOfEnd(end), end_, endCount_);
        if (status == FIL_SUCCESS)
            status = file_.WriteAt(offset, data, count);
        size_ = end;
        return status;
    }
    if (patchCount_ > 0 || count > kPatchBytes || count > oldSize_ - offset)
        return FIL_ERR_CORRUPT;
    patchOffset_ = offset;
    patchCount_ = count;
    std::memcpy(patch_, data, static_cast<size_t>(count));
    return FIL_SUCCESS;
}

uint64_t FileUpdate::PlaceOfEnd(uint64_t size) const noexcept
{
    // The system writes what lies in one block of its cache as a whole or not at all.
    constexpr uint64_t kBlockBytes = 4096;
    const uint64_t left = kBlockBytes - size % kBlockBytes;
    return left < endCount_ ? size + left : size;
}

int32_t FileUpdate::KeepEnd(std::string_view end) noexcept
{
    if (end.size() > kEndBytes)
        return FIL_ERR_CORRUPT;
    endCount_ = end.size();
    std::memcpy(end_, end.data(), end.size());
    return FIL_SUCCESS;
}

int32_t FileUpdate::PatchEnd(uint64_t offset, const void* data, uint64_t count) noexcept
{
    if (patchCount_ > 0 || count > kPatchBytes || offset + count > endCount_)
        return FIL_ERR_CORRUPT;
    patchOffset_ = PlaceOfEnd(size_) + offset;
    patchCount_ = count;
    std::memcpy(patch_, data, static_cast<size_t>(count));
    return FIL_SUCCESS;
}

int32_t FileUpdate::Commit() noexcept
{
    const int32_t status = file_.WriteAt(patchOffset_, patch_, patchCount_);
    committed_ = status == FIL_SUCCESS;
    return status;
}

}  // namespace vorn::fil
