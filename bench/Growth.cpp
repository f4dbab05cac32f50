#include "Growth.h"

#include "Measure.h"
#include "Pages.h"

#include <algorithm>
#include <array>
#include <memory>

namespace tq::bench {

namespace {

constexpr int kRepeats = 5;

// A page that calls, and holds calls open.
constexpr const char* kScript = R"(
function block(size, count) {
    const text = "x".repeat(size);
    for (let i = 0; i < count; ++i)
        prompt("_dsbridge=grow.take", JSON.stringify({data: text}));
    prompt("_dsbridge=grow.done", "{}");
}
let left = 0;
function pend(count) {
    left = count;
    for (let i = 0; i < count; ++i) {
        window["cb" + i] = () => { if (--left === 0) prompt("_dsbridge=grow.done", "{}"); };
        prompt("_dsbridge=grow.keep", JSON.stringify({data: null, _dscbstub: "cb" + i}));
    }
    prompt("_dsbridge=grow.done", "{}");
}
prompt("_dsbridge=grow.done", "{}");
)";

class Grow : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Grow", &NSObject::staticClass(),
            { { "take:", &Grow::take }, { "keep::", &Grow::keep }, { "done:", &Grow::done } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue take(OptionalValue) { return std::nullopt; }
    void keep(OptionalValue, NSCompletion completion) { kept.push_back(std::move(completion)); }
    OptionalValue done(OptionalValue)
    {
        ++isDone;
        return std::nullopt;
    }
    void waitForNext(const std::function<void()>& start) { timeUntilDone(isDone, start); }

    std::vector<NSCompletion> kept;
    int isDone = 0;
};

// Names must be known when the program is compiled: "m" and four digits.
template <int Number>
constexpr std::array<char, 7> kName{ 'm', char('0' + Number / 1000), char('0' + Number / 100 % 10),
    char('0' + Number / 10 % 10), char('0' + Number % 10), ':', 0 };

// An object whose class has as many methods as wanted, up to 10,000.
class Wide final : public NSObject {
public:
    explicit Wide(int methods)
    {
        std::vector<NSMethod> rows;
        addBlocks(rows, std::make_integer_sequence<int, 100>());
        rows.erase(rows.begin() + methods, rows.end());
        m_class = std::make_unique<NSClass>("Wide", &NSObject::staticClass(), std::move(rows));
    }
    const NSClass& objectClass() const override { return *m_class; }
    OptionalValue answer(OptionalValue argument) { return argument; }

private:
    template <int First, int... Offsets>
    static void addBlock(std::vector<NSMethod>& rows, std::integer_sequence<int, Offsets...>)
    {
        rows.insert(rows.end(), { NSMethod(SyncMethodName(kName<First + Offsets>.data()), &Wide::answer)... });
    }
    template <int... Blocks> static void addBlocks(std::vector<NSMethod>& rows, std::integer_sequence<int, Blocks...>)
    {
        (addBlock<Blocks * 100>(rows, std::make_integer_sequence<int, 100>()), ...);
    }

    std::unique_ptr<NSClass> m_class;
};

std::string wideName(int number)
{
    const auto digits = std::to_string(10000 + number);
    return "wide.m" + digits.substr(1);
}

struct LoadedPage {
    LoadedPage()
    {
        page.view().addJavascriptObject(native, "grow");
        native->waitForNext([this] { page.view().loadUrl(pageWith(kScript)); });
    }

    std::shared_ptr<Grow> native = std::make_shared<Grow>();
    BridgePage page;
};

double medianMicroseconds(int operations, const std::function<void()>& block)
{
    std::vector<double> times;
    for (int repeat = 0; repeat <= kRepeats; ++repeat) {
        const auto start = Clock::now();
        block();
        if (repeat)
            times.push_back(Seconds(Clock::now() - start).count() * 1e6 / operations);
    }
    return quantile(times, 0.5);
}

double timeOfDispatch(DWKWebView& view, const std::string& method)
{
    constexpr int kCalls = 5000;
    return medianMicroseconds(kCalls, [&] {
        for (int i = 0; i < kCalls; ++i)
            view.call(method, R"({"data":1})");
    });
}

double timeOfPageCall(LoadedPage& loaded, long size, int count)
{
    const auto script = "block(" + std::to_string(size) + "," + std::to_string(count) + ")";
    return medianMicroseconds(
        count, [&] { loaded.native->waitForNext([&] { loaded.page.view().evaluateJavaScript(script); }); });
}

} // namespace

Curve growthWithPayload()
{
    Curve curve{ "payload", "A page call by the size of its argument", "bytes", "microseconds a call", {} };
    LoadedPage loaded;
    for (long size = 1024; size <= 16L << 20U; size *= 4)
        curve.points.emplace_back(size, timeOfPageCall(loaded, size, int(std::clamp(4L << 20U / size, 4L, 400L))));
    return curve;
}

Curve growthWithPending()
{
    Curve curve{ "pending", "A result by the number of calls that wait", "calls waiting", "microseconds a result", {} };
    LoadedPage loaded;
    for (int count = 10; count <= 100000; count *= 10) {
        const auto time = [&] {
            loaded.native->kept.clear();
            loaded.native->waitForNext(
                [&] { loaded.page.view().evaluateJavaScript("pend(" + std::to_string(count) + ")"); });
            const auto start = Clock::now();
            loaded.native->waitForNext([&] {
                for (const auto& completion : loaded.native->kept)
                    completion(boost::json::value(1), Complete::Yes);
            });
            return Seconds(Clock::now() - start).count() * 1e6 / count;
        };
        time();
        curve.points.emplace_back(count, quantile({ time(), time(), time() }, 0.5));
    }
    return curve;
}

Curve growthWithNamespaces()
{
    Curve curve{ "namespaces", "A dispatch by the number of namespaces", "namespaces", "microseconds a call", {} };
    const auto view = DWKWebView::initWithFrame({}, nullptr);
    const auto object = std::make_shared<Grow>();
    int registered = 0;
    for (int count = 1; count <= 10000; count *= 10) {
        for (; registered < count; ++registered)
            view->addJavascriptObject(object, "name" + std::to_string(registered));
        curve.points.emplace_back(count, timeOfDispatch(*view, "name" + std::to_string(count / 2) + ".take"));
    }
    return curve;
}

Curve growthWithMethods()
{
    Curve curve{ "methods", "A dispatch by the number of methods", "methods of the object", "microseconds a call", {} };
    const auto view = DWKWebView::initWithFrame({}, nullptr);
    for (int count = 1; count <= 10000; count *= 10) {
        view->addJavascriptObject(std::make_shared<Wide>(count), "wide");
        curve.points.emplace_back(count, timeOfDispatch(*view, wideName(count / 2)));
    }
    return curve;
}

Curve growthWithViews()
{
    Curve curve{ "views", "A page call by the number of views", "views", "microseconds a call", {} };
    std::vector<std::unique_ptr<LoadedPage>> views;
    for (std::size_t count = 1; count <= 16; count *= 2) {
        while (views.size() < count)
            views.push_back(std::make_unique<LoadedPage>());
        curve.points.emplace_back(double(count), timeOfPageCall(*views.front(), 16, 400));
    }
    return curve;
}

} // namespace tq::bench
