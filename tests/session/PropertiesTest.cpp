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

class PropertiesTest : public GenerationTest {
protected:
    DeviceBuilder device_;

    /** Opens a device whose root item has these properties. */
    void Publish(const std::vector<Property>& properties)
    {
        device_.Id(VORN_TEXT("d"));
        for (const Property& property : properties)
            device_.RootProperty(property);
        session_.reset();
        devices_.reset();
        devices_ = std::make_unique<ScopedDevices>(device_.Build());
        session_ = std::make_unique<OpenSession>(Version(), VORN_TEXT("d"));
    }

    void TearDown() override
    {
        session_.reset();
        devices_.reset();
        LibraryTest::TearDown();
    }

    WiaSession* Session() const { return *session_; }
    WiaItemHandle Root() const { return session_->Root(); }

    /** One of the ten operations on a property of the root item. */
    template <auto operation, typename... Values>
    int32_t Call(PROPID id, Values... values) const
    {
        return operation(Session(), Root(), nullptr, id, values...);
    }

private:
    std::unique_ptr<ScopedDevices> devices_;
    std::unique_ptr<OpenSession> session_;
};
VORN_IN_BOTH_GENERATIONS(PropertiesTest);

TEST_P(PropertiesTest, ConvertsNumbersToLong)
{
    struct Row {
        Value value;
        int32_t expected;
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
        {Value::Real(VT_R4, -2.7), -2},
        {Value::Real(VT_R4, 8388609), 8388609},  // the half is added in double precision
        {Value::Real(VT_R4, std::nextafter(0.5F, 0.0F)), 0},
        {Value::Real(VT_R4, 3e9), INT32_MIN},
        {Value::Real(VT_R8, 2.5), 3},
        {Value::Real(VT_R8, -2.5), -2},
        {Value::Real(VT_R8, -2.7), -2},
        {Value::Real(VT_R8, 2147483647.0), INT32_MAX},
        {Value::Real(VT_R8, 2147483647.5), INT32_MIN},
        {Value::Real(VT_R8, -2147483650.0), INT32_MIN},
        {Value::Real(VT_R8, infinity), INT32_MIN},
        {Value::Real(VT_R8, -infinity), INT32_MIN},
        {Value::Real(VT_R8, std::nan("")), INT32_MIN},
    };
    for (const Row& row : rows) {
        Publish({Probe(kLong, row.value)});
        int32_t value = kOtherLong;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kLong, &value), SUCCESS);
        EXPECT_EQ(value, row.expected) << "of type " << row.value.Type();
    }
}

TEST_P(PropertiesTest, TakesOnlyTheTypesOfEachReader)
{
    struct Row {
        const char* value;
        Property property;
        int32_t asLong, asGuid, asTime, asText, asBytes;
    };
    constexpr int32_t bad = ERR_WIA_UNEXPECTED;
    const WString guid{VORN_TEXT("{01234567-89ab-CDEF-0102-030405060708}")};
    const auto of = [](Value value) { return Probe(kFirst, std::move(value)); };
    const auto text = [&](WStringView value) { return of(Value::Text(value)); };
    const auto hollow = [](int type) { return Answering(kFirst, Hollow(type)); };
    const Row rows[] = {
        {"an I8", of(Value::Integer(VT_I8, 5)), 0, 0, 0, 0, 0},
        {"a UI8", of(Value::Integer(VT_UI8, 5)), 0, 0, 0, 0, 0},
        {"a boolean", of(Value::Integer(VT_BOOL, 1)), 0, 0, 0, 0, 0},
        {"an error code", of(Value::Integer(VT_ERROR, 5)), 0, 0, 0, 0, 0},
        {"a date", of(Value::Real(VT_DATE, 5)), 0, 0, 0, 0, 0},
        {"nothing", of(Value{}), 0, 0, 0, 0, 0},
        {"an I4 that could be a pointer", of(Value::I4(0x1000)), 1, 0, 0, 0, 0},
        {"a GUID", of(Value::Guid(kSomeGuid)), 0, 1, 0, 0, 0},
        {"a list of GUIDs", of(Value::Guids({kSomeGuid})), 0, 0, 0, 0, 0},
        {"a null GUID", hollow(VT_CLSID), 0, 0, 0, 0, 0},
        {"a GUID as text", text(guid), 0, 1, 0, 1, 0},
        {"a GUID without braces", text(WStringView{guid}.substr(1, 36)), 0, bad, 0, 1, 0},
        {"a GUID and more", text(guid + VORN_TEXT(" ")), 0, bad, 0, 1, 0},
        {"a GUID with a wrong digit", text(VORN_TEXT("{0123456G-89ab-CDEF-0102-030405060708}")), 0, bad, 0, 1,
         0},
        {"a number as text", text(VORN_TEXT("5")), 0, bad, 0, 1, 0},
        {"an empty text", text({}), 0, bad, 0, 1, 0},
        {"a null text", hollow(VT_BSTR), 0, 0, 0, 1, 0},
        {"a wide GUID text", of(WideText(guid)), 0, 0, 0, 1, 0},
        {"a null wide text", hollow(VT_LPWSTR), 0, 0, 0, 1, 0},
        {"a list of texts", of(Value::Texts({guid})), 0, 0, 0, 0, 0},
        {"eight words", of(TimeWords(8)), 0, 0, 1, 0, 0},
        {"nine words", of(TimeWords(9)), 0, 0, 1, 0, 0},
        {"seven words", of(TimeWords(7)), 0, 0, 0, 0, 0},
        {"no words", of(TimeWords(0)), 0, 0, 0, 0, 0},
        {"words that are not there", hollow(VT_VECTOR | VT_UI2), 0, 0, 0, 0, 0},
        {"eight longs", of(Value::Longs({1, 2, 3, 4, 5, 6, 7, 8})), 0, 0, 0, 0, 0},
        {"sixteen bytes", of(Value::Bytes(Counting(16))), 0, 0, 0, 0, 1},
        {"no bytes", of(Value::Bytes({})), 0, 0, 0, 0, 1},
        {"bytes that are not there", hollow(VT_VECTOR | VT_UI1), 0, 0, 0, 0, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        Publish({row.property});
        int32_t number = kOtherLong;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kFirst, &number), row.asLong);
        EXPECT_EQ(number, row.asLong == SUCCESS ? 0x1000 : kOtherLong);
        GUID read = kOtherGuid;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyGUID>(kFirst, &read), row.asGuid);
        EXPECT_TRUE(row.asGuid == bad || Same(read, row.asGuid == SUCCESS ? kSomeGuid : kOtherGuid));
        SYSTEMTIME time = kOtherTime;
        EXPECT_EQ(Call<Vorn_WiaGetPropertySystemTime>(kFirst, &time), row.asTime);
        EXPECT_TRUE(Same(time, row.asTime == SUCCESS ? kSomeTime : kOtherTime));
        uint64_t size = 777;
        EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kFirst, nullptr, &size)), row.asText);
        EXPECT_TRUE(row.asText == SUCCESS || size == 777);
        size = 777;
        EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kFirst, nullptr, &size)), row.asBytes);
        EXPECT_TRUE(row.asBytes == SUCCESS || size == 777);
    }
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

TEST_P(PropertiesTest, DeliversTextsAndBytesByTheSizeProtocol)
{
    for (const WString& text : kOddTexts) {
        for (const Value& value : {Value::Text(text), WideText(text)}) {
            Publish({Probe(kText, value)});
            ExpectSizeProtocol<WCHAR>(
                [&](WCHAR* buffer, uint64_t* size) {
                    return Call<Vorn_WiaGetPropertyString>(kText, buffer, size);
                },
                {text.c_str(), text.c_str() + text.size() + 1});
        }
    }
    for (const size_t count : {1, 5, 3000}) {
        Publish({Probe(kBytes, Value::Bytes(Counting(count)))});
        ExpectSizeProtocol<uint8_t>(
            [&](uint8_t* buffer, uint64_t* size) {
                return Call<Vorn_WiaGetPropertyBuffer>(kBytes, buffer, size);
            },
            Counting(count));
    }
}

TEST_P(PropertiesTest, WritesNothingForAnEmptyValue)
{
    for (const Value& empty : {Value::Text({}), Value::Text({VORN_TEXT("\0x"), 2}), WideText({})}) {
        Publish({Probe(kText, empty), Probe(kBytes, Value::Bytes({}))});
        WCHAR text[] = {7, 7};
        uint8_t bytes[] = {7, 7};
        for (const uint64_t capacity : {0, 2}) {
            uint64_t size = capacity;
            EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kText, text, &size)), SUCCESS);
            EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kText, nullptr, &size)), SUCCESS);
            EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kBytes, bytes, &size)), SUCCESS);
            EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kBytes, nullptr, &size)), SUCCESS);
            EXPECT_EQ(size, capacity);
        }
        EXPECT_TRUE(text[0] == 7 && text[1] == 7 && bytes[0] == 7 && bytes[1] == 7);
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
    Publish({Answering(kLong, Hollow(VT_I4), S_FALSE), text});
    int32_t value = kOtherLong;
    EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kLong, &value), RESULT_FALSE);
    EXPECT_EQ(value, kOtherLong);
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
    struct Row {
        Step step, writeStep;
        HRESULT result;  ///< S_OK: with nothing to go with it
        int32_t status;
    };
    constexpr Step storage = Step::QueryPropertyStorage, read = Step::ReadProperty,
                   write = Step::WriteProperty;
    constexpr Row rows[] = {
        {read, write, E_INVALIDARG, -13},         {read, write, E_ACCESSDENIED, -1473},
        {read, write, WIA_ERROR_OFFLINE, -1454},  {read, write, E_FAIL, -1475},
        {read, write, E_OUTOFMEMORY, -1475},      {read, write, S_FALSE, RESULT_FALSE},
        {storage, storage, E_NOINTERFACE, -1475}, {storage, storage, S_OK, -1475},
    };
    for (const Row& row : rows) {
        for (const Operation& operation : kOperations) {
            const Step step = operation.writes ? row.writeStep : row.step;
            device_ = DeviceBuilder{};
            row.result == S_OK ? device_.NullAt(step, 1, 100) : device_.FailAt(step, row.result, 1, 100);
            Publish(OneOfEach());
            EXPECT_EQ(operation.call(Session(), Root(), nullptr, operation.id, false), row.status)
                << operation.name << " " << std::hex << row.result;
        }
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
        std::vector<WCHAR> read(text.size() + 1);
        uint64_t size = read.size();
        EXPECT_EQ(Call<Vorn_WiaSetPropertyString>(kText, text.c_str()), SUCCESS);
        EXPECT_EQ(Call<Vorn_WiaGetPropertyString>(kText, read.data(), &size), SUCCESS);
        EXPECT_EQ(WString{read.data()}, text);
    }
    for (const uint32_t count : {3000u, 1u, 256u}) {
        const std::vector<uint8_t> bytes = Counting(count);
        std::vector<uint8_t> read(count);
        uint64_t size = count;
        EXPECT_EQ(Call<Vorn_WiaSetPropertyBuffer>(kBytes, bytes.data(), count), SUCCESS);
        EXPECT_EQ(Call<Vorn_WiaGetPropertyBuffer>(kBytes, read.data(), &size), SUCCESS);
        EXPECT_EQ(read, bytes);
    }
    uint64_t size = 777;
    EXPECT_EQ(Call<Vorn_WiaSetPropertyString>(kText, VORN_TEXT("")), SUCCESS);
    EXPECT_EQ(Call<Vorn_WiaSetPropertyBuffer>(kBytes, Counting(1).data(), 0u), SUCCESS);
    EXPECT_EQ((Call<Vorn_WiaGetPropertyString, WCHAR*>(kText, nullptr, &size)), SUCCESS);
    EXPECT_EQ((Call<Vorn_WiaGetPropertyBuffer, uint8_t*>(kBytes, nullptr, &size)), SUCCESS);
    EXPECT_EQ(size, 777u) << "empty values have become longer";
}

TEST_P(PropertiesTest, LeavesTheValueThatTheDeviceKeeps)
{
    struct Row {
        const char* fault;
        Property property;
        int32_t written, status;
    };
    Property busy = Writable(kLong, Value::I4(300));
    busy.check = [](const Value&) { return WIA_ERROR_BUSY; };
    const Property ranged = InRange(kLong, 300, 75, 1200, 25);
    const Row rows[] = {
        {"a value inside the range is refused", ranged, 1200, SUCCESS},
        {"below the range", ranged, 50, ERR_INVALID_ARGUMENT},
        {"above the range", ranged, 1225, ERR_INVALID_ARGUMENT},
        {"between the steps", ranged, 301, ERR_INVALID_ARGUMENT},
        {"not in the list", OneOf(kLong, 300, {100, 300}), 200, ERR_INVALID_ARGUMENT},
        {"of another type", Writable(kLong, Value::Real(VT_R8, 300)), 100, ERR_INVALID_ARGUMENT},
        {"read only", ReadOnly(kLong, Value::I4(300)), 100, ERR_ACCESS_DENIED},
        {"the device is busy", busy, 100, ERR_WIA_BUSY},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Publish({row.property});
        const ScopedCallLog log;
        EXPECT_EQ(Call<Vorn_WiaSetPropertyLong>(kLong, row.written), row.status);
        EXPECT_EQ(log.Count("Root.Write " + std::to_string(kLong) + "=" + std::to_string(row.written)), 1u);
        int32_t value = 0;
        EXPECT_EQ(Call<Vorn_WiaGetPropertyLong>(kLong, &value), SUCCESS);
        EXPECT_EQ(value, row.status == SUCCESS ? row.written : 300);
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
