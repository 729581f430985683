/**
 * What the library adds to the work that cannot be avoided. A device has an A4 page of 600 dpi and 24 bits ready in
 * memory; an application takes it along each road, through the exported functions.
 *
 *     vornwia_bench --table       all roads against their baselines in one run, and the memory they take
 *     vornwia_bench --table=41    with 41 repetitions in place of 21
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

#include "ReadyPage.h"
#include "Roads.h"
#include "Table.h"

using namespace vorn::bench;

namespace {

constexpr int kRepetitions = 21;

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

/** The repetitions that `--table` or `--table=n` asks for; 0 for another argument. */
int TableRepetitions(std::string_view argument)
{
    constexpr std::string_view option = "--table";
    if (argument == option)
        return kRepetitions;
    if (!argument.starts_with("--table="))
        return 0;
    return std::atoi(argument.substr(option.size() + 1).data());
}

}  // namespace

int main(int argc, char** argv)
try {
    const vorn::wia::ScopedDevices devices{ScannerWithReadyPage()};
    const std::vector<Road> roads = AllRoads();
    if (const int repetitions = argc == 2 ? TableRepetitions(argv[1]) : 0; repetitions > 0) {
        PrintTable(roads, repetitions, std::cout);
        return 0;
    }
    return RunGoogleBenchmark(roads, argc, argv);
} catch (const std::exception& failure) {
    std::cerr << "vornwia_bench: " << failure.what() << '\n';
    return 1;
}
