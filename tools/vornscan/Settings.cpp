#include "Settings.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "Capabilities.h"
#include "Failure.h"
#include "NamedSettings.h"
#include "PropertyIds.h"
#include "ScanArea.h"
#include "SettingsWriter.h"
#include "Source.h"
#include "Vornfilx.h"

namespace vornscan {
namespace {

/** The source to use: several pages come from the feeder, unless the person names another source. */
std::optional<Source> WantedSource(const Options& options)
{
    if (!options.source && options.pages != 1)
        return Source::Feeder;
    return options.source;
}

void AddMode(SettingsWriter& writer, const Options& options)
{
    struct Row {
        int32_t dataType;
        int32_t depth;
    };
    constexpr std::array<Row, 3> kRows{
        {{kDataLineart, 1}, {kDataGray, 8}, {kDataColor, 24}}};  // as Mode counts
    if (options.mode) {
        const Row& row = kRows[static_cast<size_t>(*options.mode)];
        writer.Add({kDataType, row.dataType, std::string{"--mode "} + Name(*options.mode)});
        if (!options.depth) {
            Wish usual{kDepth, row.depth, {}};
            usual.ifRefused = IfRefused::TakeNear;
            writer.Add(usual);
        }
    }
}

/** Every setting but the area, which is counted in dots of the resolution that is in force then. */
void AddSettings(SettingsWriter& writer, const Session& session, const Item& item, const Options& options)
{
    struct Row {
        const char* option;
        std::optional<int32_t> value;
        uint32_t property;
    };
    const Row rows[] = {
        {"--depth ", options.depth, kDepth},
        {"--resolution ", options.resolution, kXResolution},
        {"--resolution ", options.resolution, kYResolution},
        {"--brightness ", options.brightness, kBrightness},
        {"--contrast ", options.contrast, kContrast},
    };
    for (const Row& row : rows)
        if (row.value)
            writer.Add({row.property, *row.value, row.option + std::to_string(*row.value)});
    const Item holder = session.Generation() == 1 ? session.Root() : item;
    if (options.pages != 1 || holder.Long(kPages))
        writer.Add({kPages, options.pages, "--pages " + std::to_string(options.pages)});
}

/** Some compressions are for some depths only: said before a page is scanned in vain. */
void CheckCompression(const Item& item, const Destination& destination)
{
    const std::optional<int32_t> depth = item.Long(kDepth);
    if (destination.compression == FIL_COMPRESSION_GROUP4 && depth && *depth != 1)
        throw Failure{
            ExitCode::Usage,
            destination.fileName + ": --compression group4 is for black and white; use --mode lineart"};
    if (destination.compression == FIL_COMPRESSION_JPEG && depth && *depth == 1)
        throw Failure{ExitCode::Usage,
                      destination.fileName + ": --compression jpeg is not for black and white; use group4"};
}

bool Offers(const std::vector<TransferFormat>& formats, uint32_t medium, const GUID& format)
{
    return std::ranges::any_of(formats, [&](const TransferFormat& offered) {
        return offered.medium == medium && Same(offered.format, format);
    });
}

}  // namespace

void SetVirtualPages(const Session& session, const Device& device, const std::string& folder)
{
    const std::string setting = "--virtual-pages " + folder;
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        throw Failure{ExitCode::Usage, setting + ": there is no such folder"};
    const Item root = session.Root();
    if (!root.HasText(kVirtualPagesFolder))
        throw Failure{ExitCode::Usage,
                      device.Shown() + " takes no --virtual-pages: only a virtual scanner does"};
    if (root.SetText(kVirtualPagesFolder, folder) != SUCCESS)
        throw Failure{ExitCode::Usage, setting + ": " + device.Shown() + " cannot look into the folder"};
}

Item PrepareScanner(const Session& session, const Device& device, const Options& options)
{
    Item item = ChooseSource(session, device, WantedSource(options));
    const ScanArea area{item};
    SettingsWriter settings{session, item, device, options.nearest};
    AddMode(settings, options);
    AddSettings(settings, session, item, options);
    settings.Write();

    SettingsWriter place{session, item, device, options.nearest};
    if (area.AddTo(place, item, options))
        place.Write();
    ApplyNamedSettings(session, item, device, options.named);
    return item;
}

bool PrepareTransfer(const Session& session, const Item& item, const Device& device, const Options& options,
                     const Destination& destination)
{
    const FileFormat& format = *destination.format;
    const bool offered =
        format.wiaFormat && Offers(TransferFormats(session, item), WIA_MEDIUM_FILE, *format.wiaFormat);
    const bool takesQuality =
        options.jpegQuality &&
        item.SetLong(kJpegQuality, static_cast<int32_t>(*options.jpegQuality)) == SUCCESS;
    const bool memory = !offered || NeedsBitmaps(options, destination, takesQuality);
    if (memory)
        CheckSaves(destination);
    CheckCompression(item, destination);
    const std::string purpose = std::string{"the format "} + format.name + " of " + destination.fileName;
    const GUID bitmaps = session.Generation() == 1 ? kFormatMemoryBmp : kFormatBmp;
    SettingsWriter writer{session, item, device, false};
    writer.Add({kMedium, memory ? WIA_MEDIUM_MEMORY : WIA_MEDIUM_FILE, purpose});
    writer.AddFormat(memory ? bitmaps : *format.wiaFormat, purpose);
    writer.Write();
    return memory;
}

bool PrepareCamera(const Session& session, const Device& device, const Options& options,
                   const Destination& destination)
{
    if (HasScannerSettings(options))
        throw Failure{ExitCode::Usage, device.Shown() +
                                           " is not a scanner: leave out --source, --mode, "
                                           "--resolution, --pages and what else sets a scanner"};
    if (session.Generation() == 2 && NeedsBitmaps(options, destination))
        throw Failure{ExitCode::Usage, device.Shown() +
                                           " writes its files itself in generation 2; use --wia 1 for " +
                                           (options.memory ? "--memory" : destination.fileName)};
    if (session.Generation() == 2)
        return false;
    bool memory = false;
    for (const Item& picture : session.Children())
        memory = PrepareTransfer(session, picture, device, options, destination) || memory;
    return memory;
}

}  // namespace vornscan
