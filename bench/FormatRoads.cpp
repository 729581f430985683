/*
 * Files of each format, saved and loaded by the file library and by the bare codec.
 */
#include <cstring>
#include <memory>
#include <stdexcept>

#include "BareCodecs.h"
#include "Desk.h"
#include "FormatPages.h"
#include "Roads.h"
#include "Seconds.h"
#include "Vornfilx.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;

void Require(int32_t status, const char* step)
{
    if (status != FIL_SUCCESS)
        throw std::runtime_error{std::string{step} + " answers " + std::to_string(status)};
}

/** A page as a file of one format, where the library writes it and where the bare codec does. */
class SavedPage {
public:
    SavedPage(const FormatPage& page, const BareCodec& codec) : page_{page}, codec_{codec}
    {
        std::string name = (fs::temp_directory_path() / "bench-vornwia-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error{"cannot create " + name};
        folder_ = name;
        Save();
        codec.save(page.bitmap, BareFile());
        sizeRatio_ =
            static_cast<double>(fs::file_size(File())) / static_cast<double>(fs::file_size(BareFile()));
        if (codec.lossless)
            RequireThePage();
    }
    SavedPage(const SavedPage&) = delete;
    SavedPage& operator=(const SavedPage&) = delete;
    ~SavedPage()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    void Save() const
    {
        Require(FilSave(Wide(File()).c_str(), &page_.bitmap, codec_.format, 0, FIL_SAVE_NEW,
                        codec_.compression, nullptr, nullptr, nullptr),
                "FilSave");
    }
    void Load() const
    {
        BitmapHandle loaded{};
        Require(
            FilLoad(Wide(File()).c_str(), &loaded, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, nullptr, nullptr),
            "FilLoad");
        KrnFreeBitmap(&loaded);
    }
    void BareSave() const { codec_.save(page_.bitmap, BareFile()); }
    void BareLoad() const { codec_.load(page_.bitmap, File()); }

    fs::path File() const { return folder_ / "library"; }
    fs::path BareFile() const { return folder_ / "bare"; }
    double SizeRatio() const { return sizeRatio_; }

private:
    void RequireThePage() const
    {
        BitmapHandle loaded{};
        Require(
            FilLoad(Wide(File()).c_str(), &loaded, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, nullptr, nullptr),
            "FilLoad");
        const bool same = loaded.imageBytes == page_.bitmap.imageBytes &&
                          std::memcmp(loaded.image, page_.bitmap.image, loaded.imageBytes) == 0;
        KrnFreeBitmap(&loaded);
        if (!same)
            throw std::runtime_error{std::string{codec_.name} + " files hold another page than was saved"};
    }

    const FormatPage& page_;
    const BareCodec& codec_;
    fs::path folder_;
    double sizeRatio_ = 0;
};

constexpr double kAim = 1.05;

Road SaveRoad(const std::string& name, const std::shared_ptr<SavedPage>& page, const BareCodec& codec)
{
    Road road;
    road.name = name + " save";
    road.unavoidable = codec.saveIs;
    road.aim = kAim;
    road.sizeRatio = page->SizeRatio();
    road.run = [page] {
        fs::remove(page->File());
        return Seconds([&] { page->Save(); });
    };
    road.baseline = [page] {
        fs::remove(page->BareFile());
        return Seconds([&] { page->BareSave(); });
    };
    return road;
}

Road LoadRoad(const std::string& name, const std::shared_ptr<SavedPage>& page, const BareCodec& codec)
{
    Road road;
    road.name = name + " load";
    road.unavoidable = codec.loadIs;
    road.aim = kAim;
    road.run = [page] { return Seconds([&] { page->Load(); }); };
    road.baseline = [page] { return Seconds([&] { page->BareLoad(); }); };
    return road;
}

std::vector<const FormatPage*> PagesOf(const BareCodec& codec)
{
    switch (codec.pages) {
        case Pages::Noisy:
            return {&NoisyPage()};
        case Pages::Clean:
            return {&CleanPage()};
        case Pages::Photo:
            return {&PhotoPage()};
        case Pages::Grey:
            return {&GreyPage()};
        case Pages::BlackAndWhite:
            return {&BlackAndWhitePage()};
        default:
            return {&NoisyPage(), &CleanPage(), &FlatPage()};
    }
}

}  // namespace

std::vector<Road> FormatRoads()
{
    std::vector<Road> roads;
    for (const BareCodec& codec : BareCodecs())
        for (const FormatPage* page : PagesOf(codec)) {
            const std::string name =
                codec.pages == Pages::All ? std::string{codec.name} + ' ' + page->name : codec.name;
            const auto saved = std::make_shared<SavedPage>(*page, codec);
            roads.push_back(SaveRoad(name, saved, codec));
            if (codec.load)
                roads.push_back(LoadRoad(name, saved, codec));
        }
    return roads;
}

}  // namespace vorn::bench
