#include "FailingMemory.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

extern "C" {
void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);
void* __libc_realloc(void* block, size_t bytes);
void* __libc_memalign(size_t alignment, size_t bytes);
void __libc_free(void* block);
}

namespace vorn::test {
namespace {

enum class By { Malloc, New };

std::atomic<bool> watching{false}, onlyOwn{false}, failing{false};
std::atomic<uint64_t> allocations{0};
uint64_t firstToFail = 0;
bool forEver = false;

bool IsWatched(const void* caller, By by) noexcept
{
    dl_find_object found{};
    if (_dl_find_object(const_cast<void*>(caller), &found) != 0 || !found.dlfo_link_map)
        return false;
    const char* const path = found.dlfo_link_map->l_name;
    const char* const slash = std::strrchr(path, '/');
    const char* const name = slash ? slash + 1 : path;
    const auto isOneOf = [name](const auto&... prefixes) {
        return ((std::strncmp(name, prefixes, std::strlen(prefixes)) == 0) || ...);
    };
    return isOneOf("libvorn") || (by == By::New && isOneOf("libstdc++")) ||
           (!onlyOwn && isOneOf("libc.so", "libjpeg", "libpng", "libz."));
}

/** Counts an allocation that is watched; true when it is to fail. */
bool Fails(const void* caller, By by = By::Malloc) noexcept
{
    if (!failing || !IsWatched(caller, by))
        return false;
    const uint64_t number = ++allocations;
    return number == firstToFail || (forEver && number > firstToFail);
}

/** The watched blocks that are live: a hash table that itself allocates nothing. */
class Live {
public:
    void Add(void* block, const void* caller) noexcept
    {
        const std::lock_guard lock{mutex_};
        Entry* entry = Place(block);
        count_ += !entry->block;
        *entry = {block, caller};
    }
    void Remove(void* block) noexcept
    {
        const std::lock_guard lock{mutex_};
        Entry* entry = Place(block);
        if (!entry->block)
            return;
        --count_;
        entry->block = nullptr;
        // Those behind it may have been put there because its place was taken.
        for (Entry* next = After(entry); next->block; next = After(next)) {
            const Entry moved = *next;
            next->block = nullptr;
            *Place(moved.block) = moved;
        }
    }
    size_t Count() const noexcept { return count_; }
    template <typename Callback>
    void ForEach(Callback callback) const
    {
        for (const Entry& entry : entries_)
            if (entry.block)
                callback(entry.caller);
    }

private:
    struct Entry {
        void* block;
        const void* caller;
    };
    static constexpr size_t kEntries = size_t{1} << 17;

    Entry* After(Entry* entry) noexcept { return entry + 1 == entries_ + kEntries ? entries_ : entry + 1; }
    Entry* Place(const void* block) noexcept
    {
        Entry* entry = entries_ + (reinterpret_cast<uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15u % kEntries;
        while (entry->block && entry->block != block)
            entry = After(entry);
        return entry;
    }

    std::mutex mutex_;
    size_t count_ = 0;
    Entry entries_[kEntries]{};
};
constinit Live live{};

void* Noted(void* block, const void* caller, By by = By::Malloc) noexcept
{
    if (block && watching && IsWatched(caller, by))
        live.Add(block, caller);
    return block;
}

void Forget(void* block) noexcept
{
    if (block && watching)
        live.Remove(block);
}

void* NoMemory() noexcept
{
    errno = ENOMEM;
    return nullptr;
}

}  // namespace

void WatchAllocations(bool ownOnly)
{
    onlyOwn = ownOnly;
    watching = true;
}

void FailAllocations(uint64_t nth, bool forever)
{
    allocations = 0;
    firstToFail = nth;
    forEver = forever;
    failing = true;
}

uint64_t StopFailing()
{
    failing = false;
    return allocations;
}

size_t LiveBlocks()
{
    return live.Count();
}

void PrintLiveBlocks()
{
    watching = false;
    live.ForEach([](const void* caller) {
        Dl_info info{};
        dladdr(caller, &info);
        std::fprintf(
            stderr, "  live: %s+%#zx %s\n", info.dli_fname ? info.dli_fname : "?",
            static_cast<size_t>(static_cast<const char*>(caller) - static_cast<const char*>(info.dli_fbase)),
            info.dli_sname ? info.dli_sname : "");
    });
}

}  // namespace vorn::test

// ---- What the process calls in place of the C library's --------------------------------------------------

using namespace vorn::test;

#define VORN_CALLER __builtin_return_address(0)

extern "C" {

void* malloc(size_t bytes)
{
    return Fails(VORN_CALLER) ? NoMemory() : Noted(__libc_malloc(bytes), VORN_CALLER);
}

void* calloc(size_t count, size_t bytes)
{
    return Fails(VORN_CALLER) ? NoMemory() : Noted(__libc_calloc(count, bytes), VORN_CALLER);
}

void* realloc(void* block, size_t bytes)
{
    if (Fails(VORN_CALLER))
        return NoMemory();
    Forget(block);  // before another thread can get the address
    return Noted(__libc_realloc(block, bytes), VORN_CALLER);
}

void free(void* block)
{
    Forget(block);
    __libc_free(block);
}

int posix_memalign(void** block, size_t alignment, size_t bytes)
{
    *block = Fails(VORN_CALLER) ? nullptr : Noted(__libc_memalign(alignment, bytes), VORN_CALLER);
    return *block ? 0 : ENOMEM;
}

void* aligned_alloc(size_t alignment, size_t bytes)
{
    return Fails(VORN_CALLER) ? NoMemory() : Noted(__libc_memalign(alignment, bytes), VORN_CALLER);
}

void* mmap(void* address, size_t bytes, int protection, int flags, int file, off_t offset)
{
    if ((flags & MAP_ANONYMOUS) && Fails(VORN_CALLER)) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, bytes, protection, flags, file, offset));
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument)
{
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return Fails(VORN_CALLER, By::New) ? EAGAIN : create(thread, attributes, start, argument);
}

}  // extern "C"

// The other forms call these two.
void* operator new(size_t bytes)
{
    if (Fails(VORN_CALLER, By::New))
        throw std::bad_alloc{};
    if (void* block = Noted(__libc_malloc(bytes ? bytes : 1), VORN_CALLER, By::New))
        return block;
    throw std::bad_alloc{};
}

void operator delete(void* block) noexcept
{
    free(block);
}

void operator delete(void* block, size_t) noexcept
{
    free(block);
}
