#include "Settings.h"

#include <algorithm>
#include <cmath>

#include "../../include/comobject.h"
#include "../virtual/ScannerRules.h"
#include "Area.h"
#include "OptionProperty.h"
#include "Text.h"

namespace vorn::wia {

namespace {

/** What stays when another option is set that has the device reset it. */
constexpr Role kKept[] = {Role::Resolution, Role::ResolutionDown, Role::Left,
                          Role::Top,        Role::Right,          Role::Bottom};

bool IsInForce(const SaneOption& option, const Value& value)
{
    if (option.value.empty())
        return true;  // nobody can tell
    if (option.type == SANE_TYPE_STRING)
        return option.Text() == ToNarrow(value.ToText());
    return RawOf(option, value) == option.value;
}

/** The options in the order in which they have to be set. */
std::vector<size_t> SettingOrder(const std::vector<SaneOption>& options)
{
    std::vector<size_t> order(options.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto rank = [&](size_t i) { return RoleOf(options[i]).value_or(Role::Brightness); };
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return rank(a) < rank(b); });
    return order;
}

struct Kept {
    Role role;
    double number;
    bool atLimit;  ///< of an area that was all there was
};

std::vector<Kept> KeptNumbers(Scanner& scanner, std::optional<Role> changing)
{
    const SaneOption* const right = Find(scanner, Role::Right);
    const bool areaInPixels = right && right->unit == SANE_UNIT_PIXEL;
    const bool resolution = changing == Role::Resolution || changing == Role::ResolutionDown;
    std::vector<Kept> kept;
    for (const Role role : kKept) {
        const SaneOption* const option = Find(scanner, role);
        if (!option || !option->CanBeSet() || !option->IsSingleNumber() || role == changing ||
            (resolution && areaInPixels && role >= Role::Left))
            continue;
        NumberRange range;
        const bool end = role == Role::Right || role == Role::Bottom;
        kept.push_back(
            {role, option->Number(), end && RangeOf(*option, range) && option->Number() == range.maximum});
    }
    return kept;
}

void Restore(Scanner& scanner, const std::vector<Kept>& kept)
{
    for (const Kept& each : kept) {
        SaneOption* const option = Find(scanner, each.role);
        if (!option || !option->CanBeSet())
            continue;
        NumberRange range;
        const double wanted = each.atLimit && RangeOf(*option, range) ? range.maximum : each.number;
        RawValue raw = NearestNumber(*option, wanted);
        if (raw != option->value)
            scanner.Set(*option, std::move(raw));
    }
}

}  // namespace

bool Settings::IsDifferent(const SaneOption& option) const
{
    const Property* const property = table_.Find(OptionId(option));
    // What could not be set when it was shown has no value that anybody chose.
    return property && (property->access & WIA_PROP_WRITE) && option.CanBeSet() &&
           !IsInForce(option, property->value);
}

void Settings::SetAll()
{
    // Twice, since an option may reset one that was set before it.
    for (int pass = 0; pass < 2; ++pass) {
        for (const size_t i : SettingOrder(scanner_.Options())) {
            if (i >= scanner_.Options().size())
                break;
            SaneOption& option = scanner_.Options()[i];
            if (IsDifferent(option))
                scanner_.Set(option, RawOf(option, table_.Find(OptionId(option))->value));
        }
    }
}

void Settings::PutInForce()
{
    std::vector<size_t> different;
    const std::vector<SaneOption>& options = scanner_.Options();
    for (size_t i = 0; i < options.size(); ++i) {
        if (IsDifferent(options[i]))
            different.push_back(i);
    }
    const bool another = std::exchange(scanner_.owner, &table_) != &table_;
    if (different.size() == 1 && !another) {
        SaneOption& option = scanner_.Options()[different.front()];
        Change(option, RawOf(option, table_.Find(OptionId(option))->value));
    } else if (!different.empty()) {
        SetAll();
    }
}

void Settings::Change(SaneOption& option, RawValue value)
{
    const std::vector<Kept> kept = KeptNumbers(scanner_, RoleOf(option));
    scanner_.Set(option, std::move(value));
    Restore(scanner_, kept);
}

void Settings::ChangeNumber(Role role, double number)
{
    SaneOption* const option = Find(scanner_, role);
    if (!option || !option->CanBeSet() || !option->IsSingleNumber())
        return;
    RawValue raw = NearestNumber(*option, number);
    if (raw != option->value)
        Change(*option, std::move(raw));
}

void Settings::Use(const Sources& sources, SourceKind kind)
{
    scanner_.OpenIfLost();
    PutInForce();
    const std::vector<Kept> kept = KeptNumbers(scanner_, Role::Source);
    UseSource(scanner_, sources, kind);
    Restore(scanner_, kept);
    Show(Describe);
}

void Settings::UseDataType(LONG type)
{
    SaneOption* mode = Find(scanner_, Role::Mode);
    if (mode && mode->CanBeSet()) {
        const std::vector<std::string> modes = TextsOf(*mode);
        const auto ofType = [&](LONG wanted) {
            return FirstText(modes, [&](const std::string& text) { return DataTypeOf(text) == wanted; });
        };
        std::string text = DataTypeOf(mode->Text()) == type ? mode->Text() : ofType(type);
        if (text.empty())
            text = ofType(WIA_DATA_GRAYSCALE);  // one bit of grey is black and white
        if (!text.empty() && text != mode->Text())
            Change(*mode, TextValue(text));
    }
    const SaneOption* const depth = Find(scanner_, Role::Depth);
    const bool fits = depth && (depth->Word() == 8 || depth->Word() == 16);
    if (depth && (type == WIA_DATA_THRESHOLD || !fits))
        ChangeNumber(Role::Depth, type == WIA_DATA_THRESHOLD ? 1 : 8);
}

void Settings::UseIntent(LONG intent)
{
    constexpr struct {
        LONG intent, type;
    } kTypes[] = {{WIA_INTENT_IMAGE_TYPE_TEXT, WIA_DATA_THRESHOLD},
                  {WIA_INTENT_IMAGE_TYPE_GRAYSCALE, WIA_DATA_GRAYSCALE},
                  {WIA_INTENT_IMAGE_TYPE_COLOR, WIA_DATA_COLOR}};
    for (const auto& row : kTypes) {
        if (intent & row.intent)
            UseDataType(row.type);
    }
    constexpr struct {
        LONG intent;
        double dpi;
    } kResolutions[] = {
        {WIA_INTENT_BEST_PREVIEW, 75}, {WIA_INTENT_MINIMIZE_SIZE, 100}, {WIA_INTENT_MAXIMIZE_QUALITY, 300}};
    for (const auto& row : kResolutions) {
        if (!(intent & row.intent))
            continue;
        ChangeNumber(Role::Resolution, row.dpi);
        ChangeNumber(Role::ResolutionDown, row.dpi);
        break;
    }
}

/** Nothing where the area is that already, so that fractions of a pixel stay. The paper size first, since it bounds
 * the area; the end first where the start would pass it. */
void Settings::UseArea(Role first, Role last, LONG position, LONG extent)
{
    const Area area = AreaOf(scanner_, first, last);
    const SaneOption* const end = Find(scanner_, last);
    const bool same = area.Pixels(area.start) == position && area.Pixels(area.end - area.start) == extent;
    if (!area.known || !end || same)
        return;
    // A device cuts off fractions of a pixel; the least step beyond saves the last one.
    const double grain = end->type == SANE_TYPE_FIXED ? 1.0 / (1 << SANE_FIXED_SCALE_SHIFT) : 0;
    const double start = area.Place(position);
    const bool toTheEnd = position + extent >= area.Pixels(area.size);
    const double stop = (toTheEnd ? area.origin + area.size : area.Place(position + extent)) + grain;
    const Role page = first == Role::Left ? Role::PageWidth : Role::PageHeight;
    NumberRange range;
    if (RangeOf(*end, range) && stop > range.maximum + grain)
        ChangeNumber(page, stop - area.origin);
    if (start - area.origin > area.end) {
        ChangeNumber(last, stop);
        ChangeNumber(first, start);
    } else {
        ChangeNumber(first, start);
        ChangeNumber(last, stop);
    }
}

void Settings::UsePageSize(LONG size)
{
    LONG width = 0, height = 0;
    if (!DimensionsOf(size, width, height))
        return;
    const auto pixels = [&](PROPID resolution, LONG length) {
        return static_cast<LONG>(std::lround(length * static_cast<double>(table_.Long(resolution)) / 1000));
    };
    UseArea(Role::Left, Role::Right, 0, pixels(WIA_IPS_XRES, width));
    UseArea(Role::Top, Role::Bottom, 0, pixels(WIA_IPS_YRES, height));
}

bool Settings::FollowView(PROPID changed)
{
    const LONG value = table_.Long(changed);
    switch (changed) {
        case WIA_IPA_DATATYPE:
            UseDataType(value);
            return true;
        case WIA_IPA_DEPTH:
            UseDataType(value == 1 ? WIA_DATA_THRESHOLD : value == 8 ? WIA_DATA_GRAYSCALE : WIA_DATA_COLOR);
            return true;
        case WIA_IPS_CUR_INTENT:
            UseIntent(value);
            return true;
        case WIA_IPS_XRES:
            ChangeNumber(Role::Resolution, value);
            return true;
        case WIA_IPS_YRES:
            if (const SaneOption* option = ResolutionOf(scanner_, Role::Top))
                ChangeNumber(*RoleOf(*option), value);
            return true;
        case WIA_IPS_XPOS:
        case WIA_IPS_XEXTENT:
            UseArea(Role::Left, Role::Right, table_.Long(WIA_IPS_XPOS), table_.Long(WIA_IPS_XEXTENT));
            return true;
        case WIA_IPS_YPOS:
        case WIA_IPS_YEXTENT:
            UseArea(Role::Top, Role::Bottom, table_.Long(WIA_IPS_YPOS), table_.Long(WIA_IPS_YEXTENT));
            return true;
        case WIA_IPS_PAGE_SIZE:
            UsePageSize(value);
            return true;
        case WIA_IPS_BRIGHTNESS:
            ChangeNumber(Role::Brightness, value);
            return true;
        case WIA_IPS_CONTRAST:
            ChangeNumber(Role::Contrast, value);
            return true;
        case WIA_IPS_THRESHOLD:
            ChangeNumber(Role::Threshold, value);
            return true;
        default:
            return false;
    }
}

void Settings::Follow(PROPID changed)
{
    scanner_.OpenIfLost();
    const uint64_t before = scanner_.Changes();
    try {
        PutInForce();
        if (!FollowView(changed) && changed < kFirstOption)
            return;
        for (SaneOption& option : scanner_.Options()) {
            // What cannot be read back cannot be compared either: it is set whenever it is written.
            if (OptionId(option) == changed && option.value.empty() && option.CanBeSet() &&
                option.type != SANE_TYPE_BUTTON) {
                Change(option, RawOf(option, table_.Find(changed)->value));
                break;
            }
        }
    } catch (const Failure&) {
        Show(Describe);
        throw;
    }
    // Options that nobody has touched are shown as they are.
    Show(scanner_.Changes() == before ? DescribeViews : Describe);
}

void Settings::Show(void (*describe)(Scanner&, const Put&))
{
    describe(scanner_, [this](Property fresh) {
        Property* const property = table_.Find(fresh.id);
        if (!property)
            return;
        property->access = fresh.access;
        property->valid = std::move(fresh.valid);
        property->value = std::move(fresh.value);
    });
}

}  // namespace vorn::wia
