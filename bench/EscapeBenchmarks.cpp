#include "Benchmarks.h"
#include "Pages.h"
#include "bridge/PercentEncoding.h"

#include <array>

namespace tq::bench {

namespace {

constexpr int kResults = 10;
constexpr std::size_t kSize = 65536;

constexpr const char* kScript = R"(
let length = 0;
function take(value) { length += value.length; }
function done() { prompt("done", String(length)); length = 0; }
done();
)";

} // namespace

std::vector<Benchmark> escapeBenchmarks()
{
    int isDone = 0;
    BarePage page([&](std::string_view) {
        ++isDone;
        return EngineText("");
    });
    page.load(pageWith(kScript));
    runUntil([&] { return isDone; }, "the page is loaded");

    // From the result's JSON until the page has seen it; the two sides differ in the escaping alone.
    const auto time = [&](const std::string& json, const auto& escape) {
        return timeUntilDone(isDone, [&] {
            std::string script;
            for (int i = 0; i < kResults; ++i)
                script += "take(JSON.parse(decodeURIComponent(\"" + escape(json) + "\")).data);";
            page.evaluate(script + "done()//" + std::to_string(isDone));
        });
    };
    std::vector<Benchmark> benchmarks;
    constexpr std::array<std::pair<const char*, const char*>, 2> kTexts{
        { { "result of 64 KiB, ASCII", "{ a: 1 } text, " }, { "result of 64 KiB, Chinese", "白板会议室中的文字" } }
    };
    for (const auto& [name, unit] : kTexts) {
        std::string json = R"({"code":0,"data":")";
        while (json.size() < kSize)
            json += unit;
        json += "\"}";
        benchmarks.push_back(compare(
            name, "escaped as in an address", 1.0, kResults, [&] { return time(json, percentEncoded); },
            [&] { return time(json, escapedAsInAddresses); }));
    }
    return benchmarks;
}

} // namespace tq::bench
