#include "Settings.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "Capabilities.h"
#include "Choice.h"
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

/** What JPEG data has when nobody asks for another quality. */
constexpr int32_t kUsualQuality = 90;

/** Files hold 8 bits a sample at most: who asks the scanner for more must not find out from the file. */
void CheckSampleDepth(const Item& item, const Device& device, const Options& options)
{
    constexpr int32_t kMostBits = 8;
    const int32_t bits = item.Long(VORN_TEXT("depth")).value_or(0);
    if (bits <= kMostBits)
        return;
    for (const std::string& setting : options.named)
        if (SmallLetters(setting).starts_with("depth="))
            throw Failure{ExitCode::Usage,
                          device.Shown() + ": --set " + setting +
                              " is not possible: files get 8 bits a sample; use --set depth=8"};
    Say(device.Shown() + " scans with " + std::to_string(bits) + " bits a sample; files get 8");
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

Delivery PrepareTransfer(const Session& session, const Item& item, const Device& device,
                         const Options& options, const Destination& destination)
{
    CheckCompression(item, destination);
    CheckSampleDepth(item, device, options);
    const std::vector<TransferFormat> formats = TransferFormats(session, item);
    const auto offers = [&](const std::optional<GUID>& format) {
        return format && Offers(formats, WIA_MEDIUM_FILE, *format);
    };
    const FileFormat& format = *destination.format;
    const bool isJpeg = format.wiaFormat && Same(*format.wiaFormat, kFormatJpeg);
    const bool jpegInside = !format.wiaFormat && item.Long(kDepth).value_or(1) >= 8 &&
                            (destination.compression == FIL_COMPRESSION_DEFAULT ||
                             destination.compression == FIL_COMPRESSION_JPEG);
    const bool takesQuality =
        (jpegInside || options.jpegQuality) &&
        item.SetLong(kJpegQuality, static_cast<int32_t>(options.jpegQuality.value_or(kUsualQuality))) ==
            SUCCESS;

    Delivery delivery;
    delivery.asIs = !options.memory && !destination.oneFile && !options.compression &&
                    offers(format.wiaFormat) && (takesQuality || !options.jpegQuality || !isJpeg);
    const bool embedded = !delivery.asIs && jpegInside && takesQuality && offers(kFormatJpeg);
    const GUID wanted = delivery.asIs ? *format.wiaFormat : embedded ? kFormatJpeg : kFormatBmp;
    delivery.memory = options.memory || !offers(wanted);
    delivery.quality = embedded && !delivery.memory ? 0 : options.jpegQuality.value_or(0);
    if (!delivery.asIs)
        CheckSaves(destination);
    CheckPageFits(
        options, destination, delivery.memory ? kFormatBmp : wanted,
        {item.Long(kXExtent).value_or(0), item.Long(kYExtent).value_or(0), item.Long(kDepth).value_or(0)});

    const std::string purpose = std::string{"the format "} + format.name + " of " + destination.fileName;
    const GUID bitmaps = session.Generation() == 1 ? kFormatMemoryBmp : kFormatBmp;
    SettingsWriter writer{session, item, device, false};
    writer.Add({kMedium, delivery.memory ? WIA_MEDIUM_MEMORY : WIA_MEDIUM_FILE, purpose});
    writer.AddFormat(delivery.memory ? bitmaps : wanted, purpose);
    writer.Write();
    return delivery;
}

Delivery PrepareCamera(const Session& session, const Device& device, const Options& options,
                       const Destination& destination)
{
    if (HasScannerSettings(options))
        throw Failure{ExitCode::Usage, device.Shown() +
                                           " is not a scanner: leave out --source, --mode, "
                                           "--resolution, --pages and what else sets a scanner"};
    const bool plain = destination.format->wiaFormat && !options.memory && !options.batch &&
                       !options.overwrite && !options.compression && !options.jpegQuality;
    if (session.Generation() == 2 && !plain)
        throw Failure{ExitCode::Usage, device.Shown() +
                                           " writes its files itself in generation 2; use --wia 1 for " +
                                           (options.memory ? "--memory" : destination.fileName)};
    Delivery delivery;
    if (session.Generation() == 2)
        return delivery;
    bool first = true;
    for (const Item& picture : session.Children()) {
        const Delivery one = PrepareTransfer(session, picture, device, options, destination);
        delivery.memory = delivery.memory || one.memory;
        delivery.asIs = (first || delivery.asIs) && one.asIs;
        delivery.quality = one.quality;
        first = false;
    }
    return delivery;
}

}  // namespace vornscan
