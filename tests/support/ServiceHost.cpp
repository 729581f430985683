// On Windows our service is no part of the system: the test program announces it, so that the library under test
// finds it where it looks for the system's. The directory for temporary files, which Windows shares among the user's
// programs, is this program's own: several may run at a time.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "wia/Service.h"

namespace {

class ServiceHost : public testing::Environment {
    void SetUp() override
    {
        temporary_ = std::filesystem::temp_directory_path() /
                     ("vorn_process_" + std::to_string(GetCurrentProcessId()));
        std::filesystem::create_directories(temporary_ / "tmp");
        SetEnvironmentVariableW(L"TMP", (temporary_ / "tmp").c_str());
        ASSERT_GE(CoInitialize(nullptr), 0);
        ASSERT_EQ(vorn::wia::RegisterClasses(), S_OK);
    }

    void TearDown() override
    {
        vorn::wia::RevokeClasses();
        CoUninitialize();
        std::error_code ignored;
        std::filesystem::remove_all(temporary_, ignored);
    }

    std::filesystem::path temporary_;
};

[[maybe_unused]] const auto* const host = testing::AddGlobalTestEnvironment(new ServiceHost);

}  // namespace
