/** Devices: what the enumeration tells, and how a session's device is chosen. */
#include <functional>

#include "Sessions.h"
#include "vornwia/Internal.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;
using Texts = std::vector<std::string>;

class DevicesTest : public GenerationTest {};
VORN_IN_BOTH_GENERATIONS(DevicesTest);

/** An application that notes each device as "size id|name|description", a dash for a null text. */
struct DeviceNotes {
    Texts devices;
    std::vector<WiaSession*> sessions;
    std::function<int32_t()> answer = [] { return 1; };

    static int32_t Callback(WiaSession* session, const WiaDeviceInfo* device, void* data)
    {
        const auto text = [](const WCHAR* read) { return read ? Narrow(read) : "-"; };
        auto* notes = static_cast<DeviceNotes*>(data);
        notes->devices.push_back(std::to_string(device->structSize) + " " + text(device->deviceId) + "|" +
                                 text(device->deviceName) + "|" + text(device->deviceDescription));
        notes->sessions.push_back(session);
        return notes->answer();
    }
};

DeviceBuilder Named(const WCHAR* id, LONG type = StiDeviceTypeScanner)
{
    const WString text{id};
    return DeviceBuilder{type}
        .Id(text)
        .Name(text + VORN_TEXT(" name"))
        .Description(text + VORN_TEXT(" text"));
}

DevicePtr A()
{
    return Named(VORN_TEXT("a")).Build();
}
DevicePtr C()
{
    return Named(VORN_TEXT("c"), StiDeviceTypeDigitalCamera).Build();
}

const std::string kA = "28 a|a name|a text", kC = "28 c|c name|c text";

TEST_P(DevicesTest, ListsTheLocalDevicesInOrder)
{
    struct Row {
        std::vector<DevicePtr> devices;
        int32_t status;
        Texts heard;
    };
    const DevicePtr remote = Named(VORN_TEXT("b")).Remote().Build();
    const DevicePtr blank = Named(VORN_TEXT("b")).NoId().NoName().NoDescription().Build();
    const Row rows[] = {
        {{}, ERR_WIA_NO_DEVICE_AVAILABLE, {}},
        {{remote}, ERR_WIA_NO_DEVICE_AVAILABLE, {}},
        {{A()}, SUCCESS, {kA}},
        {{C(), remote, A()}, SUCCESS, {kC, kA}},
        {{A(), blank, C()}, SUCCESS, {kA}},  // what cannot be read ends the list
        {{blank}, SUCCESS, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.devices.size());
        const ScopedDevices devices{row.devices};
        const OpenSession session{Version()};
        DeviceNotes notes;
        EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), row.status);
        EXPECT_EQ(notes.devices, row.heard);
        EXPECT_EQ(notes.sessions, std::vector<WiaSession*>(row.heard.size(), session));
    }
}

TEST_P(DevicesTest, ShowsTheTextsOfEachDevice)
{
    struct Row {
        const char* fault;
        DeviceBuilder device;
        std::string heard;
    };
    const auto b = [] { return Named(VORN_TEXT("b")); };
    const auto with = [&](Property property) { return b().DeviceProperty(std::move(property)); };
    const Property number = ReadOnly(WIA_DIP_DEV_NAME, Value::I4(7));
    const Property wide = ReadOnly(WIA_DIP_DEV_DESC, WideText(VORN_TEXT("x")));
    const Property null = Answering(WIA_DIP_DEV_DESC, Hollow(VT_BSTR));
    const Row rows[] = {
        {"a missing ID takes another text", b().NoId(), "28 -|b name|b text"},
        {"a missing name takes another text", b().NoName(), "28 b|-|b text"},
        {"a missing description shows the last one's", b().NoDescription(), "28 b|b name|-"},
        {"a number is taken for a text", with(number), "28 b|-|b text"},
        {"a text of another kind is taken", with(wide), "28 b|b name|-"},
        {"a null text is followed", with(null), "28 b|b name|-"},
        {"an empty text is lost", b().Name({}), "28 b||b text"},
        {"characters are cut", b().Name(VORN_TEXT("Größe \U0001F5A8")), "28 b|Größe 🖨|b text"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const ScopedDevices devices{A(), row.device.Build(), C()};
        const OpenSession session{Version()};
        DeviceNotes notes;
        EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), SUCCESS);
        EXPECT_EQ(notes.devices, (Texts{kA, row.heard, kC}));
    }
}

TEST_P(DevicesTest, AsksForLocalDevicesAndNeedsAllArguments)
{
    const ScopedDevices devices{A()};
    const OpenSession session{Version()};
    const ScopedCallLog log;
    DeviceNotes notes;
    EXPECT_EQ(Vorn_WiaEnumDevices(nullptr, DeviceNotes::Callback, &notes), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaEnumDevices(session, nullptr, &notes), ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(log.Lines().empty()) << "the platform was called: " << log.Lines().front();

    EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), SUCCESS);
    EXPECT_EQ(log.IndexOf(Manager() + ".EnumDeviceInfo 16"), 0u);
}

TEST_P(DevicesTest, StopsAtAnyAnswerButOne)
{
    struct Row {
        int32_t answer, status;
        size_t calls;
    };
    constexpr Row rows[] = {{1, SUCCESS, 2},       {0, SUCCESS, 1},       {5, SUCCESS, 1},
                            {101, SUCCESS, 1},     {-100, -100, 1},       {-5, -1475, 1},
                            {-1, -1475, 1},        {-13, -1475, 1},       {-261, -261, 1},
                            {-290, -290, 1},       {-295, -295, 1},       {-1474, -1474, 1},
                            {-1469, -1475, 1},     {INT32_MIN, -1475, 1}, {WIA_ERROR_BUSY, -1455, 1},
                            {E_INVALIDARG, -13, 1}};
    const ScopedDevices devices{A(), C()};
    const OpenSession session{Version()};
    for (const Row& row : rows) {
        DeviceNotes notes;
        notes.answer = [&] { return row.answer; };
        EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), row.status) << row.answer;
        EXPECT_EQ(notes.devices.size(), row.calls) << row.answer;
    }
}

TEST_P(DevicesTest, EndsTheListWhereTheServiceFails)
{
    struct Row {
        const char* fault;
        Step step;
        Fault answer;
        int32_t status;
        size_t calls;
    };
    const Row rows[] = {
        {"no enumerator", Step::EnumDevices, {E_ACCESSDENIED}, ERR_ACCESS_DENIED, 0},
        {"a null enumerator is used", Step::EnumDevices, {S_OK, true}, ERR_WIA_UNEXPECTED, 0},
        {"the second device fails", Step::NextDevice, {WIA_ERROR_OFFLINE}, ERR_WIA_OFFLINE, 1},
        {"a null device is read", Step::NextDevice, {S_OK, true}, SUCCESS, 1},
        {"texts cannot be read", Step::ReadProperty, {E_FAIL}, SUCCESS, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        DeviceBuilder second = Named(VORN_TEXT("b"));
        row.answer.nullObject ? second.NullAt(row.step) : second.FailAt(row.step, row.answer.result);
        const ScopedDevices devices{A(), second.Build(), C()};
        const OpenSession session{Version()};
        DeviceNotes notes;
        EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), row.status);
        EXPECT_EQ(notes.devices.size(), row.calls);

        DeviceNotes again;
        EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &again), SUCCESS);
        EXPECT_EQ(again.devices.size(), 3u) << "the next enumeration in the session suffers";
    }
}

TEST_P(DevicesTest, LeavesOutATextForWhichThereIsNoMemory)
{
    const ScopedDevices devices{A()};
    const OpenSession session{Version()};
    DeviceNotes notes;
    const ScopedFailingAllocator failing{2, 1};
    EXPECT_EQ(Vorn_WiaEnumDevices(session, DeviceNotes::Callback, &notes), SUCCESS);
    EXPECT_EQ(notes.devices, Texts{"28 a|-|a text"});
}

// ---- Selection -----------------------------------------------------------------------------------------

TEST_P(DevicesTest, ReleasesTheOldDeviceBeforeItOpensTheNext)
{
    const ScopedDevices devices{A(), C()};
    const OpenSession session{Version(), VORN_TEXT("a")};
    const WCHAR* id = Vorn_WiaGetSelectedDevice(session);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(session), id) << "each call makes a string of its own";

    for (const WCHAR* next : {VORN_TEXT("a"), VORN_TEXT("c")}) {
        const ScopedCallLog log;
        EXPECT_EQ(Vorn_WiaSelectDevice(session, next), SUCCESS);
        EXPECT_EQ(log.Lines(), (Texts{"Root.Release", Manager() + ".CreateDevice " + Narrow(next)}));
        EXPECT_EQ(session.SelectedId(), Narrow(next));
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
        HRESULT opened;  ///< S_OK: opened, but nothing given
        int32_t status;
    };
    constexpr Row rows[] = {
        {"a failure is taken for success", WIA_ERROR_OFFLINE, ERR_WIA_OFFLINE},
        {"an unknown failure has no code", E_FAIL, ERR_WIA_UNEXPECTED},
        {"S_FALSE counts as success", S_FALSE, RESULT_FALSE},
        {"a null root item is kept", S_OK, ERR_WIA_UNEXPECTED},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        DeviceBuilder failing = Named(VORN_TEXT("b"));
        row.opened == S_OK ? failing.NullAt(Step::CreateDevice)
                           : failing.FailAt(Step::CreateDevice, row.opened);
        const ScopedDevices devices{A(), failing.Build()};
        const OpenSession session{Version(), VORN_TEXT("a")};
        EXPECT_EQ(Vorn_WiaSelectDevice(session, VORN_TEXT("b")), row.status);
        EXPECT_EQ(session.Type(), ERR_NO_DEVICE_SELECTED);
        EXPECT_EQ(session.Root(), nullptr);
        EXPECT_EQ(session.SelectedId(), "a");

        EXPECT_EQ(Vorn_WiaSelectDevice(session, VORN_TEXT("b")), SUCCESS) << "the next selection suffers";
        EXPECT_EQ(session.SelectedId(), "b");
    }
}

TEST_P(DevicesTest, RefusesUnknownAndMissingIds)
{
    const ScopedDevices devices{A(),
                                Named(VORN_TEXT("b")).Without(static_cast<Generation>(Version())).Build()};
    const OpenSession session{Version()};
    for (const WCHAR* id : {VORN_TEXT("nobody"), VORN_TEXT(""), VORN_TEXT("a "), VORN_TEXT("b")}) {
        EXPECT_EQ(Vorn_WiaSelectDevice(session, id), ERR_WIA_NO_DEVICE_AVAILABLE) << Narrow(id);
        EXPECT_EQ(Vorn_WiaGetSelectedDevice(session), nullptr) << Narrow(id);
    }
    ASSERT_EQ(Vorn_WiaSelectDevice(session, VORN_TEXT("a")), SUCCESS);
    EXPECT_EQ(Vorn_WiaSelectDevice(session, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaSelectDevice(nullptr, VORN_TEXT("a")), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(session.Type(), StiDeviceTypeScanner) << "a bad argument costs the device";
}

/** A user of the selection dialog: answers with a result and, by position, a device. */
struct Chooser : DialogProvider {
    HRESULT result = S_OK;
    size_t choice = 0;
    std::vector<DeviceQuestion> asked;

    HRESULT STDMETHODCALLTYPE SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) override
    {
        asked.push_back(question);
        if (result == S_OK)
            chosen = question.devices.at(choice);
        return result;
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
        HRESULT answer;
        size_t choice;
        int32_t filter, status;
        int32_t type;  ///< afterwards
        const char* id;
    };
    constexpr Row rows[] = {
        {"the choice is not opened", S_OK, 2, 0, SUCCESS, StiDeviceTypeDigitalCamera, "c"},
        {"the filter is lost", S_OK, 0, 2, SUCCESS, StiDeviceTypeDigitalCamera, "c"},
        {"cancelling costs the device", S_FALSE, 0, 0, DIALOG_CANCELLED, StiDeviceTypeScanner, "a"},
        {"a failure costs the device", WIA_ERROR_BUSY, 0, 0, ERR_WIA_BUSY, StiDeviceTypeScanner, "a"},
        {"an unknown failure is a choice", E_FAIL, 0, 0, ERR_WIA_UNEXPECTED, StiDeviceTypeScanner, "a"},
        {"nothing to offer is no failure", S_OK, 0, 3, ERR_WIA_NO_DEVICE_AVAILABLE, StiDeviceTypeScanner,
         "a"},
        {"a failed opening keeps the device", S_OK, 1, 0, ERR_WIA_OFFLINE, ERR_NO_DEVICE_SELECTED, "a"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const ScopedDevices devices{
            A(), Named(VORN_TEXT("b")).FailAt(Step::CreateDevice, WIA_ERROR_OFFLINE).Build(), C()};
        const auto chooser = std::make_shared<Chooser>();
        chooser->result = row.answer;
        chooser->choice = row.choice;
        const ScopedDialogs dialogs{chooser};
        const OpenSession session{Version(), VORN_TEXT("a")};
        EXPECT_EQ(Vorn_WiaSelectDeviceDlg(session, nullptr, row.filter, 0), row.status);
        EXPECT_EQ(session.Type(), row.type);
        EXPECT_EQ(session.SelectedId(), row.id);
    }
}

TEST_P(DevicesTest, HandsTheDialogItsArguments)
{
    const ScopedDevices devices{A(), C()};
    const auto chooser = std::make_shared<Chooser>();
    const ScopedDialogs dialogs{chooser};
    const OpenSession session{Version()};
    const auto parent = reinterpret_cast<HWND>(uintptr_t{0x1234});
    EXPECT_EQ(Vorn_WiaSelectDeviceDlg(nullptr, parent, 2, 1), ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(chooser->asked.empty());

    const ScopedCallLog log;
    EXPECT_EQ(Vorn_WiaSelectDeviceDlg(session, parent, 2, 1), SUCCESS);
    ASSERT_EQ(chooser->asked.size(), 1u);
    EXPECT_EQ(chooser->asked[0].parent, parent);
    EXPECT_EQ(log.Lines(), (Texts{Manager() + ".SelectDeviceDlgID 2 1", Manager() + ".CreateDevice c"}));
}

/** A manager of the first generation whose dialog succeeds without a choice. */
struct SilentManager final : IWiaDevMgr {
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG, IEnumWIA_DEV_INFO**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateDevice(BSTR, IWiaItem**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND, LONG, LONG, BSTR*, IWiaItem**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND, LONG, LONG, BSTR*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetImageDlg(HWND, LONG, LONG, LONG, IWiaItem*, BSTR, GUID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG, BSTR, const GUID*, BSTR, BSTR, BSTR,
                                                           BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG, BSTR, const GUID*, IWiaEventCallback*,
                                                             IUnknown**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG, BSTR, const GUID*, const GUID*, BSTR, BSTR,
                                                         BSTR) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE AddDeviceDlg(HWND, LONG) override { return E_NOTIMPL; }
};

TEST_F(LibraryTest, KeepsItsDeviceWhenTheDialogNamesNone)
{
    const ScopedDevices devices{A()};
    const OpenSession session{1, VORN_TEXT("a")};
    WiaSession& inside = *static_cast<WiaSession*>(session);
    SilentManager silent;
    IWiaDevMgr* manager = std::exchange(inside.deviceManager, &silent);
    EXPECT_EQ(Vorn_WiaSelectDeviceDlg(session, nullptr, 0, 0), SUCCESS);
    inside.deviceManager = manager;
    EXPECT_EQ(session.Type(), StiDeviceTypeScanner);
    EXPECT_EQ(session.SelectedId(), "a");
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
    const auto of = [](LONG value) { return Named(VORN_TEXT("b")).TypeValue(value); };
    const Row rows[] = {
        {"the subtype is not dropped", of(0x00010005), SUCCESS, 1},
        {"the type is signed", of(static_cast<LONG>(0xFFFE0001)), SUCCESS, 0xFFFE},
        {"a missing type is written", of(0).NoType(), RESULT_FALSE, untouched},
        {"a text is converted", of(0).DeviceProperty(ReadOnly(WIA_DIP_DEV_TYPE, Value::Text(VORN_TEXT("1")))),
         RESULT_FALSE, untouched},
        {"a failure is success",
         of(0x10000).FailProperty(WIA_DIP_DEV_TYPE, Step::ReadProperty, WIA_ERROR_BUSY, 1, 100), ERR_WIA_BUSY,
         untouched},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const ScopedDevices devices{row.device.Build()};
        const OpenSession session{Version(), VORN_TEXT("b")};
        uint32_t type = untouched;
        EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(session, &type), row.status);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(session, nullptr), ERR_INVALID_ARGUMENT);
        EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(nullptr, &type), ERR_INVALID_ARGUMENT);
    }
}

}  // namespace
}  // namespace vorn::test
