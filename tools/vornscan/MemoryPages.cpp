#include "MemoryPages.h"

#include <random>

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

/** A name beside `file` that nobody has. */
fs::path Sibling(const fs::path& file)
{
    fs::path name = file.stem();
    name += ".";
    name += std::to_string(std::random_device{}());
    name += ".part";
    return FirstFree(file.parent_path() / name);
}

}  // namespace

MemoryPages::MemoryPages(const Options& options, const Destination& destination)
    : options_{options}, destination_{destination}, format_{SavedAs(*destination.format)}
{
}

fs::path MemoryPages::NextName() const
{
    const size_t saved = files_.size();
    if (options_.batch)
        return ToWide(options_.batch->Name(static_cast<uint64_t>(options_.batchStart) + saved));
    const fs::path named{destination_.wideName};
    return options_.overwrite && saved > 0 ? Numbered(named, saved) : named;
}

void MemoryPages::Save(const BitmapHandle& page)
{
    if (destination_.oneFile && !files_.empty()) {
        Write(file_, page, FIL_SAVE_ADD_PAGE);
    } else if (options_.append) {
        file_ = NextName();
        Write(file_, page, FIL_SAVE_ADD_PAGE);
    } else if (options_.overwrite) {
        file_ = NextName();
        Replace(page);
    } else {
        const fs::path wanted = NextName();
        file_ = FirstFree(wanted);
        Write(file_, page, FIL_SAVE_NEW);
        if (options_.batch && file_ != wanted)
            Say(wanted.string() + " is there already: the page is in " + file_.string());
    }
    files_.push_back(file_.string());
}

void MemoryPages::Replace(const BitmapHandle& page) const
{
    const fs::path sibling = Sibling(file_);
    Write(sibling, page, FIL_SAVE_NEW);
    std::error_code error;
    fs::rename(sibling, file_, error);
    if (!error)
        return;
    const std::string reason = error.message();
    fs::remove(sibling, error);
    throw Failure{ExitCode::InputOutput, file_.string() + " could not be replaced: " + reason};
}

void MemoryPages::Write(const fs::path& file, const BitmapHandle& page, int32_t mode) const
{
    FilSaveOptions how{};
    how.structSize = FIL_SAVE_OPTIONS_SIZE;
    how.jpegQuality = options_.jpegQuality.value_or(0);
    const int32_t status = FilSave(ToWide(file.string()).c_str(), &page, format_, 0, mode,
                                   destination_.compression, &how, nullptr, nullptr);
    if (status != FIL_SUCCESS)
        throw StatusFailure(file_.string(), status);
}

}  // namespace vornscan
