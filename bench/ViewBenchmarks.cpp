#include "Benchmarks.h"
#include "Pages.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <unistd.h>
#include <vector>

namespace tq::bench {

namespace {

constexpr double kLimit = 1.05;
constexpr const char* kScript = R"(prompt("_dsbridge=bench.done", "{}"))";
constexpr int kViewsInRound = 2;
constexpr auto kSettling = std::chrono::seconds(1);

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
    auto page = std::make_unique<BarePage>([hasCome](std::string_view) {
        *hasCome = true;
        return EngineText("{}");
    });
    page->load(pageWith(kScript));
    runUntil([&] { return *hasCome; }, "the page has called");
    return page;
}

// What a process has in memory, in kibibytes: the sum of the lines that begin so.
double memoryOf(const std::string& process, std::initializer_list<std::string_view> beginnings)
{
    std::ifstream file("/proc/" + process + "/smaps_rollup");
    double total = 0;
    for (std::string line; std::getline(file, line);) {
        if (std::ranges::any_of(beginnings, [&](auto beginning) { return line.starts_with(beginning); }))
            total += std::stod(line.substr(line.find(':') + 1));
    }
    return total;
}

// What this process alone has.
double ownMemory() { return memoryOf("self", { "Private_Clean:", "Private_Dirty:" }); }

// Of a process and all that the engine has begun for it; what they share counts once.
double memoryWithDescendants(const std::string& process)
{
    double total = memoryOf(process, { "Pss:" });
    std::error_code hasGone;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task", hasGone)) {
        std::ifstream children(thread.path() / "children");
        for (std::string child; children >> child;)
            total += memoryWithDescendants(child);
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
    std::vector<Seconds> bridgesOwn;
    std::vector<Seconds> baresOwn;
    const auto self = std::to_string(getpid());
    const auto growth = [&](const auto& make, auto& kept, std::vector<Seconds>& own) {
        const auto ownBefore = ownMemory();
        const auto before = memoryWithDescendants(self);
        for (int i = 0; i < kViewsInRound; ++i)
            kept.push_back(make());
        // Of a page that has just come there is much to put away.
        const auto settled = Clock::now() + kSettling;
        runUntil([&] { return Clock::now() >= settled; }, "the pages are idle");
        own.emplace_back((ownMemory() - ownBefore) / 1024);
        return Seconds((memoryWithDescendants(self) - before) / 1024);
    };
    auto all = compare(
        "memory of one more idle view, all processes", "bare web view", kLimit, kViewsInRound,
        [&] { return growth(loadedBridge, bridges, bridgesOwn); }, [&] { return growth(loadedBare, bares, baresOwn); },
        13);
    // The first round does not count.
    bridgesOwn.erase(bridgesOwn.begin());
    baresOwn.erase(baresOwn.begin());
    auto own = summaryOf("memory of one more idle view", "bare web view", kLimit, kViewsInRound, bridgesOwn, baresOwn);
    own.unit = all.unit = "MiB";
    return { own, all };
}

} // namespace tq::bench
