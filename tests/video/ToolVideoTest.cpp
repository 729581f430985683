/** The tool's live video: its window, its keys, its pictures, and what it says when there are none. */
#include <X11/keysym.h>

#include "Screen.h"
#include "support/LibraryTest.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

class ToolVideoTest : public LibraryTest {
protected:
    ToolVideoTest()
    {
        for (const char* sub : {"out", "tmp", "data"})
            fs::create_directory(Folder() / sub);
        setenv("XDG_DATA_HOME", (Folder() / "data").c_str(), 1);
    }
    ~ToolVideoTest() override { unsetenv("XDG_DATA_HOME"); }

    ToolRun Start(const Arguments& arguments) { return {Folder(), Arguments{"--video"} + arguments}; }
    std::set<std::string> Pictures() { return NamesIn(Folder() / "out"); }
};

TEST_F(ToolVideoTest, ShowsAWindowWithTheDevicesNameAndObeysItsKeys)
{
    const Display display;
    ASSERT_TRUE(display.Works());
    ToolRun tool = Start({"--picture", "shot.jpg"});
    const Viewer viewer;
    const uint32_t window = viewer.Find("Virtual Video Device");
    ASSERT_NE(window, 0u) << "no window of that title";
    for (int i = 0; i < 2; ++i)
        viewer.Press(window, XK_space);
    viewer.Press(window, XK_q);
    const ToolResult result = tool.Wait();
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "shot.jpg\nshot (1).jpg\n");
    EXPECT_EQ(Pictures(), (std::set<std::string>{"shot.jpg", "shot (1).jpg"}));
    EXPECT_EQ(NamesIn(Folder() / "data/vornwia/images"), std::set<std::string>{}) << "a copy stays behind";
}

TEST_F(ToolVideoTest, TakesAPictureWithoutADisplayOrSaysWhyNot)
{
    struct Row {
        Arguments arguments;
        int exitCode;
        const char* says;
        std::set<std::string> pictures = {"old.jpg"};
    };
    const Row rows[] = {
        {{"--picture", "new.jpg"}, 0, "", {"new.jpg", "old.jpg"}},
        {{"--picture", "old.jpg"}, 9, "old.jpg is there already; name another file"},
        {{"--picture", "gone/new.jpg"}, 9, "there is no directory gone; create it first"},
        {{"--picture", "new.png"}, 1, "pictures of video are JPEG files; use .jpg"},
        {{"--picture", "new.jpg", "-d", "virtual:scanner"}, 1, "this device has no live video"},
        {{}, 1, "there is no display to show the video on"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.says);
        fs::remove(Folder() / "out/new.jpg");
        WriteBytes(Folder() / "out/old.jpg", "old");
        const ToolResult result = Start(row.arguments).Wait();
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_NE(result.err.find(row.says), std::string::npos) << result.err;
        EXPECT_EQ(Pictures(), row.pictures);
        EXPECT_EQ(BytesOf(Folder() / "out/old.jpg"), "old");
    }
    EXPECT_EQ(Start({"--picture", "old.jpg", "--overwrite"}).Wait().exitCode, 0);
    EXPECT_NE(BytesOf(Folder() / "out/old.jpg"), "old");

    // Without GStreamer's plug-ins.
    setenv("GST_PLUGIN_SYSTEM_PATH_1_0", Folder().c_str(), 1);
    setenv("GST_REGISTRY_1_0", (Folder() / "registry").c_str(), 1);
    const ToolResult result = Start({"--picture", "new.jpg", "--overwrite"}).Wait();
    unsetenv("GST_PLUGIN_SYSTEM_PATH_1_0");
    unsetenv("GST_REGISTRY_1_0");
    EXPECT_EQ(result.exitCode, 9);
    EXPECT_NE(result.err.find("install gstreamer1.0-plugins-base"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace vorn::test
