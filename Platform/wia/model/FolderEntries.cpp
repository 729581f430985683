#include "FolderEntries.h"

#include <memory>
#include <new>
#ifdef _WIN32
#include <windows.h>
#else
#include <dirent.h>

#include <cerrno>
#include <string_view>
#endif

namespace vorn::wia {

#ifdef _WIN32

std::vector<std::filesystem::path> FolderEntries(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> entries;
    WIN32_FIND_DATAW entry{};
    const HANDLE search = FindFirstFileW((folder / L"*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return entries;
    const std::unique_ptr<void, decltype(&FindClose)> close{search, FindClose};
    do {
        if (const std::wstring_view name = entry.cFileName; name != L"." && name != L"..")
            entries.push_back(folder / name);
    } while (FindNextFileW(search, &entry));
    return entries;
}

#else

std::vector<std::filesystem::path> FolderEntries(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> entries;
    struct Close {
        void operator()(DIR* directory) const noexcept { closedir(directory); }
    };
    const std::unique_ptr<DIR, Close> directory{opendir(folder.c_str())};
    if (!directory && errno == ENOMEM)
        throw std::bad_alloc{};
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr)
        if (const std::string_view name = entry->d_name; name != "." && name != "..")
            entries.push_back(folder / name);
    return entries;
}

#endif

}  // namespace vorn::wia
