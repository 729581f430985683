#include "Os.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>

#include "Utf.h"
#endif

namespace vorn::krn {

#ifdef _WIN32

void* MapFreshPages(size_t bytes) noexcept
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void ReleasePages(void* pages, size_t) noexcept
{
    VirtualFree(pages, 0, MEM_RELEASE);
}

bool IsMapped(const void* address, size_t bytes) noexcept
{
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                                PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    const char* at = static_cast<const char*>(address);
    const char* const end = at + bytes;
    while (at < end) {
        MEMORY_BASIC_INFORMATION area{};
        if (!VirtualQuery(at, &area, sizeof area) || area.State != MEM_COMMIT ||
            !(area.Protect & kReadable) || (area.Protect & PAGE_GUARD))
            return false;
        at = static_cast<const char*>(area.BaseAddress) + area.RegionSize;
    }
    return true;
}

uint64_t AnsiCharsNeeded(const WCHAR* text) noexcept
{
    return static_cast<uint64_t>(WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr));
}

uint64_t WideCharsNeeded(const char* text) noexcept
{
    return static_cast<uint64_t>(MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0));
}

void WriteAnsi(const WCHAR* text, char* buffer, uint64_t needed) noexcept
{
    WideCharToMultiByte(CP_ACP, 0, text, -1, buffer, static_cast<int>(needed), nullptr, nullptr);
}

void WriteWide(const char* text, WCHAR* buffer, uint64_t needed) noexcept
{
    MultiByteToWideChar(CP_ACP, 0, text, -1, buffer, static_cast<int>(needed));
}

uint64_t NameCharsNeeded(const char* name) noexcept
{
    return WideCharsNeeded(name);
}

void WriteName(const char* name, WCHAR* buffer, uint64_t needed) noexcept
{
    WriteWide(name, buffer, needed);
}

bool IsWellFormed(const char* text) noexcept
{
    return MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0) > 0;
}

#else

namespace {

constexpr size_t kHugePage = size_t{2} << 20;

void* Map(size_t bytes) noexcept
{
    void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : pages;
}

/** Maps an area that begins at a huge page's boundary, so that all of it but its tail can lie in huge pages.
 */
void* MapHugeAligned(size_t bytes) noexcept
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t wanted = (bytes + page - 1) / page * page;
    char* const area = static_cast<char*>(Map(wanted + kHugePage));
    if (!area)
        return nullptr;
    const size_t before = (kHugePage - reinterpret_cast<uintptr_t>(area) % kHugePage) % kHugePage;
    if (before)
        munmap(area, before);
    if (const size_t after = kHugePage - before; after)
        munmap(area + before + wanted, after);
#ifdef MADV_HUGEPAGE
    madvise(area + before, wanted, MADV_HUGEPAGE);
#endif
    return area + before;
}

}  // namespace

void* MapFreshPages(size_t bytes) noexcept
{
    return bytes < 2 * kHugePage ? Map(bytes) : MapHugeAligned(bytes);
}

void ReleasePages(void* pages, size_t bytes) noexcept
{
    munmap(pages, bytes);
}

bool IsMapped(const void* address, size_t bytes) noexcept
{
    static const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t end = reinterpret_cast<uintptr_t>(address) + bytes;
    for (uintptr_t at = reinterpret_cast<uintptr_t>(address) / page * page; at < end; at += page) {
        unsigned char resident = 0;
        if (mincore(reinterpret_cast<void*>(at), 1, &resident) != 0)
            return false;
    }
    return true;
}

uint64_t AnsiCharsNeeded(const WCHAR* text) noexcept
{
    return utf::CountUnits<char>(text);
}

uint64_t WideCharsNeeded(const char* text) noexcept
{
    return utf::CountUnits<WCHAR>(text);
}

void WriteAnsi(const WCHAR* text, char* buffer, uint64_t) noexcept
{
    utf::Transcode(text, buffer);
}

void WriteWide(const char* text, WCHAR* buffer, uint64_t) noexcept
{
    utf::Transcode(text, buffer);
}

uint64_t NameCharsNeeded(const char* name) noexcept
{
    return utf::CountUnits<WCHAR>(utf::FileName{name});
}

void WriteName(const char* name, WCHAR* buffer, uint64_t) noexcept
{
    utf::Transcode(utf::FileName{name}, buffer);
}

bool IsWellFormed(const char* text) noexcept
{
    return utf::IsWellFormed(text);
}

#endif

}  // namespace vorn::krn
