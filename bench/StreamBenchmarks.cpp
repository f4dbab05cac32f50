#include "Benchmarks.h"
#include "Pages.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <thread>

namespace tq::bench {

namespace {

constexpr int kResults = 100000;
constexpr double kLimit = 2.0;

// A result is counted; the last one is told. Results of one evaluation share one microtask, which counts evaluations.
constexpr const char* kScript = R"(
let count = 0, evaluations = 0, isCounted = false;
function take(value) {
    if (!isCounted) {
        isCounted = true;
        queueMicrotask(() => { ++evaluations; isCounted = false; });
    }
    if (++count % 100000 === 0)
        prompt("_dsbridge=bench.done", JSON.stringify({data: evaluations + 1}));
}
function start() {
    evaluations = 0;
    window.callback = take;
    prompt("_dsbridge=bench.stream", JSON.stringify({data: null, _dscbstub: "callback"}));
}
prompt("_dsbridge=bench.done", JSON.stringify({data: 0}));
)";

constexpr Seconds kInterval = std::chrono::milliseconds(50);

// The first result goes at once; after that there is one evaluation in an interval at most.
void checkRate(std::int64_t evaluations, Seconds time)
{
    if (evaluations >= 1 && static_cast<double>(evaluations) <= 1 + std::ceil(time / kInterval))
        return;
    std::cerr << "bench: a stream of " << time.count() << " s came in " << evaluations << " evaluations\n";
    std::exit(1);
}

class Streamer final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table(
            "Streamer", &NSObject::staticClass(), { { "stream::", &Streamer::stream }, { "done:", &Streamer::done } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    void stream(OptionalValue, NSCompletion completion)
    {
        worker = std::jthread([completion = std::move(completion)] {
            for (int i = 1; i <= kResults; ++i)
                completion(boost::json::value(i), i == kResults ? Complete::Yes : Complete::No);
        });
    }
    OptionalValue done(OptionalValue count)
    {
        evaluations = count && count->is_int64() ? count->get_int64() : 0;
        ++isDone;
        return std::nullopt;
    }

    std::jthread worker;
    std::int64_t evaluations = 0;
    int isDone = 0;
};

} // namespace

std::vector<Benchmark> streamBenchmarks()
{
    const auto native = std::make_shared<Streamer>();
    const BridgePage bridge;
    bridge.view().addJavascriptObject(native, "bench");
    int bareDone = 0;
    BarePage bare([&](std::string_view) {
        ++bareDone;
        return EngineText("{}");
    });
    bridge.view().loadUrl(pageWith(kScript));
    bare.load(pageWith(std::string(kScript) + "window.callback = take;"));
    runUntil([&] { return native->isDone && bareDone; }, "the pages are loaded");

    std::string script;
    for (int i = 1; i <= kResults; ++i)
        script += "try {callback(JSON.parse(decodeURIComponent(\"{%22code%22:0,%22data%22:" + std::to_string(i)
            + "}\")).data);; } catch(e){};";
    std::int64_t evaluations = 0;
    Seconds streaming{};
    auto benchmark = compare(
        "100,000 results streamed from a worker", "one evaluation of 100,000 page calls", kLimit, 1,
        [&] {
            const auto time = timeUntilDone(native->isDone, [&] { bridge.view().evaluateJavaScript("start()"); });
            evaluations += native->evaluations;
            streaming += time;
            checkRate(native->evaluations, time);
            return time;
        },
        [&] {
            const auto target = bareDone + 1;
            // New to the engine, like every batch: it keeps what it has made of a script that it has seen.
            const auto newScript = "// " + std::to_string(target) + "\n" + script;
            const auto start = Clock::now();
            bare.evaluate(newScript);
            runUntil([&] { return bareDone == target; }, "the last call is made");
            return Seconds(Clock::now() - start);
        },
        9);
    benchmark.note = std::to_string(evaluations) + " evaluations in "
        + std::to_string(std::lround(streaming / kInterval)) + " intervals of 50 ms";
    return { benchmark };
}

} // namespace tq::bench
