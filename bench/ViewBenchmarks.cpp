#include "Benchmarks.h"
#include "Pages.h"
#include "platform/Foundation/Dispatch.h"

#include <fstream>
#include <vector>

namespace tq::bench {

namespace {

constexpr double kLimit = 1.05;
constexpr const char* kScript = R"(prompt("_dsbridge=bench.done", "{}"))";
constexpr int kViewsInRound = 2;

std::unique_ptr<BridgePage> loadedBridge()
{
    const auto native = std::make_shared<DoneListener>();
    auto page = std::make_unique<BridgePage>();
    page->view().addJavascriptObject(native, "bench");
    page->view().loadUrl(pageWith(kScript));
    runUntil([&] { return native->isDone; }, "the page has called");
    return page;
}

std::unique_ptr<BarePage> loadedBare()
{
    auto hasCome = std::make_shared<bool>(false);
    auto page = std::make_unique<BarePage>([hasCome](const char*, const char*) -> const char* {
        *hasCome = true;
        return "{}";
    });
    page->load(pageWith(kScript));
    runUntil([&] { return *hasCome; }, "the page has called");
    return page;
}

// What this process alone has in memory, in kibibytes.
double ownMemory()
{
    std::ifstream file("/proc/self/smaps_rollup");
    double total = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Private_Clean:") || line.starts_with("Private_Dirty:"))
            total += std::stod(line.substr(line.find(':') + 1));
    }
    return total;
}

} // namespace

std::vector<Benchmark> startBenchmarks()
{
    const auto time = [](const auto& make) {
        const auto start = Clock::now();
        const auto page = make();
        return Seconds(Clock::now() - start);
    };
    return { compare(
        "view creation to the first page call", "bare web view", kLimit, 1, [&] { return time(loadedBridge); },
        [&] { return time(loadedBare); }, 25) };
}

// The memory that new views take is measured like a time: "seconds" are mebibytes here.
std::vector<Benchmark> memoryBenchmarks()
{
    std::vector<std::unique_ptr<BridgePage>> bridges;
    std::vector<std::unique_ptr<BarePage>> bares;
    const auto growth = [](const auto& make, auto& kept) {
        const auto before = ownMemory();
        for (int i = 0; i < kViewsInRound; ++i)
            kept.push_back(make());
        // What the making has put off is done.
        runDueOnMain();
        return Seconds((ownMemory() - before) / 1024);
    };
    auto benchmark = compare(
        "memory of one more idle view", "bare web view", kLimit, kViewsInRound,
        [&] { return growth(loadedBridge, bridges); }, [&] { return growth(loadedBare, bares); }, 15);
    benchmark.unit = "MiB";
    return { benchmark };
}

} // namespace tq::bench
