/**
 * @file Files.h
 * Folders and files of a test.
 */
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>

#include "com.h"

namespace vorn::test {

/** A path as the libraries take it. */
inline WString Wide(const std::filesystem::path& path)
{
    return path.string<WCHAR>();
}

/** The names in a folder; empty when there is no such folder. */
inline std::set<std::string> NamesIn(const std::filesystem::path& folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator{folder, error})
        names.insert(entry.path().filename().string());
    return names;
}

/** Files byte for byte. */
inline std::string BytesOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

inline void WriteBytes(const std::filesystem::path& file, std::string_view bytes)
{
    std::ofstream{file, std::ios::binary}.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/**
 * A new folder, removed with the object. Its name has two alphabets and an astral character, so every test proves
 * that such names work; its number keeps tests that run at the same time apart.
 */
class ScratchFolder {
public:
    ScratchFolder()
    {
        const std::filesystem::path name{u"vorn_test_\u00e9\u65e5\U0001f5a8_"};
        do {
            path_ = std::filesystem::temp_directory_path() / name;
            path_ += std::to_string(std::random_device{}());
        } while (!std::filesystem::create_directory(path_));
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace vorn::test
