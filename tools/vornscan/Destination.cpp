#include "Destination.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "Choice.h"
#include "Failure.h"
#include "PropertyIds.h"
#include "System.h"
#include "Vornfilx.h"
#include "vornwia.h"

namespace vornscan {
namespace {

namespace fs = std::filesystem;

constexpr int32_t kBmpCompressions[] = {FIL_COMPRESSION_NONE};
constexpr int32_t kTiffCompressions[] = {FIL_COMPRESSION_NONE, FIL_COMPRESSION_DEFLATE, FIL_COMPRESSION_LZW,
                                         FIL_COMPRESSION_JPEG, FIL_COMPRESSION_GROUP4};
constexpr int32_t kPdfCompressions[] = {FIL_COMPRESSION_DEFLATE, FIL_COMPRESSION_JPEG,
                                        FIL_COMPRESSION_GROUP4};
constexpr int32_t kPngCompressions[] = {FIL_COMPRESSION_DEFLATE};
constexpr int32_t kJpegCompressions[] = {FIL_COMPRESSION_JPEG};

constexpr uint64_t kNoLimit = std::numeric_limits<uint64_t>::max();
constexpr int32_t kAnySide = std::numeric_limits<int32_t>::max();
constexpr int32_t kLongestJpegSide = 65500;

constexpr FileFormat kBmp{"BMP", ".bmp", kFormatBmp, false, kBmpCompressions, INT32_MAX, kAnySide};
constexpr FileFormat kTiff{"TIFF", ".tif", kFormatTiff, true, kTiffCompressions, UINT32_MAX, kAnySide};
constexpr FileFormat kPng{"PNG", ".png", kFormatPng, false, kPngCompressions, kNoLimit, kAnySide};
constexpr FileFormat kJpeg{"JPEG", ".jpg", kFormatJpeg, false, kJpegCompressions, kNoLimit, kLongestJpegSide};
constexpr FileFormat kPdf{"PDF", ".pdf", std::nullopt, true, kPdfCompressions, kNoLimit, kAnySide};
constexpr const FileFormat* kAllFormats[] = {&kTiff, &kPng, &kJpeg, &kPdf, &kBmp};

/** What --format takes, and the extensions without their dot. */
constexpr Word<const FileFormat*> kFormats[] = {{"tif", &kTiff}, {"tiff", &kTiff}, {"png", &kPng},
                                                {"jpg", &kJpeg}, {"jpeg", &kJpeg}, {"pdf", &kPdf},
                                                {"bmp", &kBmp}};

/** The longest extension, dot included, that the library can put a number in front of. */
constexpr size_t kMaxExtension = 9;

const FileFormat& FormatOf(const std::string& fileName)
{
    const std::string extension = SmallLetters(fs::path{fileName}.extension().string());
    std::string known;
    for (const auto& [word, format] : kFormats) {
        if (!extension.empty() && extension.substr(1) == word)
            return *format;
        known.append(known.empty() ? "." : ", .").append(word);
    }
    throw Failure{ExitCode::Usage,
                  fileName + ": the extension tells no known format; use one of " + known + ", or --format"};
}

constexpr Word<int32_t> kCompressions[] = {{"none", FIL_COMPRESSION_NONE},
                                           {"deflate", FIL_COMPRESSION_DEFLATE},
                                           {"lzw", FIL_COMPRESSION_LZW},
                                           {"jpeg", FIL_COMPRESSION_JPEG},
                                           {"group4", FIL_COMPRESSION_GROUP4}};

/** How the pages are compressed: as asked, as far as the format has it. */
int32_t CompressionOf(const Options& options, const FileFormat& format)
{
    if (!options.compression)
        return FIL_COMPRESSION_DEFAULT;
    const int32_t asked = Choose<int32_t>("--compression", *options.compression, kCompressions);
    if (std::ranges::count(format.compressions, asked) == 0) {
        std::string known;
        for (const auto& [word, code] : kCompressions)
            if (std::ranges::count(format.compressions, code) != 0)
                known.append(known.empty() ? "" : ", ").append(word);
        throw Failure{ExitCode::Usage, "--compression " + *options.compression + ": a " + format.name +
                                           " file does not have it; it has " + known};
    }
    return asked;
}

void CheckQuality(const Options& options, const Destination& destination)
{
    const bool holdsJpeg = destination.format == &kJpeg || destination.format == &kPdf ||
                           destination.compression == FIL_COMPRESSION_JPEG;
    if (options.jpegQuality && !holdsJpeg)
        throw Failure{ExitCode::Usage,
                      "--jpeg-quality is for .jpg and .pdf, and for .tif with --compression "
                      "jpeg; leave it out for " +
                          destination.fileName};
}

void CheckName(const Destination& destination, const Options& options, bool exists)
{
    if (destination.wideName.size() >= VORNWIA_NAME_CHARS)
        throw Failure{ExitCode::Usage, destination.fileName + ": the name is longer than the " +
                                           std::to_string(VORNWIA_NAME_CHARS - 1) + " characters possible"};
    if (ToPath(destination.fileName).extension().native().size() > kMaxExtension)
        throw Failure{ExitCode::Usage, destination.fileName + ": the extension is longer than the " +
                                           std::to_string(kMaxExtension - 1) + " characters possible"};
    // What file systems take; a batch and a name that is taken add a number.
    constexpr size_t kLongestName = 255, kNumber = 8;
    const bool numbered = options.batch || (exists && !options.append && !options.overwrite);
    const size_t length = ToPath(destination.fileName).filename().native().size();
    if (length > kLongestName - (numbered ? kNumber : 0))
        throw Failure{ExitCode::Usage, destination.fileName + ": the name takes " + std::to_string(length) +
                                           " bytes, more than a file system holds; use a shorter one"};
}

/** With a little room for the format's headers. */
bool Fits(const PagePixels& page, const FileFormat& format)
{
    constexpr uint64_t kHeaderBytes = 1 << 20;
    const auto rowBytes =
        (static_cast<uint64_t>(page.width) * static_cast<uint64_t>(page.depth) + 31) / 32 * 4;
    return std::max(page.width, page.height) <= format.longestSide &&
           rowBytes * static_cast<uint64_t>(page.height) <= format.mostBytes - kHeaderBytes;
}

std::string LimitOf(const FileFormat& format)
{
    return format.longestSide != kAnySide ? std::to_string(format.longestSide) + " pixels a side"
                                          : std::to_string((format.mostBytes >> 30) + 1) + " GiB";
}

void CheckDirectory(const Destination& destination, bool fileExists)
{
    fs::path directory = ToPath(destination.fileName).parent_path();
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

/** That pages can be added: looked at where the file library can look. */
void CheckAppending(const Destination& destination)
{
    const int32_t wanted = SavedAs(*destination.format);
    FilFileInfo info{};
    const int32_t status =
        FilInfo(destination.wideName.c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
    const bool damaged = status == FIL_ERR_CORRUPT;
    if (wanted == FIL_FORMAT_PDF && (damaged || status == FIL_ERR_UNSUPPORTED))
        throw Failure{ExitCode::InputOutput,
                      "cannot add pages to " + destination.fileName + ": it is " +
                          (damaged ? "damaged" : "encrypted, or this program cannot look into it") +
                          "; name a new file"};
    if (status != FIL_SUCCESS)
        throw StatusFailure("cannot add pages to " + destination.fileName, status);
    if (info.format != wanted)
        throw Failure{ExitCode::InputOutput, "cannot add pages to " + destination.fileName + ": it is no " +
                                                 destination.format->name + " file"};
}

/** Names of what processes have open: behind /dev/stdout may be a file, but beside it is no place for one. */
bool IsAmongDevices(const fs::path& file)
{
    std::error_code error;
    const std::string folder =
        fs::weakly_canonical(fs::absolute(file, error).parent_path(), error).string() + '/';
    return (folder.starts_with("/dev/") && !folder.starts_with("/dev/shm/")) || folder.starts_with("/proc/");
}

void CheckExistingFile(const Destination& destination, const Options& options)
{
    const fs::path file = ToPath(destination.fileName);
    if (fs::is_directory(file))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": this is a directory; name a file in it"};
    if (fs::is_other(file) || IsAmongDevices(file))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": this is no file; image data goes to files only"};
    if ((options.append || options.overwrite) && !MayWrite(file))
        throw Failure{ExitCode::InputOutput,
                      destination.fileName + ": the file may not be changed; name another"};
    if (options.append)
        CheckAppending(destination);
}

}  // namespace

Destination CheckDestination(const Options& options)
{
    Destination destination{options.outputFile, ToWide(options.outputFile), nullptr, FIL_COMPRESSION_DEFAULT,
                            options.multiPage || options.append};
    destination.format = options.format ? Choose<const FileFormat*>("--format", *options.format, kFormats)
                                        : &FormatOf(options.outputFile);
    destination.compression = CompressionOf(options, *destination.format);
    CheckQuality(options, destination);
    std::error_code error;
    const bool exists = fs::exists(ToPath(destination.fileName), error);
    CheckName(destination, options, exists);
    if ((options.multiPage || options.append) && !destination.format->manyPages)
        throw Failure{ExitCode::Usage, destination.fileName + ": a " + destination.format->name +
                                           " file holds one page; name a .tif or .pdf file for several"};
    if (destination.format->manyPages && options.pages != 1 && !options.batch)
        destination.oneFile = true;
    CheckDirectory(destination, exists && options.append);
    if (exists)
        CheckExistingFile(destination, options);
    return destination;
}

int32_t SavedAs(const FileFormat& format)
{
    return FilFormatFromName(ToWide(std::string{"page"} + format.extension).c_str());
}

void CheckPageFits(const Options& options, const Destination& destination, const GUID& comesAs,
                   const PagePixels& page)
{
    if (page.width <= 0 || page.height <= 0 || page.depth <= 0)
        return;
    const auto first = [&](auto condition) {
        const auto found = std::ranges::find_if(kAllFormats, condition);
        return found == std::end(kAllFormats) ? nullptr : *found;
    };
    const FileFormat& own = *destination.format;
    const FileFormat* const bringer = first(
        [&](const FileFormat* format) { return format->wiaFormat && Same(*format->wiaFormat, comesAs); });
    const FileFormat& tight = bringer && Fits(page, own) ? *bringer : own;
    if (Fits(page, tight))
        return;
    const FileFormat* const other = first(
        [&](const FileFormat* format) { return format != &own && format->wiaFormat && Fits(page, *format); });
    throw Failure{ExitCode::Usage, destination.fileName + ": a page of " + std::to_string(page.width) +
                                       " x " + std::to_string(page.height) + " pixels is more than " +
                                       (&tight == &own ? std::string{"a "} + tight.name + " file holds ("
                                                       : std::string{"the "} + tight.name +
                                                             " data in which it comes can hold (") +
                                       LimitOf(tight) + "); use a lower --resolution or a smaller area" +
                                       (options.memory && &tight != &own ? ", or leave out --memory"
                                        : other ? std::string{", or "} + other->extension
                                                : "")};
}

void CheckSaves(const Destination& destination)
{
    if (SavedAs(*destination.format) != FIL_FORMAT_UNKNOWN)
        return;
    std::string possible;
    for (const FileFormat* format : kAllFormats)
        if (SavedAs(*format) != FIL_FORMAT_UNKNOWN)
            possible.append(possible.empty() ? "" : ", ").append(format->extension);
    throw Failure{ExitCode::Usage, destination.fileName + ": this program cannot write " +
                                       destination.format->name + " files itself; use one of " + possible};
}

}  // namespace vornscan
