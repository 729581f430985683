/**
 * What the library adds to the work that cannot be avoided. A device has an A4 page of 600 dpi and 24 bits ready in
 * memory; an application takes it along each road, through the exported functions.
 *
 *     vornwia_bench --table       all roads against their baselines in one run, and the memory they take
 *     vornwia_bench --table=41    with 41 repetitions in place of 21
 *     vornwia_bench --settings    capabilities and the scanning-properties record, against the platform's calls
 *     vornwia_bench --formats     image files of each format saved and loaded, against the bare codec
 *     vornwia_bench --formats=5   with 5 repetitions in place of 9
 *     vornwia_bench --pages       200 pages added to one TIFF file and to one PDF file: the first against the last
 *     vornwia_bench --pages=1000  with as many pages
 *     vornwia_bench --sane        scans of SANE's test device, the tool beside scanimage; =5 for 5 repetitions
 *     vornwia_bench               roads and baselines as Google Benchmark runs them; --help lists its options
 *
 * Files are written to the directory that TMPDIR names, or to /tmp. A measurement is worth something on a machine
 * that does nothing else, and only as a ratio.
 */
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

#include "ManyPages.h"
#include "ReadyPage.h"
#include "Roads.h"
#include "SaneScans.h"
#include "SaneTable.h"
#include "Table.h"

using namespace vorn::bench;

namespace {

template <std::vector<Road> (*roads)()>
void PrintRoads(int repetitions, std::ostream& out)
{
    PrintTable(roads(), repetitions, out);
}

struct TableOption {
    std::string_view option;
    int number;  ///< repetitions or pages, unless told otherwise
    void (*print)(int number, std::ostream& out);
};
constexpr TableOption kTables[] = {{"--table", 21, PrintRoads<DeviceRoads>},
                                   {"--settings", 21, PrintRoads<SettingsRoads>},
                                   {"--formats", 9, PrintRoads<FormatRoads>},
                                   {"--pages", 200, PrintManyPages}};

void Register(const std::string& name, const Timed& work)
{
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for ([[maybe_unused]] auto each : state)
            state.SetIterationTime(work());
    })->UseManualTime();
}

int RunGoogleBenchmark(const std::vector<Road>& roads, int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    for (const Road& road : roads) {
        Register(road.name, road.run);
        Register(road.name + " baseline: " + road.unavoidable, road.baseline);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

/** The number that `argument` asks of a table, as in `--table` or `--table=n`; 0 for another argument. */
int NumberOf(std::string_view argument, const TableOption& table)
{
    if (argument == table.option)
        return table.number;
    if (!argument.starts_with(std::string{table.option} + '='))
        return 0;
    return std::atoi(argument.substr(table.option.size() + 1).data());
}

#ifdef VORN_BENCH_SANE
/** What the table of SANE's scans runs as processes of their own. */
constexpr std::pair<std::string_view, void (*)()> kScans[] = {{"--sane-bare", ScanBare},
                                                              {"--sane-memory", ScanToMemory}};

/** False when `option` asks for nothing of SANE. */
bool RunSane(std::string_view option)
{
    for (const auto& [name, scan] : kScans)
        if (option == name)
            return scan(), true;
    const int repetitions = NumberOf(option, {"--sane", 15, PrintSaneTable});
    if (repetitions > 0)
        PrintSaneTable(repetitions, std::cout);
    return repetitions > 0;
}
#endif

}  // namespace

int main(int argc, char** argv)
try {
    const std::string_view only = argc == 2 ? argv[1] : "";
#ifdef VORN_BENCH_SANE
    // Before the ready page takes its memory: a program that is started counts it as its own.
    if (RunSane(only))
        return 0;
#endif
    const vorn::wia::ScopedDevices devices{ScannerWithReadyPage()};
    for (const TableOption& table : kTables)
        if (const int number = NumberOf(only, table); number > 0) {
            table.print(number, std::cout);
            return 0;
        }
    return RunGoogleBenchmark(DeviceRoads(), argc, argv);
} catch (const std::exception& failure) {
    std::cerr << "vornwia_bench: " << failure.what() << '\n';
    return 1;
}
