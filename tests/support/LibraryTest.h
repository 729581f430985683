/**
 * @file LibraryTest.h
 * The fixture of tests that use the library: after each one nothing is tracked, no object lives, and the
 * temporary directory is as it was.
 */
#pragma once

#include <filesystem>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "com.h"
#include "vornwia.h"

namespace vorn::test {

/** A path as the library takes it. */
WString Wide(const std::filesystem::path& path);

/** A wide text as the test program prints it. */
std::string Narrow(const WCHAR* text);

/** The names in a folder; empty when there is no such folder. */
std::set<std::string> NamesIn(const std::filesystem::path& folder);

/** Files byte for byte. */
std::string BytesOf(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, std::string_view bytes);

class LibraryTest : public ::testing::Test {
protected:
    LibraryTest();
    ~LibraryTest() override;
    void TearDown() override;

    /** A folder of this test's own, made on first use and removed after it. */
    const std::filesystem::path& Folder();

    /** What the library keeps in the process's temporary directory now. */
    static std::set<std::string> TemporaryFiles();

private:
    uint64_t trackedBefore_;
    int64_t objectsBefore_;
    std::filesystem::path folder_;
};

}  // namespace vorn::test
