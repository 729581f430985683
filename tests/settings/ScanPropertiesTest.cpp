/** The scanning-properties record: what the device sees of its reading and writing, and what the caller gets. */
#include <algorithm>

#include "session/Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;
using Lines = std::vector<std::string>;
using Ids = std::vector<PROPID>;

constexpr PROPID kHandling = WIA_DPS_DOCUMENT_HANDLING_SELECT, kPages = WIA_DPS_PAGES,
                 kFormat = WIA_IPA_FORMAT;
const Ids kReadOrder{6146, 3088, 4103, 4104, 4108, 4106, 4107, 3096, 6156, 6157,
                     6147, 6148, 6149, 6150, 6151, 6152, 3109, 3110, 6154, 6155};
const Ids kWriteOrder{6146, 4103, 4104, 3088, 4108, 4106, 4107, 3096, 6156, 6147,
                      6148, 6149, 6150, 6151, 6152, 3109, 3110, 6157, 6154, 6155};

const GUID kGuidInForce = WiaImgFmt_TIFF, kGuidWanted = WiaImgFmt_PNG, kGuidChanged = WiaImgFmt_JPEG;
constexpr int32_t kInForce = 8, kChanged = 12;

/** The caller's record. Every number in it is 1000 and something, none has the bit of a flatbed. */
struct Record {
    GUID format = kGuidWanted;
    WiaImageGeometry geometry{44, 1000, 1004, 1008, 1012, 1016, 1020, 1024, 1028, 1032, 1036};
    WiaDataFormat dataFormat{24, &format, 1040, 1044, 1048};
    WiaImageAdjust adjust{12, 1052, 1056};
    WiaScanProperties properties{44, 1060, 1064, 1068, 1072, &geometry, &dataFormat, &adjust};

    uint32_t& Field(PROPID id)
    {
        const std::pair<PROPID, uint32_t*> fields[] = {
            {6146, &properties.intent},     {kHandling, &properties.documentHandling},
            {kPages, &properties.pages},    {6156, &properties.orientation},
            {4103, &dataFormat.dataType},   {4107, &dataFormat.compression},
            {4108, &dataFormat.tymed},      {4104, &geometry.bitsPerPixel},
            {6147, &geometry.xResolution},  {6148, &geometry.yResolution},
            {6149, &geometry.xPosition},    {6150, &geometry.yPosition},
            {6151, &geometry.xExtent},      {6152, &geometry.yExtent},
            {6157, &geometry.rotation},     {3109, &geometry.property3109},
            {3110, &geometry.property3110}, {6154, &adjust.brightness},
            {6155, &adjust.contrast},       {kFormat, reinterpret_cast<uint32_t*>(&format)},
        };
        return *std::find_if(std::begin(fields), std::end(fields), [&](auto& row) {
                    return row.first == id;
                })->second;
    }
};

/** What the field of a property holds when the value is the one wanted, in force or changed to. */
uint32_t Wanted(PROPID id)
{
    return Record{}.Field(id);
}
uint32_t InForce(PROPID id)
{
    return id == kFormat ? kGuidInForce.Data1 : uint32_t{kInForce};
}
uint32_t Changed(PROPID id)
{
    return id == kFormat ? kGuidChanged.Data1 : uint32_t{kChanged};
}

/** A callback that gives these answers, the last one for ever, and changes the value before it asks for another write. */
struct Answers {
    PROPID id = 0;  ///< the property that is answered; the others go on
    std::vector<int32_t> answers = {};
    size_t calls = 0;
    Lines heard = {};  ///< "id status type" of each call for `id`

    static int32_t Callback(WiaSession*, uint32_t id, int32_t status, uint32_t type, void* value, void* data)
    {
        auto& self = *static_cast<Answers*>(data);
        if (id != self.id)
            return id == kFormat ? SUCCESS : 0;
        const int32_t answer = self.answers[std::min(self.calls++, self.answers.size() - 1)];
        self.heard.push_back(std::to_string(status) + " " + std::to_string(type));
        if (answer == PROPERTY_WRITE_AGAIN && self.answers.size() > 1) {
            if (type == VT_CLSID)
                *static_cast<GUID*>(value) = kGuidChanged;
            else
                *static_cast<int32_t*>(value) = kChanged;
        }
        return answer;
    }
};

class ScanPropertiesTest : public GenerationTest {
protected:
    /** Changes the properties of the device before it is opened. */
    using Change = std::function<void(Property&)>;

    /** Opens a device that has every property of the record, each with the value in force. */
    void Publish(
        const Change& change = [](Property&) {}, DeviceBuilder device = DeviceBuilder{})
    {
        const Generation generation = Version() == 1 ? Generation::One : Generation::Two;
        ItemDefinition item = BareItem(VORN_TEXT("Item"), WiaItemTypeTransfer | WiaItemTypeImage, category_);
        for (const PROPID id : kReadOrder) {
            Property property = Writable(id, id == kFormat ? Value::Guid(kGuidInForce) : Value::I4(kInForce));
            change(property);
            if (property.id && OfRoot(id))
                device.RootProperty(generation, property);
            else if (property.id)
                item.Set(property);
        }
        Free();
        session_ = &Open(device.Child(generation, item));
        child_ = FirstChild(*session_);
    }
    void Free()
    {
        if (child_)
            Vorn_WiaFreeItem(*session_, child_);
        child_ = nullptr;
    }
    /** As Publish, with one property changed. */
    void PublishWith(PROPID id, const Change& change, const DeviceBuilder& device = DeviceBuilder{})
    {
        Publish(
            [&](Property& property) {
                if (property.id == id)
                    change(property);
            },
            device);
    }

    static bool OfRoot(PROPID id) { return Version() == 1 && (id == kHandling || id == kPages); }
    /** A line of the call log: "Item.Read 4104". */
    static std::string Line(const char* call, PROPID id)
    {
        return std::string{OfRoot(id) ? "Root." : "Item."}.append(call).append(" ").append(
            std::to_string(id));
    }
    /** The properties that this generation writes, in order. */
    static Ids Written()
    {
        Ids ids = kWriteOrder;
        if (Version() == 1)
            std::erase_if(ids, [](PROPID id) { return id == 3109 || id == 3110; });
        return ids;
    }

    int32_t Read(Record& record) { return Vorn_WiaGetProperties(*session_, child_, &record.properties); }
    int32_t Write(Record& record, Answers* answers = nullptr)
    {
        return Vorn_WiaSetProperties(*session_, child_, &record.properties,
                                     answers ? Answers::Callback : nullptr, answers);
    }
    /** How often the device was asked to write a property. */
    static size_t Writes(const ScopedCallLog& log, PROPID id) { return log.Count(Line("Write", id) + "="); }

    void TearDown() override
    {
        Free();
        GenerationTest::TearDown();
    }

    const OpenSession* session_ = nullptr;
    WiaItemHandle child_ = nullptr;
    GUID category_{};
};
VORN_IN_BOTH_GENERATIONS(ScanPropertiesTest);

/** Refuses the value that the record wants. */
void Refuse(Property& property)
{
    property.check = [id = property.id](const Value& value) {
        const uint32_t wanted = id == kFormat ? value.ToGuid().Data1 : static_cast<uint32_t>(value.Long());
        return wanted == Wanted(id) ? WIA_ERROR_BUSY : S_OK;
    };
}
void Accept(Property&) {}
void MakeReadOnly(Property& property)
{
    property.access = WIA_PROP_READ;
}
void HideAttributes(Property& property)
{
    property.attributes = [](ULONG& access, PROPVARIANT&) {
        access = WIA_PROP_RW;
        return S_FALSE;
    };
}

TEST_P(ScanPropertiesTest, ReadsEverySettingInOrder)
{
    Publish();
    Record record;
    const ScopedCallLog log;
    ASSERT_EQ(Read(record), SUCCESS);
    Lines expected;
    for (const PROPID id : kReadOrder) {
        expected.push_back(Line("Read", id));
        EXPECT_EQ(record.Field(id), InForce(id)) << id;
    }
    EXPECT_EQ(log.Lines(), expected);
}

TEST_P(ScanPropertiesTest, LeavesWhatCannotBeRead)
{
    for (const PROPID missing : kReadOrder) {
        SCOPED_TRACE(missing);
        PublishWith(missing, [](Property& property) { property.id = 0; });
        Record record;
        ASSERT_EQ(Read(record), SUCCESS);
        for (const PROPID id : kReadOrder)
            EXPECT_EQ(record.Field(id), id != missing ? InForce(id) : id == kFormat ? 0 : Wanted(id)) << id;
    }
    Publish();
    Record record;
    record.dataFormat.formatGuid = nullptr;
    const ScopedCallLog log;
    EXPECT_EQ(Read(record), SUCCESS);
    EXPECT_EQ(log.Count(Line("Read", kFormat)), 0u);
}

TEST_P(ScanPropertiesTest, TellsTheSourceOfA20ItemByItsCategory)
{
    const std::pair<GUID, uint32_t> rows[] = {
        {WIA_CATEGORY_FEEDER, 1},        {WIA_CATEGORY_FLATBED, 2},       {WIA_CATEGORY_FEEDER_BACK, 64},
        {WIA_CATEGORY_FEEDER_FRONT, 32}, {WIA_CATEGORY_FINISHED_FILE, 0}, {GUID{}, Wanted(kHandling)}};
    for (const auto& [category, handling] : rows) {
        category_ = category;
        PublishWith(kHandling, [](Property& property) { property.id = 0; });
        Record record;
        EXPECT_EQ(Read(record), SUCCESS);
        EXPECT_EQ(record.properties.documentHandling, Version() == 1 ? Wanted(kHandling) : handling);
    }
}

TEST_P(ScanPropertiesTest, WritesEverySettingInOrder)
{
    Publish();
    Record record;
    const ScopedCallLog log;
    ASSERT_EQ(Write(record), SUCCESS);
    Lines expected;
    for (const PROPID id : Written()) {
        expected.push_back(Line("Attributes", id));
        if (OfRoot(id) && id == kPages) {
            expected.push_back("Root.Read 5");
            expected.push_back("Root.Read 3088");
        }
        expected.push_back(Line("Write", id) + "=" +
                           (id == kFormat ? LogGuid(kGuidWanted) : std::to_string(Wanted(id))));
    }
    EXPECT_EQ(log.Lines(), expected);
}

TEST_P(ScanPropertiesTest, DoesWhatDeviceAndCallbackSayAtEachStep)
{
    const struct {
        const char* fault;
        void (*change)(Property& property);
        std::vector<int32_t> answers;
        int32_t status;
        size_t writes;
        uint32_t (*field)(PROPID id);
    } rows[] = {
        {"a good write is refreshed", Accept, {1}, SUCCESS, 1, Wanted},
        {"a refused value stays in the record", Refuse, {0}, SUCCESS, 1, InForce},
        {"a changed value is not written", Refuse, {PROPERTY_WRITE_AGAIN, 0}, SUCCESS, 2, Changed},
        {"a loop without end", Refuse, {PROPERTY_WRITE_AGAIN}, SUCCESS, 1000, InForce},
        {"a stop is ignored", Accept, {PROPERTY_WRITE_STOP}, ERR_ABORTED, 1, Wanted},
        {"a second stop is ignored",
         Refuse,
         {PROPERTY_WRITE_AGAIN, PROPERTY_WRITE_STOP},
         ERR_ABORTED,
         2,
         nullptr},
        {"a read-only property is written", MakeReadOnly, {PROPERTY_WRITE_STOP}, SUCCESS, 0, Wanted},
        {"one without attributes is written", HideAttributes, {PROPERTY_WRITE_STOP}, SUCCESS, 0, Wanted},
    };
    for (const auto& row : rows) {
        for (const PROPID id : Written()) {
            SCOPED_TRACE(std::string{row.fault} + ", " + std::to_string(id));
            PublishWith(id, row.change);
            Record record;
            Answers answers{id, row.answers};
            const ScopedCallLog log;
            EXPECT_EQ(Write(record, &answers), row.status);
            EXPECT_EQ(Writes(log, id), row.writes);
            EXPECT_EQ(answers.heard.size(), row.writes);
            if (row.writes) {
                const int32_t first = row.change == Refuse ? ERR_WIA_BUSY : SUCCESS;
                EXPECT_EQ(answers.heard.front(), std::to_string(first) + (id == kFormat ? " 72" : " 3"));
            } else if (!OfRoot(id)) {
                EXPECT_EQ(log.Count(Line("Read", id)), 0u);
            }
            // A stop comes before the record is refreshed, except at the source and the pages.
            const bool refreshed = id == kHandling || id == kPages;
            EXPECT_EQ(record.Field(id), (row.field ? row.field : refreshed ? Changed : Wanted)(id));
            bool reached = true;
            for (const PROPID other : Written()) {
                if (other == id)
                    reached = row.status == SUCCESS;
                else
                    EXPECT_EQ(Writes(log, other), reached) << other;
            }
        }
    }
}

TEST_P(ScanPropertiesTest, RefreshesSourceAndPagesAfterAFailureBefore)
{
    const struct {
        PROPID refused, skipped;
        bool inBoth, expected;
    } rows[] = {{4104, kHandling, true, true},   {4103, kHandling, true, false}, {4107, kPages, false, true},
                {kFormat, kPages, false, false}, {4108, kHandling, true, false}, {4104, 6156, true, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.refused) + " before " + std::to_string(row.skipped));
        Publish([&](Property& property) {
            if (property.id == row.refused)
                Refuse(property);
            if (property.id == row.skipped)
                MakeReadOnly(property);
        });
        Record record;
        EXPECT_EQ(Write(record), SUCCESS);
        const bool refreshed = row.expected && (row.inBoth || Version() == 2);
        EXPECT_EQ(record.Field(row.skipped), refreshed ? InForce(row.skipped) : Wanted(row.skipped));
    }
}

TEST_P(ScanPropertiesTest, GivesOnePageToWhatHasOnlyOne)
{
    const struct {
        const char* device;
        LONG type, handling;
        uint32_t pages;
        PROPID unread = kFormat;  ///< cannot be read, the nth time
        unsigned nth = 1;
    } rows[] = {
        {"a feeder", StiDeviceTypeScanner, FEEDER, 5},
        {"a flatbed", StiDeviceTypeScanner, FLATBED, 1},
        {"a camera", StiDeviceTypeDigitalCamera, FEEDER, 1},
        {"a video device", StiDeviceTypeStreamingVideo, FEEDER, 1},
        {"something else", 4, FLATBED, 5},
        {"no type", StiDeviceTypeScanner, FLATBED, 5, WIA_DIP_DEV_TYPE, 2},  // the children ask first
        {"no source", StiDeviceTypeScanner, FLATBED, 5, kHandling},
    };
    for (const auto& row : rows) {
        for (const bool refused : {false, true}) {
            SCOPED_TRACE(row.device);
            DeviceBuilder device{row.type};
            device.FailProperty(row.unread, Step::ReadProperty, WIA_ERROR_OFFLINE, row.nth);
            PublishWith(
                kPages,
                [&](Property& property) {
                    if (refused)
                        property.check = [](const Value&) { return E_INVALIDARG; };
                },
                device);
            Record record;
            record.properties.documentHandling = static_cast<uint32_t>(row.handling);
            record.properties.pages = 5;
            const ScopedCallLog log;
            EXPECT_EQ(Write(record), SUCCESS);
            const uint32_t pages = Version() == 1 ? row.pages : 5;
            EXPECT_EQ(log.Count(Line("Write", kPages) + "=" + std::to_string(pages)), 1u);
            EXPECT_EQ(record.properties.pages, refused ? InForce(kPages) : 5);
        }
    }
}

TEST_P(ScanPropertiesTest, WritesTheFormatByRulesOfItsOwn)
{
    // With a callback, its answer decides whether a refused format is refreshed.
    for (const auto& [answer, field] :
         {std::pair{1, &Wanted}, std::pair{0, &InForce}, std::pair{7, &InForce}}) {
        PublishWith(kFormat, Refuse);
        Record record;
        Answers answers{kFormat, {answer}};
        EXPECT_EQ(Write(record, &answers), SUCCESS);
        EXPECT_EQ(record.Field(kFormat), field(kFormat)) << answer;
    }
    Answers aborting{kFormat, {ERR_ABORTED}}, plain{4104, {ERR_ABORTED}};
    Publish();
    Record record;
    EXPECT_EQ(Write(record, &aborting), ERR_ABORTED);
    EXPECT_EQ(Write(record, &plain), SUCCESS) << "only the format stops at -100";

    // Memory takes BMP in generation 2, and the caller's GUID stays.
    record.dataFormat.tymed = TYMED_CALLBACK;
    const ScopedCallLog log;
    EXPECT_EQ(Write(record), SUCCESS);
    EXPECT_EQ(log.Count(Line("Write", kFormat) + "=" + LogGuid(Version() == 1 ? kGuidWanted : WiaImgFmt_BMP)),
              1u);
    EXPECT_EQ(record.Field(kFormat), Wanted(kFormat));

    // Without a GUID nothing is written from there on, unless the format is not to be written anyway.
    record.dataFormat.formatGuid = nullptr;
    for (const bool writable : {true, false}) {
        PublishWith(kFormat, writable ? Accept : MakeReadOnly);
        const size_t before = Writes(log, 4107);
        EXPECT_EQ(Write(record), writable ? ERR_INVALID_ARGUMENT : SUCCESS);
        EXPECT_EQ(Writes(log, 4107) - before, writable ? 0u : 1u);
    }
}

TEST_P(ScanPropertiesTest, ChecksTheRecordBeforeTheDevice)
{
    constexpr int32_t size = ERR_BAD_STRUCT_SIZE, null = ERR_INVALID_ARGUMENT,
                      device = ERR_NO_DEVICE_SELECTED;
    const struct {
        const char* fault;
        void (*change)(Record& record);
        int32_t read, written, readIdle, writtenIdle;  ///< idle: without a device
    } rows[] = {
        {"size", [](Record& r) { r.properties.structSize = 40; }, size, size, size, device},
        {"geometry size", [](Record& r) { r.geometry.structSize = 0; }, size, null, size, null},
        {"format size", [](Record& r) { r.dataFormat.structSize = 20; }, size, null, size, null},
        {"adjust size", [](Record& r) { r.adjust.structSize = 16; }, size, null, size, null},
        {"no geometry", [](Record& r) { r.properties.geometry = nullptr; }, null, null, null, null},
        {"no format", [](Record& r) { r.properties.dataFormat = nullptr; }, null, null, null, null},
        {"no adjust", [](Record& r) { r.properties.adjust = nullptr; }, null, null, null, null},
        {"nothing", [](Record&) {}, SUCCESS, SUCCESS, device, device},
    };
    Publish();
    const OpenSession idle{Version()};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        Record record;
        row.change(record);
        const ScopedCallLog log;
        EXPECT_EQ(Vorn_WiaGetProperties(idle, child_, &record.properties), row.readIdle);
        EXPECT_EQ(Vorn_WiaSetProperties(idle, child_, &record.properties, nullptr, nullptr), row.writtenIdle);
        EXPECT_EQ(Read(record), row.read);
        EXPECT_EQ(Write(record), row.written);
        EXPECT_EQ(log.Lines().empty(), row.read != SUCCESS);
    }
    const OpenSession& session = *session_;
    Record record;
    EXPECT_EQ(Vorn_WiaGetProperties(nullptr, child_, &record.properties), null);
    EXPECT_EQ(Vorn_WiaGetProperties(session, nullptr, &record.properties), null);
    EXPECT_EQ(Vorn_WiaGetProperties(session, child_, nullptr), null);
    EXPECT_EQ(Vorn_WiaSetProperties(nullptr, child_, &record.properties, nullptr, nullptr), null);
    EXPECT_EQ(Vorn_WiaSetProperties(session, nullptr, &record.properties, nullptr, nullptr), null);
    EXPECT_EQ(Vorn_WiaSetProperties(session, child_, nullptr, nullptr, nullptr), null);
}

TEST_P(ScanPropertiesTest, NeedsThePropertiesOfItemAndRoot)
{
    for (const unsigned nth : {2u, 3u}) {  // the children ask first
        for (const bool writing : {false, true}) {
            Publish(Accept, DeviceBuilder{}.FailAt(Step::QueryPropertyStorage, E_NOINTERFACE, nth));
            Record record;
            const ScopedCallLog log;
            EXPECT_EQ(writing ? Write(record) : Read(record), ERR_WIA_UNEXPECTED);
            EXPECT_TRUE(log.Lines().empty());
        }
    }
}

}  // namespace
}  // namespace vorn::test
