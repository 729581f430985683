// The items of a scanner, with every property that the published drivers have there.

#include "../model/TransferSettings.h"
#include "DeviceBuilder.h"
#include "ScannerRules.h"

namespace vorn::wia {

namespace {

constexpr LONG kItemType = WiaItemTypeTransfer | WiaItemTypeImage | WiaItemTypeFile;
constexpr LONG kDpi = 150;
const WCHAR* const kColorProfile = VORN_TEXT("sRGB Color Space Profile.icm");

// Thousandths of an inch.
constexpr LONG kWidth = 8500;
constexpr LONG kGlassHeight = 11700;
constexpr LONG kFeederHeight = 14000;

void AddImageProperties(ItemDefinition& item)
{
    item.Set(OneOf(WIA_IPA_DATATYPE, WIA_DATA_COLOR,
                   std::vector<LONG>{WIA_DATA_THRESHOLD, WIA_DATA_GRAYSCALE, WIA_DATA_COLOR}))
        .Set(OneOf(WIA_IPA_DEPTH, 24, std::vector<LONG>{24}))
        .Set(ReadOnly(WIA_IPA_CHANNELS_PER_PIXEL, Value::I4(3)))
        .Set(ReadOnly(WIA_IPA_BITS_PER_CHANNEL, Value::I4(8)))
        .Set(ReadOnly(WIA_IPA_PIXELS_PER_LINE, Value::I4(0)))
        .Set(ReadOnly(WIA_IPA_BYTES_PER_LINE, Value::I4(0)))
        .Set(ReadOnly(WIA_IPA_NUMBER_OF_LINES, Value::I4(0)))
        .Set(ReadOnly(WIA_IPA_ITEM_SIZE, Value::I4(0)))
        .Set(OneOf(WIA_IPA_ICM_PROFILE_NAME, kColorProfile, std::vector<WString>{kColorProfile}));
}

void AddScanProperties(ItemDefinition& item, LONG height)
{
    const LONG across = kWidth * kDpi / 1000;
    const LONG down = height * kDpi / 1000;
    const LONG intents = WIA_INTENT_IMAGE_TYPE_MASK & ~0x8;
    item.Set(FlagsOf(
                 WIA_IPS_CUR_INTENT, WIA_INTENT_NONE,
                 intents | WIA_INTENT_MINIMIZE_SIZE | WIA_INTENT_MAXIMIZE_QUALITY | WIA_INTENT_BEST_PREVIEW))
        .Set(InRange(WIA_IPS_XRES, kDpi, 75, 1200))
        .Set(InRange(WIA_IPS_YRES, kDpi, 75, 1200))
        .Set(InRange(WIA_IPS_XPOS, 0, 0, across - 1))
        .Set(InRange(WIA_IPS_YPOS, 0, 0, down - 1))
        .Set(InRange(WIA_IPS_XEXTENT, across, 1, across))
        .Set(InRange(WIA_IPS_YEXTENT, down, 1, down))
        .Set(ReadOnly(WIA_IPS_PHOTOMETRIC_INTERP, Value::I4(WIA_PHOTO_WHITE_1)))
        .Set(InRange(WIA_IPS_BRIGHTNESS, 0, -1000, 1000))
        .Set(InRange(WIA_IPS_CONTRAST, 0, -1000, 1000))
        .Set(ReadOnly(WIA_IPS_ORIENTATION, Value::I4(PORTRAIT)))
        .Set(OneOf(WIA_IPS_ROTATION, PORTRAIT, std::vector<LONG>{PORTRAIT, LANSCAPE, ROT180, ROT270}))
        .Set(ReadOnly(WIA_IPS_MIRROR, Value::I4(0)))
        .Set(InRange(WIA_IPS_THRESHOLD, 128, 0, 255))
        .Set(ReadOnly(WIA_IPS_INVERT, Value::I4(0)))
        .Set(ReadOnly(WIA_IPS_WARM_UP_TIME, Value::I4(0)));
}

void AddSecondGenerationProperties(ItemDefinition& item, LONG height)
{
    item.Set(ReadOnly(WIA_IPS_MAX_HORIZONTAL_SIZE, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_IPS_MAX_VERTICAL_SIZE, Value::I4(height)))
        .Set(ReadOnly(WIA_IPS_MIN_HORIZONTAL_SIZE, Value::I4(14)))
        .Set(ReadOnly(WIA_IPS_MIN_VERTICAL_SIZE, Value::I4(14)))
        .Set(ReadOnly(WIA_IPS_OPTICAL_XRES, Value::I4(1200)))
        .Set(ReadOnly(WIA_IPS_OPTICAL_YRES, Value::I4(1200)))
        .Set(OneOf(WIA_IPS_PREVIEW, WIA_FINAL_SCAN, std::vector<LONG>{WIA_FINAL_SCAN, WIA_PREVIEW_SCAN}))
        .Set(ReadOnly(WIA_IPS_SHOW_PREVIEW_CONTROL, Value::I4(WIA_SHOW_PREVIEW_CONTROL)))
        .Set(OneOf(WIA_IPS_PAGE_SIZE, PageSizeOf(kWidth, height), PageSizesWithin(kWidth, height)))
        .Set(ReadOnly(WIA_IPS_PAGE_WIDTH, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_IPS_PAGE_HEIGHT, Value::I4(height)))
        .Set(OneOf(WIA_IPS_XSCALING, 100, std::vector<LONG>{100}))
        .Set(OneOf(WIA_IPS_YSCALING, 100, std::vector<LONG>{100}));
}

/** Duplex goes with the feeder's front first; the rest are one choice each. */
HRESULT CheckFeederHandling(const Value& value)
{
    const LONG flags = value.Long();
    const bool bothSides = (flags & DUPLEX) != 0;
    const bool oneSide = (flags & (FRONT_ONLY | BACK_ONLY)) != 0;
    const bool twoOneSides = (flags & FRONT_ONLY) && (flags & BACK_ONLY);
    return twoOneSides || (bothSides && oneSide) ? E_INVALIDARG : S_OK;
}

void AddFeederProperties(ItemDefinition& item)
{
    Property handling = FlagsOf(WIA_IPS_DOCUMENT_HANDLING_SELECT, FRONT_ONLY,
                                FEEDER | DUPLEX | FRONT_FIRST | FRONT_ONLY | BACK_ONLY);
    handling.check = CheckFeederHandling;
    Property pages = InRange(WIA_IPS_PAGES, 1, 0, 10000);
    pages.ofRoot = true;
    item.Set(std::move(handling))
        .Set(std::move(pages))
        .Set(ReadOnly(WIA_IPS_SHEET_FEEDER_REGISTRATION, Value::I4(LEFT_JUSTIFIED)));
}

}  // namespace

ItemDefinition ScannerItem(Generation generation, SourceFactory source, bool feeder)
{
    const bool first = generation == Generation::One;
    const LONG height = feeder ? kFeederHeight : kGlassHeight;

    ItemDefinition item;
    item.type = kItemType;
    AddTransferProperties(item, generation);
    item.follow = FollowScannerItem;
    item.written = TellPageSize;
    if (first) {
        item.name = VORN_TEXT("Scan");
    } else {
        item.name = feeder ? VORN_TEXT("Feeder") : VORN_TEXT("Flatbed");
        item.category = feeder ? WIA_CATEGORY_FEEDER : WIA_CATEGORY_FLATBED;
    }
    (feeder ? item.feeder : item.single) = std::move(source);

    AddImageProperties(item);
    AddScanProperties(item, height);
    if (!first)
        AddSecondGenerationProperties(item, height);
    if (!first && feeder)
        AddFeederProperties(item);

    // The sizes that follow from the ones above are those of a whole page.
    item.Find(WIA_IPA_PIXELS_PER_LINE)->value = item.Find(WIA_IPS_XEXTENT)->value;
    item.Find(WIA_IPA_NUMBER_OF_LINES)->value = item.Find(WIA_IPS_YEXTENT)->value;
    const LONG lineBytes = (item.Find(WIA_IPS_XEXTENT)->value.Long() * 24 + 31) / 32 * 4;
    item.Find(WIA_IPA_BYTES_PER_LINE)->value = Value::I4(lineBytes);
    item.Find(WIA_IPA_ITEM_SIZE)->value = Value::I4(lineBytes * item.Find(WIA_IPS_YEXTENT)->value.Long());
    return item;
}

}  // namespace vorn::wia
