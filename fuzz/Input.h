/**
 * @file Input.h
 * What the fuzz targets share.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "Vornfilx.h"

/** What libFuzzer, or the replay, calls with each input. -1: the input is of no interest. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace vorn::fuzz {

/** The largest image worth the time: a file of a few bytes may rightly claim gigabytes. */
constexpr uint64_t kImageBytes = 16u << 20;

/** Ends the program unless a promise of the library holds. */
inline void Require(bool holds)
{
    if (!holds)
        __builtin_trap();
}

/** A file with the input's bytes, one for the whole run, removed at its end. */
class InputFile {
public:
    InputFile();
    InputFile(const InputFile&) = delete;
    ~InputFile();

    void Fill(const uint8_t* data, size_t size) const;
    std::string Bytes() const;
    const WCHAR* Name() const { return name_.c_str(); }

private:
    std::filesystem::path path_;
    std::basic_string<WCHAR> name_;
};

/** True when that page of the file claims an image that is worth the time; `info` tells it. */
bool IsWorthwhile(const InputFile& file, uint32_t page, FilFileInfo& info);

/** A bitmap record that frees its image; also what a header alone leaves in it. */
struct Bitmap {
    Bitmap() = default;
    Bitmap(const Bitmap&) = delete;
    ~Bitmap();

    BitmapHandle record{};
};

}  // namespace vorn::fuzz
