// What the command line asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "BatchPattern.h"
#include "PageSize.h"

namespace vornscan {

enum class Source { Flatbed, Feeder, Duplex };
enum class Mode { Lineart, Gray, Color };

struct Options {
    uint32_t generation = 2;
    bool listDevices = false;
    bool allOptions = false;
    bool dontScan = false;
    bool json = false;
    bool virtualDevices = false;
    std::optional<std::string> device;
    std::optional<std::string> virtualPages;

    std::optional<Source> source;
    std::optional<Mode> mode;
    std::optional<int32_t> depth;
    std::optional<int32_t> resolution;
    std::optional<int32_t> brightness;
    std::optional<int32_t> contrast;
    std::optional<PageSize> pageSize;
    std::optional<double> left, top, width, height;  ///< millimetres
    std::vector<std::string> named;                  ///< "name=value"
    bool nearest = false;
    int32_t pages = 1;         ///< 0: until the feeder is empty
    int32_t waitForPaper = 0;  ///< seconds

    std::string outputFile;  ///< of a batch: the first page's
    std::optional<std::string> format;
    std::optional<uint32_t> jpegQuality;
    std::optional<std::string> compression;
    std::optional<BatchPattern> batch;
    int32_t batchStart = 1;
    bool multiPage = false;
    bool append = false;
    bool overwrite = false;
    bool memory = false;
    bool progress = false;

    bool video = false;
    std::optional<std::string> picture;  ///< the file for the video's picture
    std::optional<int32_t> seconds;      ///< how long the video plays; else until the person ends it
};

/**
 * Reads the command line.
 * @return the options, or nothing when there is nothing left to do, as after --help
 * @throws Failure for a command line that asks for something impossible
 */
std::optional<Options> ParseOptions(int argc, char** argv);

/** True when a setting is given that only scanners have. */
bool HasScannerSettings(const Options& options);

const char* Name(Source source);
const char* Name(Mode mode);

}  // namespace vornscan
