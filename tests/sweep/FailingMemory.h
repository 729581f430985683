/**
 * @file FailingMemory.h
 * Allocations of the libraries under test, counted, and failed one by one.
 *
 * The program replaces malloc and its kin, operator new, mmap and pthread_create for the whole process. By the address
 * of the caller it counts those of our libraries, the ones that libstdc++ makes by operator new, and those of the C
 * library, libjpeg, libpng and zlib. Theirs always succeed in libraries that do not survive it: SANE's back ends, GLib,
 * GStreamer, the loader, and libtiff 4.5, which crashes in TIFFClose after a directory entry could not be added.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::test {

/** From now on blocks are counted; `ownOnly` leaves out the C library and the codecs. */
void WatchAllocations(bool ownOnly);

/** Allocation number `nth`, counted from 1, fails, and with `forever` all after it. */
void FailAllocations(uint64_t nth, bool forever);

/** No allocation fails any more. @return how many there were since FailAllocations. */
uint64_t StopFailing();

/** Blocks that were obtained since WatchAllocations and not given back. */
size_t LiveBlocks();

/** Prints who obtained them. */
void PrintLiveBlocks();

}  // namespace vorn::test
