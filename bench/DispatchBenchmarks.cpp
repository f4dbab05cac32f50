#include "Benchmarks.h"
#include "Pages.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace tq::bench {

namespace {

class Echo final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Echo", &NSObject::staticClass(), { { "echo:", &Echo::echo } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue echo(OptionalValue argument) { return argument; }
};

// The same method with types, and with a conversion by hand.
class Adder final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table(
            "Adder", &NSObject::staticClass(), { { "typed:", &Adder::typed }, { "byHand:", &Adder::byHand } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    std::int64_t typed(std::int64_t left, std::int64_t right) { return left + right; }
    OptionalValue byHand(OptionalValue argument)
    {
        const auto* list = argument ? argument->if_array() : nullptr;
        if (!list || list->size() != 2)
            return std::nullopt;
        boost::json::error_code noLeft;
        boost::json::error_code noRight;
        const auto left = (*list)[0].to_number<std::int64_t>(noLeft);
        const auto right = (*list)[1].to_number<std::int64_t>(noRight);
        if (noLeft || noRight)
            return std::nullopt;
        return left + right;
    }
};

constexpr std::string_view kMessage = R"({"data":{"id":7,"name":"small","list":[1,2,3]}})";
constexpr std::string_view kSum = R"({"data":[12345,678]})";
constexpr int kCalls = 20000;
// The two sides differ by little: short blocks, many of them, so that what else runs hits few.
constexpr int kShortCalls = 500;
constexpr int kManyRounds = 801;

template <class Operation> Seconds time(int calls, const Operation& operation)
{
    const auto start = Clock::now();
    for (int i = 0; i < calls; ++i)
        operation();
    return Clock::now() - start;
}

Benchmark typedBenchmark(DWKWebView& view)
{
    view.addJavascriptObject(std::make_shared<Adder>(), "adder");
    bool isSame = true;
    const auto calls = [&](std::string_view name) {
        return [&view, &isSame, name] {
            return time(kShortCalls, [&] { isSame = view.call(name, kSum) == R"({"code":0,"data":13023})" && isSame; });
        };
    };
    auto benchmark = compare("call:: alone, method with types", "the same converted by hand", 1.05, kShortCalls,
        calls("adder.typed"), calls("adder.byHand"), kManyRounds);
    if (!isSame) {
        std::cerr << "bench: a sum is wrong\n";
        std::exit(1);
    }
    return benchmark;
}

} // namespace

std::vector<Benchmark> dispatchBenchmarks()
{
    const auto view = DWKWebView::initWithFrame({}, nullptr);
    view->addJavascriptObject(std::make_shared<Echo>(), "app");
    const auto expected = view->call("app.echo", kMessage);
    std::size_t bytes = 0;
    auto benchmark = compare(
        "call:: alone, small message", "JSON parse and serialise", 2.0, kCalls,
        [&] { return time(kCalls, [&] { bytes += view->call("app.echo", kMessage).size(); }); },
        [&] {
            return time(kCalls, [&] {
                auto message = boost::json::parse(kMessage);
                boost::json::value answer = { { "code", 0 }, { "data", nullptr } };
                answer.as_object()["data"] = std::move(message.as_object()["data"]);
                bytes += boost::json::serialize(answer).size();
            });
        });
    // The work is done, and the same: the compiler cannot leave it out.
    if (bytes != expected.size() * kCalls * 2 * static_cast<std::size_t>(benchmark.rounds + 1)) {
        std::cerr << "bench: the two sides answer differently\n";
        std::exit(1);
    }
    benchmark.note = std::to_string(std::lround(1 / benchmark.subjectTime.count())) + " calls a second";
    return { benchmark, typedBenchmark(*view) };
}

} // namespace tq::bench
