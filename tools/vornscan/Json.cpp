#include "Json.h"

#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "PropertyIds.h"
#include "Text.h"
#include "Vornfilx.h"

namespace vornscan {
namespace {

using Json = nlohmann::ordered_json;

/** Names that are no UTF-8 keep what can be shown of them. */
void Put(const Json& json)
{
    std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

Json Of(const Device& device)
{
    return {{"id", device.id}, {"name", device.name}, {"description", device.description}};
}

struct ValuesToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const Range& range) const
    {
        return {{"minimum", range.minimum}, {"maximum", range.maximum}, {"step", range.step}};
    }
    Json operator()(const RealRange& range) const
    {
        return {{"minimum", range.minimum}, {"maximum", range.maximum}, {"step", range.step}};
    }
    Json operator()(const Flags& flags) const { return {{"flags", flags.valid}}; }
    Json operator()(const std::vector<int32_t>& list) const { return {{"list", list}}; }
    Json operator()(const std::vector<double>& list) const { return {{"list", list}}; }
    Json operator()(const std::vector<std::string>& list) const { return {{"list", list}}; }
    Json operator()(const std::vector<GUID>& list) const
    {
        Json names = Json::array();
        for (const GUID& guid : list)
            names.push_back(InWords(guid));
        return {{"list", names}};
    }
};

Json Of(const Value& value)
{
    if (std::holds_alternative<std::monostate>(value))
        return nullptr;
    if (const int32_t* number = std::get_if<int32_t>(&value))
        return *number;
    if (const double* number = std::get_if<double>(&value))
        return *number;
    return InWords(value, Unit{});
}

Json Of(const ItemSheet& item)
{
    Json properties = Json::array();
    for (const auto& [capability, value] : item.properties)
        properties.push_back({{"id", capability.id},
                              {"name", capability.name},
                              {"writable", capability.writable},
                              {"value", Of(value)},
                              {"values", std::visit(ValuesToJson{}, capability.values)}});
    Json formats = Json::array();
    for (const TransferFormat& pair : item.formats)
        formats.push_back({{"format", InWords(pair.format)},
                           {"medium", InWords(static_cast<int32_t>(pair.medium), {kMedium})}});
    return {{"name", item.name}, {"properties", properties}, {"formats", formats}};
}

/** What the file says of its page; a file that cannot be read back is told by its name alone. */
Json OfPage(const std::string& file, uint32_t page)
{
    Json json{{"file", file}, {"page", page}};
    FilLoadOptions options{};
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    FilFileInfo info{};
    if (FilInfo(ToWide(file).c_str(), &info, FIL_INFO_SIZE, 0, &options) != FIL_SUCCESS || info.width == 0)
        return json;
    // The record is packed: its numbers are copied before anything refers to them.
    json.update({{"width", info.width},
                 {"height", info.height},
                 {"bitsPerPixel", info.bitsPerPixel},
                 {"xDpi", double{info.xDpi}},
                 {"yDpi", double{info.yDpi}}});
    return json;
}

uint32_t PagesOf(const std::string& file)
{
    FilFileInfo info{};
    const int32_t status = FilInfo(ToWide(file).c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
    return status == FIL_SUCCESS ? info.pageCount : 0;
}

}  // namespace

void PrintJson(const std::vector<Device>& devices)
{
    Json json = Json::array();
    for (const Device& device : devices)
        json.push_back(Of(device));
    Put(json);
}

void PrintJson(const DataSheet& sheet)
{
    Json options = Json::array();
    for (const OptionLine& line : sheet.options)
        options.push_back({{"option", line.option},
                           {"active", line.active},
                           {"writable", line.writable},
                           {"values", line.values},
                           {"value", line.inForce}});
    Json items = Json::array();
    for (const ItemSheet& item : sheet.items)
        items.push_back(Of(item));
    Put({{"device", Of(sheet.device)},
         {"generation", sheet.generation},
         {"options", options},
         {"items", items}});
}

void PrintJson(const Outcome& outcome, const Device& device, const std::optional<Failure>& failure)
{
    std::map<std::string, uint32_t> ours, last;
    for (const std::string& file : outcome.files)
        ++ours[file];
    for (const auto& [file, count] : ours)  // those of an earlier run come before ours
        last[file] = std::max(PagesOf(file), count) - count;
    Json pages = Json::array();
    for (const std::string& file : outcome.files)
        pages.push_back(OfPage(file, ++last[file]));
    Json json{{"device", Of(device)}, {"pages", pages}, {"error", nullptr}};
    if (failure)
        json["error"] = {{"message", failure->what()}, {"exitCode", static_cast<int>(failure->Code())}};
    Put(json);
}

}  // namespace vornscan
