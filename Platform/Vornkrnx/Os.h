/**
 * @file Os.h
 * What the kernel library asks of the operating system itself. The only file of the library with a branch a
 * system.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "vornwia_types.h"

namespace vorn::krn {

/**
 * Maps fresh pages that read as zero and that nobody has touched yet; large areas are backed by huge pages
 * where the system has them, which halves the cost of the first touch.
 * @return a page-aligned address, given back with ReleasePages, or null
 */
void* MapFreshPages(size_t bytes) noexcept;
void ReleasePages(void* pages, size_t bytes) noexcept;

/** True when reading `bytes` at `address` touches mapped memory only. */
bool IsMapped(const void* address, size_t bytes) noexcept;

/** Characters that `text` needs in the other encoding, terminator included; 0 when the system cannot tell. */
uint64_t AnsiCharsNeeded(const WCHAR* text) noexcept;
uint64_t WideCharsNeeded(const char* text) noexcept;

/** As WideCharsNeeded, for a file name of which no byte may be lost. */
uint64_t NameCharsNeeded(const char* name) noexcept;

/** Convert into a buffer of just the characters that the functions above have told. */
void WriteAnsi(const WCHAR* text, char* buffer, uint64_t needed) noexcept;
void WriteWide(const char* text, WCHAR* buffer, uint64_t needed) noexcept;
void WriteName(const char* name, WCHAR* buffer, uint64_t needed) noexcept;

/** True for a text that is valid in the system's code page. */
bool IsWellFormed(const char* text) noexcept;

}  // namespace vorn::krn
