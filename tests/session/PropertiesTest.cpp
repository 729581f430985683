/** Single properties: conversion by type, the size protocol, what the device receives. */
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

constexpr PROPID kFirst = WIA_PRIVATE_DEVPROP + 100;
constexpr PROPID kLong = kFirst, kGuid = kFirst + 1, kText = kFirst + 2, kTime = kFirst + 3,
                 kBytes = kFirst + 4;
constexpr GUID kSomeGuid{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr GUID kOtherGuid{0xFFFFFFFF, 0xFFFF, 0xFFFF, {9, 9, 9, 9, 9, 9, 9, 9}};
constexpr SYSTEMTIME kSomeTime{2026, 2, 6, 28, 23, 59, 58, 999};
constexpr SYSTEMTIME kOtherTime{1, 2, 3, 4, 5, 6, 7, 65535};
constexpr int32_t kOtherLong = 0x5A5A5A5A;

const WString kOddTexts[] = {VORN_TEXT("Flatbed"),
                             VORN_TEXT("Größe \U0001F5A8 日本"),
                             {u'a', 0xD83D, u' ', 0xDC00},  // surrogates without their halves
                             WString(3000, u'x')};

WString NameOf(PROPID id)
{
    return WString{VORN_TEXT("Probe ")} + static_cast<WCHAR>('0' + (id - kFirst));
}

Property Probe(PROPID id, Value value)
{
    Property property = Writable(id, std::move(value));
    property.name = NameOf(id);
    return property;
}

Value TimeWords(size_t count)
{
    std::vector<uint16_t> words{2026, 2, 6, 28, 23, 59, 58, 999};
    words.resize(count);
    return Value::Words(words);
}

std::vector<uint8_t> Counting(size_t count)
{
    std::vector<uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

std::vector<Property> OneOfEach()
{
    return {Probe(kLong, Value::I4(300)), Probe(kGuid, Value::Guid(kSomeGuid)),
            Probe(kText, Value::Text(VORN_TEXT("text"))), Probe(kTime, TimeWords(8)),
            Probe(kBytes, Value::Bytes(Counting(3)))};
}

template <typename Record>
bool Same(const Record& left, const Record& right)
{
    return std::memcmp(&left, &right, sizeof(Record)) == 0;
}

/** Reads into buffers of many capacities and compares everything that may have been written. */
template <typename Unit, typename Read>
void ExpectSizeProtocol(const Read& read, const std::vector<Unit>& content)
{
    const uint64_t needed = content.size();
    uint64_t size = 12345;
    EXPECT_EQ(read(nullptr, &size), SUCCESS);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(read(nullptr, nullptr), ERR_INVALID_ARGUMENT);

    for (const uint64_t capacity : {uint64_t{0}, needed - 1, needed, needed + 1, needed + 92}) {
        SCOPED_TRACE(std::to_string(needed) + " into " + std::to_string(capacity));
        const bool fits = capacity >= needed;
        std::vector<Unit> buffer(capacity + 2, Unit{0x5A}), expected = buffer;
        if (fits) {
            std::fill_n(expected.begin(), capacity, Unit{});
            std::copy(content.begin(), content.end(), expected.begin());
        }
        size = capacity;
        EXPECT_EQ(read(buffer.data(), &size), fits ? SUCCESS : ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(size, fits ? capacity : needed);
        EXPECT_EQ(buffer, expected);
    }
}

class PropertiesTest : public GenerationTest {
protected:
    /** Opens a device whose root item has these properties. */
    void Publish(const std::vector<Property>& properties, DeviceBuilder device = DeviceBuilder{})
    {
        for (const Property& property : properties)
            device.RootProperty(property);
        session_ = &Open(device);
    }

    WiaSession* Session() const { return *session_; }
    WiaItemHandle Root() const { return session_->Root(); }

    /** One of the ten operations on a property of the root item. */
    template <auto operation, typename... Values>
    int32_t Call(PROPID id, Values... values) const
    {
        return operation(Session(), Root(), nullptr, id, values...);
    }

    void ExpectText(const WString& text) const
    {
        ExpectSizeProtocol<WCHAR>(
            [&](WCHAR* buffer, uint64_t* size) {
                return Call<Vorn_WiaGetPropertyString>(kText, buffer, size);
            },
            {text.c_str(), text.c_str() + text.size() + 1});
    }
    void ExpectBytes(const std::vector<uint8_t>& bytes) const
    {
        ExpectSizeProtocol<uint8_t>(
            [&](uint8_t* buffer, uint64_t* size) {
                return Call<Vorn_WiaGetPropertyBuffer>(kBytes, buffer, size);
            },
            bytes);
    }
    void ExpectEmptyValues() const
    {
        WCHAR text[] = {7, 7};
        uint8_t bytes[] = {7, 7};
        for (const uint64_t capacity : {0, 2}) {
            uint64_t size = capacity;
            EXPECT_EQ(Call<Vorn_WiaGetPropertyString>(kText, &text[0], &size), SUCCESS);
            EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kText, nullptr, &size)), SUCCESS);
            EXPECT_EQ(Call<Vorn_WiaGetPropertyBuffer>(kBytes, &bytes[0], &size), SUCCESS);
            EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kBytes, nullptr, &size)), SUCCESS);
            EXPECT_EQ(size, capacity);
        }
        EXPECT_TRUE(text[0] == 7 && text[1] == 7 && bytes[0] == 7 && bytes[1] == 7);
    }

private:
    const OpenSession* session_ = nullptr;
};
VORN_IN_BOTH_GENERATIONS(PropertiesTest);

TEST_P(PropertiesTest, ConvertsNumbersToLong)
{
    struct Row {
        Value value;
        int32_t expected;
        const char* text = "";
    };
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Row rows[] = {
        {Value::Integer(VT_I1, -3), -3},
        {Value::Integer(VT_UI1, 200), 200},
        {Value::Integer(VT_I2, -1), -1},
        {Value::Integer(VT_UI2, 65535), 65535},
        {Value::I4(INT32_MIN), INT32_MIN},
        {Value::Integer(VT_UI4, 0xFFFFFFFF), -1},
        {Value::Integer(VT_INT, -7), -7},
        {Value::Integer(VT_UINT, 0x80000000), INT32_MIN},
        {Value::Real(VT_R4, -2.7), -2, "-2.7"},
        {Value::Real(VT_R4, 8388609), 8388609},  // the half is added in double precision
        {Value::Real(VT_R4, std::nextafter(0.5F, 0.0F)), 0},
        {Value::Real(VT_R4, 3e9), INT32_MIN},
        {Value::Real(VT_R8, 2.5), 3, "2.5"},
        {Value::Real(VT_R8, 0.1 + 0.2), 0, "0.30000000000000004"},
        {Value::Real(VT_R8, 42), 42, "42"},
        {Value::Real(VT_R8, -2.5), -2},
        {Value::Real(VT_R8, 2147483647.0), INT32_MAX},
        {Value::Real(VT_R8, 2147483647.5), INT32_MIN},
        {Value::Real(VT_R8, -2147483650.0), INT32_MIN},
        {Value::Real(VT_R8, -infinity), INT32_MIN},
        {Value::Real(VT_R8, std::nan("")), INT32_MIN},
    };
    for (const Row& row : rows) {
        Publish({Probe(kLong, row.value)});
        int32_t value = kOtherLong;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kLong, &value), SUCCESS);
        EXPECT_EQ(value, row.expected) << "of type " << row.value.Type();
        if (!*row.text)
            continue;
        WCHAR text[32] = {};
        uint64_t size = std::size(text);
        EXPECT_EQ(Call<Vorn_WiaGetPropertyString>(kLong, text, &size), SUCCESS);
        EXPECT_EQ(Narrow(text), row.text) << "a float keeps its fraction as a text";
    }
}

TEST_P(PropertiesTest, TakesOnlyTheTypesOfEachReader)
{
    struct Row {
        const char* value;
        Property property;
        std::string
            takers;  ///< letters of Long, GUID, Time, String, Buffer; g: GUID, which finds it malformed
    };
    const WString guid{VORN_TEXT("{01234567-89ab-CDEF-0102-030405060708}")};
    const auto of = [](Value value) { return Probe(kFirst, std::move(value)); };
    const auto hollow = [](int type) { return Answering(kFirst, Hollow(type)); };
    const Row rows[] = {
        {"an I8", of(Value::Integer(VT_I8, 5)), ""},
        {"a boolean", of(Value::Integer(VT_BOOL, 1)), ""},
        {"an error code", of(Value::Integer(VT_ERROR, 5)), ""},
        {"a date", of(Value::Real(VT_DATE, 5)), ""},
        {"nothing", of(Value{}), ""},
        {"an I4 that could be a pointer", of(Value::I4(0x1000)), "L"},
        {"a GUID", of(Value::Guid(kSomeGuid)), "G"},
        {"a list of GUIDs", of(Value::Guids({kSomeGuid})), ""},
        {"a null GUID", hollow(VT_CLSID), ""},
        {"a GUID as text", of(Value::Text(guid)), "GS"},
        {"a GUID and more", of(Value::Text(guid + VORN_TEXT(" "))), "gS"},
        {"an empty text", of(Value::Text({})), "gS"},
        {"a null text", hollow(VT_BSTR), "S"},
        {"a wide GUID text", of(WideText(guid)), "S"},
        {"a null wide text", hollow(VT_LPWSTR), "S"},
        {"a list of texts", of(Value::Texts({guid})), ""},
        {"eight words", of(TimeWords(8)), "T"},
        {"nine words", of(TimeWords(9)), "T"},
        {"seven words", of(TimeWords(7)), ""},
        {"words that are not there", hollow(VT_VECTOR | VT_UI2), ""},
        {"sixteen bytes", of(Value::Bytes(Counting(16))), "B"},
        {"bytes that are not there", hollow(VT_VECTOR | VT_UI1), "B"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        Publish({row.property});
        const auto takes = [&](char reader) { return row.takers.find(reader) != std::string::npos; };
        int32_t number = kOtherLong;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kFirst, &number), takes('L'));
        EXPECT_EQ(number, takes('L') ? 0x1000 : kOtherLong);
        GUID read = kOtherGuid;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyGUID>(kFirst, &read), takes('g') ? ERR_WIA_UNEXPECTED : takes('G'));
        EXPECT_TRUE(takes('g') || Same(read, takes('G') ? kSomeGuid : kOtherGuid));
        SYSTEMTIME time = kOtherTime;
        EXPECT_EQ(Call<Vorn_WiaGetPropertySystemTime>(kFirst, &time), takes('T'));
        EXPECT_TRUE(Same(time, takes('T') ? kSomeTime : kOtherTime));
        uint64_t size = 777;
        EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kFirst, nullptr, &size)), takes('S'));
        EXPECT_TRUE(takes('S') || size == 777);
        size = 777;
        EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kFirst, nullptr, &size)), takes('B'));
        EXPECT_TRUE(takes('B') || size == 777);
    }
}

TEST_P(PropertiesTest, DeliversTextsAndBytesByTheSizeProtocol)
{
    for (const WString& text : kOddTexts) {
        for (const Value& value : {Value::Text(text), WideText(text)}) {
            Publish({Probe(kText, value)});
            ExpectText(text);
        }
    }
    for (const size_t count : {1, 5, 3000}) {
        Publish({Probe(kBytes, Value::Bytes(Counting(count)))});
        ExpectBytes(Counting(count));
    }
}

TEST_P(PropertiesTest, WritesNothingForAnEmptyValue)
{
    for (const Value& empty : {Value::Text({}), Value::Text({VORN_TEXT("\0x"), 2}), WideText({})}) {
        for (const Property& none :
             {Probe(kBytes, Value::Bytes({})), Answering(kBytes, Hollow(VT_VECTOR | VT_UI1))}) {
            Publish({Probe(kText, empty), none});
            ExpectEmptyValues();
        }
    }
}

TEST_P(PropertiesTest, IgnoresWhatComesWithFalse)
{
    Property text = Probe(kText, Value::Text(VORN_TEXT("x")));
    text.read = [](PROPVARIANT& read) {
        read.vt = VT_BSTR;
        read.bstrVal = SysAllocString(VORN_TEXT("garbage"));
        return S_FALSE;
    };
    Publish({text});
    uint64_t size = 777;
    EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kText, nullptr, &size)), RESULT_FALSE);
    EXPECT_EQ(size, 777u);
}

// ---- What the ten have in common -----------------------------------------------------------------------

/** One of the ten; `call` passes a value that suits the property `id`, or a null one. */
struct Operation {
    const char* name;
    PROPID id;
    bool writes;
    int32_t (*call)(WiaSession*, WiaItemHandle, const WCHAR* name, uint32_t id, bool null);
};

template <auto operation, typename Value>
int32_t CallWith(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id, bool null)
{
    Value value{};
    return operation(session, item, name, id, null ? nullptr : &value);
}
template <auto operation, typename Unit>
int32_t CallCounted(WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id, bool null)
{
    Unit buffer[16];
    uint64_t size = 16;
    return operation(session, item, name, id, buffer, null ? nullptr : &size);
}

constexpr Operation kOperations[] = {
    {"GetLong", kLong, false, CallWith<Vorn_WiaGetPropertyLong, int32_t>},
    {"SetLong", kLong, true,
     [](WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id, bool null) {
         // has no value that could be null
         return null ? ERR_INVALID_ARGUMENT : Vorn_WiaSetPropertyLong(session, item, name, id, 5);
     }},
    {"GetGUID", kGuid, false, CallWith<Vorn_WiaGetPropertyGUID, GUID>},
    {"SetGUID", kGuid, true, CallWith<Vorn_WiaSetPropertyGUID, GUID>},
    {"GetString", kText, false, CallCounted<Vorn_WiaGetPropertyString, WCHAR>},
    {"SetString", kText, true, CallWith<Vorn_WiaSetPropertyString, WCHAR>},
    {"GetSystemTime", kTime, false, CallWith<Vorn_WiaGetPropertySystemTime, SYSTEMTIME>},
    {"SetSystemTime", kTime, true, CallWith<Vorn_WiaSetPropertySystemTime, SYSTEMTIME>},
    {"GetBuffer", kBytes, false, CallCounted<Vorn_WiaGetPropertyBuffer, uint8_t>},
    {"SetBuffer", kBytes, true,
     [](WiaSession* session, WiaItemHandle item, const WCHAR* name, uint32_t id, bool null) {
         constexpr uint8_t bytes[] = {1, 2, 3};
         return Vorn_WiaSetPropertyBuffer(session, item, name, id, null ? nullptr : bytes, 3);
     }},
};

TEST_P(PropertiesTest, AddressesByNameBeforeId)
{
    Publish(OneOfEach());
    constexpr PROPID unknown = kFirst + 99;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        const ULONG references = ReferencesOf(Root());
        const ScopedCallLog log;
        const auto call = [&](const WCHAR* name, PROPID id) {
            return operation.call(Session(), Root(), name, id, false);
        };
        const int32_t missing = operation.writes ? ERR_INVALID_ARGUMENT : RESULT_FALSE;
        EXPECT_EQ(call(nullptr, operation.id), SUCCESS);
        EXPECT_EQ(call(NameOf(operation.id).c_str(), unknown), SUCCESS) << "the ID wins";
        EXPECT_EQ(call(VORN_TEXT("Nobody"), operation.id), missing) << "an unknown name falls back";
        EXPECT_EQ(call(VORN_TEXT(""), operation.id), missing) << "an empty name falls back";
        EXPECT_EQ(call(nullptr, unknown), missing);

        const std::string line = operation.writes ? "Root.Write " : "Root.Read ";
        EXPECT_EQ(log.Lines().size(), 5u) << "one platform call each";
        EXPECT_EQ(log.Count(line + std::to_string(operation.id)), 2u);
        EXPECT_EQ(ReferencesOf(Root()), references);
    }
}

TEST_P(PropertiesTest, ChecksItsArgumentsFirst)
{
    Publish(OneOfEach());
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        const ScopedCallLog log;
        EXPECT_EQ(operation.call(nullptr, Root(), nullptr, operation.id, false), ERR_INVALID_ARGUMENT);
        EXPECT_EQ(operation.call(Session(), nullptr, nullptr, operation.id, false), ERR_INVALID_ARGUMENT);
        EXPECT_EQ(operation.call(Session(), Root(), nullptr, operation.id, true), ERR_INVALID_ARGUMENT);
        EXPECT_TRUE(log.Lines().empty()) << "the platform was called";
    }
}

TEST_P(PropertiesTest, TellsWhatThePlatformAnswers)
{
    constexpr Step storage = Step::QueryPropertyStorage;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        const Step access = operation.writes ? Step::WriteProperty : Step::ReadProperty;
        const auto with = [&](const DeviceBuilder& device) {
            Publish(OneOfEach(), device);
            return operation.call(Session(), Root(), nullptr, operation.id, false);
        };
        EXPECT_EQ(with(DeviceBuilder{}.FailAt(access, WIA_ERROR_OFFLINE)), ERR_WIA_OFFLINE);
        EXPECT_EQ(with(DeviceBuilder{}.FailAt(access, E_OUTOFMEMORY)), ERR_WIA_UNEXPECTED);
        EXPECT_EQ(with(DeviceBuilder{}.FailAt(access, S_FALSE)), RESULT_FALSE);
        EXPECT_EQ(with(DeviceBuilder{}.FailAt(storage, E_NOINTERFACE)), ERR_WIA_UNEXPECTED);
        EXPECT_EQ(with(DeviceBuilder{}.NullAt(storage)), ERR_WIA_UNEXPECTED);
    }
}

// ---- Writing -------------------------------------------------------------------------------------------

TEST_P(PropertiesTest, WritesWhatTheDeviceReadsBack)
{
    Publish(OneOfEach());
    for (const int32_t number : {0, -1, INT32_MAX, INT32_MIN}) {
        int32_t read = kOtherLong;
        EXPECT_EQ(Call<Vorn_WiaSetPropertyLong>(kLong, number), SUCCESS);
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kLong, &read), SUCCESS);
        EXPECT_EQ(read, number);
    }
    GUID guid{};
    EXPECT_EQ(Call<Vorn_WiaSetPropertyGUID>(kGuid, &kOtherGuid), SUCCESS);
    EXPECT_EQ(Call<Vorn_WiaGetPropertyGUID>(kGuid, &guid), SUCCESS);
    EXPECT_TRUE(Same(guid, kOtherGuid));
    SYSTEMTIME time{};
    EXPECT_EQ(Call<Vorn_WiaSetPropertySystemTime>(kTime, &kOtherTime), SUCCESS);
    EXPECT_EQ(Call<Vorn_WiaGetPropertySystemTime>(kTime, &time), SUCCESS);
    EXPECT_TRUE(Same(time, kOtherTime));
    for (const WString& text : kOddTexts) {
        EXPECT_EQ(Call<Vorn_WiaSetPropertyString>(kText, text.c_str()), SUCCESS);
        ExpectText(text);
    }
    for (const uint32_t count : {3000u, 1u, 256u}) {
        EXPECT_EQ(Call<Vorn_WiaSetPropertyBuffer>(kBytes, Counting(count).data(), count), SUCCESS);
        ExpectBytes(Counting(count));
    }
    EXPECT_EQ(Call<Vorn_WiaSetPropertyString>(kText, VORN_TEXT("")), SUCCESS);
    EXPECT_EQ(Call<Vorn_WiaSetPropertyBuffer>(kBytes, Counting(1).data(), 0u), SUCCESS);
    ExpectEmptyValues();
}

TEST_P(PropertiesTest, LeavesItToTheDeviceWhatItTakes)
{
    struct Row {
        const char* fault;
        Property property;
        int32_t written, status;
    };
    Property busy = Probe(kLong, Value::I4(300));
    busy.check = [](const Value&) { return WIA_ERROR_BUSY; };
    const Row rows[] = {
        {"a value inside the range is refused", InRange(kLong, 300, 75, 1200, 25), 1200, SUCCESS},
        {"a value outside the range is kept back", InRange(kLong, 300, 75, 1200, 25), 1225,
         ERR_INVALID_ARGUMENT},
        {"a value is converted to the device's type", Probe(kLong, Value::Real(VT_R4, 300)), 100,
         ERR_INVALID_ARGUMENT},
        {"a property that is read only is not tried", ReadOnly(kLong, Value::I4(300)), 100,
         ERR_ACCESS_DENIED},
        {"the device's own answer is lost", busy, 100, ERR_WIA_BUSY},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Publish({row.property});
        const ScopedCallLog log;
        EXPECT_EQ(Call<Vorn_WiaSetPropertyLong>(kLong, row.written), row.status);
        EXPECT_EQ(log.Count("Root.Write " + std::to_string(kLong) + "=" + std::to_string(row.written)), 1u);
    }
}

TEST_P(PropertiesTest, WritesNoTimeWithoutMemory)
{
    Publish(OneOfEach());
    const ScopedCallLog log;
    {
        const ScopedFailingAllocator failing;
        EXPECT_EQ(Call<Vorn_WiaSetPropertySystemTime>(kTime, &kOtherTime), ERR_OUT_OF_MEMORY);
    }
    EXPECT_EQ(log.Count("Root.Write"), 0u);
    EXPECT_EQ(Call<Vorn_WiaSetPropertySystemTime>(kTime, &kOtherTime), SUCCESS);
}

}  // namespace
}  // namespace vorn::test
