#include "ScanArea.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "PropertyIds.h"

namespace vornscan {
namespace {

constexpr double kInch = 25.4;
/** An area that is smaller than asked for by less is what paper sizes and scanners' glasses differ by. */
constexpr double kTolerance = 1;

struct Axis {
    uint32_t resolution, position, extent;
    std::optional<double> Options::*start;
    std::optional<double> Options::*length;
    double PageSize::*page;
    const char* startOption;
    const char* lengthOption;
};

constexpr Axis kAxes[] = {
    {kXResolution, kXPosition, kXExtent, &Options::left, &Options::width, &PageSize::width, "-l ", "-x "},
    {kYResolution, kYPosition, kYExtent, &Options::top, &Options::height, &PageSize::height, "-t ", "-y "},
};

double DotsPerMillimetre(const Item& item, const Axis& axis)
{
    return item.Long(axis.resolution).value_or(0) / kInch;
}

int32_t Dots(double millimetres, double dotsPerMillimetre)
{
    return static_cast<int32_t>(std::lround(millimetres * dotsPerMillimetre));
}

bool IsNear(const std::optional<int32_t>& inForce, int32_t dots, int32_t tolerance)
{
    return inForce && std::abs(*inForce - dots) <= tolerance;
}

}  // namespace

ScanArea::ScanArea(const Item& item)
{
    for (size_t i = 0; i < std::size(kAxes); ++i) {
        const double scale = DotsPerMillimetre(item, kAxes[i]);
        if (scale > 0)
            spans_[i] = {item.Long(kAxes[i].position).value_or(0) / scale,
                         item.Long(kAxes[i].extent).value_or(0) / scale, 1 / scale};
    }
}

bool ScanArea::AddTo(SettingsWriter& writer, const Item& item, const Options& options) const
{
    bool any = false;
    for (size_t i = 0; i < std::size(kAxes); ++i) {
        const Axis& axis = kAxes[i];
        const double scale = DotsPerMillimetre(item, axis);
        const auto add = [&](uint32_t property, std::optional<double> asked, double kept,
                             std::string option) {
            const int32_t dots = Dots(asked.value_or(kept), scale);
            const int32_t tolerance = std::max(1, Dots(spans_[i].dot, scale));
            if (!asked && IsNear(item.Long(property), dots, tolerance))
                return;
            Wish wish{property, dots, std::move(option), {0, "mm", scale}};
            wish.ifRefused = asked ? IfRefused::Fail : IfRefused::TakeNear;
            wish.tolerance = Dots(kTolerance, scale) + 1;  // devices tell whole dots, cut off
            writer.Add(std::move(wish));
            any = true;
        };
        const auto option = [](const char* name, std::optional<double> value) {
            return value ? name + InWords(Dots(*value, 10), {0, "mm", 10}) : std::string{name};
        };
        const std::optional<double> start =
            !(options.*axis.start) && options.pageSize ? 0 : options.*axis.start;
        const std::optional<double> length =
            options.pageSize ? (*options.pageSize).*axis.page : options.*axis.length;
        if (!start && !length && spans_[i].length <= 0)
            continue;
        add(axis.position, start, spans_[i].start, option(axis.startOption, start));
        add(axis.extent, length, spans_[i].length,
            options.pageSize
                ? "--pagesize " + options.pageSize->name + " (" + option(axis.lengthOption, length) + ")"
                : option(axis.lengthOption, length));
    }
    return any;
}

}  // namespace vornscan
