#include <fcntl.h>
#include <sys/stat.h>

#include <memory>

#include "FileError.h"
#include "StreamBase.h"
#include "com.h"

namespace vorn::ole {
namespace {

constexpr DWORD kAccessMask = 0x3;
constexpr DWORD kShareMask = 0x70;
constexpr DWORD kKnownModes = kAccessMask | kShareMask | STGM_CREATE;

/** Seconds from the platform's epoch, 1601, to the kernel's. */
constexpr ULONGLONG kEpochSeconds = 11644473600u;

FILETIME ToFileTime(const timespec& time) noexcept
{
    const ULONGLONG ticks = (static_cast<ULONGLONG>(time.tv_sec) + kEpochSeconds) * 10000000u +
                            static_cast<ULONGLONG>(time.tv_nsec) / 100;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

HRESULT ResultFromErrno(int error) noexcept
{
    const DWORD code = ErrorFromErrno(error);
    return code == ERROR_DISK_FULL || code == ERROR_FILE_TOO_LARGE ? STG_E_MEDIUMFULL
                                                                   : HRESULT_FROM_WIN32(code);
}

/** An open file, shared by a stream and its clones. */
struct OpenFile {
    Descriptor descriptor;
    std::u16string name;
    DWORD mode;
};

class FileStream final : public StreamBase {
public:
    FileStream(std::shared_ptr<const OpenFile> file, ULONGLONG position) noexcept
        : StreamBase{position}, file_{std::move(file)}
    {
    }

    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override
    {
        if (!MayWrite())
            return STG_E_ACCESSDENIED;
        if (size.QuadPart > INT64_MAX)
            return STG_E_MEDIUMFULL;
        return ftruncate(Number(), static_cast<off_t>(size.QuadPart)) == 0 ? S_OK : ResultFromErrno(errno);
    }

    /** Some file systems report only when a descriptor is closed that something was not written: a copy serves. */
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override
    {
        Descriptor copy{fcntl(Number(), F_DUPFD_CLOEXEC, 0)};
        return copy && copy.Close() ? S_OK : ResultFromErrno(errno);
    }

    HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override
    {
        if (!stat)
            return STG_E_INVALIDPOINTER;
        *stat = STATSTG{};
        struct stat status;
        if (fstat(Number(), &status) != 0)
            return ResultFromErrno(errno);
        if (!(flags & STATFLAG_NONAME) && !CopyName(stat->pwcsName))
            return E_OUTOFMEMORY;
        stat->type = STGTY_STREAM;
        stat->cbSize.QuadPart = static_cast<ULONGLONG>(status.st_size);
        stat->mtime = ToFileTime(status.st_mtim);
        stat->ctime = ToFileTime(status.st_ctim);
        stat->atime = ToFileTime(status.st_atim);
        stat->grfMode = file_->mode;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override
    {
        if (!stream)
            return STG_E_INVALIDPOINTER;
        return MakeComObject<FileStream>(IID_IStream, reinterpret_cast<void**>(stream), file_, Position());
    }

protected:
    HRESULT GetSize(ULONGLONG& size) noexcept override
    {
        struct stat status;
        if (fstat(Number(), &status) != 0)
            return ResultFromErrno(errno);
        size = static_cast<ULONGLONG>(status.st_size);
        return S_OK;
    }

    HRESULT ReadAt(ULONGLONG offset, void* data, ULONG size, ULONG& done) noexcept override
    {
        if ((file_->mode & kAccessMask) == STGM_WRITE)
            return STG_E_ACCESSDENIED;
        return Transfer(size, done, [&](ULONG from) {
            return pread(Number(), static_cast<BYTE*>(data) + from, size - from,
                         static_cast<off_t>(offset + from));
        });
    }

    HRESULT WriteAt(ULONGLONG offset, const void* data, ULONG size, ULONG& done) noexcept override
    {
        if (!MayWrite())
            return STG_E_ACCESSDENIED;
        return Transfer(size, done, [&](ULONG from) {
            return pwrite(Number(), static_cast<const BYTE*>(data) + from, size - from,
                          static_cast<off_t>(offset + from));
        });
    }

private:
    int Number() const noexcept { return file_->descriptor.Get(); }
    bool MayWrite() const noexcept { return (file_->mode & kAccessMask) != STGM_READ; }

    /** Repeats a kernel call, which may do less than it is asked to, until all is done or it does nothing. */
    template <typename Step>
    static HRESULT Transfer(ULONG size, ULONG& done, Step step) noexcept
    {
        while (done < size) {
            const ssize_t moved = step(done);
            if (moved < 0 && errno == EINTR)
                continue;
            if (moved < 0)
                return ResultFromErrno(errno);
            if (moved == 0)
                break;
            done += static_cast<ULONG>(moved);
        }
        return S_OK;
    }

    bool CopyName(LPOLESTR& copy) const noexcept
    {
        const size_t bytes = (file_->name.size() + 1) * sizeof(OLECHAR);
        copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
        if (copy)
            std::memcpy(copy, file_->name.c_str(), bytes);
        return copy != nullptr;
    }

    const std::shared_ptr<const OpenFile> file_;
};

int OpenFlags(DWORD mode) noexcept
{
    constexpr int kAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};
    const int create = mode & STGM_CREATE ? O_CREAT | O_TRUNC : 0;
    // A FIFO without its other end would block.
    return kAccess[mode & kAccessMask] | create | O_CLOEXEC | O_NONBLOCK;
}

HRESULT OpenStream(LPCWSTR name, DWORD mode, IStream** stream)
{
    const KernelName kernelName{name};
    if (!kernelName)
        return HRESULT_FROM_WIN32(GetLastError());
    // All memory first: no file appears without a stream.
    const auto file = std::make_shared<OpenFile>(OpenFile{Descriptor{-1}, name, mode});
    auto opened = vorn::ComPtr<FileStream>::Adopt(new FileStream{file, 0});
    file->descriptor = Descriptor{open(kernelName.Get(), OpenFlags(mode), 0666)};
    if (!file->descriptor)
        return HRESULT_FROM_WIN32(ErrorOfName(errno, kernelName.Get()));
    struct stat status;
    if (fstat(file->descriptor.Get(), &status) != 0)
        return ResultFromErrno(errno);
    if (S_ISDIR(status.st_mode))
        return HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
    *stream = opened.Detach();
    return S_OK;
}

}  // namespace
}  // namespace vorn::ole

using namespace vorn;

HRESULT SHCreateStreamOnFileW(LPCWSTR name, DWORD mode, IStream** stream) noexcept
{
    if (!stream)
        return E_INVALIDARG;
    *stream = nullptr;
    if (mode & ~ole::kKnownModes || (mode & ole::kAccessMask) > STGM_READWRITE)
        return E_INVALIDARG;
    return NoThrow([&] { return ole::OpenStream(name, mode, stream); });
}
