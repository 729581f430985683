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

/** What the codec library itself does for a page of 24 bits. All throw when something fails. */
struct BareCodec {
    const char* name;
    int32_t format;  ///< FIL_FORMAT_ code
    bool lossless;
    const char* saveIs;
    void (*save)(const BitmapHandle& page, const std::filesystem::path& file);
    const char* loadIs;
    /** Loads a page of the size of `page`, as a bitmap has it, into fresh memory; then frees it. */
    void (*load)(const BitmapHandle& page, const std::filesystem::path& file);
};

std::span<const BareCodec> BareCodecs();

}  // namespace vorn::bench
