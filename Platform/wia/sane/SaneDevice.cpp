#include "SaneDevice.h"

#include "../../include/comobject.h"
#include "../model/TransferSettings.h"
#include "../virtual/DeviceBuilder.h"
#include "../virtual/DeviceProperties.h"
#include "../virtual/ScannerRules.h"
#include "Area.h"
#include "OptionProperty.h"
#include "SanePages.h"
#include "Settings.h"
#include "Text.h"

namespace vorn::wia {

namespace {

using ScannerPtr = std::shared_ptr<Scanner>;

constexpr LONG kRootType = WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice;
constexpr LONG kItemType = WiaItemTypeTransfer | WiaItemTypeImage | WiaItemTypeFile;
constexpr LONG kMostPages = 10000;

SourceKind KindOfHandling(LONG flags) noexcept
{
    if (flags & DUPLEX)
        return SourceKind::Duplex;
    if (flags & BACK_ONLY)
        return SourceKind::Back;
    return SourceKind::Feeder;
}

LONG HandlingFlags(const Sources& sources) noexcept
{
    return (sources.hasDuplex ? DUPLEX | FRONT_FIRST : 0) | (sources.hasBack ? BACK_ONLY : 0) |
           (sources.hasFeeder ? FRONT_ONLY : 0);
}

/** Contradictions: both sides and one side, two single sides. */
HRESULT CheckSides(LONG flags) noexcept
{
    const bool oneSide = (flags & (FRONT_ONLY | BACK_ONLY)) != 0;
    const bool twoOneSides = (flags & FRONT_ONLY) && (flags & BACK_ONLY);
    return twoOneSides || ((flags & DUPLEX) && oneSide) ? E_INVALIDARG : S_OK;
}

HRESULT CheckRootHandling(const Value& value)
{
    const LONG flags = value.Long();
    const bool feeder = (flags & FEEDER) != 0;
    const bool flatbed = (flags & FLATBED) != 0;
    return feeder == flatbed || (flatbed && (flags & ~FLATBED)) ? E_INVALIDARG : CheckSides(flags);
}

/** A callback of the model that has the scanner for itself. Throws Failure where it cannot. */
template <typename Body>
auto Using(const ScannerPtr& scanner, Body body)
{
    return [scanner, body = std::move(body)](auto&&... arguments) {
        const Scanner::Use use{*scanner};
        return body(std::forward<decltype(arguments)>(arguments)...);
    };
}

/** What has no value of its own but does something, or changes by itself. */
void Animate(Property& property, const ScannerPtr& scanner)
{
    for (SaneOption& option : scanner->Options()) {
        if (OptionId(option) != property.id)
            continue;
        const size_t at = static_cast<size_t>(&option - scanner->Options().data());
        if (option.type == SANE_TYPE_BUTTON) {
            property.applied = Using(scanner, [scanner, at](const Value& value) {
                if (value.Long() == 1)
                    scanner->Press(scanner->Options().at(at));
            });
        } else if (!SANE_OPTION_IS_SETTABLE(option.capabilities)) {
            property.read = Using(scanner, [scanner, at](PROPVARIANT& value) {
                scanner->OpenIfLost();
                SaneOption& sensor = scanner->Options().at(at);
                scanner->Refresh(sensor);
                return PropertyOf(sensor).value.CopyTo(&value);
            });
        }
        return;
    }
}

/** The item as the scanner is set now. */
ItemDefinition ItemAsSet(const ScannerPtr& scanner, Generation generation)
{
    ItemDefinition item;
    item.type = kItemType;
    AddTransferProperties(item, generation);
    Describe(*scanner, [&](Property property) {
        Animate(property, scanner);
        item.Set(std::move(property));
    });
    const LONG intents = WIA_INTENT_IMAGE_TYPE_COLOR | WIA_INTENT_IMAGE_TYPE_GRAYSCALE |
                         WIA_INTENT_IMAGE_TYPE_TEXT | WIA_INTENT_MINIMIZE_SIZE | WIA_INTENT_MAXIMIZE_QUALITY |
                         WIA_INTENT_BEST_PREVIEW;
    item.Set(FlagsOf(WIA_IPS_CUR_INTENT, WIA_INTENT_NONE, intents))
        .Set(ReadOnly(WIA_IPS_PHOTOMETRIC_INTERP, Value::I4(WIA_PHOTO_WHITE_1)))
        .Set(ReadOnly(WIA_IPS_ORIENTATION, Value::I4(PORTRAIT)))
        .Set(OneOf(WIA_IPS_ROTATION, PORTRAIT, std::vector<LONG>{PORTRAIT, LANSCAPE, ROT180, ROT270}));

    item.follow = Using(scanner, [scanner](Item& changed, PROPID id) {
        if (id == WIA_IPA_TYMED)
            FollowMedium(changed);
        else if (id == WIA_IPA_FORMAT)
            FollowFormat(changed.Properties());
        else
            Settings{*scanner, changed.Properties()}.Follow(id);
    });
    // A client that changes something between two pages is not about to fetch the next one of a batch.
    item.written = [scanner](Item& written, PROPID) { scanner->EndBatchOf(&written.Properties()); };
    return item;
}

Property StatusProperty(const ScannerPtr& scanner, const Sources& sources)
{
    Property status = ReadOnly(WIA_DPS_DOCUMENT_HANDLING_STATUS, Value::I4(0));
    status.read = Using(scanner, [scanner, sources](PROPVARIANT& value) {
        scanner->OpenIfLost();
        SaneOption* const sensor = Find(*scanner, Role::PaperSensor);
        if (sensor)
            scanner->Refresh(*sensor);
        const bool empty = sensor && sensor->CanBeRead() && sensor->Word() == 0;
        const LONG feeder =
            sources.hasFeeder && !empty ? FEED_READY | (sources.hasDuplex ? DUP_READY : 0) : 0;
        return Value::I4((sources.hasFlatbed ? FLAT_READY : 0) | feeder).CopyTo(&value);
    });
    return status;
}

/** The root's pages and sizes; the sizes are those of the items. */
ItemDefinition RootItem(const ScannerPtr& scanner, const Sources& sources, REFGUID category = GUID{})
{
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType, category);
    const LONG capabilities = (sources.hasFeeder ? FEED | DETECT_FEED : 0) |
                              (sources.hasFlatbed ? FLAT | DETECT_FLAT : 0) | (sources.hasDuplex ? DUP : 0);
    root.Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(ReadOnly(WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES, Value::I4(capabilities)))
        .Set(StatusProperty(scanner, sources))
        .Set(InRange(WIA_DPS_PAGES, 1, sources.hasFeeder ? 0 : 1, sources.hasFeeder ? kMostPages : 1));
    root.written = [scanner](Item&, PROPID) { scanner->EndBatchOf(nullptr); };
    return root;
}

void AddSizes(ItemDefinition& root, Scanner& scanner, PROPID width, PROPID height)
{
    const Area across = AreaOf(scanner, Role::Left, Role::Right);
    const Area down = AreaOf(scanner, Role::Top, Role::Bottom);
    if (across.known && down.known)
        root.Set(ReadOnly(width, Value::I4(across.ThousandthsOfAnInch(across.size))))
            .Set(ReadOnly(height, Value::I4(down.ThousandthsOfAnInch(down.size))));
    for (const auto& [id, first] :
         {std::pair{WIA_DPS_OPTICAL_XRES, Role::Left}, {WIA_DPS_OPTICAL_YRES, Role::Top}}) {
        NumberRange range;
        const SaneOption* const option = ResolutionOf(scanner, first);
        if (option && RangeOf(*option, range))
            root.Set(ReadOnly(id, Value::I4(static_cast<LONG>(range.maximum))));
    }
}

/** Tells the sizes of glass and feeder, and leaves the scanner at the source that it had. */
void AddSizesOfSources(ItemDefinition& root, Scanner& scanner, const Sources& sources)
{
    const SourceKind before = SourceInForce(scanner, sources);
    if (sources.hasFeeder) {
        UseSource(scanner, sources, SourceKind::Feeder);
        AddSizes(root, scanner, WIA_DPS_HORIZONTAL_SHEET_FEED_SIZE, WIA_DPS_VERTICAL_SHEET_FEED_SIZE);
    }
    if (sources.hasFlatbed) {
        UseSource(scanner, sources, SourceKind::Flatbed);
        AddSizes(root, scanner, WIA_DPS_HORIZONTAL_BED_SIZE, WIA_DPS_VERTICAL_BED_SIZE);
    }
    UseSource(scanner, sources, before);
}

ItemDefinition Tree1(const FoundScanner& found)
{
    const ScannerPtr scanner = Scanner::Open(found.name);
    const Scanner::Use use{*scanner};
    const Sources sources = SourcesOf(*scanner, found.type);
    ItemDefinition root = RootItem(scanner, sources);
    AddSizesOfSources(root, *scanner, sources);

    const SourceKind kind = SourceInForce(*scanner, sources);
    const LONG select = kind == SourceKind::Flatbed  ? FLATBED
                        : kind == SourceKind::Duplex ? FEEDER | DUPLEX
                                                     : LONG{FEEDER};
    Property handling = FlagsOf(
        WIA_DPS_DOCUMENT_HANDLING_SELECT, select,
        (sources.hasFlatbed ? FLATBED : 0) | (sources.hasFeeder ? FEEDER : 0) | HandlingFlags(sources));
    handling.check = CheckRootHandling;
    root.Set(std::move(handling));
    root.follow = Using(scanner, [scanner, sources](Item& changed, PROPID id) {
        if (id != WIA_DPS_DOCUMENT_HANDLING_SELECT)
            return;
        const LONG flags = changed.Properties().Long(id);
        for (const auto& item : changed.Children())
            Settings{*scanner, item->Properties()}.Use(
                sources, flags & FLATBED ? SourceKind::Flatbed : KindOfHandling(flags));
    });

    ItemDefinition item = ItemAsSet(scanner, Generation::One);
    item.name = VORN_TEXT("Scan");
    if (sources.hasFlatbed)
        item.single = [scanner] { return MakeSaneSource(scanner, false); };
    if (sources.hasFeeder)
        item.feeder = [scanner] { return MakeSaneSource(scanner, true); };
    root.children.push_back(std::move(item));
    return root;
}

ItemDefinition FlatbedItem(const ScannerPtr& scanner, const Sources& sources)
{
    UseSource(*scanner, sources, SourceKind::Flatbed);
    ItemDefinition item = ItemAsSet(scanner, Generation::Two);
    item.name = VORN_TEXT("Flatbed");
    item.category = WIA_CATEGORY_FLATBED;
    item.single = [scanner] { return MakeSaneSource(scanner, false); };
    return item;
}

ItemDefinition FeederItem(const ScannerPtr& scanner, const Sources& sources)
{
    UseSource(*scanner, sources, SourceKind::Feeder);
    ItemDefinition item = ItemAsSet(scanner, Generation::Two);
    item.name = VORN_TEXT("Feeder");
    item.category = WIA_CATEGORY_FEEDER;
    item.feeder = [scanner] { return MakeSaneSource(scanner, true); };
    Property handling =
        FlagsOf(WIA_IPS_DOCUMENT_HANDLING_SELECT, FRONT_ONLY, FEEDER | HandlingFlags(sources));
    handling.check = [](const Value& value) { return CheckSides(value.Long()); };
    Property pages = InRange(WIA_IPS_PAGES, 1, 0, kMostPages);
    pages.ofRoot = true;
    item.Set(std::move(handling)).Set(std::move(pages));
    item.follow =
        Using(scanner, [scanner, sources, follow = std::move(item.follow)](Item& changed, PROPID id) {
            if (id == WIA_IPS_DOCUMENT_HANDLING_SELECT)
                Settings{*scanner, changed.Properties()}.Use(sources,
                                                             KindOfHandling(changed.Properties().Long(id)));
            else
                follow(changed, id);
        });
    return item;
}

ItemDefinition Tree2(const FoundScanner& found)
{
    const ScannerPtr scanner = Scanner::Open(found.name);
    const Scanner::Use use{*scanner};
    const Sources sources = SourcesOf(*scanner, found.type);
    ItemDefinition root = RootItem(scanner, sources, WIA_CATEGORY_ROOT);
    AddSizesOfSources(root, *scanner, sources);
    const SourceKind before = SourceInForce(*scanner, sources);
    if (sources.hasFlatbed)
        root.children.push_back(FlatbedItem(scanner, sources));
    if (sources.hasFeeder)
        root.children.push_back(FeederItem(scanner, sources));
    UseSource(*scanner, sources, before);  // a session of generation 1 begins with the source in force
    return root;
}

}  // namespace

Value DeviceText(const FoundScanner& found, PROPID id)
{
    if (id == WIA_DIP_VEND_DESC)
        return Value::Text(ToWide(found.vendor));
    if (id == WIA_DIP_DEV_DESC)
        return Value::Text(ToWide(found.type));
    const std::string name = found.vendor + (found.vendor.empty() ? "" : " ") + found.model;
    return Value::Text(ToWide(name.empty() ? found.name : name));
}

DeviceDefinition DefineSaneDevice(const FoundScanner& found)
{
    DeviceDefinition definition;
    const WString id = ToWide(found.name);
    definition.properties = DeviceProperties(id, id, {}, StiDeviceTypeScanner);
    for (Property& property : definition.properties) {
        if (property.id == WIA_DIP_DEV_NAME || property.id == WIA_DIP_DEV_DESC ||
            property.id == WIA_DIP_VEND_DESC)
            property.value = DeviceText(found, property.id);
        if (property.id == WIA_DIP_PORT_NAME)
            property.value = Value::Text(id);
    }
    definition.tree1 = [found] { return Tree1(found); };
    definition.tree2 = [found] { return Tree2(found); };
    return definition;
}

}  // namespace vorn::wia
