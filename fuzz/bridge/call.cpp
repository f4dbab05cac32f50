// A page's call: the method's name in the first line, the message after it.

#include "TQWhiteBoardLib/NativeFunctions.h"
#include "bridge/AsyncResult.h"
#include "bridge/CallMessage.h"
#include "bridge/CallbackName.h"
#include "bridge/JSBUtil.h"
#include "bridge/NativeObjects.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"

#include <boost/json/parse.hpp>
#include <vector>

namespace tq::fuzz {
namespace {

struct Thrown { };

/// Methods that take and answer whatever there is.
struct Plain {
    std::shared_ptr<NSObject> object()
    {
        return nativeFunctions({
            { "echo:", [this](OptionalValue argument) { return received = std::move(argument); } },
            { "nothing:", [] {} },
            { "fail:", [] { throw Thrown(); } },
            { "echo::",
                [this](const OptionalValue& argument, const NSCompletion& completion) {
                    received = argument;
                    completion(argument, Complete::No);
                    completion(std::nullopt, Complete::Yes);
                } },
            { "later::", [this](NSCompletion completion) { kept = std::move(completion); } },
            { "fail::", [](const NSCompletion&) { throw Thrown(); } },
        });
    }

    OptionalValue received;
    NSCompletion kept;
};

struct Result final : ScriptResult {
    Result(std::vector<std::string>& scripts, PageCallback callback)
        : ScriptResult(std::move(callback))
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

/// Typed methods, which answer with what they were given, made of JSON and back.
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

// What a call has come to.
struct Outcome {
    std::string answer;
    std::vector<std::string> scripts;
};

void checkPlain(Plain& plain, const Outcome& outcome)
{
    const auto read = readMessage(outcome.answer);
    if (plain.received)
        expect(areAlike(read.at("data"), *plain.received), "a result is answered as it was");
    if (plain.kept) {
        expect(read.at("code") == -1 && outcome.scripts.empty(), "no result yet");
        expect(!read.contains("pending") || read.at("pending") == true, "a result is still to come");
        plain.kept("50%\"\n", Complete::Yes);
        plain.received = "50%\"\n";
    }
    for (const auto& script : outcome.scripts)
        checkScript(script, plain.received, &script == &outcome.scripts.back());
}

void checkTyped(int calls, const CallMessage& sent, const Outcome& outcome)
{
    const auto read = readMessage(outcome.answer);
    const auto& scripts = outcome.scripts;
    expect(calls <= 1 && (read.at("code") == 0) == (calls == 1), "what fits is called, once, and a mismatch is told");
    expect(
        scripts.empty() || (calls && scripts.size() == 2), "a stream sends and ends, and nothing follows a mismatch");
    const auto data = sent.data.value_or(nullptr);
    if (calls)
        expect(
            areAlike(read.at("data"), sent.callbackName && data.is_null() ? false : data), "it comes back as it was");
}

} // namespace

void check(std::string_view input)
{
    const auto lines = firstLineAndRest(input);
    const auto methodName = lines.first;
    const auto sent = CallMessage::read(lines.second);
    NativeObjects objects;
    Plain plain;
    objects.add(plain.object(), std::nullopt);
    objects.add(plain.object(), "a.b");
    Typed typed;
    objects.add(typed.object(), "typed");
    Outcome outcome;
    bool isMissed = false;
    try {
        outcome.answer = objects.call(
            methodName, lines.second,
            [&](PageCallback callback) { return std::make_shared<Result>(outcome.scripts, std::move(callback)); },
            [&](std::string_view name) {
                expect(name == methodName, "a missing method is told by the name that was asked for");
                isMissed = true;
            });
    } catch (const Thrown&) {
        expect(methodName.find("fail") != methodName.npos, "only what fails throws");
        return;
    }
    const bool isTyped = JSBUtil::parseNamespace(JSBUtil::trimmed(methodName)).first == "typed" && !isMissed;
    expect(isTyped || !typed.calls, "no other is called");
    if (isMissed) {
        const bool isAsked = sent.callbackName && sent.asksForMore;
        expect(outcome.answer == (isAsked ? R"({"code":-1,"data":"","pending":false})" : R"({"code":-1,"data":""})")
                && outcome.scripts.empty() && !plain.received && !plain.kept,
            "a missing method is told of, and nothing is called");
        return;
    }
    if (hasNonFinite(isTyped && typed.calls ? sent.data.value_or(nullptr) : plain.received.value_or(nullptr))) {
        expect(outcome.answer == "{}", "what JSON cannot hold is an empty map");
        return;
    }
    if (isTyped)
        checkTyped(typed.calls, sent, outcome);
    else
        checkPlain(plain, outcome);
    const OptionalValue question = boost::json::object{ { "name", methodName }, { "type", "all" } };
    if (readMessage(outcome.answer).at("code") == 0)
        expect(objects.hasMethod(question), "a method that answers is there when it is asked for");
}

} // namespace tq::fuzz
