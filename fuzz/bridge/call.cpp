// A page's call: the method's name in the first line, the message after it.

#include "TQWhiteBoardLib/NativeFunctions.h"
#include "bridge/AsyncResult.h"
#include "bridge/CallMessage.h"
#include "bridge/CallbackName.h"
#include "bridge/JSBUtil.h"
#include "bridge/NativeObjects.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "platform/Foundation/NSNumberReading.h"

#include <array>
#include <boost/json/parse.hpp>
#include <regex>
#include <vector>

namespace tq::fuzz {
namespace {

struct Thrown { };

class Service final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Service", &NSObject::staticClass(),
            { { "echo:", &Service::echo }, { "nothing:", &Service::nothing }, { "fail:", &Service::fail },
                { "echo::", &Service::stream }, { "later::", &Service::later }, { "fail::", &Service::failLater } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue echo(OptionalValue argument) { return received = std::move(argument); }
    OptionalValue nothing(OptionalValue) { return std::nullopt; }
    OptionalValue fail(OptionalValue) { throw Thrown(); }
    void stream(OptionalValue argument, NSCompletion completion)
    {
        received = argument;
        completion(std::move(argument), Complete::No);
        completion(std::nullopt, Complete::Yes);
    }
    void later(OptionalValue, NSCompletion completion) { kept = std::move(completion); }
    void failLater(OptionalValue, NSCompletion) { throw Thrown(); }

    OptionalValue received;
    NSCompletion kept;
};

struct Result final : AsyncResult {
    Result(std::vector<std::string>& scripts, PageCallback callback)
        : AsyncResult(std::move(callback))
        , m_scripts(scripts)
    {
    }
    void queueScript(std::string_view script) override { m_scripts.emplace_back(script); }
    std::vector<std::string>& m_scripts;
};

// Whatever the message: an answer is a map of exactly a code and the data; where nothing has come of an asynchronous
// call whose page asks, also of whether something will.
boost::json::object readMessage(std::string_view text)
{
    boost::json::error_code failure;
    boost::json::parse_options options;
    options.max_depth = 512;
    auto value = boost::json::parse({ text.data(), text.size() }, failure, {}, options);
    expect(!failure && value.is_object(), "an answer is a JSON map");
    const auto& answer = value.get_object();
    const auto* pending = answer.if_contains("pending");
    expect(!pending || (pending->is_bool() && answer.at("code") == -1 && answer.at("data") == ""),
        "what is still to come is told where nothing has come");
    expect(answer.size() == (pending ? 3U : 2U) && answer.contains("data") && answer.contains("code")
            && answer.at("code").is_int64(),
        "an answer has exactly a code and data");
    const auto code = answer.at("code").get_int64();
    expect(code == 0 || code == -1, "the code is 0 or -1");
    return answer;
}

// Cuts an expected piece off the script.
void takePiece(std::string_view& script, std::string_view piece)
{
    expect(script.starts_with(piece), "a script is of one form");
    script.remove_prefix(piece.size());
}

void checkScript(std::string_view script, const OptionalValue& data, bool isLast)
{
    takePiece(script, "try {");
    const auto name = script.substr(0, script.find('('));
    expect(isCallable(name), "a script calls a plain name");
    takePiece(script, name);
    takePiece(script, "(JSON.parse(decodeURIComponent(\"");
    const auto literal = script.substr(0, script.find('"'));
    expect(std::ranges::none_of(literal, [](char character) { return character == '\\' || (character & '\xE0') == 0; }),
        "nothing ends or escapes the text of a script");
    takePiece(script, literal);
    takePiece(script, "\")).data);");
    if (isLast) {
        takePiece(script, "delete window.");
        takePiece(script, name);
    }
    takePiece(script, "; } catch(e){};");
    expect(script.empty(), "nothing follows a script");
    const auto message = decodeURIComponent(literal);
    expect(message.has_value(), "the page can decode a result");
    const boost::json::value empty("");
    expect(areAlike(readMessage(*message).at("data"), data ? *data : empty), "a result reaches the page as it was");
}

void check(std::string_view methodName, std::optional<std::string_view> message)
{
    NativeObjects objects;
    const auto service = std::make_shared<Service>();
    objects.add(service, std::nullopt);
    objects.add(service, "a.b");
    std::vector<std::string> scripts;
    int missed = 0;
    std::string answer;
    try {
        answer = objects.call(
            methodName, message,
            [&](PageCallback callback) { return std::make_shared<Result>(scripts, std::move(callback)); },
            [&](std::string_view name) {
                expect(name == methodName, "a missing method is told by the name that was asked for");
                ++missed;
            });
    } catch (const Thrown&) {
        expect(methodName.find("fail") != methodName.npos, "only what fails throws");
        return;
    }
    if (service->received && hasNonFinite(*service->received)) {
        expect(answer == "{}", "what JSON cannot hold is an empty map");
        return;
    }
    const auto read = readMessage(answer);
    expect(!missed || read.at("code") == -1, "a missing method's code is -1");
    if (service->received)
        expect(areAlike(read.at("data"), *service->received), "a result is answered as it was");
    if (service->kept) {
        expect(read.at("code") == -1 && scripts.empty(), "no result yet");
        expect(!read.contains("pending") || read.at("pending") == true, "a result is still to come");
        service->kept("50%\"\n", Complete::Yes);
        service->received = "50%\"\n";
    }
    for (const auto& script : scripts)
        checkScript(script, service->received, &script == &scripts.back());
    const OptionalValue question = boost::json::object{ { "name", methodName }, { "type", "all" } };
    if (read.at("code") == 0)
        expect(objects.hasMethod(question), "a method that answers is there when it is asked for");
}

// Functions with types answer with what they were given, made of JSON and back.
struct Typed {
    std::shared_ptr<NSObject> object()
    {
        return nativeFunctions({
            { "integer:", [this](std::int64_t number) { return ++calls, number; } },
            { "small:", [this](signed char number) { return ++calls, number; } },
            { "number:", [this](double number) { return ++calls, number; } },
            { "text:", [this](std::string_view text) { return ++calls, std::string(text); } },
            { "pair:",
                [this](
                    std::int32_t left, const std::vector<double>& right) { return ++calls, std::pair(left, right); } },
            { "later::",
                [this](std::optional<bool> is, Stream<bool> sink) { ++calls, sink.send(is.value_or(false)); } },
        });
    }

    int calls = 0;
};

// Whether a value that was sent fits the function, by plain readings of it.
bool fits(std::string_view function, const boost::json::value& value)
{
    const auto isWithin = [](const boost::json::value& number, std::int64_t least, std::int64_t greatest) {
        const auto whole = wholeNumber(&number);
        return whole && *whole >= least && *whole <= greatest;
    };
    if (function == "integer")
        return wholeNumber(&value).has_value();
    if (function == "small")
        return isWithin(value, -128, 127);
    if (function == "number")
        return value.is_number() && !hasNonFinite(value);
    if (function == "text")
        return value.is_string();
    if (function == "later")
        return value.is_null() || value.is_bool();
    const auto* list = value.if_array();
    return list && list->size() == 2 && isWithin(list->at(0), INT32_MIN, INT32_MAX) && list->at(1).is_array()
        && std::ranges::all_of(list->at(1).get_array(), [](const auto& number) { return number.is_number(); });
}

// Whether two values are equal, a number with a fraction of nothing being a whole one.
bool areEqual(const boost::json::value& left, const boost::json::value& right)
{
    if (left.is_array() && right.is_array())
        return std::ranges::equal(left.get_array(), right.get_array(), areEqual);
    if (left.is_number() && right.is_number())
        return areAlike(left.to_number<double>(), right.to_number<double>());
    return left == right;
}

void checkTyped(std::string_view methodName, std::optional<std::string_view> message)
{
    NativeObjects objects;
    Typed typed;
    objects.add(typed.object(), "typed");
    std::vector<std::string> scripts;
    int missed = 0;
    const auto answer = objects.call(
        methodName, message,
        [&](PageCallback callback) { return std::make_shared<Result>(scripts, std::move(callback)); },
        [&](std::string_view) { ++missed; });
    const auto fullName = JSBUtil::trimmed(methodName);
    const auto sent = CallMessage::read(message);
    const auto data = sent.data.value_or(nullptr);
    const auto [nameSpace, function] = JSBUtil::parseNamespace(fullName);
    if (missed || nameSpace != "typed") {
        const bool asks = sent.callbackName && sent.asksForMore;
        expect(
            !typed.calls && answer == (asks ? R"({"code":-1,"data":"","pending":false})" : R"({"code":-1,"data":""})"),
            "nothing was called");
        return;
    }
    expect((typed.calls == 1) == fits(function, data), "what fits is called, once, and nothing else");
    if (typed.calls && hasNonFinite(data)) {
        expect(answer == "{}", "what JSON cannot hold is an empty map");
        return;
    }
    const auto read = readMessage(answer);
    expect((read.at("code") == 0) == (typed.calls == 1), "a mismatch is told");
    if (typed.calls) {
        expect(scripts.empty() || scripts.size() == 2, "a stream sends and ends");
        expect(
            areEqual(read.at("data"), sent.callbackName && data.is_null() ? false : data), "it comes back as it was");
        return;
    }
    const std::string reason = std::string(read.at("data").as_string());
    static const std::regex kReasons(": (the argument|argument [12]) (is missing|is out of range|is not "
                                     "(an integer|a number|true or false|a text|a list( of 2)?|of the right form))");
    expect(reason.starts_with(fullName) && std::regex_match(reason.substr(fullName.size()), kReasons),
        "the reason says nothing of the data");
    expect(scripts.empty(), "nothing follows a mismatch");
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto text = tq::fuzz::textOf(data, size);
    const auto [name, message] = tq::fuzz::firstLineAndRest(text);
    const auto given = name.size() == text.size() ? std::nullopt : std::optional(message);
    tq::fuzz::check(name, given);
    tq::fuzz::checkTyped(name, given);
    return 0;
}
