#include "TQWhiteBoardLib/Answer.h"
#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/bridge/CallsWithoutPage.h"

#include <array>
#include <boost/describe/class.hpp>
#include <boost/describe/enum.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <limits>
#include <map>
#include <stdexcept>
#include <thread>

namespace tq::test {

struct Point {
    double x = 0;
    double y = 0;
};
BOOST_DESCRIBE_STRUCT(Point, (), (x, y))

enum class Colour { Red, Green };
BOOST_DESCRIBE_ENUM(Colour, Red, Green)

// A conversion of its own, which fails.
struct Picky { };
Picky tag_invoke(boost::json::value_to_tag<Picky>, const boost::json::value&) { throw 5; }

struct Unknown { };

namespace {

// What compiles, and what does not.

struct Overloaded {
    int operator()(int);
    int operator()(bool);
};
constexpr auto kGeneric = [](auto value) { return value; };
template <class Function> constexpr bool kFits = NativeFunction<Function>;

static_assert(kFits<void (*)()> && kFits<int (*)(int)> && kFits<int (*)(const std::string&, std::optional<double>)>);
static_assert(kFits<std::vector<Point> (*)(std::map<std::string, Colour>, std::variant<int, bool>&&)>);
static_assert(kFits<void (*)(Stream<int>)> && kFits<void (*)(std::string_view, const Stream<Point>&)>);
static_assert(kFits<OptionalValue (Unknown::*)(boost::json::array) const noexcept>);
static_assert(!kFits<int> && !kFits<Overloaded> && !kFits<decltype(kGeneric)>, "no one signature");
static_assert(!kFits<void (*)(Unknown)> && !kFits<void (*)(std::vector<Unknown>)> && !kFits<void (*)(int*)>);
static_assert(!kFits<void (*)(const char*)> && !kFits<void (*)(int&)> && !kFits<void (*)(int, std::string&)>);
static_assert(!kFits<Unknown (*)()> && !kFits<std::vector<Unknown> (*)()> && !kFits<Picky (*)()> && !kFits<int* (*)()>);
static_assert(!kFits<int (*)(Stream<int>)>, "an asynchronous function has no result");
static_assert(
    !kFits<void (*)(Stream<Unknown>)> && !kFits<void (*)(Stream<int>, int)> && !kFits<void (*)(Stream<int>&)>);

// A row is of the kind that its name says.
template <class Name, class Function>
concept MakesRow = std::constructible_from<NSMethod, Name, Function>;
static_assert(MakesRow<SyncMethodName, int (*)(int)> && !MakesRow<AsyncMethodName, int (*)(int)>);
static_assert(MakesRow<AsyncMethodName, void (*)(Stream<int>)> && !MakesRow<SyncMethodName, void (*)(Stream<int>)>);

static_assert(MakesRow<AsyncMethodName, void (*)(int, NSCompletion)> && kFits<void (*)(const NSCompletion&)>);
static_assert(!MakesRow<SyncMethodName, void (*)(NSCompletion)> && !kFits<int (*)(NSCompletion)>);

// Keys that are no texts, and several of a kind, are not JSON's.
static_assert(
    !JSONReadable<std::map<int, int>> && !JSONWritable<std::map<int, int>> && !kFits<std::map<int, int> (*)()>);
static_assert(!JSONReadable<std::multimap<std::string, int>> && JSONReadable<std::map<std::string, int>>);

// Rows belong to the class of their table, or to a base of it; functions to every one.
struct Named : NSObject {
    int f(int) const;
};
struct Derived final : Named { };
template <class Function>
concept MakesFunction = requires(Function f)
{
    nativeFunctions({ { "f:", f } });
};
template <class Class, class Function>
concept MakesTableRow = requires(Function f)
{
    NSClass::of<Class>("C", &NSObject::staticClass(), { { "f:", f } });
};
static_assert(MakesFunction<int (*)(int)> && !MakesFunction<decltype(&Named::f)>);
static_assert(MakesTableRow<Named, decltype(&Named::f)> && MakesTableRow<Derived, decltype(&Named::f)>);
static_assert(MakesTableRow<Named, int (*)(int)> && !MakesTableRow<NSObject, decltype(&Named::f)>);

static_assert(AnswerType<std::vector<Point>> && !AnswerType<Unknown> && !AnswerType<std::string_view>);

class Calculator : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const auto table = NSClass::of<Calculator>("Calculator", &NSObject::staticClass(),
            { { "negate:", &Calculator::negate }, { "plain:", &Calculator::plain }, { "times:", &Calculator::times },
                { "count::", &Calculator::count }, { "plain::", &Calculator::plainLater } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    int negate(int number) { return -number; }
    OptionalValue plain(OptionalValue argument) { return argument; }
    std::int64_t times(std::int32_t left, const std::int64_t& right) const noexcept { return left * right; }
    void count(int last, Stream<int> numbers)
    {
        for (int number = 1; number < last; ++number)
            numbers.send(number);
        numbers.finish(last);
        numbers.send(last + 1);
        numbers.finish();
    }
    void plainLater(OptionalValue argument, NSCompletion completion) const
    {
        completion(std::move(argument), Complete::Yes);
    }
};

class TypedFunctionsTest : public CallsWithoutPage {
protected:
    /// The answer to a call with that argument, as JSON: a value, or the text of what does not fit.
    std::string answer(std::string_view name, const std::string& argument)
    {
        const auto text = call(name, "{\"data\":" + argument + "}");
        const auto message = boost::json::parse(text);
        return (message.at("code") == 0 ? "" : "! ") + boost::json::serialize(message.at("data"));
    }
    /// What a function answers to that argument.
    template <class Function> std::string answerOf(Function function, const std::string& argument)
    {
        objects.add(nativeFunctions({ { "f:", std::move(function) } }), "n");
        return answer("n.f", argument);
    }
    template <class T> std::string echo(const std::string& argument)
    {
        return answerOf([](T value) { return value; }, argument);
    }
    static std::string script(const std::string& message, bool isLast)
    {
        return "try {f(JSON.parse(decodeURIComponent(\"" + message + "\")).data);"
            + (isLast ? "delete window.f; } catch(e){};" : "; } catch(e){};");
    }
};

int freeFunction(int left, int right) { return left - right; }

TEST_F(TypedFunctionsTest, TypedMethodsStandBesidePlainOnes)
{
    objects.add(std::make_shared<Calculator>(), "c");
    EXPECT_EQ(call("c.negate", R"({"data":5})"), R"({"code":0,"data":-5})");
    EXPECT_EQ(
        call(" c.negate\t", R"({"data":"5"})"), R"({"code":-1,"data":"c.negate: the argument is not an integer"})");
    EXPECT_EQ(answer("c.times", "[-2,4000000000]"), "-8000000000");
    EXPECT_EQ(call("c.plain", R"({"data":1,"_dscbstub":"f"})"), R"({"code":0,"data":1})");
    EXPECT_EQ(scripts, Texts{ script("{%22code%22:0,%22data%22:1}", true) });
    EXPECT_EQ(missed, Texts{});
}

TEST_F(TypedFunctionsTest, TheArgumentBecomesTheParameters)
{
    objects.add(
        nativeFunctions({
            { "nothing:", [] {} },
            { "free:", freeFunction },
            { "length:", [](std::string_view text) { return text.size(); } },
            { "orSeven:", [](std::optional<int> number) { return number.value_or(7); } },
            { "both:", [](const std::vector<int>& list, std::optional<bool>) { return list.size(); } },
            { "maybe:", [](bool is) { return is ? std::optional("yes") : std::nullopt; } },
            { "owner:", [own = std::make_unique<int>(2)]() mutable { return ++*own; } },
            { "sum::",
                [](int left, int right, const NSCompletion& completion) { completion(left + right, Complete::Yes); } },
        }),
        std::nullopt);
    EXPECT_EQ(answer("nothing", "[1,2]"), R"("")");
    EXPECT_EQ(answer("free", "[3,5]"), "-2");
    EXPECT_EQ(answer("length", R"("a\u0000b")"), "3");
    EXPECT_EQ(call("orSeven", std::nullopt), R"({"code":0,"data":7})");
    EXPECT_EQ(answer("orSeven", "1"), "1");
    EXPECT_EQ(answer("both", "[[1,2,3],null]"), "3");
    EXPECT_EQ(answer("maybe", "false"), R"("")");
    EXPECT_EQ(answer("owner", "0"), "3");
    EXPECT_EQ(call("sum", R"({"data":[1,2],"_dscbstub":"f"})"), R"({"code":0,"data":3})");
}

TEST_F(TypedFunctionsTest, WhatDoesNotFitIsToldAndNotCalled)
{
    int calls = 0;
    const auto twoParts = [&](int, const std::string&) { ++calls; };
    EXPECT_EQ(answerOf(twoParts, "5"), R"(! "n.f: the argument is not a list of 2")");
    EXPECT_EQ(answerOf(twoParts, R"([1,"",3])"), R"(! "n.f: the argument is not a list of 2")");
    EXPECT_EQ(answerOf(twoParts, R"([1,2])"), R"(! "n.f: argument 2 is not a text")");
    EXPECT_EQ(answerOf(twoParts, R"([null,2])"), R"(! "n.f: argument 1 is missing")");
    EXPECT_EQ(
        answerOf([&](const Point&) { ++calls; }, R"({"x":1})"), R"(! "n.f: the argument is not of the right form")");
    EXPECT_EQ(calls, 0);

    objects.add(nativeFunctions({ { "f::", [&](int, Stream<int>) { ++calls; } } }), "n");
    EXPECT_EQ(call("n.f", R"({"data":"secret","_dscbstub":"f"})"),
        R"({"code":-1,"data":"n.f: the argument is not an integer"})");
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(scripts, Texts{}) << "nothing follows";
    EXPECT_EQ(missed, Texts{}) << "there is such a method";
}

TEST_F(TypedFunctionsTest, ValuesAreConvertedExactlyOrNotAtAll)
{
    const std::string no = R"(! "n.f: the argument is )";
    const std::string notInteger = no + R"(not an integer")";
    const std::string outOfRange = no + R"(out of range")";
    const std::string wrongForm = no + R"(not of the right form")";
    EXPECT_EQ(echo<int>("2.0"), "2");
    EXPECT_EQ(echo<int>("2147483648"), outOfRange);
    EXPECT_EQ(echo<int>("[1]"), notInteger);
    EXPECT_EQ(echo<unsigned>("-1"), outOfRange);
    EXPECT_EQ(echo<std::int64_t>("9223372036854775808.0"), outOfRange);
    EXPECT_EQ(echo<std::uint64_t>("18446744073709551615"), "18446744073709551615");
    EXPECT_EQ(echo<NSInteger>("4294967296"), sizeof(NSInteger) == 8 ? "4294967296" : outOfRange);
    EXPECT_EQ(echo<double>("3"), "3");
    EXPECT_EQ(echo<double>("1e999"), outOfRange);
    EXPECT_EQ(echo<double>(R"("1")"), no + R"(not a number")");
    EXPECT_EQ(echo<bool>("1"), no + R"(not true or false")");
    EXPECT_EQ(echo<std::string>(R"("\u0000é\"")"), R"("\u0000é\"")");
    EXPECT_EQ(echo<Colour>(R"("Green")"), R"("Green")");
    EXPECT_EQ(echo<Colour>(R"("Blue")"), wrongForm);
    EXPECT_EQ(echo<Point>(R"({"y":2,"x":1})"), R"({"x":1,"y":2})");
    EXPECT_EQ(echo<Point>(R"([1,2])"), no + R"(not a map")");
    EXPECT_EQ(echo<std::vector<int>>("{}"), no + R"(not a list")");
    EXPECT_EQ((echo<std::array<int, 2>>("[1,2,3]")), wrongForm);
    EXPECT_EQ((echo<std::tuple<int, bool>>("[1,true]")), "[1,true]");
    EXPECT_EQ((echo<std::map<std::string, int>>(R"({"a":1,"a":2})")), R"({"a":2})");
    EXPECT_EQ((echo<std::variant<int, std::string>>("[]")), wrongForm);
    EXPECT_EQ(echo<boost::json::object>("[]"), no + R"(not a map")");
    EXPECT_EQ(echo<boost::json::value>("null"), "null");
    EXPECT_EQ(answerOf([](Picky) {}, "1"), wrongForm) << "its conversion has thrown";
}

TEST_F(TypedFunctionsTest, ExceptionsLeaveAFunctionAsTheyLeaveAMethod)
{
    EXPECT_THROW(answerOf([](int) -> int { throw std::runtime_error("on purpose"); }, "1"), std::runtime_error);
    objects.add(nativeFunctions({ { "f::",
                    [](Stream<int> numbers) {
                        numbers.send(1);
                        throw std::runtime_error("on purpose");
                    } } }),
        "n");
    EXPECT_THROW(call("n.f", R"({"_dscbstub":"f"})"), std::runtime_error);
    EXPECT_EQ(scripts.size(), 2U) << "the stream has ended";
}

TEST_F(TypedFunctionsTest, StreamsEndOnceHoweverTheyEnd)
{
    // In one expression it is out of bounds for g++ 14, which it is not.
    const auto value = [](int number) {
        std::string text = "{%22code%22:0,%22data%22:";
        text += std::to_string(number);
        return text + "}";
    };
    const std::string none = "{%22code%22:0}";
    std::optional<Stream<int>> kept;
    objects.add(nativeFunctions({
                    { "keep::", [&](const Stream<int>& numbers) { kept = numbers; } },
                    { "drop::", [](Stream<std::optional<int>> numbers) { numbers.send(std::nullopt); } },
                }),
        "n");
    objects.add(std::make_shared<Calculator>(), "c");
    EXPECT_EQ(call("c.count", R"({"data":2,"_dscbstub":"f"})"), R"({"code":0,"data":2})");
    EXPECT_EQ(scripts, (Texts{ script(value(1), false), script(value(2), true) })) << "nothing after the end";

    scripts.clear();
    EXPECT_EQ(call("n.drop", R"({"_dscbstub":"f"})"), R"({"code":0,"data":null})");
    EXPECT_EQ(scripts, (Texts{ script("{%22code%22:0,%22data%22:null}", false), script(none, true) }));

    scripts.clear();
    EXPECT_EQ(call("n.keep", R"({"_dscbstub":"f"})"), R"({"code":-1,"data":""})") << "still to come";
    std::thread([numbers = *kept] { numbers.send(5); }).join();
    kept->send(6);
    kept.reset();
    EXPECT_EQ(scripts, (Texts{ script(value(5), false), script(value(6), false), script(none, true) }));
}

TEST(Answer, OfAnythingIsNeverMissing)
{
    EXPECT_EQ(Answer<int>::read("sum", std::nullopt).error, "sum: the answer is missing");
    EXPECT_EQ(Answer<OptionalValue>::read("sum", std::nullopt).value, std::optional<OptionalValue>(std::in_place));
}

} // namespace
} // namespace tq::test
