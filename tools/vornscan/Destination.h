// Where the pages go: checked before anything is scanned, so that no page is scanned in vain.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Options.h"
#include "Text.h"

namespace vornscan {

/** A kind of image file. */
struct FileFormat {
    const char* name;
    const char* extension;          ///< the usual one
    std::optional<GUID> wiaFormat;  ///< what a device is asked for; no device writes the others
    bool manyPages;
    std::span<const int32_t> compressions;  ///< the file library's codes
    uint64_t mostBytes;                     ///< of a page's pixels
    int32_t longestSide;                    ///< in pixels
};

struct Destination {
    std::string fileName;
    WideText wideName;
    const FileFormat* format;
    int32_t compression;  ///< the file library's code
    bool oneFile;         ///< all pages go into it
};

/** A page's size in pixels, and the bits of a pixel. */
struct PagePixels {
    int32_t width, height, depth;
};

/** @throws Failure when the options' output file cannot be written, or not in the way that they ask for */
Destination CheckDestination(const Options& options);

/** The file library's code for the format; FIL_FORMAT_UNKNOWN when it does not have it. */
int32_t SavedAs(const FileFormat& format);

/** @throws Failure when pages are larger than the file can hold, or what brings them: bitmaps, files of `comesAs` */
void CheckPageFits(const Options& options, const Destination& destination, const GUID& comesAs,
                   const PagePixels& page);

/** @throws Failure when the file library cannot save the destination's format */
void CheckSaves(const Destination& destination);

}  // namespace vornscan
