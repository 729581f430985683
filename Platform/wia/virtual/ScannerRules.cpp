#include "ScannerRules.h"

#include <algorithm>
#include <utility>

#include "../model/ImageFormats.h"
#include "../model/RotatedPage.h"
#include "../model/TransferSettings.h"

namespace vorn::wia {

namespace {

/** The properties of one direction. */
struct Axis {
    PROPID resolution, position, extent;
    PROPID itemSize, bedSize, feederSize;  ///< largest extent in thousandths of an inch
};

constexpr Axis kAcross{WIA_IPS_XRES,
                       WIA_IPS_XPOS,
                       WIA_IPS_XEXTENT,
                       WIA_IPS_MAX_HORIZONTAL_SIZE,
                       WIA_DPS_HORIZONTAL_BED_SIZE,
                       WIA_DPS_HORIZONTAL_SHEET_FEED_SIZE};
constexpr Axis kDown{WIA_IPS_YRES,
                     WIA_IPS_YPOS,
                     WIA_IPS_YEXTENT,
                     WIA_IPS_MAX_VERTICAL_SIZE,
                     WIA_DPS_VERTICAL_BED_SIZE,
                     WIA_DPS_VERTICAL_SHEET_FEED_SIZE};

/** How many thousandths of an inch the document source is wide or high. */
LONG SourceSize(const Item& item, const Axis& axis) noexcept
{
    if (item.Properties().Find(axis.itemSize))
        return item.Properties().Long(axis.itemSize);
    const PropertyTable& root = item.Root().Properties();
    const bool feeder = (root.Long(WIA_DPS_DOCUMENT_HANDLING_SELECT) & FEEDER) != 0;
    return root.Long(feeder ? axis.feederSize : axis.bedSize);
}

LONG Scaled(LONG value, int64_t numerator, int64_t denominator) noexcept
{
    return denominator > 0 ? static_cast<LONG>((value * numerator + denominator / 2) / denominator) : 0;
}

/** The area in pixels for the source and resolution in force; the part selected keeps its place on the paper. */
void FitAxis(Item& item, const Axis& axis, bool resolutionChanged)
{
    PropertyTable& table = item.Properties();
    const Property* position = table.Find(axis.position);
    if (!position || !table.Find(axis.extent))
        return;
    const LONG size = std::max<LONG>(1, Scaled(SourceSize(item, axis), table.Long(axis.resolution), 1000));
    const PROPVARIANT& range = position->valid.Get();
    const LONG sizeBefore = range.vt == (VT_VECTOR | VT_I4) && range.cal.cElems == WIA_RANGE_NUM_ELEMS
                                ? range.cal.pElems[WIA_RANGE_MAX] + 1
                                : size;
    LONG start = table.Long(axis.position);
    LONG extent = table.Long(axis.extent);
    if (start == 0 && extent == sizeBefore) {
        extent = size;  // the whole of one source becomes the whole of the next
    } else if (resolutionChanged && sizeBefore > 0) {
        start = Scaled(start, size, sizeBefore);
        extent = Scaled(extent, size, sizeBefore);
    }
    table.SetLong(axis.position, start);
    table.SetRange(axis.position, 0, 0, size - 1);
    table.SetLong(axis.extent, extent);
    const LONG room = size - table.Long(axis.position);
    table.SetRange(axis.extent, 1, room, room);
}

/**
 * The size of the image that will come, and the bytes of a line and of all of it as a DIB has them. Those of all
 * are 0 where only the transfer will tell.
 */
void FitSizes(PropertyTable& table)
{
    if (table.Find(WIA_IPS_XEXTENT) && table.Find(WIA_IPS_YEXTENT)) {
        const bool onItsSide = IsQuarterTurn(table.Long(WIA_IPS_ROTATION));
        table.SetLong(WIA_IPA_PIXELS_PER_LINE, table.Long(onItsSide ? WIA_IPS_YEXTENT : WIA_IPS_XEXTENT));
        table.SetLong(WIA_IPA_NUMBER_OF_LINES, table.Long(onItsSide ? WIA_IPS_XEXTENT : WIA_IPS_YEXTENT));
    }
    PageGeometry geometry;
    geometry.width = static_cast<uint32_t>(table.Long(WIA_IPA_PIXELS_PER_LINE));
    geometry.height = static_cast<uint32_t>(table.Long(WIA_IPA_NUMBER_OF_LINES));
    geometry.bitsPerPixel = static_cast<uint32_t>(table.Long(WIA_IPA_DEPTH));
    table.SetLong(WIA_IPA_BYTES_PER_LINE, static_cast<LONG>(geometry.RowBytes()));
    const uint64_t bytes = IsCompressed(table.Guid(WIA_IPA_FORMAT)) ? 0 : geometry.ImageBytes();
    table.SetLong(WIA_IPA_ITEM_SIZE, static_cast<LONG>(std::min<uint64_t>(bytes, INT32_MAX)));
}

struct DataType {
    LONG type, depth, channels, bitsPerChannel, intent;
};

constexpr DataType kDataTypes[] = {
    {WIA_DATA_THRESHOLD, 1, 1, 1, WIA_INTENT_IMAGE_TYPE_TEXT},
    {WIA_DATA_GRAYSCALE, 8, 1, 8, WIA_INTENT_IMAGE_TYPE_GRAYSCALE},
    {WIA_DATA_COLOR, 24, 3, 8, WIA_INTENT_IMAGE_TYPE_COLOR},
};

/** Puts the data type in force whose `field` has that value; it is what the depth can be chosen from. */
void UseDataType(PropertyTable& table, LONG DataType::*field, LONG value)
{
    for (const DataType& row : kDataTypes) {
        if (row.*field != value)
            continue;
        table.SetLong(WIA_IPA_DATATYPE, row.type);
        table.SetLong(WIA_IPA_DEPTH, row.depth);
        table.SetList(WIA_IPA_DEPTH, {row.depth});
        table.SetLong(WIA_IPA_CHANNELS_PER_PIXEL, row.channels);
        table.SetLong(WIA_IPA_BITS_PER_CHANNEL, row.bitsPerChannel);
    }
}

/** The resolution that an intent asks for; 0 for none. */
LONG IntendedResolution(LONG intent) noexcept
{
    if (intent & WIA_INTENT_BEST_PREVIEW)
        return 75;
    if (intent & WIA_INTENT_MINIMIZE_SIZE)
        return 100;
    return intent & WIA_INTENT_MAXIMIZE_QUALITY ? 300 : 0;
}

void UseResolution(Item& item, LONG resolution)
{
    item.Properties().SetLong(WIA_IPS_XRES, resolution);
    item.Properties().SetLong(WIA_IPS_YRES, resolution);
    FitAxis(item, kAcross, true);
    FitAxis(item, kDown, true);
}

void FollowIntent(Item& item)
{
    PropertyTable& table = item.Properties();
    const LONG intent = table.Long(WIA_IPS_CUR_INTENT);
    UseDataType(table, &DataType::intent, intent & WIA_INTENT_IMAGE_TYPE_MASK);
    if (const LONG resolution = IntendedResolution(intent))
        UseResolution(item, resolution);
}

struct PageSize {
    LONG size, width, height;  ///< in thousandths of an inch
};

constexpr PageSize kPageSizes[] = {
    {WIA_PAGE_A4, 8267, 11692},          {WIA_PAGE_LETTER, 8500, 11000}, {WIA_PAGE_USLEGAL, 8500, 14000},
    {WIA_PAGE_USSTATEMENT, 5500, 8500},  {WIA_PAGE_ISO_A5, 5826, 8267},  {WIA_PAGE_ISO_A6, 4133, 5826},
    {WIA_PAGE_BUSINESSCARD, 3543, 2165},
};

LONG Pixels(const PropertyTable& table, const Axis& axis, LONG size) noexcept
{
    return Scaled(size, table.Long(axis.resolution), 1000);
}

/** Selects a page of that size in the top left corner; a custom one is what is selected already. */
void UsePageSize(Item& item, LONG size)
{
    PropertyTable& table = item.Properties();
    for (const PageSize& page : kPageSizes) {
        if (page.size != size)
            continue;
        for (const auto& [axis, length] : {std::pair{&kAcross, page.width}, std::pair{&kDown, page.height}}) {
            table.SetLong(axis->position, 0);
            table.SetLong(axis->extent, Pixels(table, *axis, length));
            FitAxis(item, *axis, false);
        }
    }
}

/** The page size that the selected area is. */
LONG SelectedPageSize(const PropertyTable& table) noexcept
{
    for (const PageSize& page : kPageSizes) {
        if (table.Long(WIA_IPS_XPOS) == 0 && table.Long(WIA_IPS_YPOS) == 0 &&
            table.Long(WIA_IPS_XEXTENT) == Pixels(table, kAcross, page.width) &&
            table.Long(WIA_IPS_YEXTENT) == Pixels(table, kDown, page.height))
            return page.size;
    }
    return WIA_PAGE_CUSTOM;
}

}  // namespace

std::vector<LONG> PageSizesWithin(LONG width, LONG height)
{
    std::vector<LONG> sizes;
    for (const PageSize& page : kPageSizes) {
        if (page.width <= width && page.height <= height)
            sizes.push_back(page.size);
    }
    sizes.push_back(WIA_PAGE_CUSTOM);
    return sizes;
}

LONG PageSizeOf(LONG width, LONG height) noexcept
{
    for (const PageSize& page : kPageSizes) {
        if (page.width == width && page.height == height)
            return page.size;
    }
    return WIA_PAGE_CUSTOM;
}

bool DimensionsOf(LONG pageSize, LONG& width, LONG& height) noexcept
{
    for (const PageSize& page : kPageSizes) {
        if (page.size != pageSize)
            continue;
        width = page.width;
        height = page.height;
        return true;
    }
    return false;
}

void FollowScannerItem(Item& item, PROPID changed)
{
    PropertyTable& table = item.Properties();
    switch (changed) {
        case WIA_IPS_CUR_INTENT:
            FollowIntent(item);
            break;
        case WIA_IPA_DATATYPE:
            UseDataType(table, &DataType::type, table.Long(WIA_IPA_DATATYPE));
            break;
        case WIA_IPS_XRES:
            FitAxis(item, kAcross, true);
            break;
        case WIA_IPS_YRES:
            FitAxis(item, kDown, true);
            break;
        case WIA_IPS_PAGE_SIZE:
            UsePageSize(item, table.Long(WIA_IPS_PAGE_SIZE));
            break;
        case WIA_IPA_TYMED:
            FollowMedium(item);
            break;
        case WIA_IPA_FORMAT:
            FollowFormat(table);
            break;
        default:
            FitAxis(item, kAcross, false);
            FitAxis(item, kDown, false);
            break;
    }
    FitSizes(table);
}

void TellPageSize(Item& item, PROPID)
{
    const PropertyTable& table = item.Properties();
    const PropertyTable& told = table.Find(WIA_IPS_PAGE_SIZE) ? table : item.Root().Properties();
    told.SetLong(WIA_IPS_PAGE_SIZE, SelectedPageSize(table));
    told.SetLong(WIA_IPS_PAGE_WIDTH, Scaled(table.Long(WIA_IPS_XEXTENT), 1000, table.Long(WIA_IPS_XRES, 1)));
    told.SetLong(WIA_IPS_PAGE_HEIGHT, Scaled(table.Long(WIA_IPS_YEXTENT), 1000, table.Long(WIA_IPS_YRES, 1)));
}

void FollowScannerRoot(Item& root, PROPID changed)
{
    if (changed != WIA_DPS_DOCUMENT_HANDLING_SELECT && changed != WIA_DPS_PAGE_SIZE)
        return;
    for (const auto& item : root.Children()) {
        if (changed == WIA_DPS_DOCUMENT_HANDLING_SELECT)
            root.Properties().SetList(WIA_DPS_PAGE_SIZE,
                                      PageSizesWithin(SourceSize(*item, kAcross), SourceSize(*item, kDown)));
        FitAxis(*item, kAcross, false);
        FitAxis(*item, kDown, false);
        if (changed == WIA_DPS_PAGE_SIZE)
            UsePageSize(*item, root.Properties().Long(WIA_DPS_PAGE_SIZE));
        FitSizes(item->Properties());
        TellPageSize(*item, changed);
    }
}

}  // namespace vorn::wia
