// The platform's properties as views of a scanner's options.

#include <algorithm>
#include <cmath>

#include "../virtual/ScannerRules.h"
#include "Area.h"
#include "OptionProperty.h"
#include "Settings.h"

namespace vorn::wia {

namespace {

std::vector<LONG> DataTypesOf(Scanner& scanner, LONG inForce)
{
    std::vector<LONG> types;
    const auto add = [&](LONG type) {
        if (std::find(types.begin(), types.end(), type) == types.end())
            types.push_back(type);
    };
    if (const SaneOption* mode = Find(scanner, Role::Mode)) {
        for (const std::string& text : TextsOf(*mode)) {
            if (const auto type = DataTypeOf(text))
                add(*type);
        }
    }
    if (const SaneOption* depth = Find(scanner, Role::Depth)) {
        const std::vector<double> depths = NumbersOf(*depth);
        if (std::find(depths.begin(), depths.end(), 1.0) != depths.end())
            add(WIA_DATA_THRESHOLD);
    }
    add(inForce);
    std::sort(types.begin(), types.end());
    return types;
}

LONG DepthOf(LONG type) noexcept
{
    return type == WIA_DATA_COLOR ? 24 : type == WIA_DATA_THRESHOLD ? 1 : 8;
}

void PutDataType(Scanner& scanner, const SANE_Parameters& parameters, const Put& put)
{
    const bool gray = parameters.format == SANE_FRAME_GRAY;
    const LONG type = !gray                   ? WIA_DATA_COLOR
                      : parameters.depth == 1 ? WIA_DATA_THRESHOLD
                                              : WIA_DATA_GRAYSCALE;
    const std::vector<LONG> types = DataTypesOf(scanner, type);
    std::vector<LONG> depths;
    for (const LONG each : types)
        depths.push_back(DepthOf(each));
    std::sort(depths.begin(), depths.end());
    put(OneOf(WIA_IPA_DATATYPE, type, types));
    put(OneOf(WIA_IPA_DEPTH, DepthOf(type), depths));
    put(ReadOnly(WIA_IPA_CHANNELS_PER_PIXEL, Value::I4(gray ? 1 : 3)));
    put(ReadOnly(WIA_IPA_BITS_PER_CHANNEL, Value::I4(DepthOf(type) == 1 ? 1 : 8)));
}

/** A whole number in the device's own range or list; none when the device has no such option. */
void PutNumber(const SaneOption* option, PROPID id, const Put& put)
{
    if (!option || !option->IsSingleNumber())
        return;
    const LONG value = static_cast<LONG>(std::lround(option->Number()));
    NumberRange range;
    std::vector<LONG> listed;
    for (const double number : NumbersOf(*option))
        listed.push_back(static_cast<LONG>(std::lround(number)));
    if (!option->CanBeSet())
        put(ReadOnly(id, Value::I4(value)));
    else if (!listed.empty())
        put(OneOf(id, value, listed));
    else if (RangeOf(*option, range))
        put(InRange(id, value, static_cast<LONG>(std::ceil(range.minimum)),
                    static_cast<LONG>(std::floor(range.maximum)),
                    std::max<LONG>(1, static_cast<LONG>(range.step))));
    else
        put(Writable(id, Value::I4(value)));
}

struct AxisIds {
    Role first, last;
    PROPID resolution, position, extent, largest, least, pixels, optical;
};
constexpr AxisIds kAxes[] = {
    {Role::Left, Role::Right, WIA_IPS_XRES, WIA_IPS_XPOS, WIA_IPS_XEXTENT, WIA_IPS_MAX_HORIZONTAL_SIZE,
     WIA_IPS_MIN_HORIZONTAL_SIZE, WIA_IPA_PIXELS_PER_LINE, WIA_IPS_OPTICAL_XRES},
    {Role::Top, Role::Bottom, WIA_IPS_YRES, WIA_IPS_YPOS, WIA_IPS_YEXTENT, WIA_IPS_MAX_VERTICAL_SIZE,
     WIA_IPS_MIN_VERTICAL_SIZE, WIA_IPA_NUMBER_OF_LINES, WIA_IPS_OPTICAL_YRES},
};

void PutResolution(Scanner& scanner, const AxisIds& ids, const Put& put)
{
    const SaneOption* option = ResolutionOf(scanner, ids.first);
    if (!option) {
        put(ReadOnly(ids.resolution, Value::I4(0)));
        return;
    }
    PutNumber(option, ids.resolution, put);
    NumberRange range;
    std::vector<double> numbers = NumbersOf(*option);
    const double greatest = RangeOf(*option, range) ? range.maximum
                            : numbers.empty()       ? option->Number()
                                                    : *std::max_element(numbers.begin(), numbers.end());
    put(ReadOnly(ids.optical, Value::I4(static_cast<LONG>(greatest))));
}

/** Pixels as the device announces them stand above those that the area amounts to. */
void PutAxis(Scanner& scanner, const AxisIds& ids, SANE_Int announced, const Put& put)
{
    PutResolution(scanner, ids, put);
    const Area area = AreaOf(scanner, ids.first, ids.last);
    if (!area.known) {
        put(ReadOnly(ids.position, Value::I4(0)));
        put(ReadOnly(ids.extent, Value::I4(std::max(1, announced))));
    } else {
        const LONG size = std::max<LONG>(1, area.Pixels(area.size));
        const LONG start = std::clamp<LONG>(area.Pixels(area.start), 0, size - 1);
        const LONG extent = std::clamp<LONG>(area.Pixels(area.end - area.start), 1, size - start);
        put(InRange(ids.position, start, 0, size - 1));
        put(InRange(ids.extent, extent, 1, size - start));
        put(ReadOnly(ids.largest, Value::I4(area.ThousandthsOfAnInch(area.size))));
        put(ReadOnly(ids.least, Value::I4(1)));
        announced = announced > 0 ? announced : extent;
    }
    put(ReadOnly(ids.pixels, Value::I4(std::max(0, announced))));
}

/** The page size that the area is, of those that fit; the size of the area is told with it. */
void PutPageSize(Scanner& scanner, const Put& put)
{
    const Area across = AreaOf(scanner, Role::Left, Role::Right);
    const Area down = AreaOf(scanner, Role::Top, Role::Bottom);
    if (!across.known || !down.known || across.dpi <= 0)
        return;
    const LONG width = across.ThousandthsOfAnInch(across.end - across.start);
    const LONG height = down.ThousandthsOfAnInch(down.end - down.start);
    const bool corner = across.start <= 0 && down.start <= 0;
    const std::vector<LONG> sizes =
        PageSizesWithin(across.ThousandthsOfAnInch(across.size), down.ThousandthsOfAnInch(down.size));
    put(OneOf(WIA_IPS_PAGE_SIZE, corner ? PageSizeOf(width, height) : WIA_PAGE_CUSTOM, sizes));
    put(ReadOnly(WIA_IPS_PAGE_WIDTH, Value::I4(width)));
    put(ReadOnly(WIA_IPS_PAGE_HEIGHT, Value::I4(height)));
}

void PutSizes(const SANE_Parameters& parameters, const Put& put)
{
    PageGeometry geometry;
    geometry.width = static_cast<uint32_t>(std::max(0, parameters.pixels_per_line));
    geometry.height = static_cast<uint32_t>(std::max(0, parameters.lines));
    geometry.bitsPerPixel = parameters.format != SANE_FRAME_GRAY ? 24 : parameters.depth == 1 ? 1 : 8;
    put(ReadOnly(WIA_IPA_BYTES_PER_LINE, Value::I4(static_cast<LONG>(geometry.RowBytes()))));
    put(ReadOnly(WIA_IPA_ITEM_SIZE,
                 Value::I4(static_cast<LONG>(std::min<uint64_t>(geometry.ImageBytes(), INT32_MAX)))));
}

}  // namespace

void DescribeViews(Scanner& scanner, const Put& put)
{
    const SANE_Parameters parameters = scanner.Parameters();
    PutDataType(scanner, parameters, put);
    PutAxis(scanner, kAxes[0], parameters.pixels_per_line, put);
    PutAxis(scanner, kAxes[1], parameters.lines, put);
    PutPageSize(scanner, put);
    PutSizes(parameters, put);
    PutNumber(Find(scanner, Role::Brightness), WIA_IPS_BRIGHTNESS, put);
    PutNumber(Find(scanner, Role::Contrast), WIA_IPS_CONTRAST, put);
    PutNumber(Find(scanner, Role::Threshold), WIA_IPS_THRESHOLD, put);
}

void Describe(Scanner& scanner, const Put& put)
{
    DescribeViews(scanner, put);
    for (const SaneOption& option : scanner.Options()) {
        if (!option.name.empty())
            put(PropertyOf(option));
    }
}

}  // namespace vorn::wia
