// Loaded into the tool by LD_PRELOAD: calls fail. VORN_FAIL says which: for files that are not done yet "close" of what was
// written, as where a disk quota is reported late, "fstat", "open" or "write"; or a number, of the one among the large
// blocks of memory.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

template <typename Function>
Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool Fails(const char* call)
{
    const char* const wanted = std::getenv("VORN_FAIL");
    return wanted && std::string_view{wanted} == call;
}

bool IsTemporary(std::string_view name)
{
    const std::string_view file = name.substr(name.rfind('/') + 1);
    return file == "WiaTempFile.tmp" || (file.starts_with(".vornwia-") && file != ".vornwia-lock");
}

bool IsTemporary(int file)
{
    char name[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = readlink(link.c_str(), name, sizeof name);
    return length > 0 && IsTemporary(std::string_view{name, static_cast<size_t>(length)});
}

/** True for the block that is to fail; errno is set then. */
bool IsFailingBlock(size_t bytes)
{
    constexpr size_t kLarge = 4096;
    static std::atomic<int> blocks;
    if (bytes < kLarge)
        return false;
    const char* const wanted = std::getenv("VORN_FAIL");
    const bool fails = wanted && ++blocks == std::atoi(wanted);
    if (fails)
        errno = ENOMEM;
    return fails;
}

}  // namespace

extern "C" {

int close(int file)
{
    const bool fails = Fails("close") && (fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY && IsTemporary(file);
    const int result = Next<int(int)>("close")(file);
    if (fails)
        errno = EDQUOT;
    return fails ? -1 : result;
}

int fstat(int file, struct stat* status) noexcept
{
    if (Fails("fstat") && IsTemporary(file)) {
        errno = EIO;
        return -1;
    }
    return Next<int(int, struct stat*)>("fstat")(file, status);
}

int open(const char* name, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, int) : 0;
    va_end(rest);
    if (Fails("open") && IsTemporary(std::string_view{name})) {
        errno = EMFILE;
        return -1;
    }
    return Next<int(const char*, int, ...)>("open")(name, flags, mode);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t offset)
{
    if (Fails("write") && IsTemporary(file)) {
        errno = EIO;
        return -1;
    }
    return Next<ssize_t(int, const void*, size_t, off_t)>("pwrite")(file, data, size, offset);
}

void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);

void* malloc(size_t bytes)
{
    return IsFailingBlock(bytes) ? nullptr : __libc_malloc(bytes);
}

void* calloc(size_t count, size_t bytes)
{
    return IsFailingBlock(count * bytes) ? nullptr : __libc_calloc(count, bytes);
}

void* mmap(void* address, size_t bytes, int protection, int flags, int file, off_t offset) noexcept
{
    if (file < 0 && IsFailingBlock(bytes))
        return MAP_FAILED;
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, bytes, protection, flags, file, offset));
}
}
