#include "PageSize.h"

#include <charconv>
#include <optional>

#include "Choice.h"

namespace vornscan {
namespace {

struct Millimetres {
    double width, height;
    bool operator==(const Millimetres&) const = default;
};

constexpr Word<Millimetres> kSizes[] = {
    {"a3", {297, 420}},
    {"a4", {210, 297}},
    {"a5", {148, 210}},
    {"a6", {105, 148}},
    {"b4", {250, 353}},
    {"b5", {176, 250}},
    {"letter", {215.9, 279.4}},
    {"legal", {215.9, 355.6}},
    {"executive", {184.15, 266.7}},
    {"statement", {139.7, 215.9}},
    {"tabloid", {279.4, 431.8}},
    {"card", {85.6, 53.98}},
};

constexpr Word<double> kUnits[] = {{"mm", 1}, {"cm", 10}, {"in", 25.4}};

/** Takes a positive number from the front of `text`. */
std::optional<double> TakeNumber(std::string_view& text)
{
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || !(number > 0) || number > 1e6)
        return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return number;
}

std::optional<PageSize> ParseMeasures(const std::string& typed)
{
    const std::string small = SmallLetters(typed);
    std::string_view rest = small;
    const std::optional<double> width = TakeNumber(rest);
    if (!width || !rest.starts_with('x'))
        return std::nullopt;
    rest.remove_prefix(1);
    const std::optional<double> height = TakeNumber(rest);
    if (!height)
        return std::nullopt;
    for (const auto& [unit, millimetres] : kUnits)
        if (rest == unit)
            return PageSize{typed, *width * millimetres, *height * millimetres};
    return std::nullopt;
}

}  // namespace

PageSize ParsePageSize(const std::string& typed)
{
    if (!typed.empty() && std::isdigit(static_cast<unsigned char>(typed.front()))) {
        if (const std::optional<PageSize> size = ParseMeasures(typed))
            return *size;
        throw Failure{ExitCode::Usage, "--pagesize '" + typed +
                                           "' is no size: give width, height and unit, as in 8.5x11in or "
                                           "210x297mm (units: mm, cm, in)"};
    }
    const auto [width, height] = Choose<Millimetres>("--pagesize", typed, kSizes);
    return {typed, width, height};
}

}  // namespace vornscan
