#include "SaneTable.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Desk.h"
#include "Process.h"
#include "SaneScans.h"
#include "Vornfilx.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

constexpr auto kTestDevice =
    "mode Color\ndepth 8\nresolution 600\ntest-picture \"Color pattern\"\n"
    "br_x 200\nbr_y 200\n";

/** A folder with SANE's configuration and the files of the scans; gone with the object. */
class Folder {
public:
    Folder()
    {
        std::string name = (fs::temp_directory_path() / "bench-sane-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error{"cannot create " + name};
        path_ = name;
        std::ofstream{path_ / "dll.conf"} << "test\n";
        std::ofstream{path_ / "test.conf"} << kTestDevice;
        setenv("SANE_CONFIG_DIR", name.c_str(), 1);
        setenv("LD_BIND_NOW", "1", 1);  // the test back end may hang at its end otherwise, in scanimage too
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    std::string File(const std::string& name) const { return (path_ / name).string(); }

private:
    fs::path path_;
};

struct Row {
    std::string name;
    Command own, other;
    double aim;
    std::string ownFile, otherFile;  ///< that the commands write; may be empty
    bool samePixels = false;
};

std::vector<Row> Rows(const Folder& folder)
{
    const fs::path self = fs::read_symlink("/proc/self/exe");
    const std::string tool = self.parent_path() / "vornscan", device = kSaneDevice;
    const auto format = [&](const std::string& name, double aim, bool lossless, Command more = {}) {
        const std::string own = folder.File("own." + name), other = folder.File("other." + name);
        Command scan{tool, "-d", device, "-o", own};
        scan.insert(scan.end(), more.begin(), more.end());
        return Row{name,  scan,    {"scanimage", "-d", device, "--format=" + name, "-o", other}, aim, own,
                   other, lossless};
    };
    const Row feeder{"feeder",
                     {tool, "-d", device, "--source", "feeder", "--resolution", "75", "--overwrite",
                      "--batch=" + folder.File("own%d.tif")},
                     {"scanimage", "-d", device, "--source", "Automatic Document Feeder", "--resolution",
                      "75", "--format=tiff", "--batch=" + folder.File("other%d.tif")},
                     1.0,
                     "",
                     ""};
    return {{"memory", {self, "--sane-memory"}, {self, "--sane-bare"}, 0.5, "", ""},
            format("tiff", 0.6, true),
            format("png", 0.3, true),
            format("jpeg", 0.8, false, {"--jpeg-quality", "75"}),
            feeder,
            {"start", {tool, "-n", "-d", device}, {"scanimage", "-n", "-d", device}, 2.2, "", ""},
            {"list", {tool, "-L"}, {"scanimage", "-L"}, 2.5, "", ""},
            {"options", {tool, "-A", "-d", device}, {"scanimage", "-A", "-d", device}, 2.5, "", ""}};
}

template <typename Number>
Number Median(const std::vector<Usage>& usages, Number Usage::*of)
{
    std::vector<Number> values;
    for (const Usage& usage : usages)
        values.push_back(usage.*of);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/** A new file each time: replacing one takes time as well. */
Usage Run(const Command& command, const std::string& file)
{
    if (!file.empty())
        fs::remove(file);
    return RunProgram(command);
}

void PrintRow(const Row& row, int repetitions, std::ostream& out)
{
    std::vector<Usage> own, other;
    Run(row.own, row.ownFile);
    Run(row.other, row.otherFile);
    for (int i = 0; i < repetitions; ++i) {
        if (i % 2)
            own.push_back(Run(row.own, row.ownFile));
        other.push_back(Run(row.other, row.otherFile));
        if (i % 2 == 0)
            own.push_back(Run(row.own, row.ownFile));
    }
    const auto wall = [](const auto& usages) { return Median(usages, &Usage::seconds) * 1e3; };
    const auto cpu = [](const auto& usages) { return Median(usages, &Usage::cpuSeconds) * 1e3; };
    const auto megabytes = [](const auto& usages) {
        return static_cast<double>(Median(usages, &Usage::peakBytes)) / 1e6;
    };
    char line[160];
    std::snprintf(line, sizeof line, "%-8s %9.1f %9.1f %6.2f  %8.1f %8.1f %6.2f  %7.1f %7.1f  %5.2f\n",
                  row.name.c_str(), wall(own), wall(other), wall(own) / wall(other), cpu(own), cpu(other),
                  cpu(own) / cpu(other), megabytes(own), megabytes(other), row.aim);
    out << line << std::flush;
}

BitmapHandle Load(const std::string& file)
{
    BitmapHandle bitmap{};
    if (FilLoad(Wide(file).c_str(), &bitmap, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, nullptr, nullptr) !=
        FIL_SUCCESS)
        throw std::runtime_error{file + " cannot be loaded"};
    return bitmap;
}

void RequireSamePixels(const Row& row)
{
    BitmapHandle own = Load(row.ownFile), other = Load(row.otherFile);
    const bool same = own.imageBytes == other.imageBytes && own.viewPerspective == other.viewPerspective &&
                      std::memcmp(own.image, other.image, static_cast<size_t>(own.imageBytes)) == 0;
    KrnFreeBitmap(&own);
    KrnFreeBitmap(&other);
    if (!same)
        throw std::runtime_error{"the pixels of both " + row.name + " files differ"};
}

}  // namespace

void PrintSaneTable(int repetitions, std::ostream& out)
{
    const Folder folder;
    const std::vector<Row> rows = Rows(folder);
    out << "A page of SANE's test device, 600 dpi, 200 x 200 mm, 24 bits, 67 MB, in whole processes; medians "
           "of "
        << repetitions
        << " in turns.\n\n         ---- milliseconds ----    -- CPU milliseconds --    -- peak MB --\n"
           "what         takes  baseline  ratio     takes baseline  ratio    takes  baseline   aim\n";
    for (const Row& row : rows)
        PrintRow(row, repetitions, out);
    out << "\nmemory: against a loop of sane_read that puts the colours into fresh memory. The others: "
           "vornscan against\n"
           "scanimage; feeder: ten pages of 75 dpi, a TIFF file each; list: -L; options: -A. A peak below "
           "this\n"
           "program's own is reported as that.\n";
    for (const Row& row : rows)  // last, as it takes memory
        if (row.samePixels)
            RequireSamePixels(row);
}

}  // namespace vorn::bench
