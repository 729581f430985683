#include "LibraryTest.h"

#include "Vornkrnx.h"
#include "comobject.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

std::string TrackedReport()
{
    std::string report;
    KrnReportTracked(
        [](const char* line, void* text) { *static_cast<std::string*>(text) += std::string{line} + "\n"; },
        &report);
    return report;
}

}  // namespace

std::string Narrow(const WCHAR* text)
{
#ifdef _WIN32
    // In UTF-8, as the texts that tests expect, whatever the code page.
    std::string narrow(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr)), 0);
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), static_cast<int>(narrow.size()), nullptr,
                        nullptr);
    if (!narrow.empty())
        narrow.pop_back();
#else
    char* copy = KrnAllocAnsiCopy(text);
    std::string narrow{copy ? copy : ""};
    KrnFreeAnsiCopy(copy);
#endif
    return narrow;
}

LibraryTest::LibraryTest() : trackedBefore_{KrnTrackedCount()}, objectsBefore_{LiveObjects::Count()} {}

void LibraryTest::TearDown()
{
    EXPECT_EQ(KrnTrackedCount(), trackedBefore_) << TrackedReport();
    EXPECT_EQ(LiveObjects::Count(), objectsBefore_);
    // A 1.0 transfer leaves its temporary file to the next one; nothing else may stay.
    std::set<std::string> left = TemporaryFiles();
    left.erase("WiaTempFile.tmp");
    left.erase(".vornwia-lock");
    EXPECT_TRUE(left.empty()) << "left behind: " << *left.begin();
    std::error_code ignored;
    fs::remove(TemporaryDirectory() / "WiaTempFile.tmp", ignored);
}

const fs::path& LibraryTest::Folder()
{
    if (!folder_)
        folder_.emplace();
    return folder_->Path();
}

fs::path LibraryTest::TemporaryDirectory()
{
    WCHAR name[VORNWIA_NAME_CHARS] = {};
    GetTempPathW(VORNWIA_NAME_CHARS, name);
    return fs::path{WString{name}};
}

std::set<std::string> LibraryTest::TemporaryFiles()
{
    std::set<std::string> names = NamesIn(TemporaryDirectory());
    // Where the directory is the user's, tests have their own folders in it.
    std::erase_if(names, [](const std::string& name) { return name.starts_with("vorn_test_"); });
    return names;
}

}  // namespace vorn::test
