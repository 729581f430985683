#include "Area.h"

#include <algorithm>
#include <cmath>

#include "OptionProperty.h"

namespace vorn::wia {

namespace {

constexpr double kMillimetersPerInch = 25.4;
/** In pixels: what is lost when a length becomes a fixed-point number, at up to 4800 dpi. */
constexpr double kFixedPointError = 0.01;

LONG Rounded(double number) noexcept
{
    return static_cast<LONG>(std::lround(std::clamp(number, -2147483648.0, 2147483647.0)));
}

}  // namespace

LONG Area::Pixels(double length) const noexcept
{
    return Rounded(std::floor(length * perUnit + kFixedPointError));
}

LONG Area::ThousandthsOfAnInch(double length) const noexcept
{
    return dpi > 0 ? Rounded(length * perUnit / dpi * 1000) : 0;
}

SaneOption* ResolutionOf(Scanner& scanner, Role first) noexcept
{
    SaneOption* down = first == Role::Top ? Find(scanner, Role::ResolutionDown) : nullptr;
    SaneOption* option = down && down->IsActive() ? down : Find(scanner, Role::Resolution);
    return option && option->IsSingleNumber() ? option : nullptr;
}

Area AreaOf(Scanner& scanner, Role first, Role last)
{
    Area area;
    const SaneOption* const start = Find(scanner, first);
    const SaneOption* const end = Find(scanner, last);
    const SaneOption* const resolution = ResolutionOf(scanner, first);
    if (!start || !end || !start->CanBeRead() || !end->CanBeRead() || !end->IsSingleNumber())
        return area;
    area.dpi = resolution ? resolution->Number() : 0;
    if (end->unit == SANE_UNIT_MM)
        area.perUnit = area.dpi / kMillimetersPerInch;
    area.known = area.perUnit > 0;

    NumberRange starts, ends;
    area.origin = RangeOf(*start, starts) ? starts.minimum : 0;
    area.start = start->Number() - area.origin;
    area.end = end->Number() - area.origin;
    area.size = RangeOf(*end, ends) ? ends.maximum - area.origin : area.end;
    // A paper size in force may bound the area less than it could be.
    const SaneOption* const page = Find(scanner, first == Role::Left ? Role::PageWidth : Role::PageHeight);
    NumberRange pages;
    if (page && page->CanBeSet() && RangeOf(*page, pages))
        area.size = std::max(area.size, pages.maximum);
    return area;
}

}  // namespace vorn::wia
