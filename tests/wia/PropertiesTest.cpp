// Reading and writing properties, and the values that follow others.
#include "Client.h"

namespace vorn::wia::test {

namespace {

/** The kind of a property's valid values and those that are numbers or texts: "range 1 1275 1275 1". */
std::string ValidValues(const Node& item, PROPID id)
{
    PROPSPEC propSpec = Specify(id);
    ULONG flags = 0;
    PROPVARIANT variant{};
    EXPECT_EQ(item.Storage()->GetPropertyAttributes(1, &propSpec, &flags, &variant), S_OK);
    const Value valid = Value::Adopt(variant);
    std::string text = flags & WIA_PROP_RANGE  ? "range"
                       : flags & WIA_PROP_LIST ? "list"
                       : flags & WIA_PROP_FLAG ? "flag"
                                               : "none";
    if (!(flags & WIA_PROP_WRITE))
        text = "read-only";
    for (ULONG i = 0; variant.vt == (VT_VECTOR | VT_I4) && i < variant.cal.cElems; ++i)
        text += " " + std::to_string(variant.cal.pElems[i]);
    for (ULONG i = 0; variant.vt == (VT_VECTOR | VT_BSTR) && i < variant.cabstr.cElems; ++i)
        text += " '" + Narrow(variant.cabstr.pElems[i]) + "'";
    for (ULONG i = 0; variant.vt == (VT_VECTOR | VT_CLSID) && i < variant.cauuid.cElems; ++i)
        text += " GUID";
    return text;
}

class Properties : public ServiceTest {};

TEST_F(Properties, WritesAreCheckedAgainstTypeAccessAndValidValues)
{
    const struct {
        const char* fault;
        PROPID id;
        Value value;
        HRESULT expected;
    } rows[] = {
        {"takes an unknown property", 9999, Value::I4(1), E_INVALIDARG},
        {"writes a property that is read only", WIA_IPA_BYTES_PER_LINE, Value::I4(1), E_ACCESSDENIED},
        {"refuses the minimum", WIA_IPS_BRIGHTNESS, Value::I4(-1000), S_OK},
        {"takes a value below the range", WIA_IPS_BRIGHTNESS, Value::I4(-1001), E_INVALIDARG},
        {"takes a value above the range", WIA_IPS_XRES, Value::I4(1201), E_INVALIDARG},
        {"takes a value between the steps", 5000, Value::I4(301), E_INVALIDARG},
        {"takes a value that the list lacks", WIA_IPA_DEPTH, Value::I4(16), E_INVALIDARG},
        {"takes the list's count for a value", WIA_IPA_DATATYPE, Value::I4(1), E_INVALIDARG},
        {"refuses a listed value", WIA_IPA_DATATYPE, Value::I4(WIA_DATA_GRAYSCALE), S_OK},
        {"takes a flag that is not offered", WIA_IPS_CUR_INTENT, Value::I4(0x100), E_INVALIDARG},
        {"refuses a combination of flags", WIA_IPS_CUR_INTENT, Value::I4(0x20001), S_OK},
        {"refuses another width of integer", WIA_IPS_XRES, Value::Integer(VT_UI2, 200), S_OK},
        {"cuts a wide value to 32 bits", WIA_IPS_XRES, Value::Integer(VT_I8, 0x1000000C8), E_INVALIDARG},
        {"takes a text for a number", WIA_IPS_XRES, Value::Text(VORN_TEXT("200")), E_INVALIDARG},
        {"takes no value for a number", WIA_IPS_XRES, Value{}, E_INVALIDARG},
        {"takes a format that is not offered", WIA_IPA_FORMAT, Value::Guid(WiaImgFmt_EMF), E_INVALIDARG},
        {"takes the empty element before the list", WIA_IPA_FORMAT, Value::Guid(GUID{}), E_INVALIDARG},
        {"takes a number for a GUID", WIA_IPA_FORMAT, Value::I4(1), E_INVALIDARG},
        {"refuses a listed GUID", WIA_IPA_FORMAT, Value::Guid(WiaImgFmt_TIFF), S_OK},
    };
    Use(VirtualScanner().EditItem(VORN_TEXT("Flatbed"),
                                  [](ItemDefinition& item) { item.Set(InRange(5000, 300, 75, 1200, 25)); }));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        const Node item = Open(Generation::Two).Child("Flatbed");
        const Value before = item.Read(row.id);
        EXPECT_EQ(item.Write(row.id, row.value), row.expected);
        if (before.Type() == VT_I4) {
            EXPECT_EQ(item.Long(row.id), row.expected == S_OK ? row.value.Long() : before.Long());
        }
    }
}

TEST_F(Properties, AWriteOfSeveralIsAllOrNothing)
{
    const Node item = Open(Generation::One, "virtual:scanner").Child("Scan");
    const PROPSPEC specs[] = {Specify(WIA_IPS_XRES), Specify(WIA_IPS_XEXTENT), Specify(WIA_IPS_YRES)};
    // 5000 pixels are within the area at 600 dpi only: the first value bears on the second.
    const Value good[] = {Value::I4(600), Value::I4(5000), Value::I4(600)};
    const Value bad[] = {Value::I4(600), Value::I4(5000), Value::I4(7)};
    const auto write = [&](const Value* values) {
        const PROPVARIANT variants[] = {values[0].Get(), values[1].Get(), values[2].Get()};
        return item.Storage()->WriteMultiple(3, specs, variants, WIA_IPA_FIRST);
    };
    const LONG extent = item.Long(WIA_IPS_XEXTENT);
    const LONG line = item.Long(WIA_IPA_BYTES_PER_LINE);

    EXPECT_EQ(write(bad), E_INVALIDARG);
    EXPECT_EQ(item.Long(WIA_IPS_XRES), 150);
    EXPECT_EQ(item.Long(WIA_IPS_XEXTENT), extent);
    EXPECT_EQ(item.Long(WIA_IPA_BYTES_PER_LINE), line);
    EXPECT_EQ(item.Write(WIA_IPS_XEXTENT, 5000), E_INVALIDARG) << "the range of the refused write stayed";

    EXPECT_EQ(write(good), S_OK);
    EXPECT_EQ(item.Long(WIA_IPS_XEXTENT), 5000);
}

TEST_F(Properties, MissingValuesAreEmptyAndNoValueAtAllIsTold)
{
    const Node root = Open(Generation::One, "virtual:scanner");
    WCHAR name[] = VORN_TEXT("unique DEVICE id");
    PROPSPEC specs[] = {Specify(WIA_DIP_DEV_ID), Specify(9999), Specify(0)};
    specs[2].ulKind = PRSPEC_LPWSTR;
    specs[2].lpwstr = name;
    PROPVARIANT values[3];
    EXPECT_EQ(root.Storage()->ReadMultiple(3, specs, values), S_OK);
    EXPECT_EQ(values[0].vt, VT_BSTR);
    EXPECT_EQ(values[1].vt, VT_EMPTY);
    EXPECT_EQ(values[2].vt, VT_BSTR) << "names are compared without regard to case";
    FreePropVariantArray(3, values);
    EXPECT_EQ(root.Storage()->ReadMultiple(1, specs + 1, values), S_FALSE);
    EXPECT_EQ(root.Storage()->ReadMultiple(1, nullptr, values), E_INVALIDARG);
}

TEST_F(Properties, ResolutionMovesTheAreaInPixels)
{
    const Node item = Open(Generation::One, "virtual:scanner").Child("Scan");
    EXPECT_EQ(item.Write(WIA_IPS_XPOS, 150), S_OK);
    EXPECT_EQ(item.Write(WIA_IPS_XEXTENT, 300), S_OK);
    EXPECT_EQ(item.Write(WIA_IPS_XRES, 300), S_OK);
    EXPECT_EQ(item.Long(WIA_IPS_XPOS), 300);
    EXPECT_EQ(item.Long(WIA_IPS_XEXTENT), 600);
    EXPECT_EQ(item.Long(WIA_IPA_PIXELS_PER_LINE), 600);
    EXPECT_EQ(item.Long(WIA_IPA_BYTES_PER_LINE), 1800);
    EXPECT_EQ(item.Write(WIA_IPS_XEXTENT, 2550 - 300), S_OK) << "the range does not move along";
    EXPECT_EQ(item.Write(WIA_IPS_XEXTENT, 2550 - 299), E_INVALIDARG);
    EXPECT_EQ(item.Write(WIA_IPS_XPOS, 2500), S_OK);
    EXPECT_EQ(item.Long(WIA_IPS_XEXTENT), 50) << "the extent stays within the area";
}

TEST_F(Properties, OneSettingSetsWhatOthersCanBe)
{
    const struct {
        const char* device;
        LONG source;
        PROPID written;
        LONG value;
        PROPID shown;
        const char* valid;  ///< or the end of it
    } rows[] = {
        {"virtual:scanner", FLATBED, WIA_IPS_XRES, 300, WIA_IPS_XPOS, "range 0 0 2549 1"},
        {"virtual:scanner", FLATBED, WIA_IPS_XPOS, 75, WIA_IPS_XEXTENT, "range 1 1200 1200 1"},
        {"virtual:scanner", FEEDER, WIA_IPS_YRES, 75, WIA_IPS_YEXTENT, "range 1 1050 1050 1"},
        {"virtual:scanner", FLATBED, WIA_IPA_DATATYPE, WIA_DATA_GRAYSCALE, WIA_IPA_DEPTH, "list 1 8 8"},
        {"virtual:scanner", FLATBED, WIA_IPS_CUR_INTENT, 4, WIA_IPA_DEPTH, "list 1 1 1"},
        {"virtual:scanner", FLATBED, WIA_IPA_TYMED, TYMED_MULTIPAGE_FILE, WIA_IPA_FORMAT,
         "list GUID GUID GUID"},
        {"virtual:scanner", FLATBED, WIA_DPS_PAGE_SIZE, WIA_PAGE_ISO_A5, WIA_DPS_PAGE_SIZE,
         " 0 1 5 11 12 6 2"},
        {"virtual:scanner", FEEDER, WIA_DPS_PAGE_SIZE, WIA_PAGE_USLEGAL, WIA_DPS_PAGE_SIZE,
         " 0 1 3 5 11 12 6 2"},
        {"virtual:compact", FLATBED, WIA_IPS_XRES, 600, WIA_IPS_YRES,
         "list 7 150 75 100 150 200 300 600 1200"},
        {"virtual:compact", FLATBED, WIA_IPS_YRES, 75, WIA_IPS_YPOS, "range 0 0 877 1"},
    };
    for (const Generation generation : kGenerations) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.valid);
            const bool first = generation == Generation::One;
            const Node root = Open(generation, row.device);
            const Node item = root.Child(first ? "Scan" : row.source == FEEDER ? "Feeder" : "Flatbed");
            if (first) {
                EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, row.source), S_OK);
            }
            const auto holder = [&](PROPID id) { return first && id == WIA_DPS_PAGE_SIZE ? root : item; };
            EXPECT_EQ(holder(row.written).Write(row.written, row.value), S_OK);
            const std::string valid = ValidValues(holder(row.shown), row.shown);
            EXPECT_TRUE(valid.ends_with(row.valid)) << valid;
        }
    }
    EXPECT_EQ(Open(Generation::One, "virtual:compact").Child("Scan").Write(WIA_IPS_XRES, 137), E_INVALIDARG);
}

TEST_F(Properties, EachKindOfValidValuesIsThere)
{
    const std::pair<PROPID, const char*> rows[] = {
        {WIA_IPS_BRIGHTNESS, "range -1000 0 1000 1"},
        {WIA_IPS_ROTATION, "list 4 0 0 1 2 3"},
        {WIA_IPS_CUR_INTENT, "flag 0 458759"},
        {WIA_IPA_ICM_PROFILE_NAME, "list '' 'sRGB Color Space Profile.icm' 'sRGB Color Space Profile.icm'"},
        {WIA_IPS_ORIENTATION, "read-only"},
        {kVirtualPaper, "list '' 'Test chart' 'Test chart' 'Blank'"},
        {kVirtualPagesFolder, "none"},
    };
    for (const Generation generation : kGenerations) {
        const Node root = Open(generation, "virtual:scanner");
        const Node item = root.Children().front();
        for (const auto& [id, valid] : rows)
            EXPECT_EQ(ValidValues(id < WIA_PRIVATE_DEVPROP ? item : root, id), valid);
    }
}

TEST_F(Properties, DataTypeDepthAndIntentFollowEachOther)
{
    struct Row {
        PROPID written;
        LONG value, dataType, depth, channels;
        HRESULT result = S_OK;
    };
    constexpr Row kRows[] = {
        {WIA_IPA_DATATYPE, WIA_DATA_THRESHOLD, WIA_DATA_THRESHOLD, 1, 1},
        {WIA_IPA_DATATYPE, WIA_DATA_GRAYSCALE, WIA_DATA_GRAYSCALE, 8, 1},
        {WIA_IPA_DEPTH, 24, WIA_DATA_GRAYSCALE, 8, 1, E_INVALIDARG},
        {WIA_IPS_CUR_INTENT, WIA_INTENT_IMAGE_TYPE_COLOR, WIA_DATA_COLOR, 24, 3},
        {WIA_IPS_CUR_INTENT, WIA_INTENT_IMAGE_TYPE_GRAYSCALE, WIA_DATA_GRAYSCALE, 8, 1},
        {WIA_IPS_CUR_INTENT, WIA_INTENT_NONE, WIA_DATA_GRAYSCALE, 8, 1},
    };
    const Node item = Open(Generation::Two, "virtual:scanner").Child("Flatbed");
    for (const Row& row : kRows) {
        EXPECT_EQ(item.Write(row.written, row.value), row.result);
        EXPECT_EQ(item.Long(WIA_IPA_DATATYPE), row.dataType);
        EXPECT_EQ(item.Long(WIA_IPA_DEPTH), row.depth);
        EXPECT_EQ(item.Long(WIA_IPA_CHANNELS_PER_PIXEL), row.channels);
        EXPECT_EQ(item.Long(WIA_IPA_BYTES_PER_LINE), (1275 * row.depth + 31) / 32 * 4);
    }
}

TEST_F(Properties, SourceSetsThePageSizeInTheFirstGeneration)
{
    const Node root = Open(Generation::One, "virtual:scanner");
    const Node item = root.Child("Scan");
    EXPECT_EQ(item.Write(WIA_IPS_YEXTENT, 2000), E_INVALIDARG) << "longer than the glass";
    EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER | FLATBED), E_INVALIDARG);
    EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FLATBED | DUPLEX), E_INVALIDARG);
    EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER), S_OK);
    EXPECT_EQ(item.Write(WIA_IPS_YEXTENT, 2000), S_OK);
    EXPECT_EQ(root.Write(WIA_DPS_DOCUMENT_HANDLING_SELECT, FLATBED), S_OK);
    EXPECT_EQ(item.Long(WIA_IPS_YEXTENT), 1755);
}

TEST_F(Properties, PageSizeAndAreaFollowEachOther)
{
    for (const Generation generation : kGenerations) {
        const Node root = Open(generation, "virtual:scanner");
        const Node item = root.Child(generation == Generation::One ? "Scan" : "Flatbed");
        const Node& sized = generation == Generation::One ? root : item;
        EXPECT_EQ(item.Write(WIA_IPS_XPOS, 9), S_OK);
        EXPECT_EQ(sized.Write(WIA_DPS_PAGE_SIZE, WIA_PAGE_LETTER), S_OK);
        EXPECT_EQ(item.Long(WIA_IPS_XPOS), 0);
        EXPECT_EQ(item.Long(WIA_IPS_YEXTENT), 1650);
        EXPECT_EQ(sized.Long(WIA_DPS_PAGE_HEIGHT), 11000);
        EXPECT_EQ(item.Write(WIA_IPS_XRES, 300), S_OK);
        EXPECT_EQ(sized.Long(WIA_DPS_PAGE_SIZE), WIA_PAGE_LETTER) << "the resolution is not part of it";
        EXPECT_EQ(item.Write(WIA_IPS_YEXTENT, 100), S_OK);
        EXPECT_EQ(sized.Long(WIA_DPS_PAGE_SIZE), WIA_PAGE_CUSTOM);
    }
}

TEST_F(Properties, MediumSetsTheFormatsOnOffer)
{
    const Node item = Open(Generation::One, "virtual:scanner").Child("Scan");
    EXPECT_EQ(item.Read(WIA_IPA_FORMAT).ToGuid(), WiaImgFmt_MEMORYBMP);
    EXPECT_EQ(item.Write(WIA_IPA_TYMED, TYMED_FILE), S_OK);
    EXPECT_EQ(item.Read(WIA_IPA_FORMAT).ToGuid(), WiaImgFmt_BMP) << "a file cannot be a bitmap in memory";
    EXPECT_EQ(item.Write(WIA_IPA_FORMAT, Value::Guid(WiaImgFmt_MEMORYBMP)), E_INVALIDARG);
    EXPECT_EQ(item.Write(WIA_IPA_TYMED, TYMED_MULTIPAGE_FILE), S_OK);
    EXPECT_EQ(item.Read(WIA_IPA_FORMAT).ToGuid(), WiaImgFmt_TIFF);
    EXPECT_EQ(Narrow(item.Read(WIA_IPA_FILENAME_EXTENSION).ToText()), "TIF");
}

TEST_F(Properties, PageCountIsOneValueInTheSecondGeneration)
{
    const Node root = Open(Generation::Two, "virtual:scanner");
    EXPECT_EQ(root.Child("Feeder").Write(WIA_IPS_PAGES, 7), S_OK);
    EXPECT_EQ(root.Long(WIA_DPS_PAGES), 7);
    EXPECT_EQ(Open(Generation::Two, "virtual:scanner").Long(WIA_DPS_PAGES), 1) << "each opening has its own";
}

TEST_F(Properties, AnswersOfADeviceReachTheClientAsTheyAre)
{
    Property vector = Writable(5000, Value::I4(1));
    vector.attributes = [](ULONG& flags, PROPVARIANT& valid) {
        flags = WIA_PROP_READ | WIA_PROP_LIST;
        valid.vt = VT_VECTOR | VT_I4;
        valid.cal = {0x80000000, nullptr};
        return S_OK;
    };
    Use(DeviceBuilder{}
            .RootProperty(vector)
            .RootProperty(InRange(5001, 300, 75, 1200, 25))
            .FailProperty(WIA_DIP_DEV_TYPE, Step::ReadProperty, E_FAIL, 2));
    const auto storage = Open(Generation::Two).Storage();
    PROPSPEC specs[] = {Specify(5000), Specify(5001)};
    ULONG flags[2] = {};
    PROPVARIANT valid[2] = {};
    EXPECT_EQ(storage->GetPropertyAttributes(2, specs, flags, valid), S_OK);
    EXPECT_EQ(valid[0].cal.cElems, 0x80000000u);
    EXPECT_EQ(flags[1], ULONG{WIA_PROP_RW | WIA_PROP_RANGE});
    const std::vector<LONG> range{valid[1].cal.pElems, valid[1].cal.pElems + valid[1].cal.cElems};
    EXPECT_EQ(range, (std::vector<LONG>{75, 300, 1200, 25}));
    PropVariantClear(&valid[1]);

    const PROPSPEC type = Specify(WIA_DIP_DEV_TYPE);
    for (const HRESULT result : {S_OK, E_FAIL, S_OK})
        EXPECT_EQ(storage->ReadMultiple(1, &type, valid), result) << "the second read fails";
}

}  // namespace

}  // namespace vorn::wia::test
