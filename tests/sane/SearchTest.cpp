// The search for scanners as a user of the tool sees it: what it finds, and what is said when it fails.

#include "ScannerDesk.h"
#include "tool/ToolRun.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

class SearchTest : public ScannerTest {
protected:
    SearchTest() { fs::create_directory(Folder() / "out"); }

    ToolResult Run(const Arguments& arguments) { return ToolRun{Folder(), arguments}.Wait(); }
};

TEST_F(SearchTest, ASearchThatFailsIsSaidWithWhatWasFound)
{
    // The platform library under another name, beside which the search program is looked for.
    const fs::path libraries = Folder() / "lib";
    fs::create_directories(libraries / "vornwia");
    const std::string name = fs::path{VORN_PLATFORM}.filename();
    fs::create_symlink(VORN_PLATFORM, libraries / name);
    setenv("LD_LIBRARY_PATH", libraries.c_str(), 1);

    const std::string found = R"(printf 'usb:1\0Maker\0Model\0flatbed scanner\0')";
    struct Case {
        const char* fault;
        std::string script;
        int exitCode;
        const char* listed;
        const char* said;
    };
    const Case cases[] = {
        {"a complete search", found, 0, "usb:1\t", ""},
        {"no search program", "", 9, "", "cannot be started"},
        {"one whose libraries are missing", "exit 127", 9, "", "cannot be started"},
        {"one that fails", "exit 1", 9, "", "scanners may be missing"},
        {"one that crashes once it has listed", found + "; kill -SEGV $$", 9, "usb:1\t", "may be missing"},
        {"a driver of the network that crashes", R"([ "$1" = all ] && kill -SEGV $$; )" + found, 9, "usb:1\t",
         "may be missing"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.fault);
        const fs::path program = libraries / "vornwia/find-scanners";
        fs::remove(program);
        if (!row.script.empty()) {
            WriteBytes(program, "#!/bin/sh\n" + row.script + "\n");
            fs::permissions(program, fs::perms::owner_all);
        }
        const ToolResult result = Run({"-L"});
        EXPECT_EQ(result.exitCode, row.exitCode);
        EXPECT_EQ(result.out.find(row.listed), 0u) << result.out;
        EXPECT_NE(result.out.find("virtual:scanner\t"), std::string::npos) << "the other devices are listed";
        EXPECT_NE(result.err.find(row.said), std::string::npos) << result.err;
        EXPECT_EQ(result.err.empty(), row.exitCode == 0) << result.err;
    }
    unsetenv("LD_LIBRARY_PATH");
}

TEST_F(SearchTest, TheEnvironmentNamesTheScannerOfThoseWhoNameNone)
{
    struct Case {
        const char* usual;
        Arguments arguments;
        int exitCode;
        const char* said;
    };
    const Case cases[] = {
        {"", {}, 0, "scanning with Noname frontend-tester (test:0)\n"},
        {"virtual:compact", {}, 0, "scanning with virtual:compact\n"},
        {"gone", {}, 1, "SANE_DEFAULT_DEVICE: no device is called 'gone'"},
        {"gone", {"-d", "test:0"}, 0, ""},
        {"gone", {"--virtual"}, 0, "(virtual:scanner)\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.said);
        setenv("SANE_DEFAULT_DEVICE", row.usual, 1);
        const ToolResult result = Run(row.arguments + Arguments{"-n"});
        EXPECT_EQ(result.exitCode, row.exitCode) << result.err;
        EXPECT_NE(result.err.find(row.said), std::string::npos) << result.err;
    }
    unsetenv("SANE_DEFAULT_DEVICE");
}

}  // namespace
}  // namespace vorn::test
