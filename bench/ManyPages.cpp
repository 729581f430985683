#include "ManyPages.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "Desk.h"
#include "FormatPages.h"
#include "PeakMemory.h"
#include "Seconds.h"
#include "Vornfilx.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;

struct ManyPagesFormat {
    const char* name;
    int32_t format;
};
constexpr ManyPagesFormat kFormats[] = {{"TIFF G4", FIL_FORMAT_TIFF}, {"PDF G4", FIL_FORMAT_PDF}};

/** A directory of its own, removed at the end. */
struct Folder {
    Folder()
    {
        std::string name = (fs::temp_directory_path() / "bench-vornwia-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error{"cannot create " + name};
        path = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }

    fs::path path;
};

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class GrowingFile {
public:
    explicit GrowingFile(int32_t format) : format_{format}, page_{BlackAndWhitePage()} {}

    void Add(int pages)
    {
        for (int i = 0; i < pages; ++i)
            seconds_.push_back(Seconds([this] { AddOne(); }));
    }

    /** Milliseconds that a page takes, of `count` from the page `first` on. */
    double PageTime(int first, int count) const
    {
        return 1e3 * Median({seconds_.begin() + first, seconds_.begin() + first + count});
    }

private:
    void AddOne() const
    {
        const int32_t status = FilSave(Wide(folder_.path / "pages").c_str(), &page_.bitmap, format_, 0,
                                       FIL_SAVE_ADD_PAGE, FIL_COMPRESSION_GROUP4, nullptr, nullptr, nullptr);
        if (status != FIL_SUCCESS)
            throw std::runtime_error{"a page cannot be added: " + std::to_string(status)};
    }

    Folder folder_;
    int32_t format_;
    const FormatPage& page_;
    std::vector<double> seconds_;
};

}  // namespace

void PrintManyPages(int count, std::ostream& out)
{
    const int tenth = std::max(count / 10, 1);
    out << "A4 pages of 600 dpi and 1 bit, added to one file: " << count
        << "; medians of the first and the last " << tenth << ",\nand the memory taken meanwhile at most.\n\n"
        << "file           first       last   ratio   memory of the first, and of the rest\n";
    for (const ManyPagesFormat& row : kFormats) {
        GrowingFile file{row.format};
        const int64_t before = PeakBytes([&] { file.Add(tenth); });
        const int64_t after = PeakBytes([&] { file.Add(count - tenth); });
        const double first = file.PageTime(0, tenth), last = file.PageTime(count - tenth, tenth);
        char line[120];
        std::snprintf(line, sizeof line, "%-10s %6.2f ms  %6.2f ms  %6.2f   %.0f KiB, %.0f KiB\n", row.name,
                      first, last, last / first, static_cast<double>(before) / 1024,
                      static_cast<double>(after) / 1024);
        out << line << std::flush;
    }
}

}  // namespace vorn::bench
