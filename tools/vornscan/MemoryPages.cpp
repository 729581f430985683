#include "MemoryPages.h"

#include "Failure.h"
#include "Vornfilx.h"

namespace vornscan {
namespace {

namespace fs = std::filesystem;

/** "page.tif" with number 2 is "page (2).tif". */
fs::path Numbered(const fs::path& file, size_t number)
{
    fs::path name = file.stem();
    name += " (" + std::to_string(number) + ")";
    name += file.extension();
    return file.parent_path() / name;
}

fs::path FirstFree(const fs::path& file)
{
    fs::path candidate = file;
    for (size_t number = 1; fs::exists(candidate); ++number)
        candidate = Numbered(file, number);
    return candidate;
}

}  // namespace

MemoryPages::MemoryPages(const Options& options, const Destination& destination)
    : options_{options}, destination_{destination}
{
}

fs::path MemoryPages::NextFile() const
{
    fs::path named{destination_.wideName};
    const bool oneFile = options_.multiPage || options_.append;
    if (oneFile && !files_.empty())
        return file_;
    if (options_.append)
        return named;
    if (!options_.overwrite)
        return FirstFree(named);
    fs::path file = files_.empty() ? named : Numbered(named, files_.size());
    fs::remove(file);
    return file;
}

void MemoryPages::Save(const BitmapHandle& page)
{
    file_ = NextFile();
    const int32_t mode = options_.multiPage || options_.append ? FIL_SAVE_ADD_PAGE : FIL_SAVE_NEW;
    const int32_t status = FilSave(ToWide(file_.string()).c_str(), &page, destination_.format->filFormat, 0,
                                   mode, FIL_COMPRESSION_DEFAULT, nullptr, nullptr, nullptr);
    if (status != FIL_SUCCESS)
        throw StatusFailure(file_.string(), status);
    files_.push_back(file_.string());
}

}  // namespace vornscan
