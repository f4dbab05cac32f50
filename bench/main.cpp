#include "Benchmarks.h"
#include "Growth.h"
#include "Toolkit.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace tq::bench;

using Group = std::pair<std::string_view, std::vector<Benchmark> (*)()>;

constexpr std::array<Group, 9> kGroups{ {
    { "page-call", pageCallBenchmarks },
    { "async-call", asyncCallBenchmarks },
    { "dispatch", dispatchBenchmarks },
    { "stream", streamBenchmarks },
    { "escape", escapeBenchmarks },
    { "native-call", nativeCallBenchmarks },
    { "start", startBenchmarks },
    { "join", joinBenchmarks },
    { "memory", memoryBenchmarks },
} };

// In the benchmark's own unit, one operation.
double inUnit(const Benchmark& benchmark, Seconds time) { return time.count() * (benchmark.unit == "us" ? 1e6 : 1); }

void print(const Benchmark& benchmark)
{
    std::printf("%-42s %6.3f  (%.3f to %.3f, %d rounds)  at most %.2f  %-7s %.6g %s against %.6g %s\n",
        benchmark.name.c_str(), benchmark.median, benchmark.low, benchmark.high, benchmark.rounds, benchmark.limit,
        benchmark.isMet() ? "met" : "NOT MET", inUnit(benchmark, benchmark.subjectTime), benchmark.unit.c_str(),
        inUnit(benchmark, benchmark.baselineTime), benchmark.note.c_str());
    std::fflush(stdout);
}

boost::json::object toJSON(const Benchmark& benchmark)
{
    return { { "benchmark", benchmark.name }, { "against", benchmark.baseline }, { "ratio", benchmark.median },
        { "lowerQuartile", benchmark.low }, { "upperQuartile", benchmark.high }, { "rounds", benchmark.rounds },
        { "atMost", benchmark.limit }, { "met", benchmark.isMet() }, { "unit", benchmark.unit },
        { "subject", inUnit(benchmark, benchmark.subjectTime) },
        { "baseline", inUnit(benchmark, benchmark.baselineTime) }, { "note", benchmark.note } };
}

boost::json::object toJSON(const Curve& curve)
{
    boost::json::array points;
    for (const auto& [x, y] : curve.points)
        points.push_back(boost::json::array{ x, y });
    return { { "title", curve.title }, { "x", curve.xLabel }, { "y", curve.yLabel }, { "points", std::move(points) } };
}

boost::json::array measureGrowth(const std::filesystem::path& folder)
{
    boost::json::array curves;
    for (const auto measure :
        { growthWithPayload, growthWithPending, growthWithNamespaces, growthWithMethods, growthWithViews }) {
        const auto curve = measure();
        const auto picture = folder / (curve.file + kPort.suffix + ".svg");
        std::ofstream(picture) << plotOf(curve);
        curves.push_back(toJSON(curve));
        std::printf("%s: %s\n", curve.title.c_str(), picture.c_str());
        std::fflush(stdout);
    }
    return curves;
}

} // namespace

// usage: tqwb_bench FOLDER [GROUP|growth]...: measures, prints a table, and leaves it in the folder as JSON.
int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: tqwb_bench FOLDER [GROUP]...\n";
        return 2;
    }
    const Toolkit toolkit;
    const std::filesystem::path folder = argv[1];
    const std::vector<std::string_view> only(argv + 2, argv + argc);
    const auto isWanted = [&](std::string_view group) { return only.empty() || std::ranges::count(only, group) > 0; };
    std::filesystem::create_directories(folder);
    boost::json::array benchmarks;
    for (const auto& [name, measure] : kGroups) {
        if (!isWanted(name))
            continue;
        for (const auto& benchmark : measure()) {
            print(benchmark);
            benchmarks.push_back(toJSON(benchmark));
        }
    }
    boost::json::object report{ { "benchmarks", std::move(benchmarks) } };
    if (isWanted("growth"))
        report["growth"] = measureGrowth(folder);
    std::ofstream(folder / ("results" + std::string(kPort.suffix) + ".json")) << boost::json::serialize(report) << "\n";
    return 0;
}
