#include "DeviceBuilder.h"
#include "DeviceProperties.h"
#include "Paper.h"
#include "ScannerRules.h"

namespace vorn::wia {

namespace {

constexpr LONG kRootType = WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice;
constexpr LONG kMaximumSheets = 10000;
constexpr LONG kMaximumDelay = 600000;

// Thousandths of an inch.
constexpr LONG kWidth = 8500;
constexpr LONG kGlassHeight = 11700;
constexpr LONG kFeederHeight = 14000;

/** What tells one of the scanners from another. */
struct Model {
    const WCHAR *id, *name, *description;
    bool feeder;
    LONG sheets;                    ///< in the feeder when the device is opened
    std::vector<LONG> resolutions;  ///< the only ones that there are; empty: any
};

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
void AddPaperProperties(ItemDefinition& root, const Model& model, const std::shared_ptr<Paper>& paper)
{
    const WString chart{VORN_TEXT("Test chart")}, blank{VORN_TEXT("Blank")};
    Property kind = OneOf(kVirtualPaper, chart, std::vector<WString>{chart, blank});
    kind.name = VORN_TEXT("Virtual Paper");
    kind.applied = [paper, blank](const Value& value) { paper->SetBlank(value.ToText() == blank); };

    Property folder = Writable(kVirtualPagesFolder, Value::Text(VORN_TEXT("")));
    folder.name = VORN_TEXT("Virtual Pages Folder");
    folder.check = [](const Value& value) { return Paper::CheckFolder(value.ToText()); };
    folder.applied = [paper](const Value& value) { paper->UseFolder(value.ToText()); };

    Property delay = InRange(kVirtualPageDelay, 0, 0, kMaximumDelay);
    delay.name = VORN_TEXT("Virtual Page Delay");
    delay.applied = [paper](const Value& value) { paper->SetDelay(std::chrono::milliseconds{value.Long()}); };

    if (model.feeder) {
        Property sheets = InRange(kVirtualSheets, paper->Sheets(), 0, kMaximumSheets);
        sheets.name = VORN_TEXT("Virtual Sheets");
        sheets.read = [paper](PROPVARIANT& value) { return Value::I4(paper->Sheets()).CopyTo(&value); };
        sheets.applied = [paper](const Value& value) { paper->SetSheets(value.Long()); };
        root.Set(std::move(sheets));
    }
    root.Set(std::move(folder)).Set(std::move(delay)).Set(std::move(kind));
}

void AddFeederProperties(ItemDefinition& root, const std::shared_ptr<Paper>& paper)
{
    root.Set(ReadOnly(WIA_DPS_HORIZONTAL_SHEET_FEED_SIZE, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_SHEET_FEED_SIZE, Value::I4(kFeederHeight)))
        .Set(ReadOnly(WIA_DPS_SHEET_FEEDER_REGISTRATION, Value::I4(LEFT_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_CAPACITY, Value::I4(kMaximumSheets)))
        .Set(ReadOnly(WIA_DPS_MIN_HORIZONTAL_SHEET_FEED_SIZE, Value::I4(14)))
        .Set(ReadOnly(WIA_DPS_MIN_VERTICAL_SHEET_FEED_SIZE, Value::I4(14)))
        .Set(InRange(WIA_DPS_PAGES, 1, 0, kMaximumSheets))
        .Set(HandlingStatus(paper));
}

void AddRootProperties(ItemDefinition& root, const Model& model, const std::shared_ptr<Paper>& paper)
{
    const LONG capabilities =
        model.feeder ? FEED | FLAT | DUP | DETECT_FEED | DETECT_FLAT : LONG{FLAT | DETECT_FLAT};
    const LONG finest = model.resolutions.empty() ? 1200 : model.resolutions.back();
    root.Set(ReadOnly(WIA_DPA_FIRMWARE_VERSION, Value::Text(VORN_TEXT("1.0"))))
        .Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(ReadOnly(WIA_DPS_HORIZONTAL_BED_SIZE, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_BED_SIZE, Value::I4(kGlassHeight)))
        .Set(ReadOnly(WIA_DPS_HORIZONTAL_BED_REGISTRATION, Value::I4(LEFT_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_VERTICAL_BED_REGISTRATION, Value::I4(TOP_JUSTIFIED)))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES, Value::I4(capabilities)))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_STATUS, Value::I4(FLAT_READY)))
        .Set(InRange(WIA_DPS_PAGES, 1, 1, 1))
        .Set(ReadOnly(WIA_DPS_OPTICAL_XRES, Value::I4(finest)))
        .Set(ReadOnly(WIA_DPS_OPTICAL_YRES, Value::I4(finest)))
        .Set(ReadOnly(WIA_DPS_MAX_SCAN_TIME, Value::I4(60000)))
        .Set(OneOf(WIA_DPS_PREVIEW, WIA_FINAL_SCAN, std::vector<LONG>{WIA_FINAL_SCAN, WIA_PREVIEW_SCAN}))
        .Set(ReadOnly(WIA_DPS_SHOW_PREVIEW_CONTROL, Value::I4(WIA_SHOW_PREVIEW_CONTROL)));
    if (model.feeder)
        AddFeederProperties(root, paper);
    AddPaperProperties(root, model, paper);
}

ItemDefinition ItemOf(const Model& model, Generation generation, const std::shared_ptr<Paper>& paper,
                      bool feeder = false)
{
    ItemDefinition item = ScannerItem(
        generation, [paper, feeder] { return feeder ? paper->Feeder() : paper->Glass(); }, feeder);
    if (model.resolutions.empty())
        return item;
    for (const PROPID id : {WIA_IPS_XRES, WIA_IPS_YRES})
        item.Set(OneOf(id, item.Find(id)->value.Long(), model.resolutions));
    return item;
}

ItemDefinition Tree1(const Model& model)
{
    const auto paper = std::make_shared<Paper>(model.sheets);
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType);
    AddRootProperties(root, model, paper);
    const LONG sources =
        model.feeder ? FLATBED | FEEDER | DUPLEX | FRONT_FIRST | FRONT_ONLY | BACK_ONLY : LONG{FLATBED};
    Property handling = FlagsOf(WIA_DPS_DOCUMENT_HANDLING_SELECT, FLATBED, sources);
    handling.check = CheckHandling;
    root.Set(std::move(handling))
        .Set(OneOf(WIA_DPS_PAGE_SIZE, WIA_PAGE_CUSTOM, PageSizesWithin(kWidth, kGlassHeight)))
        .Set(ReadOnly(WIA_DPS_PAGE_WIDTH, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_DPS_PAGE_HEIGHT, Value::I4(kGlassHeight)));
    root.written = FollowScannerRoot;

    ItemDefinition item = ItemOf(model, Generation::One, paper);
    if (model.feeder)
        item.feeder = [paper] { return paper->Feeder(); };
    root.children.push_back(std::move(item));
    return root;
}

ItemDefinition Tree2(const Model& model)
{
    const auto paper = std::make_shared<Paper>(model.sheets);
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType, WIA_CATEGORY_ROOT);
    AddRootProperties(root, model, paper);
    root.children = {ItemOf(model, Generation::Two, paper)};
    if (model.feeder)
        root.children.push_back(ItemOf(model, Generation::Two, paper, true));
    return root;
}

DeviceBuilder Scanner(const Model& model)
{
    DeviceDefinition definition;
    definition.properties = DeviceProperties(model.id, model.name, model.description, StiDeviceTypeScanner);
    definition.tree1 = [model] { return Tree1(model); };
    definition.tree2 = [model] { return Tree2(model); };
    return DeviceBuilder{std::move(definition)};
}

}  // namespace

DeviceBuilder VirtualScanner(LONG sheets)
{
    return Scanner({VORN_TEXT("virtual:scanner"),
                    VORN_TEXT("Virtual Flatbed and Feeder Scanner"),
                    VORN_TEXT("Virtual scanner with test charts"),
                    true,
                    sheets,
                    {}});
}

DeviceBuilder VirtualCompactScanner()
{
    return Scanner({VORN_TEXT("virtual:compact"),
                    VORN_TEXT("Virtual Compact Scanner"),
                    VORN_TEXT("Virtual flatbed scanner with a few resolutions"),
                    false,
                    0,
                    {75, 100, 150, 200, 300, 600, 1200}});
}

}  // namespace vorn::wia
