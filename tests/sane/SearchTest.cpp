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
    struct Case {
        const char* fault;
        const char* deed;  ///< of a driver in the search of the network
        const char* listed;
        const char* said;
    };
    const Case cases[] = {
        {"a complete search", "", "test:0\t", ""},
        {"a driver that crashes", "crash", "test:0\t", "scanners may be missing"},
        {"a driver that ends its process", "exit", "test:0\t", "scanners may be missing"},
        {"a driver that prints", "print", "test:0\t", ""},
    };
    setenv("LD_LIBRARY_PATH", VORN_BACK_ENDS, 1);
    const std::string usual = BytesOf(SaneFolder() / "dll.conf");
    WriteBytes(SaneFolder() / "dll.conf", "test\nmisbehaving\n");
    const auto expect = [&](const Case& row) {
        SCOPED_TRACE(row.fault);
        const ToolResult result = Run({"-L"});
        EXPECT_EQ(result.exitCode, *row.said ? 9 : 0);
        EXPECT_EQ(result.out.find(row.listed), 0u) << result.out;
        EXPECT_EQ(result.out.find("said on"), std::string::npos);
        EXPECT_NE(result.out.find("virtual:scanner\t"), std::string::npos) << "the other devices are listed";
        EXPECT_NE(result.err.find(row.said), std::string::npos) << result.err;
        EXPECT_EQ(result.err.empty(), !*row.said) << result.err;
    };
    for (const Case& row : cases) {
        WriteBytes(SaneFolder() / "search", row.deed);
        expect(row);
    }
    fs::remove(SaneFolder() / "search");
    WriteBytes(SaneFolder() / "dll.conf", usual);

    // The platform library under another name, beside which the driver host is looked for.
    const fs::path libraries = Folder() / "lib", host = libraries / "vornwia/sane-host";
    fs::create_directories(libraries / "vornwia");
    fs::create_symlink(VORN_PLATFORM, libraries / fs::path{VORN_PLATFORM}.filename());
    setenv("LD_LIBRARY_PATH", libraries.c_str(), 1);
    expect({"no driver host", "", "", "cannot be started"});
    WriteBytes(host, "#!/bin/sh\nexit 127\n");
    fs::permissions(host, fs::perms::owner_all);
    expect({"one whose libraries are missing", "", "", "cannot be started"});
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
