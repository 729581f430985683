/**
 * @file LibraryTest.h
 * The fixture of tests that use the library: after each one nothing is tracked, no object lives, and the
 * temporary directory is as it was.
 */
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Files.h"
#include "com.h"
#include "vornwia.h"

namespace vorn::test {

/** A wide text as the test program prints it. */
std::string Narrow(const WCHAR* text);

class LibraryTest : public ::testing::Test {
protected:
    LibraryTest();
    void TearDown() override;

    /** A folder of this test's own, made on first use and removed after it. */
    const std::filesystem::path& Folder();

    /** The process's temporary directory, and what the library keeps there now. */
    static std::filesystem::path TemporaryDirectory();
    static std::set<std::string> TemporaryFiles();

private:
    uint64_t trackedBefore_;
    int64_t objectsBefore_;
    std::optional<ScratchFolder> folder_;
};

}  // namespace vorn::test
