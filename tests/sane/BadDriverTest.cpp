// Drivers at their worst: the caller gets a status in bounded time, the tool says what happened to which scanner, and the
// next opening works.

#include "ScannerDesk.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class BadDriverTest : public ScannerTest {
protected:
    void SetUp() override
    {
        ScannerTest::SetUp();
        setenv("LD_LIBRARY_PATH", VORN_BACK_ENDS, 1);
    }
    void TearDown() override
    {
        unsetenv("LD_LIBRARY_PATH");
        ScannerTest::TearDown();
    }

    static WString Device(const std::string& name)
    {
        fs::remove(SaneFolder() / ("shown-" + name));
        return Wide("misbehaving:" + name);
    }

    /** The tool with a folder of its own, so that several run side by side. */
    ToolRun Tool(const std::string& name, const Arguments& arguments)
    {
        const fs::path folder = Folder() / name;
        fs::create_directories(folder / "out");
        fs::create_directories(folder / "tmp");
        return {folder, arguments};
    }
};

struct DeedCase {
    std::string device;
    int exitCode;
    std::string sentence;  ///< of the failure; empty when the tool does not notice
};

TEST_F(BadDriverTest, WhateverADriverDoesEndsWithItsHost)
{
    const std::string crashed = "the driver ended unexpectedly";
    const DeedCase kCases[] = {
        {"open-crash", 9, crashed},
        {"open-exit", 9, crashed},
        {"open-hang", 9, "switched off"},
        {"open-print", 0, ""},
        {"open-close", 0, ""},
        {"open-change", 0, ""},
        {"open-fork", 0, ""},
        {"describe-crash", 9, crashed},
        {"describe-spin", 9, "switched off"},
        {"get-abort", 9, crashed},
        {"set-crash", 0, ""},
        {"set-hang", 0, ""},  // the tool writes it once more
        {"parameters-crash", 9, crashed},
        {"start-exit", 9, crashed},
        {"start-allocate", 9, "memory"},
        {"read-crash", 9, crashed},
        {"read-print", 0, ""},
        {"read-close", 0, ""},
        {"cancel-crash", 0, ""},
        {"cancel-hang", 0, ""},
        {"close-crash", 0, ""},
        {"close-spin", 0, ""},
        {"exit-abort", 0, ""},
        {"exit-hang", 0, ""},
    };
    const auto begin = Clock::now();
    std::vector<ToolRun> runs;
    for (const DeedCase& row : kCases)
        runs.push_back(Tool(row.device, {"-d", Narrow(Device(row.device).c_str()), "--resolution", "50",
                                         "--json", "-o", "a.bmp"}));
    for (size_t i = 0; i < runs.size(); ++i) {
        const DeedCase& row = kCases[i];
        SCOPED_TRACE(row.device);
        const ToolResult result = runs[i].Wait();
        EXPECT_EQ(result.exitCode, row.exitCode) << result.err;
        EXPECT_EQ(result.out.find("said on"), std::string::npos) << "a driver's words in the tool's output";
        // A sanitizer has an address space of its own size.
        if (!row.sentence.empty() && (ToolRun::kBounded || row.device != "start-allocate")) {
            EXPECT_NE(result.err.find(row.sentence), std::string::npos) << result.err;
            EXPECT_NE(result.err.find("misbehaving:" + row.device), std::string::npos) << result.err;
        }
        EXPECT_EQ(fs::exists(Folder() / row.device / "out/a.bmp"), row.exitCode == 0);
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds{60});
    for (const DeedCase& row : kCases) {
        const ToolResult again = Tool(row.device, {"-d", "misbehaving:" + row.device, "-o", "b.bmp"}).Wait();
        EXPECT_EQ(again.exitCode, 0) << row.device << ": " << again.err;
    }
}

struct ValueCase {
    std::string device;
    int32_t status = SUCCESS;
    uint32_t height = 64;
};

TEST_F(BadDriverTest, WhatADriverSaysIsCheckedLikeDataFromOutside)
{
    const ValueCase kCases[] = {
        {"count-huge"},
        {"count-negative"},
        {"size-zero"},
        {"size-negative"},
        {"size-huge"},
        {"size-odd"},
        {"type-unknown"},
        {"name-null"},
        {"name-endless"},
        {"list-null"},
        {"list-huge"},
        {"list-negative"},
        {"range-reversed"},
        {"range-null"},
        {"texts-null"},
        {"texts-of-number"},
        {"value-endless"},
        {"info-garbage"},
        {"lines-unknown"},
        {"lines-announced", SUCCESS, 10},
        {"lines-endless", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"lines-none", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"line-short", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"line-negative", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"line-huge", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"pixels-negative", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"pixels-huge", ERR_WIA_INVALID_DRIVER_RESPONSE},
        {"depth-unknown", ERR_WIA_INCORRECT_HARDWARE_SETTING},
        {"frame-unknown", ERR_WIA_INCORRECT_HARDWARE_SETTING},
        {"data-negative", ERR_WIA_INCORRECT_HARDWARE_SETTING},
        {"data-more", ERR_WIA_INCORRECT_HARDWARE_SETTING},
        {"data-error-with-length", ERR_WIA_PAPER_JAM},
    };
    for (const ValueCase& row : kCases) {
        for (const uint32_t generation : {1u, 2u}) {
            SCOPED_TRACE(row.device + " " + std::to_string(generation));
            ScannerDesk desk{generation, false, Device(row.device).c_str()};
            Notes notes;
            EXPECT_EQ(desk.Acquire("", notes), row.status);
            const std::vector<SeenPage> pages = Pages("", notes);
            ASSERT_EQ(pages.size(), row.status == SUCCESS ? 1u : 0u);
            if (!pages.empty()) {
                EXPECT_EQ(pages[0].height, row.height);
            }
            Notes next;
            EXPECT_EQ(ScannerDesk(generation, false).Acquire("", next), SUCCESS) << "another device";
        }
    }
}

}  // namespace
}  // namespace vorn::test
