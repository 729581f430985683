#include "Settings.h"

#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "Failure.h"
#include "PropertyIds.h"

namespace vornscan {
namespace {

bool Same(const GUID& a, const GUID& b)
{
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

/** Throws for a write that the device did not take. `setting` is what the person asked for. */
void CheckTaken(int32_t status, const Device& device, const std::string& setting)
{
    if (status == SUCCESS)
        return;
    if (status == ERR_INVALID_ARGUMENT || status == ERR_ACCESS_DENIED || status == RESULT_FALSE)
        throw Failure{ExitCode::Usage, device.name + " does not take " + setting + "; choose another value"};
    throw StatusFailure(device.name + ", setting " + setting, status);
}

/** Writes a value that the device must take, unless it has it already. */
void Set(const Item& item, uint32_t id, int32_t value, const Device& device, const std::string& setting)
{
    const std::optional<int32_t> current = item.Long(id);
    if (!current)
        throw Failure{ExitCode::Usage, device.name + " has no such setting: " + setting};
    if (*current != value)
        CheckTaken(item.SetLong(id, value), device, setting);
}

void SetFormat(const Item& item, const GUID& format, const Device& device, const std::string& setting)
{
    const std::optional<GUID> current = item.Guid(kFormat);
    if (!current || !Same(*current, format))
        CheckTaken(item.SetGuid(kFormat, format), device, setting);
}

/** The source to use: several pages come from the feeder, unless the person names another source. */
std::optional<Source> WantedSource(const Options& options)
{
    if (!options.source && options.pages != 1)
        return Source::Feeder;
    return options.source;
}

/** In generation 1 the root item tells the source, and there is one item to transfer. */
Item ChooseSource1(const Session& session, const Device& device, std::optional<Source> source)
{
    constexpr std::array kSelections{kSelectFlatbed, kSelectFeeder, kSelectFeeder | kSelectDuplex};
    if (source)
        Set(session.Root(), kDocumentHandlingSelect, kSelections[static_cast<size_t>(*source)], device,
            std::string{"--source "} + Name(*source));
    return session.Children().front();
}

/** In generation 2 each source is an item of its own. */
Item ChooseSource2(const Session& session, const Device& device, std::optional<Source> source)
{
    const std::vector<Item> children = session.Children();
    if (!source)
        return children.front();
    const GUID& wanted = *source == Source::Flatbed ? kCategoryFlatbed : kCategoryFeeder;
    for (const Item& child : children) {
        const std::optional<GUID> category = child.Guid(kItemCategory);
        if (!category || !Same(*category, wanted))
            continue;
        if (*source == Source::Duplex)
            Set(child, kDocumentHandlingSelect, kSelectDuplex, device, "--source duplex");
        else if (*source == Source::Feeder && child.Long(kDocumentHandlingSelect))
            Set(child, kDocumentHandlingSelect, kSelectFrontOnly, device, "--source feeder");
        return child;
    }
    throw Failure{ExitCode::Usage,
                  device.name + " has no " + (*source == Source::Flatbed ? "flatbed" : "feeder")};
}

void SetMode(const Item& item, const Device& device, Mode mode)
{
    struct Row {
        int32_t dataType;
        int32_t depth;
    };
    constexpr std::array<Row, 3> kRows{{{0, 1}, {2, 8}, {3, 24}}};  // as Mode counts
    const Row& row = kRows[static_cast<size_t>(mode)];
    const std::string setting = std::string{"--mode "} + Name(mode);
    Set(item, kDataType, row.dataType, device, setting);
    Set(item, kDepth, row.depth, device, setting);
}

/** The area is counted in dots: after a change of resolution it must still be the same piece of paper. */
class KeptArea {
public:
    explicit KeptArea(const Item& item)
    {
        for (size_t i = 0; i < std::size(kAxes); ++i) {
            const double resolution = item.Long(kAxes[i].resolution).value_or(0);
            position_[i] = item.Long(kAxes[i].position).value_or(0) / resolution;
            extent_[i] = item.Long(kAxes[i].extent).value_or(0) / resolution;
        }
    }

    /** Best effort: a device that adapts the area itself rounds as it likes, and may refuse our rounding. */
    void Restore(const Item& item, int32_t resolution) const
    {
        for (size_t i = 0; i < std::size(kAxes); ++i) {
            Approach(item, kAxes[i].position, position_[i] * resolution);
            Approach(item, kAxes[i].extent, extent_[i] * resolution);
        }
    }

private:
    static void Approach(const Item& item, uint32_t id, double dots)
    {
        const std::optional<int32_t> current = item.Long(id);
        if (current && std::isfinite(dots) && std::abs(*current - dots) > 1)
            item.SetLong(id, static_cast<int32_t>(dots));
    }

    std::array<double, std::size(kAxes)> position_{};
    std::array<double, std::size(kAxes)> extent_{};
};

void SetResolution(const Item& item, const Device& device, int32_t resolution)
{
    const KeptArea area{item};
    for (const Axis& axis : kAxes)
        Set(item, axis.resolution, resolution, device, "--resolution " + std::to_string(resolution));
    area.Restore(item, resolution);
}

void SetTransfer(const Session& session, const Item& item, const Device& device, const Options& options,
                 const Destination& destination)
{
    if (options.memory) {
        Set(item, kMedium, kMediumCallback, device, "--memory");
        SetFormat(item, session.Generation() == 1 ? kFormatMemoryBmp : kFormatBmp, device, "--memory");
        return;
    }
    const std::string setting =
        std::string{"the format "} + destination.format->name + " of " + destination.fileName;
    Set(item, kMedium, kMediumFile, device, setting);
    SetFormat(item, destination.format->wiaFormat, device, setting);
}

/** The page count is the root item's; a device of generation 2 may keep it at its feeder only. */
void SetPages(const Session& session, const Item& item, const Device& device, int32_t pages)
{
    const Item root = session.Root();
    const Item& holder = root.Long(kPages) ? root : item;
    if (pages != 1 || holder.Long(kPages))
        Set(holder, kPages, pages, device, "--pages " + std::to_string(pages));
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
                      device.name + " takes no --virtual-pages: only a virtual scanner does"};
    if (root.SetText(kVirtualPagesFolder, folder) != SUCCESS)
        throw Failure{ExitCode::Usage,
                      setting + ": " + device.name +
                          " finds no pages there; put image files (.tif, .bmp) into the folder"};
}

Item PrepareScanner(const Session& session, const Device& device, const Options& options,
                    const Destination& destination)
{
    const std::optional<Source> source = WantedSource(options);
    Item item = session.Generation() == 1 ? ChooseSource1(session, device, source)
                                          : ChooseSource2(session, device, source);
    if (options.mode)
        SetMode(item, device, *options.mode);
    if (options.resolution)
        SetResolution(item, device, *options.resolution);
    SetTransfer(session, item, device, options, destination);
    SetPages(session, item, device, options.pages);
    return item;
}

void PrepareCamera(const Session& session, const Device& device, const Options& options,
                   const Destination& destination)
{
    if (options.source || options.mode || options.resolution || options.pages != 1)
        throw Failure{
            ExitCode::Usage,
            device.name + " is not a scanner: leave out --source, --mode, --resolution and --pages"};
    if (session.Generation() == 2 && options.memory)
        throw Failure{ExitCode::Usage,
                      device.name + " writes its files itself in generation 2; use --wia 1 with --memory"};
    if (session.Generation() == 2)
        return;
    for (const Item& picture : session.Children())
        SetTransfer(session, picture, device, options, destination);
}

}  // namespace vornscan
