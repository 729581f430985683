/**
 * @file BareCodecs.h
 * Image files written and read as a program would that has nothing else to do: by one call of the codec library
 * after the other, straight from the page and into memory of its own.
 */
#pragma once

#include <filesystem>
#include <span>

#include "Vornkrnx.h"

namespace vorn::bench {

/** Saves a page as a file. Throws when that fails. */
using BareSave = void (*)(const BitmapHandle& page, const std::filesystem::path& file);
/** Loads a page of the size of `page`, as a bitmap has it, into fresh memory; then frees it. Throws as well. */
using BareLoad = void (*)(const BitmapHandle& page, const std::filesystem::path& file);

/** Which pages a codec is measured with: all, or the one that tells most. */
enum class Pages { All, Noisy, Clean, Photo, Grey, BlackAndWhite };

/** What the codec library itself does for a page. */
struct BareCodec {
    const char* name;
    int32_t format;       ///< FIL_FORMAT_ code
    int32_t compression;  ///< FIL_COMPRESSION_ code
    Pages pages;
    bool lossless;
    const char* saveIs;
    BareSave save;
    const char* loadIs;
    BareLoad load;  ///< null when the library does not load the format
};

std::span<const BareCodec> BareCodecs();

void SaveTiffDeflate(const BitmapHandle& page, const std::filesystem::path& file);
void SaveTiffLzw(const BitmapHandle& page, const std::filesystem::path& file);
void SaveTiffJpeg(const BitmapHandle& page, const std::filesystem::path& file);
void SaveTiffGroup4(const BitmapHandle& page, const std::filesystem::path& file);
void LoadTiff(const BitmapHandle& page, const std::filesystem::path& file);

}  // namespace vorn::bench
