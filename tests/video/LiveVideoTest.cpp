/** The video object at work: through the exported functions, on the virtual video device, seen on a display. */
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "Screen.h"
#include "Vornkrnx.h"
#include "session/Sessions.h"
#include "wia/virtual/VideoDevice.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;
namespace fs = std::filesystem;

/** A bar of the test pattern, and how much of it there is at least in a picture of that size. */
constexpr uint32_t kYellow = 0xFFFF00;
constexpr size_t YellowIn(Area area)
{
    return static_cast<size_t>(area.width * area.height / 13);
}

/** A picture's file, decoded; the decoder ends the test when it is none. */
Screenshot Decode(const fs::path& file)
{
    const std::string bytes = BytesOf(file);
    jpeg_error_mgr errors;
    jpeg_decompress_struct decoder;
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decoder);
    Screenshot picture{static_cast<int>(decoder.output_width), static_cast<int>(decoder.output_height), {}};
    std::vector<uint8_t> row(size_t{decoder.output_width} * 3);
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW rows[] = {row.data()};
        jpeg_read_scanlines(&decoder, rows, 1);
        for (size_t x = 0; x < row.size(); x += 3)
            picture.pixels.push_back(static_cast<uint32_t>(row[x] << 16 | row[x + 1] << 8 | row[x + 2]));
    }
    EXPECT_EQ(errors.num_warnings, 0) << "the file is damaged";
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return picture;
}

size_t EntriesIn(const char* directory)
{
    return static_cast<size_t>(std::distance(fs::directory_iterator{directory}, {}));
}

class LiveVideoTest : public LibraryTest {
protected:
    LiveVideoTest() { EXPECT_TRUE(display_.Works()) << "Xvfb does not start"; }

    void TearDown() override
    {
        session_.reset();
        devices_.reset();
        LibraryTest::TearDown();
    }

    /** A session on a video device whose pictures go into the test's folder. */
    WiaSession* Open(const DeviceBuilder& device = VirtualVideo())
    {
        session_.reset();
        devices_.reset();
        const DevicePtr built =
            DeviceBuilder{device}
                .RootProperty(Writable(WIA_DPV_IMAGES_DIRECTORY, Value::Text(Wide(Folder()))))
                .Build();
        devices_.emplace(built);
        return session_.emplace(1, WString{built->Id()}.c_str());
    }

    /** The path of a new picture; empty, with the status told, when there is none. */
    static fs::path TakePicture(WiaSession* session, int32_t expected = SUCCESS)
    {
        WCHAR name[VORNWIA_NAME_CHARS] = {};
        uint64_t size = VORNWIA_NAME_CHARS;
        EXPECT_EQ(Vorn_WiaAcquireImageFromVideo(session, name, &size), expected);
        return fs::path{WString{name}};
    }

private:
    Display display_;
    std::optional<ScopedDevices> devices_;
    std::optional<OpenSession> session_;
};

TEST_F(LiveVideoTest, ShowsTheMovingPatternInTheCallersWindowUntilItsEnd)
{
    Window window{400, 300};
    WiaSession* session = Open();
    ASSERT_EQ(Vorn_WiaStartVideoPreview(session, window.Handle(), 1), SUCCESS);

    const auto fills = [](Area area) {
        return [area](const Screenshot& seen) {
            return seen.Drawn() == area && seen.Count(kYellow) >= YellowIn(area);
        };
    };
    const Screenshot first = window.LookUntil(fills({0, 0, 400, 300}));
    EXPECT_EQ(first.Drawn(), (Area{0, 0, 400, 300}));
    for (const uint32_t bar : {0xFFFFFFu, kYellow, 0x00FFFFu, 0x00FF00u, 0xFF00FFu, 0xFF0000u, 0x0000FFu})
        EXPECT_GT(first.Count(bar), 4000u) << "no bar of " << std::hex << bar;
    const Screenshot later =
        window.LookUntil([&](const Screenshot& seen) { return seen.pixels != first.pixels; });
    EXPECT_NE(later.pixels, first.pixels) << "the picture stands still";

    window.Resize(800, 600);
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(session, 1), SUCCESS);
    const Screenshot large = window.LookUntil(fills({0, 0, 800, 600}));
    EXPECT_EQ(large.Drawn(), (Area{0, 0, 800, 600}));
    EXPECT_GE(large.Count(kYellow), YellowIn(large.Drawn())) << "the picture itself did not grow";

    EXPECT_EQ(Vorn_WiaResizeVideoPreview(session, 0), SUCCESS);
    EXPECT_EQ(window.LookUntil(fills({80, 60, 640, 480})).Drawn(), (Area{80, 60, 640, 480}));
    window.Resize(320, 400);
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(session, 0), SUCCESS);
    EXPECT_EQ(window.LookUntil(fills({0, 80, 320, 240})).Drawn(), (Area{0, 80, 320, 240}));

    EXPECT_EQ(Vorn_WiaEndVideoPreview(session), SUCCESS);
    EXPECT_EQ(window.LookUntil(fills({})).Drawn(), Area{}) << "the picture stays after its end";
}

TEST_F(LiveVideoTest, WritesEachPictureUnderANameOfItsOwn)
{
    WriteBytes(Folder() / "Picture.jpg", "somebody's");
    WriteBytes(Folder() / "Picture 2.jpg", "somebody's");
    WiaSession* session = Open();
    ASSERT_EQ(Vorn_WiaStartVideoPreview(session, nullptr, 0), SUCCESS) << "no window";
    const fs::path first = TakePicture(session), second = TakePicture(session);
    EXPECT_EQ(first, Folder() / "Picture 1.jpg");
    EXPECT_EQ(second, Folder() / "Picture 3.jpg");
    EXPECT_EQ(BytesOf(Folder() / "Picture.jpg"), "somebody's");
    EXPECT_EQ(BytesOf(Folder() / "Picture 2.jpg"), "somebody's");
    for (const fs::path& file : {first, second}) {
        const Screenshot picture = Decode(file);
        EXPECT_EQ(picture.width, 640);
        EXPECT_EQ(picture.height, 480);
        EXPECT_GT(picture.Count(kYellow), 20000u);
    }
    EXPECT_NE(BytesOf(first), BytesOf(second)) << "the same frame twice";

    EXPECT_EQ(Vorn_WiaEndVideoPreview(session), SUCCESS);
    EXPECT_EQ(NamesIn(Folder()).size(), 4u);
}

TEST_F(LiveVideoTest, FailsWithTheDevicesError)
{
    const Window window{40, 30};
    const auto bogus = reinterpret_cast<HWND>(uintptr_t{0x7FFFFFF});
    const DeviceBuilder absent = VideoDevice({.id = VORN_TEXT("gone"),
                                              .name = VORN_TEXT("Gone"),
                                              .description = VORN_TEXT("A camera pulled out"),
                                              .path = VORN_TEXT("/dev/no \"such! camera")});
    EXPECT_EQ(Vorn_WiaStartVideoPreview(Open(absent), window.Handle(), 1), ERR_WIA_OFFLINE);
    EXPECT_EQ(Vorn_WiaStartVideoPreview(Open(), bogus, 1), ERR_INVALID_ARGUMENT);

    WiaSession* session = Open();
    const fs::path lost = Folder() / "lost";
    fs::create_directory(lost);
    WiaItemHandle root = nullptr;
    Vorn_WiaGetRootItem(session, nullptr, &root);
    ASSERT_EQ(Vorn_WiaSetPropertyString(session, root, nullptr, WIA_DPV_IMAGES_DIRECTORY, Wide(lost).c_str()),
              SUCCESS);
    ASSERT_EQ(Vorn_WiaStartVideoPreview(session, window.Handle(), 1), SUCCESS);
    fs::remove(lost);
    TakePicture(session, ERR_WIA_DESTINATION);
    EXPECT_EQ(Vorn_WiaStartVideoPreview(session, window.Handle(), 1), ERR_WIA_DESTINATION);
    TakePicture(session, ERR_WIA_UNEXPECTED);
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(session, 1), ERR_WIA_UNEXPECTED);
    EXPECT_EQ(Vorn_WiaEndVideoPreview(session), SUCCESS) << "a failed start cannot be ended";
}

TEST_F(LiveVideoTest, OutlivesTheCallersWindow)
{
    Window window{200, 150};
    WiaSession* session = Open();
    ASSERT_EQ(Vorn_WiaStartVideoPreview(session, window.Handle(), 1), SUCCESS);
    window.Destroy();
    TakePicture(session);
    EXPECT_EQ(Vorn_WiaResizeVideoPreview(session, 1), SUCCESS);
    TakePicture(session);
    EXPECT_EQ(Vorn_WiaEndVideoPreview(session), SUCCESS);
}

TEST_F(LiveVideoTest, PlaysPausesAndHidesAsTheWholeInterfaceSays)
{
    const Window window{200, 150};
    Open();
    ComPtr<IWiaVideo> video;
    ASSERT_EQ(CoCreateInstance(CLSID_WiaVideo, nullptr, CLSCTX_INPROC_SERVER, IID_IWiaVideo, video.OutVoid()),
              S_OK);
    const auto state = [&] {
        WIAVIDEO_STATE now{};
        EXPECT_EQ(video->GetCurrentState(&now), S_OK);
        return now;
    };
    const Bstr folder{Wide(Folder()).c_str()}, name{VORN_TEXT("Virtual Video Device")}, other{VORN_TEXT("x")};
    Bstr picture;
    EXPECT_EQ(video->Play(), E_UNEXPECTED);
    EXPECT_EQ(video->CreateVideoByDevNum(1, window.Handle(), 1, 0), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(video->CreateVideoByName(other.Get(), window.Handle(), 1, 0), WIA_S_NO_DEVICE_AVAILABLE);
    EXPECT_EQ(state(), WIAVIDEO_NO_VIDEO);

    EXPECT_EQ(video->put_ImagesDirectory(folder.Get()), S_OK);
    EXPECT_EQ(video->CreateVideoByName(name.Get(), window.Handle(), 1, 0), S_OK);
    EXPECT_EQ(state(), WIAVIDEO_VIDEO_CREATED);
    EXPECT_EQ(window.Look().Drawn(), Area{}) << "something is shown before it plays";
    EXPECT_EQ(video->put_PreviewVisible(FALSE), S_OK);
    EXPECT_EQ(video->Play(), S_OK);
    EXPECT_EQ(state(), WIAVIDEO_VIDEO_PLAYING);
    EXPECT_EQ(window.Look().Drawn(), Area{}) << "a hidden preview is shown";
    EXPECT_EQ(video->put_PreviewVisible(TRUE), S_OK);
    const auto shown = [](const Screenshot& seen) { return seen.Count(kYellow) != 0; };
    EXPECT_TRUE(shown(window.LookUntil(shown)));

    EXPECT_EQ(video->Pause(), S_OK);
    EXPECT_EQ(state(), WIAVIDEO_VIDEO_PAUSED);
    const std::vector<uint32_t> still = window.Look().pixels;
    EXPECT_EQ(video->TakePicture(picture.Out()), S_OK);
    EXPECT_EQ(window.Look().pixels, still) << "the picture moves on while it is paused";
    EXPECT_EQ(video->Play(), S_OK);
    EXPECT_EQ(video->CreateVideoByDevNum(0, nullptr, 0, 1), S_OK) << "one video cannot follow another";
    EXPECT_EQ(video->TakePicture(picture.Out()), S_OK);
    EXPECT_EQ(NamesIn(Folder()).size(), 2u);
}

TEST_F(LiveVideoTest, LeavesNothingBehindHoweverOftenItIsStarted)
{
    const Window window{200, 150};
    WiaSession* session = Open();
    constexpr size_t kIdleThreads = 10;  // GStreamer keeps a few for its next use, now more, now less
    size_t threads = 0, descriptors = 0;
    uint64_t blocks = 0;
    const auto count = [&] {
        threads = EntriesIn("/proc/self/task");
        descriptors = EntriesIn("/proc/self/fd");
        blocks = KrnTrackedCount();
    };
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(Vorn_WiaStartVideoPreview(session, window.Handle(), i % 2), SUCCESS);
        if (i % 10 == 0)
            TakePicture(session);
        ASSERT_EQ(Vorn_WiaEndVideoPreview(session), SUCCESS);
        if (i == 19)
            count();
    }
    const size_t threadsBefore = threads, descriptorsBefore = descriptors;
    const uint64_t blocksBefore = blocks;
    count();
    EXPECT_LT(threads, threadsBefore + kIdleThreads);
    EXPECT_LE(descriptors, descriptorsBefore);
    EXPECT_EQ(blocks, blocksBefore);
    EXPECT_EQ(window.Look().Drawn(), Area{});
}

TEST(ImagesDirectoryTest, IsLastingAndTheUsersOwn)
{
    const ScratchFolder data;
    setenv("XDG_DATA_HOME", data.Path().c_str(), 1);
    const fs::path directory = data.Path() / "vornwia" / "images";
    {
        const ScopedDevices devices{VirtualVideo().Build()};
        const OpenSession session{1, VORN_TEXT("virtual:video")};
        WCHAR name[VORNWIA_NAME_CHARS] = {};
        uint64_t size = VORNWIA_NAME_CHARS;
        EXPECT_EQ(Vorn_WiaGetPropertyString(session, session.Root(), nullptr, WIA_DPV_IMAGES_DIRECTORY, name,
                                            &size),
                  SUCCESS);
        EXPECT_EQ(fs::path{WString{name}}, directory);
        EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
    }
    EXPECT_TRUE(fs::exists(directory)) << "the pictures are gone with the session";
    unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace vorn::test
