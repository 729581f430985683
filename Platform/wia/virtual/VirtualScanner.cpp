#include "DeviceBuilder.h"
#include "DeviceProperties.h"
#include "Paper.h"
#include "ScannerRules.h"

namespace vorn::wia {

namespace {

constexpr LONG kRootType = WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice;
constexpr LONG kMaximumSheets = 10000;
constexpr LONG kMaximumDelay = 600000;

/** Exactly one source; duplex goes with the feeder only. */
HRESULT CheckHandling(const Value& value)
{
    const LONG flags = value.Long();
    const bool feeder = (flags & FEEDER) != 0;
    const bool flatbed = (flags & FLATBED) != 0;
    const bool sides = (flags & (DUPLEX | FRONT_FIRST | FRONT_ONLY | BACK_ONLY)) != 0;
    const bool contradictory = (flags & DUPLEX) && (flags & (FRONT_ONLY | BACK_ONLY));
    return feeder == flatbed || (flatbed && sides) || contradictory ? E_INVALIDARG : S_OK;
}

Property HandlingStatus(const std::shared_ptr<Paper>& paper)
{
    Property status = ReadOnly(WIA_DPS_DOCUMENT_HANDLING_STATUS, Value::I4(FLAT_READY));
    status.read = [paper](PROPVARIANT& value) {
        const LONG ready = paper->IsLoaded() ? FEED_READY | DUP_READY : 0;
        return Value::I4(FLAT_READY | ready).CopyTo(&value);
    };
    return status;
}

/** The vendor properties: what lies in the scanner. */
void AddPaperProperties(ItemDefinition& root, const std::shared_ptr<Paper>& paper)
{
    Property sheets = InRange(kVirtualSheets, paper->Sheets(), 0, kMaximumSheets);
    sheets.name = VORN_TEXT("Virtual Sheets");
    sheets.read = [paper](PROPVARIANT& value) { return Value::I4(paper->Sheets()).CopyTo(&value); };
    sheets.applied = [paper](const Value& value) { paper->SetSheets(value.Long()); };

    Property folder = Writable(kVirtualPagesFolder, Value::Text(VORN_TEXT("")));
    folder.name = VORN_TEXT("Virtual Pages Folder");
    folder.check = [](const Value& value) { return Paper::CheckFolder(value.ToText()); };
    folder.applied = [paper](const Value& value) { paper->UseFolder(value.ToText()); };

    Property delay = InRange(kVirtualPageDelay, 0, 0, kMaximumDelay);
    delay.name = VORN_TEXT("Virtual Page Delay");
    delay.applied = [paper](const Value& value) { paper->SetDelay(std::chrono::milliseconds{value.Long()}); };

    root.Set(std::move(sheets)).Set(std::move(folder)).Set(std::move(delay));
}

void AddRootProperties(ItemDefinition& root, const std::shared_ptr<Paper>& paper)
{
    const LONG capabilities = FEED | FLAT | DUP | DETECT_FEED | DETECT_FLAT;
    root.Set(ReadOnly(WIA_DPA_FIRMWARE_VERSION, Value::Text(VORN_TEXT("1.0"))))
        .Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(ReadOnly(WIA_DPS_HORIZONTAL_BED_SIZE, Value::I4(8500)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_BED_SIZE, Value::I4(11700)))
        .Set(ReadOnly(WIA_DPS_HORIZONTAL_SHEET_FEED_SIZE, Value::I4(8500)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_SHEET_FEED_SIZE, Value::I4(14000)))
        .Set(ReadOnly(WIA_DPS_SHEET_FEEDER_REGISTRATION, Value::I4(LEFT_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_HORIZONTAL_BED_REGISTRATION, Value::I4(LEFT_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_BED_REGISTRATION, Value::I4(TOP_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES, Value::I4(capabilities)))
        .Set(HandlingStatus(paper))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_CAPACITY, Value::I4(kMaximumSheets)))
        .Set(ReadOnly(WIA_DPS_OPTICAL_XRES, Value::I4(1200)))
        .Set(ReadOnly(WIA_DPS_OPTICAL_YRES, Value::I4(1200)))
        .Set(ReadOnly(WIA_DPS_MIN_HORIZONTAL_SHEET_FEED_SIZE, Value::I4(14)))
        .Set(ReadOnly(WIA_DPS_MIN_VERTICAL_SHEET_FEED_SIZE, Value::I4(14)))
        .Set(ReadOnly(WIA_DPS_MAX_SCAN_TIME, Value::I4(60000)))
        .Set(InRange(WIA_DPS_PAGES, 1, 0, kMaximumSheets))
        .Set(OneOf(WIA_DPS_PREVIEW, WIA_FINAL_SCAN, std::vector<LONG>{WIA_FINAL_SCAN, WIA_PREVIEW_SCAN}))
        .Set(ReadOnly(WIA_DPS_SHOW_PREVIEW_CONTROL, Value::I4(WIA_SHOW_PREVIEW_CONTROL)));
    AddPaperProperties(root, paper);
}

ItemDefinition Tree1(LONG sheets)
{
    const auto paper = std::make_shared<Paper>(sheets);
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType);
    AddRootProperties(root, paper);
    Property handling = FlagsOf(WIA_DPS_DOCUMENT_HANDLING_SELECT, FLATBED,
                                FEEDER | FLATBED | DUPLEX | FRONT_FIRST | FRONT_ONLY | BACK_ONLY);
    handling.check = CheckHandling;
    root.Set(std::move(handling))
        .Set(OneOf(WIA_DPS_PAGE_SIZE, WIA_PAGE_CUSTOM,
                   std::vector<LONG>{WIA_PAGE_A4, WIA_PAGE_LETTER, WIA_PAGE_CUSTOM}))
        .Set(ReadOnly(WIA_DPS_PAGE_WIDTH, Value::I4(8500)))
        .Set(ReadOnly(WIA_DPS_PAGE_HEIGHT, Value::I4(11700)));
    root.written = FollowScannerRoot;

    ItemDefinition item = ScannerItem(Generation::One, [paper] { return paper->Glass(); });
    item.feeder = [paper] { return paper->Feeder(); };
    root.children.push_back(std::move(item));
    return root;
}

ItemDefinition Tree2(LONG sheets)
{
    const auto paper = std::make_shared<Paper>(sheets);
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType, WIA_CATEGORY_ROOT);
    AddRootProperties(root, paper);
    root.children = {ScannerItem(Generation::Two, [paper] { return paper->Glass(); }),
                     ScannerItem(
                         Generation::Two, [paper] { return paper->Feeder(); }, true)};
    return root;
}

}  // namespace

DeviceBuilder VirtualScanner(LONG sheets)
{
    DeviceDefinition definition;
    definition.properties =
        DeviceProperties(VORN_TEXT("virtual:scanner"), VORN_TEXT("Virtual Flatbed and Feeder Scanner"),
                         VORN_TEXT("Virtual scanner with test charts"), StiDeviceTypeScanner);
    definition.tree1 = [sheets] { return Tree1(sheets); };
    definition.tree2 = [sheets] { return Tree2(sheets); };
    return DeviceBuilder{std::move(definition)};
}

}  // namespace vorn::wia
