#include "Benchmarks.h"
#include "Pages.h"

namespace tq::bench {

namespace {

constexpr int kCalls = 1000;
constexpr double kLimit = 1.10;
constexpr int kRounds = 41;

// The page does the same for both: it reads the message and its arguments, and answers with a prompt.
constexpr const char* kScript = R"(
window._handleMessageFromNative = (message) => {
    const [value] = JSON.parse(message.data);
    prompt("_dsbridge=_dsb.returnValue", JSON.stringify({data: {id: message.callbackId, data: value, complete: true}}));
};
prompt("_dsbridge=_dsb.dsinit", "{}");
prompt("_dsbridge=bench.done", "{}");
)";

} // namespace

std::vector<Benchmark> nativeCallBenchmarks()
{
    const auto ready = std::make_shared<DoneListener>();
    const BridgePage bridge;
    bridge.view().addJavascriptObject(ready, "bench");
    int answers = 0;
    bool isReady = false;
    // Either side sends the next call when it has the answer of the one before.
    std::function<void()> next;
    EngineText nothing(R"({"code":0,"data":""})");
    BarePage bare([&](std::string_view prompt) {
        isReady = isReady || prompt == "_dsbridge=bench.done";
        if (prompt == "_dsbridge=_dsb.returnValue") {
            ++answers;
            next();
        }
        return nothing;
    });
    bridge.view().loadUrl(pageWith(kScript));
    bare.load(pageWith(kScript));
    runUntil([&] { return ready->isDone && isReady; }, "the pages are loaded");

    const auto run = [&](std::function<void()> send) {
        answers = 0;
        next = [&, send] {
            if (answers < kCalls)
                send();
        };
        const auto start = Clock::now();
        send();
        runUntil([&] { return answers == kCalls; }, "all calls are answered");
        return Seconds(Clock::now() - start);
    };
    return { compare(
        "native-to-page call, answered", "bare evaluation answered by a bare prompt", kLimit, kCalls,
        [&] {
            return run([&] {
                bridge.view().callHandler("echo", { answers }, [&](const OptionalValue&) {
                    ++answers;
                    next();
                });
            });
        },
        [&] {
            return run([&] {
                bare.evaluate("window._handleMessageFromNative({\"method\":\"echo\",\"callbackId\":"
                    + std::to_string(answers) + ",\"data\":\"[" + std::to_string(answers) + "]\"})");
            });
        },
        kRounds) };
}

} // namespace tq::bench
