/** The ANSI forms: what each takes and gives, beside its wide twin on the same device. */
#include <cstring>

#include "session/Sessions.h"
#include "support/Notes.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

constexpr PROPID kLong = WIA_PRIVATE_DEVPROP + 100, kGuid = kLong + 1, kText = kLong + 2, kTime = kLong + 3,
                 kBytes = kLong + 4;
constexpr GUID kSomeGuid{0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr SYSTEMTIME kSomeTime{2026, 2, 6, 28, 23, 59, 58, 999};

const WString kTexts[] = {VORN_TEXT("Flatbed"), VORN_TEXT("Größe"), VORN_TEXT("紙送り \U0001F5A8"),
                          VORN_TEXT("Ελληνικά кириллица"), WString(3000, u'ß')};

/** The ANSI form of a text; empty when the code page lacks a character of it. */
std::string Ansi(const WString& text)
{
    std::string ansi(text.size() * 4 + 1, 0);
    EXPECT_EQ(KrnWideToAnsi(text.c_str(), ansi.data(), ansi.size(), nullptr), KRN_SUCCESS);
    ansi.resize(std::strlen(ansi.c_str()));
    std::vector<WCHAR> back(text.size() + 1);
    const bool same =
        KrnAnsiToWide(ansi.c_str(), back.data(), back.size(), nullptr) == KRN_SUCCESS && text == back.data();
    return same ? ansi : std::string{};
}

Property Named(PROPID id, const WString& name, Value value)
{
    Property property = Writable(id, std::move(value));
    property.name = name;
    return property;
}

class AnsiTest : public GenerationTest {
protected:
    /** Opens a device whose root item has one property of each kind, named after `name` and a digit. */
    void Publish(const WString& name, const WString& text = VORN_TEXT("text"))
    {
        DeviceBuilder device;
        const auto add = [&](PROPID id, Value value) {
            const auto digit = static_cast<WCHAR>(u'0' + (id - kLong));
            device.RootProperty(Named(id, name + digit, std::move(value)));
        };
        add(kLong, Value::I4(300));
        add(kGuid, Value::Guid(kSomeGuid));
        add(kText, Value::Text(text));
        add(kTime, Value::Words({2026, 2, 6, 28, 23, 59, 58, 999}));
        add(kBytes, Value::Bytes({1, 2, 3}));
        session_ = &Open(device);
    }

    WiaSession* Session() const { return *session_; }
    WiaItemHandle Root() const { return session_->Root(); }

private:
    const OpenSession* session_ = nullptr;
};
VORN_IN_BOTH_GENERATIONS(AnsiTest);

// ---- Single properties ---------------------------------------------------------------------------------

/** Every form with a property name; each answers SUCCESS on a property that Publish made. */
struct Form {
    const char* title;
    PROPID id;
    int32_t (*call)(WiaSession*, WiaItemHandle, const char* name, uint32_t id);
};
const Form kForms[] = {
    {"GetLong", kLong,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         int32_t value = 0;
         const int32_t status = Vorn_WiaGetPropertyLongA(session, item, name, id, &value);
         return status == SUCCESS && value != 300 ? -9999 : status;
     }},
    {"SetLong", kLong,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         return Vorn_WiaSetPropertyLongA(session, item, name, id, 300);
     }},
    {"GetGUID", kGuid,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         GUID value{};
         const int32_t status = Vorn_WiaGetPropertyGUIDA(session, item, name, id, &value);
         return status == SUCCESS && std::memcmp(&value, &kSomeGuid, sizeof(value)) != 0 ? -9999 : status;
     }},
    {"SetGUID", kGuid,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         return Vorn_WiaSetPropertyGUIDA(session, item, name, id, &kSomeGuid);
     }},
    {"GetString", kText,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         char value[8];
         uint64_t size = sizeof(value);
         const int32_t status = Vorn_WiaGetPropertyStringA(session, item, name, id, value, &size);
         return status == SUCCESS && std::strcmp(value, "text") != 0 ? -9999 : status;
     }},
    {"SetString", kText,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         return Vorn_WiaSetPropertyStringA(session, item, name, id, "text");
     }},
    {"GetSystemTime", kTime,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         SYSTEMTIME value{};
         const int32_t status = Vorn_WiaGetPropertySystemTimeA(session, item, name, id, &value);
         return status == SUCCESS && value.wMilliseconds != 999 ? -9999 : status;
     }},
    {"SetSystemTime", kTime,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         return Vorn_WiaSetPropertySystemTimeA(session, item, name, id, &kSomeTime);
     }},
    {"GetBuffer", kBytes,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         uint8_t value[3] = {};
         uint64_t size = sizeof(value);
         const int32_t status = Vorn_WiaGetPropertyBufferA(session, item, name, id, value, &size);
         return status == SUCCESS && value[2] != 3 ? -9999 : status;
     }},
    {"SetBuffer", kBytes,
     [](WiaSession* session, WiaItemHandle item, const char* name, uint32_t id) {
         const uint8_t value[] = {1, 2, 3};
         return Vorn_WiaSetPropertyBufferA(session, item, name, id, value, sizeof(value));
     }},
};

TEST_P(AnsiTest, AddressesPropertiesByNameInAnyScriptAndByIdWithout)
{
    for (const WString& name : kTexts) {
        const std::string ansi = Ansi(name);
        if (ansi.empty())
            continue;
        Publish(name);
        for (const Form& form : kForms) {
            SCOPED_TRACE(form.title);
            const std::string full = ansi + static_cast<char>('0' + (form.id - kLong));
            const auto call = [&](const char* text, uint32_t id) {
                return form.call(Session(), Root(), text, id);
            };
            const int32_t missing = form.title[0] == 'S' ? ERR_INVALID_ARGUMENT : RESULT_FALSE;
            EXPECT_EQ(call(full.c_str(), 0), SUCCESS) << "by name";
            EXPECT_EQ(call(nullptr, form.id), SUCCESS) << "by ID";
            EXPECT_EQ(call("Nobody", form.id), missing) << "an unknown name falls back";
            EXPECT_EQ(form.call(nullptr, Root(), nullptr, form.id), ERR_INVALID_ARGUMENT);
        }
    }
}

TEST_P(AnsiTest, DoesNothingWithTextsThatItCannotConvert)
{
    Publish(VORN_TEXT("Name"));
    const ScopedCallLog log;
    for (const Form& form : kForms) {
        const ScopedFailingAllocator failing;
        EXPECT_EQ(form.call(Session(), Root(), "Name", form.id), ERR_OUT_OF_MEMORY) << form.title;
    }
#ifndef _WIN32  // where every byte is some character of the code page
    for (const Form& form : kForms)
        EXPECT_EQ(form.call(Session(), Root(), "Na\xe9me", form.id), ERR_OUT_OF_MEMORY) << form.title;
    EXPECT_EQ(Vorn_WiaSetPropertyStringA(Session(), Root(), "Name2", 0, "te\xe9xt"), ERR_OUT_OF_MEMORY);
    AcquireOptionsA malformed{};
    std::memcpy(malformed.fileName, "caf\xe9.bmp", 9);
    EXPECT_EQ(Vorn_WiaAcquireA(Session(), nullptr, 0, Root(), &malformed, nullptr, nullptr, nullptr, nullptr),
              ERR_OUT_OF_MEMORY);
#endif
    const ScopedFailingAllocator second{2};
    EXPECT_EQ(Vorn_WiaSetPropertyStringA(Session(), Root(), "Name2", 0, "text"), ERR_OUT_OF_MEMORY);
    EXPECT_TRUE(log.Lines().empty()) << "the platform was called";
}

TEST_P(AnsiTest, GivesTextsWholeOrTellsTheBytesNeeded)
{
    for (const WString& text : kTexts) {
        const std::string ansi = Ansi(text);
        if (ansi.empty())
            continue;
        Publish(VORN_TEXT("Name"), text);
        const auto read = [&](char* buffer, uint64_t* size) {
            return Vorn_WiaGetPropertyStringA(Session(), Root(), "Name2", 0, buffer, size);
        };
        const uint64_t needed = ansi.size() + 1;
        uint64_t size = 7;
        EXPECT_EQ(read(nullptr, &size), SUCCESS);
        EXPECT_EQ(size, needed);
        for (const uint64_t capacity : {uint64_t{0}, needed - 1, needed, needed + 9}) {
            std::string buffer(capacity + 2, 'x'), expected = buffer;
            const bool fits = capacity >= needed;
            if (fits)
                expected.replace(0, needed, ansi.c_str(), needed);
            size = capacity;
            EXPECT_EQ(read(buffer.data(), &size), fits ? SUCCESS : ERR_BUFFER_TOO_SMALL);
            EXPECT_EQ(size, fits ? capacity : needed);
            EXPECT_EQ(buffer, expected);
        }
        EXPECT_EQ(Vorn_WiaSetPropertyStringA(Session(), Root(), nullptr, kText, ansi.c_str()), SUCCESS);
        std::vector<WCHAR> back(text.size() + 1);
        size = back.size();
        EXPECT_EQ(Vorn_WiaGetPropertyString(Session(), Root(), nullptr, kText, back.data(), &size), SUCCESS);
        EXPECT_TRUE(text == back.data());
    }

    Publish(VORN_TEXT("Name"), WString{});
    char buffer[] = {'x', 'x'};
    uint64_t size = sizeof(buffer);
    EXPECT_EQ(Vorn_WiaGetPropertyStringA(Session(), Root(), nullptr, kText, buffer, &size), SUCCESS);
    EXPECT_TRUE(size == 2 && buffer[0] == 0 && buffer[1] == 'x');
    EXPECT_EQ(Vorn_WiaGetPropertyStringA(Session(), Root(), nullptr, kText, buffer, nullptr), RESULT_FALSE);
    EXPECT_EQ(Vorn_WiaGetPropertyStringA(Session(), Root(), nullptr, kText, nullptr, nullptr),
              ERR_INVALID_ARGUMENT);
}

// ---- Devices and capabilities --------------------------------------------------------------------------

TEST_P(AnsiTest, ListsDevicesWithTheTextsThatTheyPublish)
{
    const auto list = [](WiaSession*, const WiaDeviceInfoA* device, void* data) {
        EXPECT_EQ(device->structSize, 28u);
        const auto text = [](const char* from) { return std::string{from ? from : "(null)"}; };
        *static_cast<std::string*>(data) += text(device->deviceId) + "|" + text(device->deviceName) + "|" +
                                            text(device->deviceDescription) + "\n";
        return int32_t{1};
    };
    const WString name = Ansi(kTexts[2]).empty() ? kTexts[0] : kTexts[2];
    const OpenSession& session =
        Open({DeviceBuilder{}.Id(VORN_TEXT("a")).Name(name).Description(VORN_TEXT("A")).Build(),
              DeviceBuilder{}.Id(VORN_TEXT("b")).NoName().NoDescription().Build()});
    EXPECT_EQ(Vorn_WiaGetSelectedDeviceA(session), nullptr);
    EXPECT_EQ(Vorn_WiaGetSelectedDeviceA(nullptr), nullptr);

    std::string seen;
    EXPECT_EQ(Vorn_WiaEnumDevicesA(session, list, &seen), SUCCESS);
    EXPECT_EQ(seen, "a|" + Ansi(name) + "|A\nb|(null)|(null)\n");
    EXPECT_EQ(Vorn_WiaEnumDevicesA(session, nullptr, &seen), ERR_INVALID_ARGUMENT);
    const auto stop = [](WiaSession*, const WiaDeviceInfoA*, void*) -> int32_t { return ERR_ABORTED; };
    EXPECT_EQ(Vorn_WiaEnumDevicesA(session, stop, nullptr), ERR_ABORTED);

    ASSERT_EQ(Vorn_WiaSelectDevice(session, VORN_TEXT("a")), SUCCESS);
    char* const first = Vorn_WiaGetSelectedDeviceA(session);
    char* const second = Vorn_WiaGetSelectedDeviceA(session);
    EXPECT_NE(first, second);
    EXPECT_STREQ(first, "a");
    KrnFreeAnsiCopy(first);
    KrnFreeAnsiCopy(second);
}

/** A wide and an ANSI record of the same property; one ends where the other has not begun. */
struct SeenCapability {
    uint32_t count = 0, id = 0, type = 0, flags = 0;
    bool values = false;
    std::string name;
    bool operator==(const SeenCapability&) const = default;
};
using SeenCapabilities = std::vector<SeenCapability>;

TEST_P(AnsiTest, ListsCapabilitiesAsTheWideFormDoes)
{
    const WString longName(259, u'ß');
    DeviceBuilder device;
    device.RootProperty(Named(kLong, longName, Value::I4(1)))
        .RootProperty(InRange(kLong + 1, 50, 0, 100))
        .RootProperty(Named(kLong + 2, VORN_TEXT("Ä"), Value::Text(VORN_TEXT("x"))))
        .FailProperty(kLong + 2, Step::GetAttributes, WIA_ERROR_BUSY, 1, 99);
    const OpenSession& session = Open(device);

    SeenCapabilities wide, ansi;
    EXPECT_EQ(Vorn_WiaEnumCapabilities(
                  session, session.Root(), 0,
                  [](WiaSession*, uint32_t count, const WiaCapability* record, void* data) {
                      const std::string name = Ansi(record->propertyName);
                      static_cast<SeenCapabilities*>(data)->push_back({count, record->propertyId,
                                                                       record->valueType, record->accessFlags,
                                                                       record->values != nullptr, name});
                      return int32_t{5};
                  },
                  &wide),
              5);
    EXPECT_EQ(Vorn_WiaEnumCapabilitiesA(
                  session, session.Root(), 0,
                  [](WiaSession*, uint32_t count, const WiaCapabilityA* record, void* data) {
                      EXPECT_EQ(record->structSize, 544u);
                      static_cast<SeenCapabilities*>(data)->push_back(
                          {count, record->propertyId, record->valueType, record->accessFlags,
                           record->values != nullptr, record->propertyName});
                      return int32_t{5};
                  },
                  &ansi),
              5);
    ASSERT_EQ(wide.size(), ansi.size());
    for (size_t i = 0; i < wide.size(); ++i) {
        if (wide[i].id == kLong) {
            const std::string whole = wide[i].name;
            EXPECT_EQ(ansi[i].name, whole.substr(0, whole.size() > 259 ? 258 : whole.size()))
                << "a long name ends after a whole character";
            wide[i].name = ansi[i].name;
        }
        EXPECT_TRUE(wide[i] == ansi[i]) << ansi[i].name;
    }
    EXPECT_EQ(Vorn_WiaEnumCapabilitiesA(session, session.Root(), 0, nullptr, nullptr), ERR_INVALID_ARGUMENT);

    const OpenSession& broken = Open(DeviceBuilder{}.FailAt(Step::NextProperty, E_FAIL, 1, 999));
    bool missing = false;
    EXPECT_EQ(Vorn_WiaEnumCapabilitiesA(
                  broken, broken.Root(), 0,
                  [](WiaSession*, uint32_t, const WiaCapabilityA* record, void* data) -> int32_t {
                      *static_cast<bool*>(data) = !record;
                      return ERR_ABORTED;
                  },
                  &missing),
              ERR_ABORTED);
    EXPECT_TRUE(missing);
}

// ---- Acquisition ---------------------------------------------------------------------------------------

/** What the callbacks of an acquisition heard. */
struct Heard {
    std::vector<std::string> names;
    int bitmaps = 0;
};

int32_t HearPage(WiaSession*, BitmapHandle* bitmap, const char* name, int32_t, int32_t, void* data)
{
    auto& heard = *static_cast<Heard*>(data);
    heard.bitmaps += bitmap != nullptr;
    heard.names.emplace_back(name);
    return 1;
}

int32_t HearFile(WiaSession*, const char* name, int32_t, int32_t, void* data)
{
    static_cast<Heard*>(data)->names.emplace_back(name);
    return 1;
}

/** Acquisitions into the folder of the test, which is the current one: its own name is not ANSI everywhere. */
class AnsiAcquireTest : public AnsiTest {
protected:
    void SetUp() override
    {
        AnsiTest::SetUp();
        std::filesystem::current_path(Folder());
    }
    void TearDown() override
    {
        std::filesystem::current_path(before_);
        AnsiTest::TearDown();
    }

    /** A session on the virtual scanner, whose first item is set to a file or to memory. */
    WiaSession* OpenScanner(bool file)
    {
        const TreeEdit medium = [file](ItemDefinition& item) {
            item.Set(Writable(WIA_IPA_TYMED, Value::I4(file ? TYMED_FILE : TYMED_CALLBACK)));
        };
        return Open(
            VirtualScanner().EditItem(VORN_TEXT("Scan"), medium).EditItem(VORN_TEXT("Flatbed"), medium));
    }

    static AcquireOptionsA Options(const std::string& file)
    {
        AcquireOptionsA options{};
        options.fileName[file.copy(options.fileName, sizeof(options.fileName) - 1)] = 0;
        return options;
    }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};
VORN_IN_BOTH_GENERATIONS(AnsiAcquireTest);

TEST_P(AnsiAcquireTest, NamesFilesInAnyScript)
{
    // So long that its ANSI form has more bytes than a wide name has characters.
    const WString base = Ansi(WString(80, u'紙')).empty() ? WString{VORN_TEXT("page")} : WString(80, u'紙');
    const std::string name = Ansi(base) + ".bmp";
    for (const bool toFile : {false, true}) {
        WiaSession* const session = OpenScanner(true);
        const AcquireOptionsA options = Options(name);
        Heard heard;
        uint32_t count = 0;
        char** list = nullptr;
        const int32_t status = toFile ? Vorn_WiaAcquireToFileA(session, nullptr, 0, nullptr, &options, &count,
                                                               &list, HearFile, &heard)
                                      : Vorn_WiaAcquireA(session, nullptr, 0, nullptr, &options, &count,
                                                         &list, HearPage, &heard);
        EXPECT_EQ(status, SUCCESS);
        ASSERT_EQ(count, 1u);
        ASSERT_TRUE(list && list[0]);
        EXPECT_EQ(std::string{list[0]}, toFile ? Ansi(base) + " (1).bmp" : name);
        EXPECT_TRUE(NamesIn(".").count(list[0]) == 1 || Ansi(base) == "page");
        ASSERT_FALSE(heard.names.empty());
        EXPECT_EQ(heard.names.back(), list[0]);
        KrnFree(list[0], 0, "test");
        KrnFree(list, 0, "test");
    }
}

TEST_P(AnsiAcquireTest, GivesBitmapsWithAnEmptyName)
{
    WiaSession* const session = OpenScanner(false);
    const AcquireOptionsA options{};
    Heard heard;
    EXPECT_EQ(Vorn_WiaAcquireA(session, nullptr, 0, nullptr, &options, nullptr, nullptr, HearPage, &heard),
              SUCCESS);
    EXPECT_EQ(heard.bitmaps, 1);
    EXPECT_EQ(heard.names.back(), "");
    EXPECT_EQ(Vorn_WiaAcquireA(session, nullptr, 0, nullptr, &options, nullptr, nullptr, nullptr, nullptr),
              SUCCESS);
}

TEST_P(AnsiAcquireTest, RefusesOptionsThatItCannotRead)
{
    WiaSession* const session = OpenScanner(true);
    AcquireOptionsA endless{};
    std::memset(endless.fileName, 'x', sizeof(endless.fileName));
    const ScopedCallLog log;
    for (const auto& [options, status] :
         {std::pair<const AcquireOptionsA*, int32_t>{nullptr, ERR_OUT_OF_MEMORY},
          {&endless, ERR_INVALID_ARGUMENT}}) {
        const auto refused = [status = status](auto acquire) {
            char* kept = nullptr;
            char** list = &kept;
            uint32_t count = 77;
            EXPECT_EQ(acquire(&count, &list), status);
            EXPECT_TRUE(count == 0 && !list) << "the caller's garbage stays";
        };
        refused([&, options = options](uint32_t* count, char*** list) {
            return Vorn_WiaAcquireA(session, nullptr, 0, nullptr, options, count, list, nullptr, nullptr);
        });
        refused([&, options = options](uint32_t* count, char*** list) {
            return Vorn_WiaAcquireToFileA(session, nullptr, 0, nullptr, options, count, list, nullptr,
                                          nullptr);
        });
        refused([&, options = options](uint32_t* count, char*** list) {
            return Vorn_WiaAcquireSimpleA(Version(), nullptr, 1, 0, nullptr, options, count, list, nullptr,
                                          nullptr);
        });
    }
    EXPECT_TRUE(log.Lines().empty()) << "the platform was called";
}

TEST_P(AnsiAcquireTest, ReleasesTheWideListWhateverIsWanted)
{
    WiaSession* const session = OpenScanner(true);
    const AcquireOptionsA options = Options("page.bmp");
    uint32_t count = 0;
    EXPECT_EQ(Vorn_WiaAcquireA(session, nullptr, 0, nullptr, &options, &count, nullptr, nullptr, nullptr),
              SUCCESS);
    EXPECT_EQ(count, 1u);
    char** list = nullptr;
    EXPECT_EQ(Vorn_WiaAcquireSimpleA(Version(), nullptr, WIA_DEVICE_TYPE_SCANNER, 0, nullptr, &options,
                                     nullptr, &list, nullptr, nullptr),
              SUCCESS);
    ASSERT_TRUE(list && list[0]);
    EXPECT_EQ(std::string{list[0]}, "page (1).bmp");
    KrnFree(list[0], 0, "test");
    KrnFree(list, 0, "test");
    EXPECT_EQ(Vorn_WiaAcquireA(nullptr, nullptr, 0, nullptr, &options, &count, &list, nullptr, nullptr),
              ERR_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace vorn::test
