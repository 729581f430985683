#include "PageFiles.h"

#include <cstdio>
#include <random>

#include "Failure.h"
#include "Vornfilx.h"
#include "vornwia.h"

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

/** A link to nothing is there, too. */
bool IsTaken(const fs::path& file)
{
    std::error_code error;
    return fs::symlink_status(file, error).type() != fs::file_type::not_found;
}

/** The file that a name stands for; links need not lead anywhere yet. */
fs::path BehindLinks(fs::path file)
{
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks && fs::is_symlink(file, error); ++i)
        file = file.parent_path() / fs::read_symlink(file, error);
    return file;
}

/** A name in a directory that hardly another file has. */
fs::path DraftIn(const fs::path& directory)
{
    std::random_device random;
    char name[32];
    std::snprintf(name, sizeof name, ".vornwia-%08x%08x", random(), random());
    return directory / name;
}

WideText WideName(const fs::path& file)
{
    return ToWide(file.string());
}

void Remove(const fs::path& file) noexcept
{
    std::error_code error;
    fs::remove(file, error);
}

/** Removes a file at the end, unless it has got its name by then. */
class Remover {
public:
    explicit Remover(const fs::path& file) : file_{file} {}
    Remover(const Remover&) = delete;
    ~Remover() { Remove(file_); }

private:
    const fs::path& file_;
};

void Check(const std::string& file, int32_t status)
{
    if (status != FIL_SUCCESS)
        throw StatusFailure(file, status);
}

}  // namespace

PageFiles::PageFiles(const Options& options, const Destination& destination, const Delivery& delivery)
    : options_{options}, destination_{destination}, delivery_{delivery}, format_{SavedAs(*destination.format)}
{
    // A draft that is read again stays on the disk of the library's own temporary file: nothing is copied in between.
    if (delivery.asIs)
        draft_ = DraftIn(Target(NextName()).parent_path());
    if (!delivery.asIs || WideName(draft_).size() >= VORNWIA_NAME_CHARS)
        draft_ = DraftIn(fs::temp_directory_path());
}

PageFiles::~PageFiles()
{
    Remove(draft_);
}

fs::path PageFiles::NextName() const
{
    const size_t saved = files_.size();
    if (options_.batch)
        return ToPath(options_.batch->Name(static_cast<uint64_t>(options_.batchStart) + saved));
    const fs::path named = ToPath(destination_.fileName);
    return options_.overwrite && saved > 0 ? Numbered(named, saved) : named;
}

fs::path PageFiles::Target(const fs::path& named) const
{
    return options_.append || options_.overwrite ? BehindLinks(named) : named;
}

bool PageFiles::SaveDraft()
{
    std::error_code error;
    if (!fs::exists(draft_, error))
        return false;
    const Remover remover{draft_};
    if (delivery_.asIs)
        Publish(draft_);
    else
        SaveBy([&](const fs::path& file, int32_t mode, const FilSaveOptions* how) {
            return FilSaveFile(WideName(file).c_str(), WideName(draft_).c_str(), format_, mode,
                               destination_.compression, how);
        });
    return true;
}

void PageFiles::Save(const BitmapHandle& page)
{
    SaveBy([&](const fs::path& file, int32_t mode, const FilSaveOptions* how) {
        return FilSave(WideName(file).c_str(), &page, format_, 0, mode, destination_.compression, how,
                       nullptr, nullptr);
    });
}

/** `save` takes a file, and a mode and options of the file library, and answers its status. */
template <typename Saving>
void PageFiles::SaveBy(Saving save)
{
    FilSaveOptions how{};
    how.structSize = FIL_SAVE_OPTIONS_SIZE;
    how.jpegQuality = delivery_.quality;
    const bool later = destination_.oneFile && !files_.empty();
    if (options_.append || later) {
        const fs::path named = later ? ToPath(files_.back()) : NextName();
        Check(named.string(), save(Target(named), FIL_SAVE_ADD_PAGE, &how));
        files_.push_back(named.string());
        return;
    }
    const fs::path named = NextName();
    const fs::path whole = DraftIn(Target(named).parent_path());
    const Remover remover{whole};
    Check(named.string(), save(whole, FIL_SAVE_NEW, &how));
    Publish(whole);
}

void PageFiles::Publish(const fs::path& whole)
{
    const fs::path wanted = NextName();
    const fs::path target = Target(wanted);
    if (target.parent_path() == whole.parent_path())
        return Give(whole, wanted, target);
    const fs::path beside = DraftIn(target.parent_path());  // a name is given on one disk only
    const Remover remover{beside};
    std::error_code error;
    if (!fs::copy_file(whole, beside, error))
        throw Failure{ExitCode::InputOutput, wanted.string() + " could not be written: " + error.message()};
    Give(beside, wanted, target);
}

void PageFiles::Give(const fs::path& whole, const fs::path& wanted, const fs::path& target)
{
    fs::path name = wanted;
    if (options_.overwrite) {
        Check(wanted.string(),
              FilMoveFile(WideName(whole).c_str(), WideName(target).c_str(), FIL_SAVE_REPLACE));
    } else {
        // Another process may take a name at any moment: whether it is free is known only when it is ours.
        const auto take = [&] {
            return FilMoveFile(WideName(whole).c_str(), WideName(name).c_str(), FIL_SAVE_NEW);
        };
        int32_t status = take();
        for (size_t number = 1; status == FIL_ERR_ACCESS && IsTaken(name); ++number) {
            name = Numbered(wanted, number);
            status = take();
        }
        Check(name.string(), status);
    }
    files_.push_back(name.string());
    if (options_.batch && name != wanted)
        Say(wanted.string() + " is there already: the page is in " + name.string());
}

}  // namespace vornscan
