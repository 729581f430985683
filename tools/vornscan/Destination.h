// Where the pages go: checked before anything is scanned, so that no page is scanned in vain.
#pragma once

#include <cstdint>
#include <string>

#include "Options.h"
#include "Text.h"

namespace vornscan {

/** A kind of image file. */
struct FileFormat {
    const char* name;
    int32_t filFormat;  ///< the file library's code
    GUID wiaFormat;     ///< what the device is asked for
};

struct Destination {
    std::string fileName;
    WideText wideName;
    const FileFormat* format;
};

/** @throws Failure when the options' output file cannot be written, or not in the way that they ask for */
Destination CheckDestination(const Options& options);

}  // namespace vornscan
