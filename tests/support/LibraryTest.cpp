#include "LibraryTest.h"

#include <fstream>
#include <sstream>

#include "Vornkrnx.h"
#include "comobject.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

fs::path TemporaryDirectory()
{
    WCHAR name[VORNWIA_NAME_CHARS] = {};
    GetTempPathW(VORNWIA_NAME_CHARS, name);
    return fs::path{WString{name}};
}

std::string TrackedReport()
{
    std::string report;
    KrnReportTracked(
        [](const char* line, void* text) { *static_cast<std::string*>(text) += std::string{line} + "\n"; },
        &report);
    return report;
}

}  // namespace

WString Wide(const fs::path& path)
{
#ifdef _WIN32
    return path.wstring();
#else
    return path.u16string();
#endif
}

std::string Narrow(const WCHAR* text)
{
    char* copy = KrnAllocAnsiCopy(text);
    std::string narrow{copy ? copy : ""};
    KrnFreeAnsiCopy(copy);
    return narrow;
}

std::set<std::string> NamesIn(const fs::path& folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator{folder, error})
        names.insert(entry.path().filename().string());
    return names;
}

std::string BytesOf(const fs::path& file)
{
    std::ostringstream bytes;
    bytes << std::ifstream{file, std::ios::binary}.rdbuf();
    return bytes.str();
}

void WriteBytes(const fs::path& file, std::string_view bytes)
{
    std::ofstream{file, std::ios::binary}.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

LibraryTest::LibraryTest() : trackedBefore_{KrnTrackedCount()}, objectsBefore_{LiveObjects::Count()} {}

LibraryTest::~LibraryTest()
{
    std::error_code ignored;
    if (!folder_.empty())
        fs::remove_all(folder_, ignored);
}

void LibraryTest::TearDown()
{
    EXPECT_EQ(KrnTrackedCount(), trackedBefore_) << TrackedReport();
    EXPECT_EQ(LiveObjects::Count(), objectsBefore_);
    // A 1.0 transfer leaves its temporary file to the next one; nothing else may stay.
    std::set<std::string> left = TemporaryFiles();
    left.erase("WiaTempFile.tmp");
    EXPECT_TRUE(left.empty()) << "left behind: " << *left.begin();
    std::error_code ignored;
    fs::remove(TemporaryDirectory() / "WiaTempFile.tmp", ignored);
}

const fs::path& LibraryTest::Folder()
{
    if (folder_.empty()) {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        const std::string name = std::string{test->test_suite_name()} + "." + test->name();
        std::string safe;
        for (const char c : name)
            safe += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        folder_ = fs::temp_directory_path() /
                  ("vornwia_" + safe + "_" + std::to_string(reinterpret_cast<uintptr_t>(this)));
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    return folder_;
}

std::set<std::string> LibraryTest::TemporaryFiles()
{
    return NamesIn(TemporaryDirectory());
}

}  // namespace vorn::test
