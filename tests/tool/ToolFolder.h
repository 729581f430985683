/** Runs of the tool in a folder of the test's own, and what they leave there. */
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "ToolRun.h"
#include "Vornfilx.h"
#include "Vornkrnx.h"

namespace vorn::test {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

/** The two media. Files are the default, so that the option stands for nothing but its place. */
inline constexpr const char* kFiles = "--progress";
inline constexpr const char* kMemory = "--memory";

/** A folder for one test, in which the tool's temporary directory must be empty at the end. */
class Tool : public testing::Test {
protected:
    Tool()
    {
        std::string pattern = (fs::temp_directory_path() / "vornscan-test-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        for (const char* sub : {"out", "tmp"}) {
            fs::create_directory(folder_ / sub);
            fs::permissions(folder_ / sub, fs::perms::all);
        }
        fs::permissions(folder_, fs::perms::all);
    }

    ~Tool() override
    {
        EXPECT_TRUE(fs::is_empty(folder_ / "tmp")) << "the tool left a temporary file";
        fs::permissions(Out(), fs::perms::all);
        fs::remove_all(folder_);
    }

    ToolResult Run(const Arguments& arguments) { return ToolRun{folder_, arguments}.Wait(); }

    /** With so many megabytes of memory for data. */
    ToolResult RunIn(unsigned megabytes, const Arguments& arguments)
    {
        return ToolRun{folder_, arguments, false, megabytes}.Wait();
    }

    /** Starts the tool and waits until it has said this. */
    ToolRun RunUntil(const std::string& text, const Arguments& arguments) const
    {
        fs::remove(folder_ / "stderr");  // of the run before
        ToolRun run{folder_, arguments};
        const auto said = [&] {
            std::ostringstream content;
            content << std::ifstream{folder_ / "stderr"}.rdbuf();
            return content.str().find(text) != std::string::npos;
        };
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (!said() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds{5});
        EXPECT_TRUE(said()) << text;
        return run;
    }

    fs::path Out() const { return folder_ / "out"; }
    Names Files() const
    {
        Names names;
        for (const auto& entry : fs::directory_iterator{Out()})
            names.insert(entry.path().filename());
        return names;
    }

    FilFileInfo Info(const std::string& name) const
    {
        FilFileInfo info{};
        Vorn_A2W wide;
        wide.Convert((Out() / name).c_str());
        EXPECT_EQ(FIL_SUCCESS, FilInfo(wide.Value(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr))
            << name;
        return info;
    }

    void Write(const std::string& name, const std::string& content) const
    {
        std::ofstream{Out() / name} << content;
    }
    std::string Read(const std::string& name) const
    {
        std::ostringstream content;
        content << std::ifstream{Out() / name}.rdbuf();
        return content.str();
    }

    fs::path folder_;
};

/** One line a name: what the tool prints for finished files. */
inline std::string Lines(const std::vector<std::string>& names)
{
    std::string lines;
    for (const std::string& name : names)
        lines += name + "\n";
    return lines;
}

}  // namespace vorn::test
