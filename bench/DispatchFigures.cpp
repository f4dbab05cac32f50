#include "Figures.h"
#include "Pages.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <cmath>
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

constexpr std::string_view kMessage = R"({"data":{"id":7,"name":"small","list":[1,2,3]}})";
constexpr int kCalls = 20000;

} // namespace

std::vector<Figure> dispatchFigures()
{
    const auto view = DWKWebView::initWithFrame({}, nullptr);
    view->addJavascriptObject(std::make_shared<Echo>(), "app");
    const auto expected = view->call("app.echo", kMessage);
    auto time = [](const auto& operation) {
        const auto start = Clock::now();
        for (int i = 0; i < kCalls; ++i)
            operation();
        return Seconds(Clock::now() - start);
    };
    std::size_t bytes = 0;
    auto figure = compare(
        "call:: alone, small message", "JSON parse and serialise", 2.0, kCalls,
        [&] { return time([&] { bytes += view->call("app.echo", kMessage).size(); }); },
        [&] {
            return time([&] {
                auto message = boost::json::parse(kMessage);
                boost::json::value answer = { { "code", 0 }, { "data", nullptr } };
                answer.as_object()["data"] = std::move(message.as_object()["data"]);
                bytes += boost::json::serialize(answer).size();
            });
        });
    // The work is done, and the same: the compiler cannot leave it out.
    if (bytes != expected.size() * kCalls * 2 * static_cast<std::size_t>(figure.rounds + 1)) {
        std::cerr << "bench: the two sides answer differently\n";
        std::exit(1);
    }
    figure.note = std::to_string(std::lround(1 / figure.subjectTime.count())) + " calls a second";
    return { figure };
}

} // namespace tq::bench
