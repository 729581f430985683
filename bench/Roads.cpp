#include "Roads.h"

#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "Baselines.h"
#include "Desk.h"
#include "ReadyPage.h"
#include "Seconds.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;
using wia::Generation;

/** A run that is shorter than the time the scheduler gives it is rarely interrupted. */
constexpr int kReads = 10000;

Road MemoryRoad(Generation generation, REFGUID format, int copies, Memory memory)
{
    const auto desk = std::make_shared<Desk>(generation);
    desk->Prepare(format, TYMED_CALLBACK);
    desk->TakeBitmap(Desk::Check::Pixels);
    Road road;
    road.name = generation == Generation::One ? "memory 1.0" : "memory 2.0";
    road.unavoidable = memory == Memory::Malloc ? "malloc, memcpy" : "huge pages, memcpy";
    if (copies > 1)
        road.unavoidable += ", twice";
    road.run = [desk] { return Seconds([&] { desk->TakeBitmap(Desk::Check::Size); }); };
    road.baseline = [copies, memory] {
        return Seconds([&] { CopyToFreshMemory(ReadyPixels(), copies, memory); });
    };
    return road;
}

/** Where road and baseline write: the place of the library's temporary files, and beside it one's own. */
class OutputFolder {
public:
    OutputFolder()
    {
        WCHAR name[VORNWIA_NAME_CHARS] = {};
        GetTempPathW(VORNWIA_NAME_CHARS, name);
        temporary_ = fs::path{name};
        folder_ = temporary_.parent_path();
        folder_ += ".bench";
        fs::create_directory(folder_);
    }
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;
    ~OutputFolder()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    fs::path Temporary() const { return temporary_ / "Baseline.tmp"; }
    fs::path Output() const { return folder_ / "page.bmp"; }
    fs::path Copy() const { return folder_ / "baseline.bmp"; }

private:
    fs::path temporary_, folder_;
};

void RequireThePage(const fs::path& file)
{
    const auto pixels = ReadyPixels();
    std::vector<char> rows(pixels.size());
    std::ifstream stream{file, std::ios::binary};
    stream.seekg(-static_cast<std::streamoff>(rows.size()), std::ios::end);
    stream.read(rows.data(), static_cast<std::streamsize>(rows.size()));
    if (!stream || std::memcmp(rows.data(), pixels.data(), pixels.size()) != 0)
        throw std::runtime_error{"Vorn_WiaAcquire writes another page than the device has"};
}

Road FileRoad(Generation generation, const std::shared_ptr<OutputFolder>& folder)
{
    const auto desk = std::make_shared<Desk>(generation);
    desk->Prepare(WiaImgFmt_BMP, TYMED_FILE);
    desk->TakeFile(folder->Output());
    RequireThePage(folder->Output());
    fs::remove(folder->Output());
    Road road;
    road.name = generation == Generation::One ? "file 1.0" : "file 2.0";
    road.unavoidable = "write and copy_file_range";
    road.run = [desk, folder] {
        const double seconds = Seconds([&] { desk->TakeFile(folder->Output()); });
        fs::remove(folder->Output());
        return seconds;
    };
    road.baseline = [folder] {
        const double seconds =
            Seconds([&] { WriteAndCopyFile(ReadyPixels(), folder->Temporary(), folder->Copy()); });
        fs::remove(folder->Temporary());
        fs::remove(folder->Copy());
        return seconds;
    };
    return road;
}

enum class Asked { Once, EachTime };

Road PropertyRoad(Generation generation, Asked storageAsked)
{
    const auto desk = std::make_shared<Desk>(generation);
    const ComPtr<IUnknown> item{reinterpret_cast<IUnknown*>(desk->Item())};
    ComPtr<IWiaPropertyStorage> storage;
    item->QueryInterface(IID_IWiaPropertyStorage, storage.OutVoid());
    if (!storage)
        throw std::runtime_error{"the item has no properties"};
    Road road;
    road.name = generation == Generation::One ? "property 1.0" : "property 2.0";
    road.timesPerRun = kReads;
    road.run = [desk] {
        int32_t value = 0;
        return Seconds([&] {
            for (int i = 0; i < kReads; ++i)
                Vorn_WiaGetPropertyLong(desk->Session(), desk->Item(), nullptr, WIA_IPS_XRES, &value);
        });
    };
    if (storageAsked == Asked::Once) {
        road.unavoidable = "ReadMultiple";
        road.baseline = [storage] {
            return Seconds([&] { ReadInteger(*storage.Get(), WIA_IPS_XRES, kReads); });
        };
    } else {
        road.unavoidable = "QueryInterface, ReadMultiple";
        road.baseline = [item] { return Seconds([&] { ReadIntegerOf(*item.Get(), WIA_IPS_XRES, kReads); }); };
    }
    return road;
}

}  // namespace

std::vector<Road> DeviceRoads()
{
    const auto folder = std::make_shared<OutputFolder>();
    return {MemoryRoad(Generation::One, WiaImgFmt_MEMORYBMP, 1, Memory::Malloc),
            MemoryRoad(Generation::One, WiaImgFmt_MEMORYBMP, 1, Memory::HugePages),
            MemoryRoad(Generation::Two, WiaImgFmt_BMP, 2, Memory::Malloc),
            MemoryRoad(Generation::Two, WiaImgFmt_BMP, 2, Memory::HugePages),
            FileRoad(Generation::One, folder),
            FileRoad(Generation::Two, folder),
            PropertyRoad(Generation::One, Asked::Once),
            PropertyRoad(Generation::One, Asked::EachTime),
            PropertyRoad(Generation::Two, Asked::Once),
            PropertyRoad(Generation::Two, Asked::EachTime)};
}

}  // namespace vorn::bench
