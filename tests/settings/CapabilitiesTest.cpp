/** Capabilities and formats: what an application hears of an item, from well-made and from hostile devices. */
#include <limits>
#include <sstream>

#include "session/Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

constexpr PROPID kProbe = WIA_PRIVATE_DEVPROP + 100;
const GUID kGuids[] = {WiaImgFmt_BMP, WiaImgFmt_TIFF, WiaImgFmt_PNG, WiaImgFmt_JPEG};

bool IsReal(const WiaCapability& capability)
{
    return capability.valueType == WIA_VALUE_FLOAT || capability.valueType == WIA_VALUE_DOUBLE;
}

/** "list 75 150", "range minimum nominal maximum step", "flags valid nominal"; a GUID as its first four bytes; the exact
 * numbers behind a slash. */
std::string Describe(const WiaCapability& capability)
{
    std::ostringstream text;
    if (!capability.values)
        return "null";
    if (const WiaFlagValues* flags = capability.values->flagValues)
        text << "flags " << flags->validFlags << " " << flags->nominal;
    if (const WiaRangeValues* range = capability.values->rangeValues)
        text << "range " << range->minimum << " " << range->nominal << " " << range->maximum << " "
             << range->step;
    if (capability.values->rangeValues && IsReal(capability)) {
        const auto& real = reinterpret_cast<const WiaRealRangeValues&>(*capability.values->rangeValues);
        text << " / " << double{real.minimum} << " " << double{real.nominal} << " " << double{real.maximum}
             << " " << double{real.step};
    }
    if (const WiaListValues* list = capability.values->listValues) {
        text << "list";
        for (int32_t i = 0; i < list->count; ++i) {
            const void* item = list->items[i];
            text << " ";
            if (capability.valueType == VT_BSTR)
                text << Narrow(static_cast<const WCHAR*>(item));
            else if (capability.valueType == VT_CLSID)
                text << std::hex << static_cast<const GUID*>(item)->Data1 << std::dec;
            else
                text << *static_cast<const int32_t*>(item);
        }
        const double* exact =
            IsReal(capability) ? reinterpret_cast<const WiaRealListValues*>(list)->numbers : nullptr;
        for (int32_t i = 0; exact && i < list->count; ++i)
            text << (i ? " " : " / ") << exact[i];
    }
    return text.str();
}

/** An application that notes what it hears; `answer` gets the number of calls so far. */
struct Heard {
    PROPID probe = kProbe;
    std::function<int32_t(size_t)> answer = [](size_t) { return 1; };
    std::vector<std::string> lines = {};
    std::string values = {};  ///< of the property `probe`
    WString name = {};
    uint32_t count = 0;

    static int32_t Capability(WiaSession*, uint32_t count, const WiaCapability* capability, void* data)
    {
        auto& heard = *static_cast<Heard*>(data);
        heard.count = count;
        heard.lines.push_back(capability ? std::to_string(capability->propertyId) : "null");
        if (capability && capability->propertyId == heard.probe) {
            heard.values = Describe(*capability);
            heard.name = capability->propertyName;
        }
        return heard.answer(heard.lines.size());
    }
    static int32_t Format(WiaSession*, uint32_t count, uint32_t tymed, const GUID* format, void* data)
    {
        auto& heard = *static_cast<Heard*>(data);
        heard.count = count;
        heard.lines.push_back(LogGuid(*format).substr(1, 8) + " " + std::to_string(tymed));
        return heard.answer(heard.lines.size());
    }
};

/** A property of that type which publishes these bits as its valid values. */
Property Publishing(VARTYPE type, ULONG access, const PROPVARIANT& valid, PROPID id = kProbe)
{
    Property property = Writable(id, type == VT_BSTR                  ? Value::Text(VORN_TEXT("a"))
                                     : type == VT_CLSID               ? Value::Guid(kGuids[0])
                                     : type == VT_R4 || type == VT_R8 ? Value::Real(type, 0)
                                                                      : Value::I4(0));
    property.attributes = [access, valid](ULONG& flags, PROPVARIANT& copy) {
        flags = access;
        copy = valid;
        const bool hollow = (valid.vt & VT_VECTOR) ? !valid.caub.pElems : !valid.puuid;
        return hollow ? S_OK : PropVariantCopy(&copy, &valid);
    };
    return property;
}

class CapabilitiesTest : public GenerationTest {
protected:
    /** Enumerates the root item of a device. */
    Heard Enumerate(const DeviceBuilder& device, int32_t expected = SUCCESS, Heard heard = {})
    {
        const OpenSession& session = Open(device);
        EXPECT_EQ(Vorn_WiaEnumCapabilities(session, session.Root(), 0, Heard::Capability, &heard), expected);
        return heard;
    }
};
VORN_IN_BOTH_GENERATIONS(CapabilitiesTest);

TEST_P(CapabilitiesTest, TurnsWhateverIsPublishedIntoRecords)
{
    constexpr ULONG list = WIA_PROP_RW | WIA_PROP_LIST, range = WIA_PROP_RW | WIA_PROP_RANGE,
                    flags = WIA_PROP_RW | WIA_PROP_FLAG;
    constexpr double infinity = std::numeric_limits<double>::infinity(),
                     nan = std::numeric_limits<double>::quiet_NaN();
    const auto number = [](VARTYPE type, int64_t value) { return Value::Integer(type, value); };
    const auto texts = [](std::vector<WString> values) { return Value::Texts(values); };
    const auto guids = [](size_t count) { return Value::Guids({kGuids, kGuids + count}); };
    PROPVARIANT wide{};  // eight bytes an element, 64-bit numbers among them that 32 bits do not hold
    LARGE_INTEGER elements[4]{};
    elements[0].QuadPart = INT64_MIN;
    elements[1].QuadPart = 5;
    elements[2].QuadPart = INT64_MAX;
    wide.vt = VT_VECTOR | VT_I8;
    wide.cah.cElems = 4;
    wide.cah.pElems = elements;
    const struct {
        const char* what;
        VARTYPE type;
        ULONG access;
        Value published;
        const char* values;
        PROPID id = kProbe;
        int hollow = VT_EMPTY;  ///< published in place: of that type, all zero but for a vector's count
    } rows[] = {
        {"a range", VT_I4, range, Value::Longs({0, 100, 200, 1}), "range 0 100 200 1"},
        {"flags", VT_I4, flags, Value::Longs({1, 3}), "flags 3 1"},
        {"a list", VT_I4, list, Value::Longs({3, 150, 75, 150, 300}), "list 75 150 300"},
        {"a list that is a range and flags too", VT_I4, list | range | flags, Value::Longs({1, 2, 3, 4}),
         "list 3"},
        {"a range that is flags too", VT_I4, range | flags, Value::Longs({1, 2, 3, 4}), "range 1 2 3 4"},
        {"no restriction", VT_I4, WIA_PROP_RW | WIA_PROP_NONE, Value::Longs({1, 2, 3, 4}), "null"},

        {"a count beyond the vector", VT_I4, list, Value::Longs({INT32_MAX, 150, 75}), "list 75"},
        {"a count before its end", VT_I4, list, Value::Longs({1, 150, 75, 150}), "list 75"},
        {"a negative count", VT_I4, list, Value::Longs({-1, 150, 75}), "list"},
        {"a count alone", VT_I4, list, Value::Longs({3}), "list"},
        {"a short range", VT_I4, range, Value::Longs({75, 150}), "range 75 150 0 0"},
        {"short flags", VT_I4, flags, Value::Longs({1}), "flags 0 1"},
        {"an empty vector", VT_I4, range, Value::Longs({}), "range 0 0 0 0"},
        {"nothing", VT_I4, list, Value{}, "list"},
        {"a vector that is not there", VT_I4, list, Value{}, "list", kProbe, VT_VECTOR | VT_I4},
        {"flags that are not there", VT_I4, flags, Value{}, "flags 0 0", kProbe, VT_VECTOR | VT_UI1},
        {"texts that are not there", VT_BSTR, list, Value{}, "list", kProbe, VT_VECTOR | VT_BSTR},
        {"a GUID that is not there", VT_CLSID, list, Value{}, "list", kProbe, VT_CLSID},
        {"a text that is not there", VT_BSTR, list, Value{}, "list ", kProbe, VT_BSTR},
        {"variants", VT_I4, range, Value{}, "range 0 0 0 0", kProbe, VT_VECTOR | VT_VARIANT},

        {"bytes", VT_I4, range, Value::Bytes({0, 128, 255, 1}), "range 0 128 255 1"},
        {"words", VT_I4, list, Value::Words({2, 0, 600, 65535}), "list 600 65535"},
        {"floats", VT_I4, range, Value::Reals({-2.7, 2.5, 1e300, 0.4}), "range -2 3 2147483647 0"},
        {"floats that are none", VT_I4, range, Value::Reals({-infinity, nan, infinity, 1}),
         "range -2147483648 0 2147483647 1"},
        {"whole floats", VT_R8, range, Value::Reals({-100, -3, 100, 1}),
         "range -100 -3 100 1 / -100 -3 100 1"},
        {"ends inward", VT_R4, range, Value::Reals({-42.17, 41.83, 99.9, 2.5}),
         "range -42 42 99 3 / -42.17 41.83 99.9 2.5"},
        {"no whole number between", VT_R8, range, Value::Reals({0.2, 0.5, 0.8, 0}),
         "range 0 1 1 0 / 0.2 0.5 0.8 0"},
        {"negative floats", VT_R8, list, Value::Reals({3, -1, -2, -1, 0}), "list -2 -1 0 / -2 -1 0"},
        {"fractions", VT_R8, list, Value::Reals({9, 42, -32.7, 12.1, 42, 129.5}),
         "list -33 12 42 130 / -32.7 12.1 42 129.5"},
        {"whole numbers of a fraction", VT_R4, list, Value::Longs({1, 2, 3}), "list 3 / 3"},
        {"texts of a fraction", VT_R8, list, texts({{}, {}, {}}), "list"},
        {"short, of a fraction", VT_R8, range, Value::Reals({0.5}), "range 1 0 0 0 / 0.5 0 0 0"},
        {"64 bits", VT_I4, range, Value::Of(wide), "range -2147483648 5 2147483647 0"},
        {"one number", VT_I4, list, number(VT_I4, 300), "list 300"},
        {"one huge number", VT_I4, list, number(VT_UI8, -1), "list 2147483647"},
        {"one signed byte", VT_I4, range, number(VT_I1, -5), "range -5 0 0 0"},
        {"one date", VT_I4, list, Value::Real(VT_DATE, 300), "list"},

        {"texts", VT_BSTR, list, texts({VORN_TEXT("1"), VORN_TEXT("n"), VORN_TEXT("a"), VORN_TEXT("ö")}),
         "list a ö"},
        {"profiles", VT_BSTR, list, texts({{}, {}, VORN_TEXT("sRGB")}), "list sRGB",
         WIA_IPA_ICM_PROFILE_NAME},
        {"texts without values", VT_BSTR, list, texts({VORN_TEXT("0"), VORN_TEXT("n")}), "list"},
        {"a vector of one text", VT_BSTR, list, texts({VORN_TEXT("a")}), "list a"},
        {"one text", VT_BSTR, list, Value::Text(VORN_TEXT("a")), "list a"},
        {"no texts", VT_BSTR, list, texts({}), "list"},
        {"formats", VT_CLSID, list, guids(4), "list b96b3caf b96b3cae", WIA_IPA_FORMAT},
        {"one format", VT_CLSID, list, Value::Guid(kGuids[1]), "list b96b3cb1", WIA_IPA_FORMAT},
        {"a format too few", VT_CLSID, list, guids(1), "list", WIA_IPA_FORMAT},
        {"GUIDs", VT_CLSID, list, guids(2), "list b96b3cab b96b3cb1"},
        {"numbers of a text", VT_BSTR, list, Value::Longs({1, 2, 3}), "list"},
        {"texts of a number", VT_I4, list, texts({{}, {}, {}}), "list"},
        {"texts of a GUID", VT_CLSID, list, texts({{}, {}, {}}), "list"},
        {"GUIDs of a range", VT_CLSID, range, guids(4), "range 0 0 0 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const PROPVARIANT published = row.hollow ? Hollow(row.hollow) : row.published.Get();
        const DeviceBuilder device =
            DeviceBuilder{}.RootProperty(Publishing(row.type, row.access, published, row.id));
        EXPECT_EQ(Enumerate(device, SUCCESS, {row.id}).values, row.values);
    }
}

TEST_P(CapabilitiesTest, CutsLongNamesBetweenCharacters)
{
    const auto pair = [](size_t before) { return WString(before, u'x') + VORN_TEXT("\U0001F5A8"); };
    const struct {
        WString published, name;
    } rows[] = {{{}, {}},
                {WString(259, u'x'), WString(259, u'x')},
                {WString(3000, u'x'), WString(259, u'x')},
                {pair(257), pair(257)},
                {pair(258), WString(258, u'x')},
                {pair(259), WString(259, u'x')}};
    for (const auto& row : rows) {
        Property named = Writable(kProbe, Value::I4(1));
        named.name = row.published;
        EXPECT_EQ(Enumerate(DeviceBuilder{}.RootProperty(named)).name, row.name);
    }
}

TEST_P(CapabilitiesTest, EndsTheTreeWhereMemoryDoes)
{
    constexpr ULONG list = WIA_PROP_RW | WIA_PROP_LIST, range = WIA_PROP_RW | WIA_PROP_RANGE;
    const Value whole = Value::Longs({3, 150, 75, 150, 300}), real = Value::Reals({2, 0, 0.25, 0.5});
    const struct {
        VARTYPE type;
        ULONG access;
        const Value& valid;
        std::vector<const char*> trees;
    } rows[] = {
        {VT_I4, list, whole, {"null", "", "list", "list", "list 75", "list 75 150", "list 75 150 300"}},
        {VT_R8, list, real, {"null", "", "list", "list", "list", "list 0 / 0.25", "list 0 1 / 0.25 0.5"}},
        {VT_R8, range, real, {"null", "", "range 2 0 0 1 / 2 0 0.25 0.5"}},
    };
    for (const auto& row : rows) {
        for (uint64_t allocation = 1; allocation <= row.trees.size(); ++allocation) {
            const OpenSession& session =
                Open(DeviceBuilder{}.RootProperty(Publishing(row.type, row.access, row.valid.Get())));
            Heard heard;
            const ScopedFailingAllocator failing{allocation};
            EXPECT_EQ(Vorn_WiaEnumCapabilities(session, session.Root(), 0, Heard::Capability, &heard),
                      SUCCESS);
            EXPECT_EQ(heard.values, row.trees[allocation - 1]) << allocation;
        }
    }
}

TEST_P(CapabilitiesTest, GoesOnUntilTheCallbackStops)
{
    const Heard all = Enumerate(DeviceBuilder{});
    ASSERT_GT(all.count, 3u);
    EXPECT_EQ(all.lines.size(), all.count);
    EXPECT_EQ(Enumerate(DeviceBuilder{}, 0, {kProbe, [](size_t) { return 0; }}).lines, all.lines);
    const auto stop = [](size_t calls) { return calls == 3 ? ERR_ABORTED : 1; };
    EXPECT_EQ(Enumerate(DeviceBuilder{}, ERR_ABORTED, {kProbe, stop}).lines.size(), 3u);
    for (const HRESULT result : {WIA_ERROR_BUSY, S_FALSE}) {
        const Heard heard = Enumerate(DeviceBuilder{}.FailAt(Step::NextProperty, result, 2));
        EXPECT_EQ(heard.lines.size(), all.count);
        EXPECT_EQ(heard.lines[1], "null");
        EXPECT_EQ(Enumerate(DeviceBuilder{}.FailAt(Step::GetAttributes, result, 2)).lines, all.lines);
    }
}

TEST_P(CapabilitiesTest, DeliversTheFormatsOfAnItem)
{
    ItemDefinition item = BareItem(VORN_TEXT("Item"), WiaItemTypeTransfer | WiaItemTypeImage);
    item.formats = {{kGuids[0], TYMED_FILE}, {kGuids[0], TYMED_CALLBACK}, {kGuids[1], TYMED_MULTIPAGE_FILE}};
    using Lines = std::vector<std::string>;
    const Lines all{"B96B3CAB 2", "B96B3CAB 128", "B96B3CB1 256"}, none;
    const struct {
        Step step;
        HRESULT result;  ///< S_OK: the step gives nothing
        unsigned nth;
        int32_t answer, status;
        Lines lines;
    } rows[] = {
        {Step::Page, E_FAIL, 1, 1, SUCCESS, all},
        {Step::Page, E_FAIL, 1, 0, 0, all},
        {Step::Page, E_FAIL, 1, ERR_ABORTED, ERR_ABORTED, {all[0]}},
        // The enumerator tries a failed pair again.
        {Step::NextFormat, WIA_ERROR_BUSY, 2, 1, SUCCESS, {all[0], all[1]}},
        {Step::NextFormat, S_FALSE, 2, 1, SUCCESS, {all[0], all[1]}},
        {Step::GetFormatCount, E_FAIL, 1, 1, SUCCESS, none},
        {Step::QueryTransfer, E_NOINTERFACE, 1, 1, ERR_WIA_UNEXPECTED, none},
        {Step::QueryTransfer, S_OK, 1, 1, ERR_WIA_UNEXPECTED, none},
        {Step::EnumFormats, WIA_ERROR_OFFLINE, 1, 1, ERR_WIA_OFFLINE, none},
        {Step::EnumFormats, S_OK, 1, 1, ERR_WIA_UNEXPECTED, none},
        {Step::ReadProperty, WIA_ERROR_BUSY, 2, 1, ERR_WIA_BUSY,
         none},  // the device type; the children ask first
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.step));
        DeviceBuilder device = DeviceBuilder{}.Child(item);
        if (row.result == S_OK)
            device.NullAt(row.step, row.nth);
        else
            device.FailAt(row.step, row.result, row.nth);
        const OpenSession& session = Open(device);
        const WiaItemHandle child = FirstChild(session);
        Heard heard;
        const ScopedCallLog log;
        heard.answer = [&](size_t) {
            EXPECT_EQ(log.Count("Item.ReleaseTransfer"), 0u) << "held while its formats are listed";
            return row.answer;
        };
        EXPECT_EQ(Vorn_WiaEnumFormats(session, child, 0, Heard::Format, &heard), row.status);
        EXPECT_EQ(heard.lines, row.lines);
        EXPECT_TRUE(heard.lines.empty() || heard.count == 3);
        Vorn_WiaFreeItem(session, child);
    }
}

TEST_P(CapabilitiesTest, TellsWhyItCannotStart)
{
    const auto lines = [&](Step step, HRESULT result, int32_t status, unsigned nth = 1) {
        return Enumerate(DeviceBuilder{}.FailAt(step, result, nth), status).lines.size();
    };
    EXPECT_EQ(lines(Step::QueryPropertyStorage, E_NOINTERFACE, ERR_WIA_UNEXPECTED, 2), 0u);
    EXPECT_EQ(lines(Step::EnumProperties, WIA_ERROR_OFFLINE, ERR_WIA_OFFLINE), 0u);
    EXPECT_EQ(lines(Step::EnumProperties, S_FALSE, RESULT_FALSE), 0u);
    EXPECT_EQ(lines(Step::CountProperties, E_FAIL, SUCCESS), 0u);
    EXPECT_EQ(lines(Step::ReadProperty, WIA_ERROR_BUSY, ERR_WIA_BUSY), 0u);
    EXPECT_TRUE(Enumerate(DeviceBuilder{}.NullAt(Step::EnumProperties), ERR_WIA_UNEXPECTED).lines.empty());

    const OpenSession& session = Open(DeviceBuilder{});
    const OpenSession idle{Version()};
    const auto both = [](WiaSession* with, WiaItemHandle item, bool callback, int32_t status) {
        EXPECT_EQ(Vorn_WiaEnumCapabilities(with, item, 0, callback ? Heard::Capability : nullptr, nullptr),
                  status);
        EXPECT_EQ(Vorn_WiaEnumFormats(with, item, 0, callback ? Heard::Format : nullptr, nullptr), status);
    };
    both(nullptr, session.Root(), true, ERR_INVALID_ARGUMENT);
    both(session, nullptr, true, ERR_INVALID_ARGUMENT);
    both(session, session.Root(), false, ERR_INVALID_ARGUMENT);
    both(idle, session.Root(), true, ERR_NO_DEVICE_SELECTED);
    EXPECT_EQ(Vorn_WiaEnumCapabilities(idle, nullptr, 0, nullptr, nullptr), ERR_NO_DEVICE_SELECTED);
}

}  // namespace
}  // namespace vorn::test
