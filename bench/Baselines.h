/**
 * @file Baselines.h
 * The work that no library can avoid, done as a program would do it that has nothing else to do.
 */
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "FreshBlock.h"
#include "com.h"

namespace vorn::bench {

/** Copies into fresh memory, `copies` times, each from the one before; then frees it all. */
void CopyToFreshMemory(std::span<const uint8_t> bytes, int copies, Memory memory);

/** Writes a new file and lets the kernel copy it to another new one. Both stay. */
void WriteAndCopyFile(std::span<const uint8_t> bytes, const std::filesystem::path& first,
                      const std::filesystem::path& second);

/** Reads an integer from a storage at hand, `times` times. */
void ReadInteger(IWiaPropertyStorage& storage, PROPID id, int times);

/** The same, asking the item for its storage each time: a library that keeps no reference has to. */
void ReadIntegerOf(IUnknown& item, PROPID id, int times);

}  // namespace vorn::bench
