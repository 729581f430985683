/** Devices: what the enumeration tells, and how a session's device is chosen. */
#include "Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;
using Texts = std::vector<std::string>;

class DevicesTest : public GenerationTest {};
VORN_IN_BOTH_GENERATIONS(DevicesTest);

/** An application that notes each device as "size id|name|description", a dash for a null text. */
struct DeviceNotes {
    WiaSession* session;
    int32_t answer = 1;
    Texts devices = {};

    static int32_t Callback(WiaSession* heard, const WiaDeviceInfo* device, void* data)
    {
        const auto text = [](const WCHAR* read) { return read ? Narrow(read) : "-"; };
        auto* notes = static_cast<DeviceNotes*>(data);
        EXPECT_EQ(heard, notes->session);
        notes->devices.push_back(std::to_string(device->structSize) + " " + text(device->deviceId) + "|" +
                                 text(device->deviceName) + "|" + text(device->deviceDescription));
        return notes->answer;
    }
    int32_t Enumerate() { return Vorn_WiaEnumDevices(session, Callback, this); }
};

DeviceBuilder Named(WStringView id, LONG type = StiDeviceTypeScanner)
{
    const WString text{id};
    return DeviceBuilder{type}.Id(id).Name(text + VORN_TEXT(" name")).Description(text + VORN_TEXT(" text"));
}

const WString kIdA{VORN_TEXT("a")}, kIdB{VORN_TEXT("b")}, kIdC{VORN_TEXT("c")};
const std::string kA = "28 a|a name|a text", kC = "28 c|c name|c text";

DevicePtr A()
{
    return Named(kIdA).Build();
}
DevicePtr C()
{
    return Named(kIdC, StiDeviceTypeDigitalCamera).Build();
}

TEST_P(DevicesTest, TellsTheLocalDevicesAndTheirTexts)
{
    struct Row {
        const char* fault;
        std::vector<DevicePtr> devices;
        int32_t status;
        Texts heard;
    };
    const auto b = [] { return Named(kIdB); };
    const auto blank = [&] { return b().NoId().NoName().NoDescription(); };
    const auto with = [&](Property property) { return b().DeviceProperty(std::move(property)); };
    const Property number = ReadOnly(WIA_DIP_DEV_NAME, Value::I4(7));
    const Property wide = ReadOnly(WIA_DIP_DEV_DESC, WideText(VORN_TEXT("x")));
    const Property null = Answering(WIA_DIP_DEV_DESC, Hollow(VT_BSTR));
    const DevicePtr remote = b().Remote().Build();
    const auto second = [](const DeviceBuilder& device) {
        return std::vector<DevicePtr>{A(), device.Build(), C()};
    };
    const auto shown = [&](const char* fault, const DeviceBuilder& device, const char* heard) {
        return Row{fault, second(device), SUCCESS, {kA, heard, kC}};
    };
    constexpr Step start = Step::EnumDevices, next = Step::NextDevice;
    const Row rows[] = {
        {"no device is success", {}, ERR_WIA_NO_DEVICE_AVAILABLE, {}},
        {"a remote device counts", {remote}, ERR_WIA_NO_DEVICE_AVAILABLE, {}},
        {"a remote device is shown, or the order changed", {C(), remote, A()}, SUCCESS, {kC, kA}},
        {"a device that cannot be read is shown", second(blank()), SUCCESS, {kA}},
        {"one that cannot be read is none", {blank().Build()}, SUCCESS, {}},
        {"texts cannot be read", second(b().FailAt(Step::ReadProperty, E_FAIL)), SUCCESS, {kA}},
        {"no enumerator", second(b().FailAt(start, E_ACCESSDENIED)), ERR_ACCESS_DENIED, {}},
        {"a null enumerator is used", second(b().NullAt(start)), ERR_WIA_UNEXPECTED, {}},
        {"the second device fails", second(b().FailAt(next, WIA_ERROR_OFFLINE)), ERR_WIA_OFFLINE, {kA}},
        {"a null device is read", second(b().NullAt(next)), SUCCESS, {kA}},
        shown("a missing ID takes another text", b().NoId(), "28 -|b name|b text"),
        shown("a missing name takes another text", b().NoName(), "28 b|-|b text"),
        shown("a missing description shows the last one's", b().NoDescription(), "28 b|b name|-"),
        shown("a number is taken for a text", with(number), "28 b|-|b text"),
        shown("a text of another kind is taken", with(wide), "28 b|b name|-"),
        shown("a null text is followed", with(null), "28 b|b name|-"),
        shown("an empty text is lost", b().Name({}), "28 b||b text"),
        shown("characters are cut", b().Name(VORN_TEXT("Größe \U0001F5A8")), "28 b|Größe 🖨|b text"),
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        DeviceNotes notes{Open(row.devices)};
        EXPECT_EQ(notes.Enumerate(), row.status);
        EXPECT_EQ(notes.devices, row.heard);
    }
}

TEST_P(DevicesTest, LeavesOutATextForWhichThereIsNoMemory)
{
    DeviceNotes notes{Open({A()})};
    const ScopedFailingAllocator failing{2, 1};
    EXPECT_EQ(notes.Enumerate(), SUCCESS);
    EXPECT_EQ(notes.devices, Texts{"28 a|-|a text"});
}

TEST_P(DevicesTest, StopsAtAnyAnswerButOne)
{
    struct Row {
        int32_t answer, status;
        size_t calls;
    };
    constexpr Row rows[] = {{1, SUCCESS, 2},   {0, SUCCESS, 1},       {5, SUCCESS, 1},
                            {-100, -100, 1},   {-5, -1475, 1},        {-1, -1475, 1},
                            {-1474, -1474, 1}, {INT32_MIN, -1475, 1}, {WIA_ERROR_BUSY, -1455, 1}};
    for (const Row& row : rows) {
        DeviceNotes notes{Open({A(), C()}), row.answer};
        EXPECT_EQ(notes.Enumerate(), row.status) << row.answer;
        EXPECT_EQ(notes.devices.size(), row.calls) << row.answer;
    }
}

TEST_P(DevicesTest, ChecksItsArgumentsBeforeItCallsThePlatform)
{
    const OpenSession& session = Open({A()}, kIdA.c_str());
    const ScopedCallLog log;
    uint32_t type = 0;
    EXPECT_EQ(Vorn_WiaEnumDevices(nullptr, DeviceNotes::Callback, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaEnumDevices(session, nullptr, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaSelectDevice(nullptr, kIdA.c_str()), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaSelectDevice(session, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaSelectDeviceDlg(nullptr, nullptr, 0, 0), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(nullptr, &type), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(session, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(log.Lines(), Texts{});
    EXPECT_EQ(session.Type(), StiDeviceTypeScanner) << "a bad argument costs the device";
}

// ---- Selection -----------------------------------------------------------------------------------------

TEST_P(DevicesTest, ReleasesTheOldDeviceBeforeItOpensTheNext)
{
    const OpenSession& session = Open({A(), C()}, kIdA.c_str());
    const WCHAR* id = Vorn_WiaGetSelectedDevice(session);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(session), id) << "each call makes a string of its own";

    for (const WString& next : {kIdA, kIdC}) {
        const ScopedCallLog log;
        EXPECT_EQ(Vorn_WiaSelectDevice(session, next.c_str()), SUCCESS);
        EXPECT_EQ(log.Lines(), (Texts{"Root.Release", Manager() + ".CreateDevice " + Narrow(next.c_str())}));
        EXPECT_EQ(session.SelectedId(), Narrow(next.c_str()));
    }
    EXPECT_EQ(Vorn_WiaSelectDevice(session, Vorn_WiaGetSelectedDevice(session)), SUCCESS)
        << "the session's own string is freed too early";
    EXPECT_EQ(session.SelectedId(), "c");
    EXPECT_EQ(session.Type(), StiDeviceTypeDigitalCamera);
}

TEST_P(DevicesTest, LosesItsDeviceButNotItsIdWhenOpeningFails)
{
    struct Row {
        const char* fault;
        DeviceBuilder other;
        const WCHAR* selected;
        int32_t status;
    };
    const auto b = [] { return Named(kIdB); };
    const WCHAR* const id = kIdB.c_str();
    const Row rows[] = {
        {"a failure is taken for success", b().FailAt(Step::CreateDevice, WIA_ERROR_OFFLINE), id,
         ERR_WIA_OFFLINE},
        {"S_FALSE counts as success", b().FailAt(Step::CreateDevice, S_FALSE), id, RESULT_FALSE},
        {"a null root item is kept", b().NullAt(Step::CreateDevice), id, ERR_WIA_UNEXPECTED},
        {"the other generation's tree is taken", b().Without(static_cast<Generation>(Version())), id,
         ERR_WIA_NO_DEVICE_AVAILABLE},
        {"an unknown ID keeps the device", b(), VORN_TEXT("b "), ERR_WIA_NO_DEVICE_AVAILABLE},
        {"an empty ID takes the first", b(), VORN_TEXT(""), ERR_WIA_NO_DEVICE_AVAILABLE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const OpenSession& session = Open({A(), row.other.Build()}, kIdA.c_str());
        EXPECT_EQ(Vorn_WiaSelectDevice(session, row.selected), row.status);
        EXPECT_EQ(session.Type(), ERR_NO_DEVICE_SELECTED);
        EXPECT_EQ(session.Root(), nullptr);
        EXPECT_EQ(session.SelectedId(), "a");
        EXPECT_EQ(Vorn_WiaSelectDevice(session, kIdA.c_str()), SUCCESS) << "the next selection suffers";
    }
}

/** A user of the selection dialog: takes the first device offered, or answers otherwise. */
struct Chooser : DialogProvider {
    HRESULT answer = S_OK;
    HWND parent = nullptr;

    HRESULT SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) override
    {
        parent = question.parent;
        chosen = question.devices.front();
        return answer;
    }
    HRESULT SelectItems(const ItemsQuestion&, std::vector<Item*>&) override { return E_NOTIMPL; }
    HRESULT SelectImages(const ImageQuestion&, std::vector<Item*>&, std::vector<WString>&) override
    {
        return E_NOTIMPL;
    }
};

TEST_P(DevicesTest, SelectsWhatTheDialogAnswers)
{
    struct Row {
        const char* fault;
        DeviceBuilder offered;  ///< besides the scanner that is selected
        HRESULT answer;
        int32_t filter, status, typeAfter;
        const char* idAfter;
    };
    constexpr int32_t scanner = StiDeviceTypeScanner, camera = StiDeviceTypeDigitalCamera;
    const auto c = [] { return Named(kIdC, camera); };
    const DeviceBuilder nameless = c().NullAt(Step::SelectDevice);
    const DeviceBuilder offline = c().FailAt(Step::CreateDevice, WIA_ERROR_OFFLINE);
    const Row rows[] = {
        {"the choice is not opened", c(), S_OK, camera, SUCCESS, camera, "c"},
        {"cancelling costs the device", c(), S_FALSE, 0, DIALOG_CANCELLED, scanner, "a"},
        {"a failure costs the device", c(), WIA_ERROR_BUSY, 0, ERR_WIA_BUSY, scanner, "a"},
        {"nothing to offer is no failure", c(), S_OK, 99, ERR_WIA_NO_DEVICE_AVAILABLE, scanner, "a"},
        {"a choice without an ID is opened", nameless, S_OK, camera, SUCCESS, scanner, "a"},
        {"a failed opening keeps the device", offline, S_OK, camera, ERR_WIA_OFFLINE, ERR_NO_DEVICE_SELECTED,
         "a"},
    };
    const auto parent = reinterpret_cast<HWND>(uintptr_t{0x1234});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const auto chooser = std::make_shared<Chooser>();
        chooser->answer = row.answer;
        const ScopedDialogs dialogs{chooser};
        const OpenSession& session = Open({A(), row.offered.Build()}, kIdA.c_str());
        const ScopedCallLog log;
        EXPECT_EQ(Vorn_WiaSelectDeviceDlg(session, parent, row.filter, 1), row.status);
        EXPECT_EQ(log.IndexOf(Manager() + ".SelectDeviceDlgID " + std::to_string(row.filter) + " 1"), 0u);
        EXPECT_EQ(chooser->parent, row.filter == 99 ? nullptr : parent);
        EXPECT_EQ(session.Type(), row.typeAfter);
        EXPECT_EQ(session.SelectedId(), row.idAfter);
    }
}

TEST_P(DevicesTest, TellsTheTypeOfItsDevice)
{
    struct Row {
        const char* fault;
        DeviceBuilder device;
        int32_t status;
        uint32_t type;
    };
    constexpr uint32_t untouched = 0xDEADBEEF;
    const Property text = ReadOnly(WIA_DIP_DEV_TYPE, Value::Text(VORN_TEXT("1")));
    const auto of = [](LONG value) { return Named(kIdB).TypeValue(value); };
    const Row rows[] = {
        {"the subtype is not dropped", of(0x00010005), SUCCESS, 1},
        {"the type is signed", of(static_cast<LONG>(0xFFFE0001)), SUCCESS, 0xFFFE},
        {"a missing type is written", of(0).NoType(), RESULT_FALSE, untouched},
        {"a text is converted", of(0).DeviceProperty(text), RESULT_FALSE, untouched},
        {"a failure is success", of(0x10000).FailAt(Step::ReadProperty, WIA_ERROR_BUSY), ERR_WIA_BUSY,
         untouched},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        uint32_t type = untouched;
        EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(Open(row.device), &type), row.status);
        EXPECT_EQ(type, row.type);
    }
}

}  // namespace
}  // namespace vorn::test
