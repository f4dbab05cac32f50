#include "Benchmarks.h"
#include "Pages.h"

#include <array>
#include <optional>
#include <utility>

namespace tq::bench {

namespace {

constexpr double kSmallLimit = 1.05;
constexpr double kLargeLimit = 1.20;
constexpr double kChineseArgumentLimit = 1.15;

// The page's side is the same for both: it writes its message, asks, and reads the answer. `size` is the length of the
// argument in characters, or of the wanted result when it is negative.
constexpr const char* kScript = R"(
function prepare(size, text) {
    window.argument = size > 0 ? text.repeat(size / text.length) : size < 0 ? -size + text : {k: 1, t: "small"};
}
function block(method, count) {
    let sum = 0;
    for (let i = 0; i < count; ++i)
        sum += JSON.parse(prompt("_dsbridge=" + method, JSON.stringify({data: argument}))).data.length;
    prompt("_dsbridge=bench.done", "{}");
    return sum;
}
prompt("_dsbridge=bench.done", "{}");
)";

struct Payload {
    const char* name;
    const char* method;
    long size; // characters of the argument, negative: of the result
    const char* text; // that it is made of
    int count; // calls in a block
    double limit;
    int rounds;
};

constexpr long kKiB = 1024;
constexpr long kMiB = 1024 * kKiB;
constexpr const char* kAscii = "abcdefghijklmno ";
constexpr const char* kChinese = "白板会议室中的文字";

const std::array<Payload, 7> kPayloads{ {
    { "page call, small argument and result", "small", 0, "", 1500, kSmallLimit, 61 },
    { "page call, 64 KiB argument, ASCII", "length", 64 * kKiB, kAscii, 200, kLargeLimit, 15 },
    { "page call, 64 KiB argument, Chinese", "length", 64 * kKiB / 3, kChinese, 200, kLargeLimit, 15 },
    { "page call, 5 MiB argument, ASCII", "length", 5 * kMiB, kAscii, 6, kLargeLimit, 15 },
    { "page call, 5 MiB argument, Chinese", "length", 5 * kMiB / 3, kChinese, 4, kChineseArgumentLimit, 15 },
    { "page call, 5 MiB result, ASCII", "text", -5 * kMiB, kAscii, 6, kLargeLimit, 15 },
    { "page call, 5 MiB result, Chinese", "text", -5 * kMiB / 3, kChinese, 4, kLargeLimit, 15 },
} };

std::string repeated(const std::string& unit, std::size_t bytes)
{
    std::string text;
    text.reserve(bytes + unit.size());
    while (text.size() < bytes)
        text += unit;
    return text;
}

// What the page asks, natively.
class Bench final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Bench", &NSObject::staticClass(),
            { { "small:", &Bench::small }, { "length:", &Bench::length }, { "text:", &Bench::text },
                { "done:", &Bench::done } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue small(OptionalValue) { return boost::json::value("small result"); }
    OptionalValue length(OptionalValue argument)
    {
        return boost::json::value(argument && argument->is_string() ? "long enough" : "no text");
    }
    // Made beforehand: what a method's own work costs is not the bridge's.
    OptionalValue text(OptionalValue)
    {
        auto result = std::move(results.back());
        results.pop_back();
        return result;
    }
    OptionalValue done(OptionalValue)
    {
        ++isDone;
        return std::nullopt;
    }

    std::vector<boost::json::value> results;
    int isDone = 0;
};

// Answers each call with the same text.
struct BareCalls {
    explicit BareCalls(BarePage::Texts texts)
        : page(
            [this, texts](std::string_view prompt) {
                if (prompt == "_dsbridge=bench.done") {
                    ++isDone;
                    return nothing;
                }
                return texts == BarePage::Texts::AreTheEngines ? made : EngineText(text);
            },
            texts)
    {
        page.load(pageWith(kScript));
    }

    void answerWith(std::string given)
    {
        made = EngineText(given);
        text = std::move(given);
    }

    const EngineText nothing{ "{}" };
    EngineText made = nothing;
    std::string text;
    int isDone = 0;
    BarePage page;
};

struct Sides {
    Bench& native;
    const BridgePage& bridge;
    BareCalls& bare;
};

Benchmark measure(const Payload& payload, const char* suffix, const char* baseline, const Sides& sides)
{
    auto& native = sides.native;
    const auto& bridge = sides.bridge;
    auto& bare = sides.bare;
    const auto prepare = "prepare(" + std::to_string(payload.size) + ",'" + payload.text + "')";
    bridge.view().evaluateJavaScript(prepare);
    bare.page.evaluate(prepare);
    const std::string method = payload.method;
    const auto result = method == "text" ? repeated(payload.text, 5 * kMiB)
        : method == "small"              ? "small result"
                                         : "long enough";
    bare.answerWith(R"({"code":0,"data":")" + result + "\"}");
    const auto script = "block('bench." + method + "'," + std::to_string(payload.count) + ")";
    return compare(
        payload.name + std::string(suffix), baseline, kPort.pageCallLimit.value_or(payload.limit), payload.count,
        [&] {
            if (method == "text")
                native.results.assign(static_cast<std::size_t>(payload.count), boost::json::value(result));
            return timeUntilDone(native.isDone, [&] { bridge.view().evaluateJavaScript(script); });
        },
        [&] { return timeUntilDone(bare.isDone, [&] { bare.page.evaluate(script); }); }, payload.rounds);
}

} // namespace

std::vector<Benchmark> pageCallBenchmarks()
{
    const auto native = std::make_shared<Bench>();
    const BridgePage bridge;
    bridge.view().addJavascriptObject(native, "bench");
    bridge.view().loadUrl(pageWith(kScript));
    BareCalls unread(BarePage::Texts::AreTheEngines);
    std::optional<BareCalls> read;
    if (!kPort.engineTextsAreUTF8)
        read.emplace(BarePage::Texts::AreUTF8);
    runUntil([&] { return native->isDone && unread.isDone && (!read || read->isDone); }, "the pages are loaded");

    std::vector<Benchmark> benchmarks;
    for (const auto& payload : kPayloads) {
        if (!read || !payload.size) {
            benchmarks.push_back(measure(payload, "", "bare prompt", { *native, bridge, unread }));
            continue;
        }
        benchmarks.push_back(measure(payload, "", "bare prompt, its texts in UTF-8", { *native, bridge, *read }));
        benchmarks.push_back(measure(payload, ", unread", "bare prompt that reads nothing, its answer made beforehand",
            { *native, bridge, unread }));
    }
    return benchmarks;
}

} // namespace tq::bench
