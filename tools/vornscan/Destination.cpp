#include "Destination.h"

#include <filesystem>

#include "Failure.h"
#include "System.h"
#include "Vornfilx.h"
#include "vornwia.h"

namespace vornscan {
namespace {

namespace fs = std::filesystem;

constexpr FileFormat kFormats[] = {
    {"BMP", FIL_FORMAT_BMP, {0xB96B3CAB, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}}},
    {"TIFF", FIL_FORMAT_TIFF, {0xB96B3CB1, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}}},
};

/** The longest extension, dot included, that the library can put a number in front of. */
constexpr size_t kMaxExtension = 9;

const FileFormat& FormatOf(const Destination& destination)
{
    const int32_t code = FilFormatFromName(destination.wideName.c_str());
    for (const FileFormat& format : kFormats)
        if (format.filFormat == code &&
            fs::path{destination.wideName}.extension().native().size() <= kMaxExtension)
            return format;
    throw Failure{ExitCode::Usage,
                  destination.fileName + ": the extension tells no known format; use .tif, .tiff or .bmp"};
}

void CheckDirectory(const Destination& destination, bool fileExists)
{
    fs::path directory = fs::path{destination.wideName}.parent_path();
    if (directory.empty())
        directory = ".";
    std::error_code error;
    if (!fs::exists(directory, error))
        throw Failure{ExitCode::InputOutput, destination.fileName + ": there is no directory " +
                                                 directory.string() + "; create it first"};
    if (!fs::is_directory(directory, error))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": " + directory.string() + " is not a directory"};
    if (!fileExists && !MayWrite(directory))
        throw Failure{ExitCode::InputOutput, destination.fileName + ": nothing may be written in " +
                                                 directory.string() + "; choose another directory"};
}

void CheckExistingFile(const Destination& destination, const Options& options)
{
    const fs::path file{destination.wideName};
    if (fs::is_directory(file))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": this is a directory; name a file in it"};
    if ((options.append || options.overwrite) && !MayWrite(file))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": the file may not be changed; name another"};
    if (!options.append)
        return;
    FilFileInfo info{};
    const int32_t status = FilInfo(destination.wideName.c_str(), &info, FIL_INFO_SIZE, 0, nullptr);
    if (status != FIL_SUCCESS)
        throw StatusFailure("cannot add pages to " + destination.fileName, status);
    if (info.format != destination.format->filFormat)
        throw Failure{ExitCode::InputOutput, "cannot add pages to " + destination.fileName + ": it is no " +
                                                 destination.format->name + " file"};
}

}  // namespace

Destination CheckDestination(const Options& options)
{
    Destination destination{options.outputFile, ToWide(options.outputFile), nullptr};
    destination.format = &FormatOf(destination);
    if (destination.wideName.size() >= VORNWIA_NAME_CHARS)
        throw Failure{ExitCode::Usage, destination.fileName + ": the name is longer than the " +
                                           std::to_string(VORNWIA_NAME_CHARS - 1) + " characters possible"};
    if ((options.multiPage || options.append) && destination.format->filFormat != FIL_FORMAT_TIFF)
        throw Failure{ExitCode::Usage, destination.fileName + ": a " + destination.format->name +
                                           " file holds one page; name a .tif file for several"};
    std::error_code error;
    const bool exists = fs::exists(fs::path{destination.wideName}, error);
    CheckDirectory(destination, exists && (options.append || options.overwrite));
    if (exists)
        CheckExistingFile(destination, options);
    return destination;
}

}  // namespace vornscan
