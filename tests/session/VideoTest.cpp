/** Video preview: the gates, and which calls reach the platform's video object in which order, on a fake of it. */
#include <map>
#include <sstream>

#include "Sessions.h"
#include "wia/faces/Interfaces.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;
using Texts = std::vector<std::string>;

const WString kVideo{VORN_TEXT("v")}, kScanner{VORN_TEXT("s")};
const WString kPicture{VORN_TEXT("/images/Bild \u65e5 1.jpg")};
const auto kWindow = reinterpret_cast<HWND>(uintptr_t{0x7777});

/** How the fakes behave, and where they note what they hear. */
struct Script {
    explicit Script(ScopedCallLog& shared) : log{shared} {}

    ScopedCallLog& log;
    std::map<std::string, HRESULT> failures;  ///< by method
    bool noName = false, noObject = false;

    /** Notes a call with its arguments. */
    template <typename... Arguments>
    HRESULT Answer(const char* method, const Arguments&... arguments)
    {
        std::ostringstream line;
        line << "Video." << method;
        ((line << " " << arguments), ...);
        log.Add(line.str());
        const auto failure = failures.find(method);
        return failure == failures.end() ? S_OK : failure->second;
    }
};

/** A video object that notes each call in the log of the service, between the property reads. */
class FakeVideo final : public ComObject<IWiaVideo> {
public:
    explicit FakeVideo(Script& script) : script_{script} {}
    ~FakeVideo() override { script_.log.Add("Video.gone"); }

    HRESULT STDMETHODCALLTYPE put_ImagesDirectory(BSTR name) override
    {
        return script_.Answer("put_ImagesDirectory", Narrow(name));
    }
    HRESULT STDMETHODCALLTYPE CreateVideoByWiaDevID(BSTR id, HWND parent, BOOL stretch, BOOL play) override
    {
        const char* window = parent == kWindow ? "window" : parent ? "another" : "none";
        return script_.Answer(play ? "Create" : "CreateUnseen", Narrow(id), window, stretch, play);
    }
    HRESULT STDMETHODCALLTYPE DestroyVideo() override { return script_.Answer("Destroy"); }
    HRESULT STDMETHODCALLTYPE TakePicture(BSTR* name) override
    {
        *name = script_.noName ? nullptr : SysAllocString(kPicture.c_str());
        return script_.Answer("TakePicture");
    }
    HRESULT STDMETHODCALLTYPE ResizeVideo(BOOL stretch) override { return script_.Answer("Resize", stretch); }

    HRESULT STDMETHODCALLTYPE get_PreviewVisible(BOOL*) override { return Unused(); }
    HRESULT STDMETHODCALLTYPE put_PreviewVisible(BOOL) override { return Unused(); }
    HRESULT STDMETHODCALLTYPE get_ImagesDirectory(BSTR*) override { return Unused(); }
    HRESULT STDMETHODCALLTYPE CreateVideoByDevNum(UINT, HWND, BOOL, BOOL) override { return Unused(); }
    HRESULT STDMETHODCALLTYPE CreateVideoByName(BSTR, HWND, BOOL, BOOL) override { return Unused(); }
    HRESULT STDMETHODCALLTYPE Play() override { return Unused(); }
    HRESULT STDMETHODCALLTYPE Pause() override { return Unused(); }
    HRESULT STDMETHODCALLTYPE GetCurrentState(WIAVIDEO_STATE*) override { return Unused(); }

private:
    HRESULT Unused() { return script_.Answer("unused"); }

    Script& script_;
};

class FakeClass final : public ComObject<IClassFactory> {
public:
    explicit FakeClass(Script& script) : script_{script} {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override
    {
        *object = nullptr;
        const HRESULT result = script_.Answer("new");
        return FAILED(result) || script_.noObject ? result : MakeComObject<FakeVideo>(iid, object, script_);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    Script& script_;
};

DeviceBuilder Device(LONG type = StiDeviceTypeStreamingVideo)
{
    return DeviceBuilder{type}
        .Id(type == StiDeviceTypeStreamingVideo ? kVideo : kScanner)
        .RootProperty(Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(VORN_TEXT("/images"))));
}

/** A session on a video device, with a scanner beside it, and a video class of our own. */
class VideoTest : public LibraryTest {
protected:
    VideoTest()
    {
        CoInitialize(nullptr);
        ComPtr<IUnknown> videoClass;
        MakeComObject<FakeClass>(IID_IUnknown, videoClass.OutVoid(), script);
        EXPECT_EQ(CoRegisterClassObject(CLSID_WiaVideo, videoClass.Get(), CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &cookie_),
                  S_OK);
        Open();
    }

    /** Takes pictures, one named `picture` each, into buffers of many sizes. */
    template <typename Unit>
    void ExpectPictures(int32_t (*take)(WiaSession*, Unit*, uint64_t*),
                        const std::basic_string<Unit>& picture);

    void TearDown() override
    {
        session.reset();
        devices_.reset();
        CoRevokeClassObject(cookie_);
        CoUninitialize();
        LibraryTest::TearDown();
    }

    /** Begins anew, with this device selected. */
    void Open(const DeviceBuilder& video = Device(), uint32_t version = 1)
    {
        session.reset();
        devices_.reset();
        devices_.emplace(video.Build(), Device(StiDeviceTypeScanner).Build());
        session.emplace(version, kVideo.c_str());
        script.failures.clear();
        log.Clear();
    }

    int32_t Start() { return Vorn_WiaStartVideoPreview(*session, kWindow, 1); }
    int32_t End() { return Vorn_WiaEndVideoPreview(*session); }
    int32_t Available() { return Vorn_WiaIsVideoPreviewAvailable(*session); }

    /** What happened since the last look. */
    Texts Calls()
    {
        Texts lines = log.Lines();
        log.Clear();
        return lines;
    }

    ScopedCallLog log;
    Script script{log};
    std::optional<OpenSession> session;

private:
    std::optional<ScopedDevices> devices_;
    DWORD cookie_ = 0;
};

const Texts kCheck{"Root.Read 5", "Root.Read 5"};

Texts operator+(Texts first, const Texts& then)
{
    first.insert(first.end(), then.begin(), then.end());
    return first;
}

const Texts kStarted = kCheck + Texts{"Video.new", "Root.Read 3587", "Video.put_ImagesDirectory /images",
                                      "Video.Create v window 1 1"};
const Texts kEnded{"Video.Destroy", "Video.CreateUnseen v none 0 0", "Video.Destroy", "Video.gone"};

TEST_F(VideoTest, PassesItsGatesInOrderBeforeItCallsThePlatform)
{
    struct Row {
        const char* name;
        int32_t (*call)(WiaSession*);
        int32_t withoutPreview;  ///< with a device selected
    };
    static WCHAR buffer[VORNWIA_NAME_CHARS];
    static uint64_t size;
    const Row rows[] = {
        {"start", [](WiaSession* on) { return Vorn_WiaStartVideoPreview(on, kWindow, 0); }, SUCCESS},
        {"picture", [](WiaSession* on) { return Vorn_WiaAcquireImageFromVideo(on, buffer, &size); }, -1472},
        {"no size", [](WiaSession* on) { return Vorn_WiaAcquireImageFromVideo(on, buffer, nullptr); }, -13},
        {"resize", [](WiaSession* on) { return Vorn_WiaResizeVideoPreview(on, 0); }, -1472},
        {"end", [](WiaSession* on) { return Vorn_WiaEndVideoPreview(on); }, -1472},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.call(nullptr), ERR_INVALID_ARGUMENT);
        {
            const OpenSession empty{1};
            log.Clear();
            EXPECT_EQ(row.call(empty), row.withoutPreview == -13 ? -13 : ERR_NO_DEVICE_SELECTED);
            EXPECT_EQ(Vorn_WiaIsVideoPreviewAvailable(empty), 0);
            EXPECT_EQ(Calls(), Texts{});
        }
        Open();
        EXPECT_EQ(row.call(*session), row.withoutPreview);
        EXPECT_EQ(Available(), row.withoutPreview == SUCCESS ? 1 : 0);
        EXPECT_EQ(Calls().empty(), row.withoutPreview != SUCCESS);
    }
    EXPECT_EQ(Vorn_WiaIsVideoPreviewAvailable(nullptr), 0);

    Open(Device(), 2);
    EXPECT_EQ(Start(), ERR_INVALID_ARGUMENT) << "generation 2 has a preview";
    EXPECT_EQ(Calls(), Texts{});
}

TEST_F(VideoTest, LivesFromStartToEnd)
{
    EXPECT_EQ(Start(), SUCCESS);
    EXPECT_EQ(Calls(), kStarted);
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(*session, 7), SUCCESS);
    EXPECT_EQ(Calls(), Texts{"Video.Resize 7"}) << "the caller's flag is changed on its way";

    // A second start drops the first object without a word to it.
    EXPECT_EQ(Start(), SUCCESS);
    Texts replaced = kStarted;
    replaced.insert(replaced.begin() + 2, "Video.gone");
    EXPECT_EQ(Calls(), replaced);

    // Another device leaves the preview as it is, and is the one that its end names.
    EXPECT_EQ(Vorn_WiaSelectDevice(*session, kScanner.c_str()), SUCCESS);
    log.Clear();
    EXPECT_EQ(Start(), ERR_NOT_VIDEO_DEVICE);
    EXPECT_EQ(Calls(), kCheck);
    EXPECT_EQ(Available(), 1);
    EXPECT_EQ(End(), SUCCESS);
    EXPECT_EQ(Calls(),
              (Texts{"Video.Destroy", "Video.CreateUnseen s none 0 0", "Video.Destroy", "Video.gone"}));
    EXPECT_EQ(Available(), 0);
    EXPECT_EQ(End(), ERR_VIDEO_PREVIEW_NOT_STARTED);

    // The end of the session releases the object.
    Open();
    EXPECT_EQ(Start(), SUCCESS);
    log.Clear();
    session.reset();
    EXPECT_EQ(Calls(), (Texts{"Root.Release", "Manager1.Release", "Video.gone"}));
}

TEST_F(VideoTest, StopsAStartWhereItFails)
{
    struct Row {
        const char* fault;
        DeviceBuilder device;
        std::map<std::string, HRESULT> failures;
        int32_t status;
        size_t calls;  ///< of those of a good start
        int32_t available = 1;
    };
    constexpr Step read = Step::ReadProperty;
    const auto with = [](Property property) { return Device().RootProperty(std::move(property)); };
    const auto directory = [](size_t length) {
        return Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(WString(length, VORN_TEXT('d'))));
    };
    const Row rows[] = {
        {"a missing type counts", Device().NoType(), {}, RESULT_FALSE, 1, 0},
        {"a type that fails", Device().FailProperty(5, read, WIA_ERROR_BUSY), {}, ERR_WIA_BUSY, 1, 0},
        {"the second reading matters", Device().FailProperty(5, read, E_FAIL, 2), {}, SUCCESS, 6},
        {"no class", Device(), {{"new", WIA_ERROR_OFFLINE}}, ERR_WIA_OFFLINE, 3, 0},
        {"a null object is used", Device(), {{"new", S_OK}}, ERR_WIA_UNEXPECTED, 3, 0},
        {"no directory", Device().FailProperty(3587, read, E_ACCESSDENIED), {}, ERR_ACCESS_DENIED, 4},
        {"a directory is cut", with(directory(260)), {}, ERR_BUFFER_TOO_SMALL, 4},
        {"put fails", Device(), {{"put_ImagesDirectory", E_INVALIDARG}}, ERR_INVALID_ARGUMENT, 5},
        {"put says S_FALSE", Device(), {{"put_ImagesDirectory", S_FALSE}}, RESULT_FALSE, 5},
        {"create fails", Device(), {{"Create", WIA_ERROR_BUSY}}, ERR_WIA_BUSY, 6},
        {"create says S_FALSE", Device(), {{"Create", S_FALSE}}, RESULT_FALSE, 6},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        Open(row.device);
        script.failures = row.failures;
        script.noObject = row.failures.count("new") != 0;
        EXPECT_EQ(Start(), row.status);
        EXPECT_EQ(Calls(), Texts(kStarted.begin(), kStarted.begin() + static_cast<ptrdiff_t>(row.calls)));
        EXPECT_EQ(Available(), row.available);
        EXPECT_EQ(End(), row.available ? SUCCESS : ERR_VIDEO_PREVIEW_NOT_STARTED);
        EXPECT_EQ(Calls(), row.available ? kEnded : Texts{});
    }

    // A directory of 259 characters fits, an empty one reaches the object as such.
    script.noObject = false;
    for (const size_t length : {259u, 0u}) {
        Open(with(directory(length)));
        EXPECT_EQ(Start(), SUCCESS);
        EXPECT_EQ(Calls()[4], "Video.put_ImagesDirectory " + std::string(length, 'd'));
    }
}

TEST_F(VideoTest, KeepsTheObjectOnlyWhenTheFirstClosingFails)
{
    ASSERT_EQ(Start(), SUCCESS);
    log.Clear();
    for (const HRESULT failure : {WIA_ERROR_BUSY, S_FALSE}) {
        script.failures = {{"Destroy", failure}};
        EXPECT_EQ(End(), failure == S_FALSE ? RESULT_FALSE : ERR_WIA_BUSY);
        EXPECT_EQ(Calls(), Texts{"Video.Destroy"});
        EXPECT_EQ(Available(), 1);
    }
    script.failures = {{"CreateUnseen", E_FAIL}};
    EXPECT_EQ(End(), SUCCESS);
    EXPECT_EQ(Calls(), kEnded);

    ASSERT_EQ(Start(), SUCCESS);
    script.failures = {{"Resize", E_ACCESSDENIED}};
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(*session, 0), ERR_ACCESS_DENIED);
    EXPECT_EQ(Available(), 1);
}

template <typename Unit>
void VideoTest::ExpectPictures(int32_t (*take)(WiaSession*, Unit*, uint64_t*),
                               const std::basic_string<Unit>& picture)
{
    struct Row {
        const char* fault;
        bool buffer;
        int64_t size;  ///< beyond the size needed
        HRESULT platform;
        bool noName;
        int32_t status;
        bool sizeTold, filled;
    };
    constexpr Row rows[] = {
        {"the size counts no terminator", false, -5, S_OK, false, SUCCESS, true, false},
        {"the terminator has no room", true, -1, S_OK, false, ERR_BUFFER_TOO_SMALL, true, false},
        {"a buffer of no characters is filled", true, -999, S_OK, false, ERR_BUFFER_TOO_SMALL, true, false},
        {"an exact buffer is refused", true, 0, S_OK, false, SUCCESS, false, true},
        {"the size changes on success", true, 9, S_OK, false, SUCCESS, false, true},
        {"a failure tells a name", true, 9, WIA_ERROR_OFFLINE, false, ERR_WIA_OFFLINE, false, false},
        {"S_FALSE tells a name", true, 9, S_FALSE, false, RESULT_FALSE, false, false},
        {"no name is read", true, 9, S_OK, true, ERR_WIA_UNEXPECTED, false, false},
    };
    const auto needed = static_cast<int64_t>(picture.size() + 1);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        script.failures = {{"TakePicture", row.platform}};
        script.noName = row.noName;
        std::basic_string<Unit> buffer(static_cast<size_t>(needed + 9), Unit{'#'});
        std::basic_string<Unit> expected = buffer;
        if (row.filled)
            expected.replace(0, picture.size() + 1, picture.c_str(), picture.size() + 1);
        const auto before = static_cast<uint64_t>(std::max<int64_t>(0, needed + row.size));
        uint64_t size = before;
        log.Clear();
        EXPECT_EQ(take(*session, row.buffer ? buffer.data() : nullptr, &size), row.status);
        EXPECT_EQ(size, row.sizeTold ? static_cast<uint64_t>(needed) : before);
        EXPECT_EQ(buffer, expected);
        EXPECT_EQ(Calls(), Texts{"Video.TakePicture"}) << "another picture is taken";
    }
}

TEST_F(VideoTest, TellsThePictureByTheSizeProtocol)
{
    ASSERT_EQ(Start(), SUCCESS);
    ExpectPictures(Vorn_WiaAcquireImageFromVideo, kPicture);
    char* const ansi = KrnAllocAnsiCopy(kPicture.c_str());
    ExpectPictures(Vorn_WiaAcquireImageFromVideoA, std::string{ansi});
    KrnFreeAnsiCopy(ansi);
    EXPECT_EQ(Vorn_WiaAcquireImageFromVideoA(*session, nullptr, nullptr), ERR_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace vorn::test
