#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <iostream>
#include <span>
#include <string_view>

#include "Failure.h"

namespace vornscan {
namespace {

template <typename Value>
struct Word {
    std::string_view word;
    Value value;
};

constexpr Word<Source> kSources[] = {{"flatbed", Source::Flatbed},
                                     {"feeder", Source::Feeder},
                                     {"adf", Source::Feeder},
                                     {"duplex", Source::Duplex}};
constexpr Word<Mode> kModes[] = {{"lineart", Mode::Lineart},
                                 {"gray", Mode::Gray},
                                 {"grey", Mode::Gray},
                                 {"color", Mode::Color},
                                 {"colour", Mode::Color}};

bool StartsWithIgnoringCase(std::string_view word, std::string_view start)
{
    const auto same = [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); };
    return start.size() <= word.size() &&
           std::equal(start.begin(), start.end(), word.begin(),
                      [&](char typed, char known) { return same(known, typed); });
}

/** The value whose word begins with `typed`, whatever the case; abbreviations must be unambiguous. */
template <typename Value>
Value Choose(const std::string& option, const std::string& typed, std::span<const Word<Value>> words)
{
    std::optional<Value> chosen;
    std::string choices;
    bool ambiguous = typed.empty();
    for (const auto& [word, value] : words) {
        choices.append(choices.empty() ? "" : ", ").append(word);
        if (!StartsWithIgnoringCase(word, typed))
            continue;
        ambiguous = ambiguous || (chosen && *chosen != value);
        chosen = value;
    }
    if (!chosen || ambiguous)
        throw Failure{ExitCode::Usage, option + " '" + typed + "' is " +
                                           (ambiguous ? "ambiguous" : "not known") + ": choose one of " +
                                           choices};
    return *chosen;
}

template <typename Value>
void AddChoice(CLI::App& app, const std::string& option, std::optional<Value>& target,
               std::span<const Word<Value>> words, const std::string& help)
{
    app.add_option_function<std::string>(
        option, [&target, option, words](const std::string& typed) { target = Choose(option, typed, words); },
        help);
}

void Declare(CLI::App& app, Options& options)
{
    app.set_version_flag("-V,--version", "vornscan " VORNSCAN_VERSION);
    app.set_help_flag("-h,--help", "Print this help and exit");

    app.add_flag("-L,--list-devices", options.listDevices, "List the devices: id, name and description");
    app.add_option("-d,--device-name", options.device, "The device: its id, its name, or a part of its name");
    app.add_option("--wia", options.generation, "The interface generation to use: 1 or 2 [2]")
        ->check(CLI::IsMember({1, 2}));
#ifdef _WIN32
    app.add_flag("--virtual", options.virtualDevices, "Use the virtual devices instead of the system's");
#endif
    app.add_option("--virtual-pages", options.virtualPages,
                   "Let a virtual device scan the image files of this folder");

    AddChoice<Source>(app, "--source", options.source, kSources, "flatbed, feeder (adf) or duplex");
    AddChoice<Mode>(app, "--mode", options.mode, kModes, "color, gray or lineart");
    app.add_option("--resolution,--dpi", options.resolution, "Dots per inch")->check(CLI::PositiveNumber);
    app.add_option("--pages", options.pages,
                   "Number of pages, from the feeder if not 1; 0: until it is empty [1]")
        ->check(CLI::NonNegativeNumber);

    app.add_option("-o,--output-file", options.outputFile, "The file to write: .tif, .tiff or .bmp");
    CLI::Option* multiPage =
        app.add_flag("--multi-page", options.multiPage, "All pages into one new TIFF file");
    CLI::Option* append =
        app.add_flag("--append", options.append, "Add the pages to the TIFF file, if it exists");
    CLI::Option* overwrite = app.add_flag("--overwrite", options.overwrite, "Replace files that exist");
    append->excludes(overwrite)->excludes(multiPage);
    app.add_flag("--memory", options.memory, "Transfer bitmaps through memory, then save them");
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
    if (options.outputFile.empty())
        throw Failure{ExitCode::Usage, "no output file: name one with -o, or list the devices with -L"};
    if (options.source == Source::Flatbed && options.pages != 1)
        throw Failure{ExitCode::Usage, "a flatbed has one page at a time: use --source feeder with --pages"};
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

std::optional<Options> ParseOptions(int argc, char** argv)
{
    Options options;
    CLI::App app{"Scans pages into image files.", "vornscan"};
    app.footer(
        "Example: vornscan --source feeder --pages 0 --mode gray --dpi 300 --multi-page -o letter.tif");
    Declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw Failure{ExitCode::Usage, std::string{error.what()} + " (see vornscan --help)"};
        app.exit(error, std::cout, std::cerr);
        return std::nullopt;
    }
    CheckTogether(options);
    return options;
}

}  // namespace vornscan
