#include "DataSheet.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

#include "PropertyIds.h"
#include "Source.h"

namespace vornscan {
namespace {

constexpr double kInch = 25.4;

/** `scale`: the resolution that the property counts dots of, for those that the tool takes in millimetres. */
struct Row {
    const char* option;
    uint32_t property;
    uint32_t scale = 0;
};

constexpr Row kRows[] = {
    {"--mode", kDataType},
    {"--depth", kDepth},
    {"--resolution", kXResolution},
    {"-l", kXPosition, kXResolution},
    {"-t", kYPosition, kYResolution},
    {"-x", kXExtent, kXResolution},
    {"-y", kYExtent, kYResolution},
    {"--brightness", kBrightness},
    {"--contrast", kContrast},
    {"--pages", kPages},
};

OptionLine SourceLine(const Session& session, const Item& item)
{
    OptionLine line{"--source", {}, {}, false, false};
    for (const Source source : Sources(session))
        line.values.append(line.values.empty() ? "" : "|").append(Name(source));
    if (const std::optional<Source> source = SourceOf(session, item))
        line.inForce = Name(*source);
    line.active = !line.values.empty();
    line.writable = true;
    return line;
}

Unit UnitOf(const Row& row, const Item& item)
{
    const int32_t resolution = row.scale ? item.Long(row.scale).value_or(0) : 0;
    return resolution > 0 ? Unit{0, "mm", resolution / kInch} : OwnUnit(row.property);
}

/** The value in force, to stand behind the valid ones and their unit. */
std::string InForce(const Value& value, const Unit& unit)
{
    return InWords(value, Unit{unit.property, "", unit.perUnit});
}

std::vector<OptionLine> OptionLines(const Session& session, const Item& item, const ItemSheet& ofItem,
                                    const ItemSheet& ofRoot)
{
    std::vector<OptionLine> lines{SourceLine(session, item)};
    for (const Row& row : kRows) {
        const bool atRoot = row.property == kPages && session.Generation() == 1;
        const auto& there = (atRoot ? ofRoot : ofItem).properties;
        const auto found = std::ranges::find(
            there, row.property, [](const PropertyLine& property) { return property.capability.id; });
        OptionLine line{row.option, {}, {}, found != there.end(), false};
        if (line.active) {
            const Unit unit = UnitOf(row, item);
            line.values = InWords(found->capability.values, unit);
            line.inForce = InForce(found->value, unit);
            line.writable = found->capability.writable;
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

using Skips = bool (*)(uint32_t property);

ItemSheet ReadItem(const Session& session, const Item& item, std::string name, bool transfers,
                   Skips skips = nullptr)
{
    ItemSheet sheet{std::move(name), {}, {}};
    for (Capability& capability : Capabilities(session, item)) {
        if (skips && skips(capability.id))
            continue;
        Value value = ReadValue(item, capability);
        sheet.properties.push_back({std::move(capability), std::move(value)});
    }
    if (transfers)
        sheet.formats = TransferFormats(session, item);
    return sheet;
}

std::string NameOf(const Item& item)
{
    constexpr uint32_t kFullName = 4099;
    return item.Text(kFullName).value_or("Item");
}

bool IsFoundBySearch(uint32_t property)
{
    constexpr uint32_t kManufacturer = 3, kDescription = 4, kName = 7;
    return property == kManufacturer || property == kDescription || property == kName;
}

/** "75..1200dpi (in steps of 1) [300]", "[inactive]", "[8] [read-only]" */
std::string Describe(const std::string& values, const std::string& inForce, bool writable)
{
    return values + (values.empty() ? "[" : " [") + inForce + "]" + (writable ? "" : " [read-only]");
}

void PrintLine(const std::string& name, size_t width, const std::string& description)
{
    std::cout << "  " << std::left << std::setw(static_cast<int>(width + 2)) << Printable(name)
              << Printable(description) << "\n";
}

void PrintItem(const ItemSheet& item)
{
    std::cout << "\n" << Printable(item.name) << "\n";
    size_t width = std::string_view{"Transfer formats"}.size();
    for (const PropertyLine& line : item.properties)
        width = std::max(width, line.capability.name.size());
    for (const auto& [capability, value] : item.properties) {
        const Unit unit = OwnUnit(capability.id);
        PrintLine(capability.name.empty() ? std::to_string(capability.id) : capability.name, width,
                  Describe(capability.writable ? InWords(capability.values, unit) : "", InForce(value, unit),
                           capability.writable));
    }
    std::string formats;
    for (const TransferFormat& pair : item.formats)
        formats += (formats.empty() ? "" : ", ") + InWords(pair.format) + " (" +
                   InWords(static_cast<int32_t>(pair.medium), {kMedium}) + ")";
    if (!formats.empty())
        PrintLine("Transfer formats", width, formats);
}

}  // namespace

DataSheet ReadDataSheet(const Session& session, const Device& device, const std::optional<Item>& item)
{
    DataSheet sheet{device, session.Generation(), {}, {}};
    // A device that was opened by its id has not been searched for, and need not be for three lines that -L shows.
    const bool searched = device.name != device.id;
    sheet.items.push_back(
        ReadItem(session, session.Root(), device.name, false, searched ? nullptr : IsFoundBySearch));
    if (!session.HasChildren())
        return sheet;
    for (const Item& child : session.Children())
        sheet.items.push_back(ReadItem(session, child, NameOf(child), true));
    const auto ofItem = std::ranges::find(sheet.items, item ? NameOf(*item) : "", &ItemSheet::name);
    if (item && ofItem != sheet.items.end())
        sheet.options = OptionLines(session, *item, *ofItem, sheet.items.front());
    return sheet;
}

void Print(const DataSheet& sheet)
{
    std::cout << sheet.device.Label() << ", generation " << sheet.generation << "\n";
    if (!sheet.options.empty())
        std::cout << "\nOptions\n";
    for (const OptionLine& line : sheet.options)
        PrintLine(line.option, std::string_view{"--resolution"}.size(),
                  line.active ? Describe(line.values, line.inForce, line.writable) : "[inactive]");
    for (const ItemSheet& item : sheet.items)
        PrintItem(item);
}

}  // namespace vornscan
