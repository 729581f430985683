#include "Options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <iostream>
#include <limits>

#include "Choice.h"
#include "Failure.h"

namespace vornscan {
namespace {

/** A whole number; the library's own checks take fractions, too, and name a limit of 309 digits. */
CLI::Range WholeFrom(int32_t least)
{
    return {least, std::numeric_limits<int32_t>::max(), least > 0 ? "POSITIVE" : "NONNEGATIVE"};
}

constexpr Word<Source> kSources[] = {{"flatbed", Source::Flatbed},
                                     {"feeder", Source::Feeder},
                                     {"adf", Source::Feeder},
                                     {"duplex", Source::Duplex}};
constexpr Word<Mode> kModes[] = {{"lineart", Mode::Lineart},
                                 {"gray", Mode::Gray},
                                 {"grey", Mode::Gray},
                                 {"color", Mode::Color},
                                 {"colour", Mode::Color}};

template <typename Value>
void AddChoice(CLI::App& app, const std::string& option, std::optional<Value>& target,
               std::span<const Word<Value>> words, const std::string& help)
{
    app.add_option_function<std::string>(
        option, [&target, option, words](const std::string& typed) { target = Choose(option, typed, words); },
        help);
}

void DeclareDevices(CLI::App& app, Options& options)
{
    app.add_flag("-L,--list-devices", options.listDevices, "List the devices: id, name and description");
    app.add_flag("-A,--all-options", options.allOptions,
                 "Show what the device can do and how it is set, after the settings given");
    app.add_option(
        "-d,--device-name", options.device,
        "The device: its id, its name, or a part of its name [$SANE_DEFAULT_DEVICE, or the first scanner]");
    app.add_option("--wia", options.generation, "The interface generation to use: 1 or 2 [2]")
        ->check(CLI::IsMember({1, 2}));
    app.add_flag("--virtual", options.virtualDevices, "Use the virtual devices instead of this machine's");
    app.add_option("--virtual-pages", options.virtualPages,
                   "Let a virtual device scan the image files of this folder");
}

void DeclareSettings(CLI::App& app, Options& options)
{
    AddChoice<Source>(app, "--source", options.source, kSources, "flatbed, feeder (adf) or duplex");
    AddChoice<Mode>(app, "--mode", options.mode, kModes, "color, gray or lineart");
    app.add_option("--depth", options.depth, "Bits of a pixel")->check(WholeFrom(1));
    app.add_option("--resolution,--dpi", options.resolution, "Dots per inch")->check(WholeFrom(1));
    CLI::Option* pageSize = app.add_option_function<std::string>(
        "--pagesize", [&options](const std::string& typed) { options.pageSize = ParsePageSize(typed); },
        "a4, a5, letter, legal, ... or a size such as 8.5x11in or 210x297mm");
    app.add_option("-l", options.left, "Left edge of the area, in mm")->check(CLI::Range(0.0, 1e6));
    app.add_option("-t", options.top, "Top edge of the area, in mm")->check(CLI::Range(0.0, 1e6));
    app.add_option("-x", options.width, "Width of the area, in mm")
        ->check(CLI::Range(0.01, 1e6))
        ->excludes(pageSize);
    app.add_option("-y", options.height, "Height of the area, in mm")
        ->check(CLI::Range(0.01, 1e6))
        ->excludes(pageSize);
    app.add_option("--brightness", options.brightness, "Brightness, in the device's own numbers");
    app.add_option("--contrast", options.contrast, "Contrast, in the device's own numbers");
    app.add_option("--set", options.named,
                   "Set what the device has by a name of its own, as in --set name=value; -A lists the names")
        ->allow_extra_args(false);
    app.add_flag("--nearest", options.nearest, "Take the nearest value where the device refuses one");
    app.add_option("--wait-for-paper", options.waitForPaper,
                   "Seconds to wait for paper when the feeder is empty [0]")
        ->check(CLI::Range(0, 86400));
    app.add_option("--pages", options.pages,
                   "Number of pages, from the feeder if not 1; 0: until it is empty [1]")
        ->check(WholeFrom(0));
}

void DeclareOutput(CLI::App& app, Options& options)
{
    CLI::Option* output =
        app.add_option("-o,--output-file", options.outputFile,
                       "The file to write; its extension tells the format: .tif, .png, .jpg, .pdf or .bmp");
    app.add_option("--format", options.format, "The format: tiff, png, jpeg, pdf or bmp");
    app.add_option("--jpeg-quality", options.jpegQuality, "Quality of JPEG data, 1 to 100 [90]")
        ->check(CLI::Range(1, 100));
    app.add_option("--compression", options.compression, "none, deflate, lzw, jpeg or group4");
    CLI::Option* multiPage = app.add_flag("--multi-page", options.multiPage,
                                          "All pages into one new file, as .tif and .pdf have them anyway");
    CLI::Option* append = app.add_flag("--append", options.append, "Add the pages to the file, if it exists");
    CLI::Option* overwrite = app.add_flag("--overwrite", options.overwrite, "Replace files that exist");
    append->excludes(overwrite)->excludes(multiPage);
    CLI::Option* batch =
        app.add_option_function<std::string>(
               "-b,--batch", [&options](const std::string& typed) { options.batch.emplace(typed); },
               "A file for each page of the feeder, as in --batch=page%03d.png")
            ->excludes(output)
            ->excludes(multiPage)
            ->excludes(append)
            ->excludes("--pages");
    app.add_option("--batch-start", options.batchStart, "The first page's number [1]")
        ->check(WholeFrom(0))
        ->needs(batch);
    app.add_option("--batch-count", options.pages, "Number of pages; without it until the feeder is empty")
        ->check(WholeFrom(1))
        ->needs(batch);
    app.add_flag("--memory", options.memory, "Transfer bitmaps through memory, then save them");
}

void Declare(CLI::App& app, Options& options)
{
    app.set_version_flag("-V,--version", "vornscan " VORNSCAN_VERSION);
    app.set_help_flag("-h,--help", "Print this help and exit");
    DeclareDevices(app, options);
    DeclareSettings(app, options);
    DeclareOutput(app, options);
    app.add_flag("-n,--dont-scan", options.dontScan, "Only check the options and set the device");
    app.add_flag("--json", options.json, "Print devices, options or results as JSON");
    app.add_flag("-p,--progress", options.progress, "Show progress on standard error");

    CLI::Option* video =
        app.add_flag("--video", options.video, "Show a camera's live video; space takes a picture, q ends");
    app.add_option("--picture", options.picture, "The file for the video's picture: .jpg")->needs(video);
    app.add_option("--seconds", options.seconds, "End the video after this time, taking the picture then")
        ->needs(video)
        ->check(CLI::Range(0, 86400));
}

void CheckTogether(const Options& options)
{
    if (options.listDevices || options.video)
        return;
    if (options.outputFile.empty() && !options.dontScan && !options.allOptions)
        throw Failure{ExitCode::Usage, "no output file: name one with -o, or list the devices with -L"};
    if (options.outputFile == "-")
        throw Failure{ExitCode::Usage,
                      "image data goes to files, not to standard output: name a file with -o"};
    if (options.source == Source::Flatbed && options.pages != 1)
        throw Failure{ExitCode::Usage, "a flatbed has one page at a time: use --source feeder with " +
                                           std::string{options.batch ? "--batch" : "--pages"}};
}

}  // namespace

const char* Name(Source source)
{
    return std::array{"flatbed", "feeder", "duplex"}[static_cast<size_t>(source)];
}

const char* Name(Mode mode)
{
    return std::array{"lineart", "gray", "color"}[static_cast<size_t>(mode)];
}

bool HasScannerSettings(const Options& options)
{
    return options.source || options.mode || options.depth || options.resolution || options.brightness ||
           options.contrast || options.pageSize || options.left || options.top || options.width ||
           options.height || options.pages != 1 || !options.named.empty();
}

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    CLI::App app{"Scans pages into image files.", "vornscan"};
    app.footer("Example: vornscan --source feeder --pages 0 --mode gray --dpi 300 -o letter.pdf");
    Declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw Failure{ExitCode::Usage, std::string{error.what()} + " (see vornscan --help)"};
        app.exit(error, std::cout, std::cerr);
        return std::nullopt;
    }
    if (options.batch) {
        options.outputFile = options.batch->Name(static_cast<uint64_t>(options.batchStart));
        if (app.count("--batch-count") == 0)
            options.pages = 0;
    }
    CheckTogether(options);
    return options;
}

}  // namespace vornscan
