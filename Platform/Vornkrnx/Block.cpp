#include "Block.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "Os.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace vorn::krn {
namespace {

/** How the storage was obtained. Only that of Heap begins with the header. */
enum class Storage : uint8_t { Heap, AlignedHeap, Pages, Resource };

struct alignas(16) Header : Link {
    void* base = nullptr;  ///< the storage's first byte; of a Resource, the resource itself
    uint64_t bytes = 0;    ///< of the caller's block
    const char* file = nullptr;
    int32_t line = 0;
    uint32_t kind = KRN_RESOURCE_MEMORY;
    Storage storage = Storage::Heap;
    bool tracked = false;
    uint64_t guard = 0;  ///< the last field, so that a write before the block hits it first

    void* Block() noexcept { return this + 1; }
};

constexpr uint64_t kHeaderBytes = sizeof(Header);
constexpr uint64_t kImageAlignment = 64;
/**
 * Large images lie half a page behind a page's start. In files their rows follow a header of some ten or thousand
 * bytes: a copy whose two ends have nearly the same place in their pages takes processors three times as long.
 */
constexpr uint64_t kPagesAlignment = 2048;
constexpr uint64_t kSmallestPage = 4096;
/** Images from this size on get pages of their own: zeros that cost nothing until they are touched. */
constexpr uint64_t kPagesFrom = 256 * 1024;
constexpr const char* kNotLive = "not a live block: foreign, freed already, or its header is overwritten";

static_assert(kHeaderBytes % 16 == 0 && kHeaderBytes <= kImageAlignment);

/** The guard ties a header to its address and size: neither a copy nor a header with another size passes. */
uint64_t GuardOf(const void* header, uint64_t bytes) noexcept
{
    return 0x5AFEB10C5AFEB10Cu ^ reinterpret_cast<uintptr_t>(header) ^ bytes << 20;
}

void Arm(Header& header) noexcept
{
    header.guard = GuardOf(&header, header.bytes);
}

/** Looks on purpose at what may be freed memory by now; the thread sanitizer would report that. */
[[gnu::no_sanitize_thread]] bool IsArmed(const Header* header) noexcept
{
    return header->guard == GuardOf(header, header->bytes);
}

/** Makes a header worthless before its memory is given back. Volatile, or the store would be optimised away.
 */
void Disarm(Header& header) noexcept
{
    *const_cast<volatile uint64_t*>(&header.guard) = 0;
}

/** Sorts out numbers that are no addresses: the lowest are never mapped, the highest are the system's. */
bool CanBePointer(uint64_t address) noexcept
{
    return address >= 65536 && address >> 48 == 0;
}

/** True when the memory where the header of `block` would be can be read at all. */
bool CanReadHeader(const Header* header, const void* block) noexcept
{
    // Only there can the header be in a page that is gone while the caller's pointer still looks fine: it
    // lies in the page before, or in one that was mapped for one block. To ask the system costs more than the
    // rest of a free, hence no wider a net.
    const auto address = reinterpret_cast<uintptr_t>(block);
    if ((address % kSmallestPage < kHeaderBytes || address % kPagesAlignment == 0) &&
        !IsMapped(header, kHeaderBytes))
        return false;
#if defined(__SANITIZE_ADDRESS__)
    return !__asan_region_is_poisoned(const_cast<Header*>(header), kHeaderBytes);
#else
    return true;
#endif
}

/** The header of a live block, or null for any other address. Called with the state locked. */
Header* HeaderOf(const void* block) noexcept
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(block);
    if (address % alignof(Header) != 0 || !CanBePointer(address))
        return nullptr;
    Header* const header = static_cast<Header*>(const_cast<void*>(block)) - 1;
    if (!CanReadHeader(header, block))
        return nullptr;
    return IsArmed(header) ? header : nullptr;
}

void StartTracking(Header& header) noexcept
{
    KernelState& state = State();
    header.InsertAsNewest(state.ring);
    header.tracked = true;
    ++state.trackedCount;
}

void StopTracking(Header& header) noexcept
{
    if (!header.tracked)
        return;
    header.Remove();
    header.tracked = false;
    --State().trackedCount;
}

uint64_t PagesBytes(uint64_t blockBytes) noexcept
{
    return blockBytes + kPagesAlignment;
}

Storage StorageFor(uint64_t bytes, BlockUse use) noexcept
{
    if (use == BlockUse::General)
        return Storage::Heap;
    return bytes < kPagesFrom ? Storage::AlignedHeap : Storage::Pages;
}

void* ObtainStorage(uint64_t bytes, Storage storage) noexcept
{
    if (storage == Storage::Pages)
        return MapFreshPages(static_cast<size_t>(PagesBytes(bytes)));
    if (storage == Storage::AlignedHeap)
        return std::calloc(1, static_cast<size_t>(bytes + 2 * kImageAlignment));
    return std::malloc(static_cast<size_t>(bytes + kHeaderBytes));
}

/** Obtains storage and places a header in it; not yet tracked. */
Header* NewHeader(uint64_t bytes, BlockUse use) noexcept
{
    if (bytes > SIZE_MAX - kPagesAlignment)
        return nullptr;
    const Storage storage = StorageFor(bytes, use);
    void* const base = ObtainStorage(bytes, storage);
    if (!base)
        return nullptr;
    uintptr_t block = reinterpret_cast<uintptr_t>(base) + kHeaderBytes;
    if (storage != Storage::Heap) {
        const uint64_t alignment = storage == Storage::Pages ? kPagesAlignment : kImageAlignment;
        block = (block + alignment - 1) / alignment * alignment;
    }
    Header* const header = new (reinterpret_cast<void*>(block - kHeaderBytes)) Header;
    header->base = base;
    header->bytes = bytes;
    header->storage = storage;
    return header;
}

/** Gives the storage back. The header is no longer tracked. */
void DeleteHeader(Header* header) noexcept
{
    Disarm(*header);
    if (header->storage == Storage::Pages)
        ReleasePages(header->base, static_cast<size_t>(PagesBytes(header->bytes)));
    else
        std::free(header->base);
}

/**
 * Resizes in place or by moving, links included; the state stays locked, since the neighbours point here.
 * Only for Heap storage.
 */
Header* ReallocHeader(Header* header, uint64_t bytes) noexcept
{
    Disarm(*header);
    Header* const moved =
        static_cast<Header*>(std::realloc(header->base, static_cast<size_t>(bytes + kHeaderBytes)));
    if (!moved) {
        Arm(*header);
        return nullptr;
    }
    if (moved->tracked) {
        moved->older->newer = moved;
        moved->newer->older = moved;
    } else {
        moved->older = moved->newer = moved;
    }
    moved->base = moved;
    moved->bytes = bytes;
    Arm(*moved);
    return moved;
}

/** Resizes an image block by a new block. */
void* ReplaceBlock(void* block, uint64_t oldBytes, bool tracked, uint64_t bytes, Origin origin) noexcept
{
    void* const fresh = AllocateBlock(bytes, BlockUse::Image, origin);
    if (!fresh)
        return nullptr;
    std::memcpy(fresh, block, static_cast<size_t>(oldBytes < bytes ? oldBytes : bytes));
    if (!tracked)
        UntrackResource(KRN_RESOURCE_MEMORY, fresh, origin);
    FreeBlock(block, "KrnRealloc", origin);
    return fresh;
}

/** The tracked node of a resource that is no memory block. Called with the state locked. */
Header* FindResource(uint32_t kind, const void* resource) noexcept
{
    Link& ring = State().ring;
    for (Link* link = ring.older; link != &ring; link = link->older) {
        Header* const header = static_cast<Header*>(link);
        if (header->storage == Storage::Resource && header->kind == kind && header->base == resource)
            return header;
    }
    return nullptr;
}

}  // namespace

void* AllocateBlock(uint64_t bytes, BlockUse use, Origin origin) noexcept
{
    if (TakePlannedFailure())
        return nullptr;
    Header* const header = NewHeader(bytes, use);
    if (!header)
        return nullptr;
    header->file = origin.file;
    header->line = origin.line;
    Arm(*header);
    const std::lock_guard lock{State().mutex};
    StartTracking(*header);
    return header->Block();
}

void* ResizeBlock(void* block, uint64_t bytes, Origin origin) noexcept
{
    if (TakePlannedFailure() || bytes > SIZE_MAX - kHeaderBytes)
        return nullptr;
    std::unique_lock lock{State().mutex};
    Header* header = HeaderOf(block);
    if (!header) {
        lock.unlock();
        ReportMisuse(origin, "KrnRealloc", block, kNotLive);
        return nullptr;
    }
    if (header->storage != Storage::Heap) {
        const uint64_t oldBytes = header->bytes;
        const bool tracked = header->tracked;
        lock.unlock();
        return ReplaceBlock(block, oldBytes, tracked, bytes, origin);
    }
    header = ReallocHeader(header, bytes);
    if (!header)
        return nullptr;
    header->file = origin.file;
    header->line = origin.line;
    return header->Block();
}

void FreeBlock(void* block, const char* operation, Origin origin) noexcept
{
    if (!block)
        return;
    Header* header = nullptr;
    {
        const std::lock_guard lock{State().mutex};
        header = HeaderOf(block);
        if (header) {
            StopTracking(*header);
            Disarm(*header);
        }
    }
    if (header)
        DeleteHeader(header);
    else
        ReportMisuse(origin, operation, block, kNotLive);
}

std::optional<uint64_t> BlockBytes(const void* block) noexcept
{
    const std::lock_guard lock{State().mutex};
    const Header* const header = HeaderOf(block);
    return header ? std::optional{header->bytes} : std::nullopt;
}

void TrackResource(uint32_t kind, void* resource, Origin origin) noexcept
{
    if (!resource)
        return;
    const char* fault = nullptr;
    if (kind == KRN_RESOURCE_MEMORY) {
        const std::lock_guard lock{State().mutex};
        Header* const header = HeaderOf(resource);
        if (!header)
            fault = kNotLive;
        else if (!header->tracked)
            StartTracking(*header);
    } else if (Header* const node = new (std::nothrow) Header) {
        node->storage = Storage::Resource;
        node->base = resource;
        node->kind = kind;
        node->file = origin.file;
        node->line = origin.line;
        const std::lock_guard lock{State().mutex};
        StartTracking(*node);
    } else {
        fault = "no memory to track it";
    }
    if (fault)
        ReportMisuse(origin, "KrnTrackResource", resource, fault);
}

void UntrackResource(uint32_t kind, void* resource, Origin origin) noexcept
{
    if (!resource)
        return;
    const char* fault = nullptr;
    {
        const std::lock_guard lock{State().mutex};
        Header* const header =
            kind == KRN_RESOURCE_MEMORY ? HeaderOf(resource) : FindResource(kind, resource);
        if (!header)
            fault = kind == KRN_RESOURCE_MEMORY ? kNotLive : "not a tracked resource of this kind";
        else if (!header->tracked)
            fault = "taken out of the tracking already";
        else
            StopTracking(*header);
        if (header && header->storage == Storage::Resource)
            delete header;
    }
    if (fault)
        ReportMisuse(origin, "KrnUntrackResource", resource, fault);
}

void ReportTracked(KrnReportSink sink, void* userData) noexcept
try {
    // Copies, because a sink may allocate and free.
    std::vector<Header> tracked;
    {
        KernelState& state = State();
        const std::lock_guard lock{state.mutex};
        tracked.reserve(static_cast<size_t>(state.trackedCount));
        for (Link* link = state.ring.newer; link != &state.ring; link = link->newer)
            tracked.push_back(*static_cast<Header*>(link));
    }
    for (const Header& header : tracked) {
        char line[512];
        const char* const file = header.file ? header.file : "?";
        if (header.storage == Storage::Resource)
            std::snprintf(line, sizeof line, "%.200s:%d: resource of kind %u at %p", file, header.line,
                          header.kind, header.base);
        else
            std::snprintf(line, sizeof line, "%.200s:%d: block of %llu bytes", file, header.line,
                          static_cast<unsigned long long>(header.bytes));
        sink(line, userData);
    }
} catch (const std::bad_alloc&) {
    sink("no memory for the report of what is tracked", userData);
}

}  // namespace vorn::krn
