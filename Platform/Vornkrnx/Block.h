/**
 * @file Block.h
 * Blocks of tracked memory. A header lies before each block; the headers form the ring of KernelState.
 *
 *   base         header                block
 *   |  (padding) | size, line, ... guard | the caller's bytes ...
 */
#pragma once

#include <optional>

#include "KernelState.h"

namespace vorn::krn {

/** What a block is for; images are aligned to 64 bytes, zero-filled, and the large ones lie in pages of their
 * own. */
enum class BlockUse { General, Image };

/** @return a new tracked block, or null without memory. General blocks have undefined content. */
void* AllocateBlock(uint64_t bytes, BlockUse use, Origin origin) noexcept;

/** @return the block, perhaps moved; null without memory, and the old block is untouched. */
void* ResizeBlock(void* block, uint64_t bytes, Origin origin) noexcept;

/** Frees a live block; anything else is reported as a misuse of `operation`. */
void FreeBlock(void* block, const char* operation, Origin origin) noexcept;

/** Size of a live block; nothing for an address that is none. */
std::optional<uint64_t> BlockBytes(const void* block) noexcept;

void TrackResource(uint32_t kind, void* resource, Origin origin) noexcept;
void UntrackResource(uint32_t kind, void* resource, Origin origin) noexcept;

void ReportTracked(KrnReportSink sink, void* userData) noexcept;

}  // namespace vorn::krn
