#include "Benchmarks.h"
#include "Pages.h"
#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/support/Content.h"

namespace tq::bench {

namespace {

constexpr std::size_t kLarge = 5UL * 1024 * 1024;
constexpr int kLargeCalls = 24;
constexpr double kLongestGap = 0.040;
constexpr auto kBusy = std::chrono::milliseconds(200);

// What the page half costs, and what a page costs that asks by prompts and parses what it gets.
constexpr const char* kPage = R"(
import * as native from "SCRIPT";
const small = { k: 1, t: "small" };
const done = (value = 0) => native.callSync("bench.done", value);
const rounds = async (count, call) => { for (let i = 0; i < count; ++i) await call(); done(); };
Object.assign(window, {
    awaited: (count) => rounds(count, () => native.callAsync("bench.later", small)),
    together: (count) => rounds(count / 1000, () =>
        Promise.all(Array.from({ length: 1000 }, () => native.callAsync("bench.later", small)))),
    large: (count) => rounds(count, () => native.callAsync("bench.largeLater")),
    synchronous: (count) => rounds(count, () => native.callSync("bench.now", small)),
    // The longest time between two frames until the application is there again, with calls under way in all of them.
    async longestGap() {
        let last = performance.now(), longest = 0, isBusy = true;
        native.callAsync("bench.beBusy").then(() => (isBusy = false));
        while (isBusy) {
            await new Promise(requestAnimationFrame);
            native.callAsync("bench.later", small);
            longest = Math.max(longest, performance.now() - last);
            last = performance.now();
        }
        done(longest);
    },
});
native.register("echo", (value) => value);
native.ready();
done();
)";

constexpr const char* kBarePage = R"(
function prompts(count, argument) {
    let sum = 0;
    for (let i = 0; i < count; ++i)
        sum += JSON.parse(prompt("_dsbridge=bench.now", JSON.stringify({ data: argument }))).data.length;
    prompt("_dsbridge=bench.done", "{}");
}
async function messages(count) {
    const text = "0123456789abcdef0123456789abcdef\\t1\\n1\\t" + JSON.stringify("bench.later") + "\\t";
    for (let i = 0; i < count; ++i)
        JSON.parse(await webkit.messageHandlers.bare.postMessage(text + JSON.stringify({ data: { k: 1, t: "small" } })));
    prompt("_dsbridge=bench.done", "{}");
}
function answer({ callbackId, data }) {
    return JSON.stringify({ data: { id: callbackId, data: JSON.parse(data)[0], complete: true } });
}
prompt("_dsbridge=bench.done", "{}");
)";

// With the page half in it.
std::string pageHalf()
{
    const auto script = test::contentOf(TQWB_PAGE_FOLDER "/bridge.js");
    std::string page = kPage;
    const std::string_view place = "SCRIPT";
    page.replace(page.find(place), place.size(), "data:text/javascript;charset=utf-8," + escapedAsInAddresses(script));
    return pageWith(page, "module");
}

// The two pages, and how often each has said that it is done.
class Pages {
public:
    Pages()
        : m_bare([this](std::string_view prompt) {
            if (prompt != "_dsbridge=bench.done")
                return m_answer;
            ++m_bareDone;
            return m_nothing;
        })
    {
        m_bridge.view().addJavascriptObject(
            nativeFunctions({
                { "now:", [](OptionalValue) { return "small result"; } },
                { "later::", [](OptionalValue, Stream<std::string> results) { results.finish("small result"); } },
                { "largeLater::", [this](const NSCompletion& completion) { completion(takeLarge(), Complete::Yes); } },
                { "beBusy::",
                    [](Stream<bool> results) {
                        const auto until = Clock::now() + kBusy;
                        while (Clock::now() < until) { }
                        results.finish(true);
                    } },
                { "done:",
                    [this](double value) {
                        reported = value;
                        ++m_done;
                    } },
            }),
            "bench");
        m_bridge.view().loadUrl(pageHalf());
        m_bare.answerMessages();
        m_bare.load(pageWith(kBarePage));
        runUntil([&] { return m_done && m_bareDone; }, "the pages are loaded");
    }

    DWKWebView& view() { return m_bridge.view(); }
    Seconds run(const std::string& script)
    {
        return timeUntilDone(m_done, [&] { m_bridge.view().evaluateJavaScript(script); });
    }
    Seconds runMessages(int count)
    {
        return timeUntilDone(m_bareDone, [&] { m_bare.evaluate("messages(" + std::to_string(count) + ")"); });
    }
    Seconds runPrompts(int count, const std::string& result)
    {
        m_answer = EngineText(R"({"code":0,"data":")" + result + "\"}");
        return timeUntilDone(
            m_bareDone, [&] { m_bare.evaluate("prompts(" + std::to_string(count) + ",{k:1,t:'small'})"); });
    }

    void evaluateBare(int number, std::function<void()> then)
    {
        const auto text = std::to_string(number);
        m_bare.evaluate("window.answer({\"method\":\"echo\",\"callbackId\":" + text + ",\"data\":\"[" + text + "]\"})",
            std::move(then));
    }

    // Made beforehand: what a method's own work costs is not the bridge's.
    void makeLarge() { m_large.assign(kLargeCalls, boost::json::string(kLarge, 'a')); }

    double reported = 0;

private:
    OptionalValue takeLarge()
    {
        auto value = std::move(m_large.back());
        m_large.pop_back();
        return value;
    }

    const BridgePage m_bridge;
    BarePage m_bare;
    const EngineText m_nothing{ "{}" };
    EngineText m_answer = m_nothing;
    std::vector<boost::json::value> m_large;
    int m_done = 0;
    int m_bareDone = 0;
};

// Each call begins when the one before is answered. @param send sends the call of a number.
Seconds callInTurn(int count, const std::function<void(int number, std::function<void()> answered)>& send)
{
    int answers = 0;
    std::function<void()> next = [&] {
        send(answers, [&] {
            if (++answers < count)
                next();
        });
    };
    const auto start = Clock::now();
    next();
    runUntil([&] { return answers == count; }, "all calls are answered");
    return Clock::now() - start;
}

Benchmark frameGaps(Pages& pages)
{
    std::vector<double> gaps;
    for (int round = 0; round < 9; ++round) {
        pages.run("longestGap()");
        gaps.push_back(pages.reported / 1000 / kLongestGap);
    }
    return { .name = "longest gap of frames, main loop busy",
        .baseline = "40 ms",
        .limit = 1,
        .median = quantile(gaps, 0.5),
        .low = quantile(gaps, 0.25),
        .high = quantile(gaps, 0.75),
        .rounds = static_cast<int>(gaps.size()),
        .subjectTime = Seconds(quantile(gaps, 0.5) * kLongestGap),
        .baselineTime = Seconds(kLongestGap),
        .note = "" };
}

} // namespace

std::vector<Benchmark> asyncCallBenchmarks()
{
    Pages pages;
    std::vector<Benchmark> benchmarks;
    const auto add = [&](const char* name, double limit, int count, int rounds, const Block& subject,
                         const std::string& result = "small result") {
        benchmarks.push_back(compare(
            name, "bare prompt", limit, count, subject, [&] { return pages.runPrompts(count, result); }, rounds));
    };
    const auto run = [&](const char* function, int count) {
        return
            [&pages, script = std::string(function) + "(" + std::to_string(count) + ")"] { return pages.run(script); };
    };
    add("asynchronous call, awaited", 1.60, 1000, 31, run("awaited", 1000));
    // What the engine takes for a message and its answer, with nothing of ours between.
    add("bare message with an answer, awaited", 2.00, 1000, 31, [&] { return pages.runMessages(1000); });
    add("asynchronous call, 1,000 in one task", 0.10, 10000, 15, run("together", 10000));
    add("synchronous call of the page half", 1.05, 1000, 31, run("synchronous", 1000));
    // Many in a block: the bare page, which is busy all the time, leaves its garbage to be collected after it.
    add(
        "asynchronous call, 5 MiB result", 1.20, kLargeCalls, 15,
        [&] {
            pages.makeLarge();
            return run("large", kLargeCalls)();
        },
        std::string(kLarge, 'a'));
    add("page function called, value taken", 1.50, 1000, 31, [&] {
        return callInTurn(1000, [&](int number, std::function<void()> answered) {
            pages.view().callHandler(
                "echo", { number }, [answered = std::move(answered)](const OptionalValue&) { answered(); });
        });
    });
    // What the engine takes for it.
    add("bare evaluation, value taken", 1.50, 1000, 31, [&] {
        return callInTurn(
            1000, [&](int number, std::function<void()> answered) { pages.evaluateBare(number, std::move(answered)); });
    });
    benchmarks.push_back(frameGaps(pages));
    return benchmarks;
}

} // namespace tq::bench
