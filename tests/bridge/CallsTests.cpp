#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/support/CallWays.h"
#include "tests/support/PageTest.h"

#include <boost/json/serialize.hpp>
#include <limits>
#include <stdexcept>

namespace tq::test {
namespace {

using Texts = std::vector<std::string>;

// The barest page half there can be: it reports every message as it came.
// What it returns, a Promise, is nothing that the engine can carry.
constexpr const char* kPage = "<script>window._handleMessageFromNative = async m => report(m)</script>";

class CallsTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({}, nullptr));
    }

    void ready() { call("_dsb.dsinit", "{}"); }
    // What the page gets for a call with that argument.
    std::string resultOf(const std::string& method, const std::string& argument)
    {
        return std::string(call(method, "{\"data\":" + argument + "}").value_or("null").as_string());
    }
    // The messages that the page was sent since, as JSON with the members in this order.
    Texts messages(std::size_t from)
    {
        Texts texts;
        for (; from < reports->values.size(); ++from) {
            const auto& message = reports->values[from]->as_object();
            texts.push_back(boost::json::serialize(
                boost::json::array{ message.at("method"), message.at("callbackId"), message.at("data") }));
        }
        return texts;
    }
};

/// What holds for answers whichever way they come.
class AnswersTest : public CallsTest, public testing::WithParamInterface<Way> {
protected:
    void SetUp() override
    {
        CallsTest::SetUp();
        load(bareHalf(GetParam()) + kPage);
    }
    void answer(const std::string& message)
    {
        const auto text = boost::json::serialize(boost::json::string("{\"data\":" + message + "}"));
        EXPECT_EQ(ask("begin('_dsb.returnValue', " + text + ")"),
            GetParam() == Way::Prompts ? OptionalValue(R"({"code":0,"data":""})") : std::nullopt)
            << message;
    }
};

TEST_F(CallsTest, CallsWaitForThePageAndGoAtOnceAfterwards)
{
    load(kPage);
    const std::vector<std::string> noTexts;
    view->callHandler("first", { 1, "zwei", nullptr, { { "k", "\"\\\n</script>\xE2\x80\xA8" } } }, nullptr);
    view->callHandler("second", boost::json::array{});
    view->callHandler("third", [](const OptionalValue&) {});
    runPending();
    EXPECT_EQ(reports->values.size(), 1U) << "nothing is sent before the page is ready";
    const auto loaded = reports->values.size();
    view->evaluateJavaScript("prompt('_dsbridge=_dsb.dsinit', '{}')");
    waitForReports(loaded + 3);
    const Texts expected{ R"(["first",0,"[1,\"zwei\",null,{\"k\":\"\\\"\\\\\\n</script>)"
                          "\xE2\x80\xA8"
                          R"(\"}]"])",
        R"(["second",1,"[]"])", R"(["third",2,"[]"])" };
    EXPECT_EQ(messages(loaded), expected);

    ready();
    const auto again = reports->values.size();
    view->callHandler("fourth", { std::numeric_limits<double>::infinity() });
    waitForReports(again + 1);
    EXPECT_EQ(messages(again), (Texts{ R"(["fourth",3,"{}"])" })) << "a second readiness sends nothing";

    load(kPage);
    const auto reloaded = reports->values.size();
    view->callHandler("fifth", boost::json::array{});
    waitForReports(reloaded + 1);
    EXPECT_EQ(messages(reloaded), (Texts{ R"(["fifth",4,"[]"])" })) << "a later page need not say that it is ready";
}

TEST_F(CallsTest, OneCallbackTakesAllAnswersAndMayDoAsItLikesMeanwhile)
{
    load(kPage);
    std::vector<int> counts;
    // Takes the last answer while it takes the second.
    view->callHandler("count", [this, &counts, count = 0](const OptionalValue&) mutable {
        counts.push_back(++count);
        if (count == 2) {
            // Enough to move every entry of the table.
            for (int calls = 0; calls < 100; ++calls)
                view->callHandler("more", [](const OptionalValue&) {});
            view->call("_dsb.returnValue", R"({"data":{"id":0,"complete":true}})");
            counts.push_back(++count);
        }
    });
    view->setJavascriptCloseWindowListener([this, &counts, count = 10]() mutable {
        counts.push_back(++count);
        if (count == 12)
            view->closePage({});
        if (count >= 13)
            view->setJavascriptCloseWindowListener({});
        counts.push_back(count);
    });
    for (int answers = 0; answers < 3; ++answers)
        view->call("_dsb.returnValue", R"({"data":{"id":0}})");
    EXPECT_EQ(counts, (std::vector{ 1, 2, 3, 4 }));
    counts.clear();
    for (int times = 0; times < 4; ++times)
        EXPECT_EQ(call("_dsb.closePage", "{}"), OptionalValue(R"({"code":0,"data":""})"));
    EXPECT_EQ(counts, (std::vector{ 11, 11, 12, 13, 13, 13 }));
}

TEST_F(CallsTest, AListInBracesIsOneArgument)
{
    load(kPage);
    ready();
    const auto before = reports->values.size();
    const boost::json::array list{ 1, 2 };
    view->callHandler("one", { list });
    view->callHandler("both", list);
    waitForReports(before + 2);
    EXPECT_EQ(messages(before), (Texts{ R"(["one",0,"[[1,2]]"])", R"(["both",1,"[1,2]"])" }));
}

TEST_P(AnswersTest, AnswersReachTheirCallUntilTheLast)
{
    Texts answers;
    auto take = [&](const std::string& name) {
        return [&answers, name](const OptionalValue& value) {
            answers.push_back(name + (value ? boost::json::serialize(*value) : "absent"));
        };
    };
    view->callHandler("a", take("a:"));
    view->callHandler("b", take("b:"));
    view->callHandler("nobody listens", boost::json::array{});
    struct {
        const char* message;
        Texts expected;
    } const cases[] = {
        { R"({"id":0,"data":1,"complete":false})", { "a:1" } },
        { R"({"id":0,"data":{"deep":[1]}})", { "a:{\"deep\":[1]}" } },
        { R"({"id":1.0,"data":null,"complete":"no"})", { "b:absent" } },
        { R"({"id":0,"data":2,"complete":true})", { "a:2" } },
        { R"({"id":0,"data":3,"complete":true})", {} },
        { R"({"id":2,"complete":true})", {} },
        { R"(null)", {} },
        { R"({"id":1,"complete":1})", { "b:absent" } },
        { R"({"id":1,"data":"gone"})", {} },
    };
    for (const auto& [message, expected] : cases) {
        answers.clear();
        answer(message);
        EXPECT_EQ(answers, expected) << message;
    }
}

TEST_P(AnswersTest, CallbacksMayFailWhichEndsTheProgramInDebugMode)
{
    view->callHandler("loop", [](const OptionalValue&) { throw std::runtime_error("a faulty callback"); });
    answer(R"({"id":0})");
    EXPECT_EQ(countOfLine("a faulty callback"), 1);
    answer(R"({"id":0,"complete":true})");
    answer(R"({"id":0,"complete":true})");
    EXPECT_EQ(countOfLine("a faulty callback"), 2) << "the last answer takes the call away, fault or not";
    view->setDebugMode(DebugMode::On);
    view->callHandler("loop", [](const OptionalValue&) { throw std::runtime_error("a faulty callback"); });
    EXPECT_DEATH(answer(R"({"id":1})"), "a faulty callback");
}

TEST_F(CallsTest, AnAnswerThatIsTheValueOfTheScriptMayEndTheProgramToo)
{
    load("<script>window._handleMessageFromNative = m =>"
         " JSON.stringify({ data: { id: m.callbackId, data: 7, complete: true } })</script>");
    ready();
    const auto fail = [&] {
        int calls = 0;
        view->callHandler("now", [&](const OptionalValue&) {
            ++calls;
            throw std::runtime_error("a faulty callback");
        });
        runUntil([&] { return calls; }, "the page has answered");
    };
    fail();
    EXPECT_EQ(countOfLine("a faulty callback"), 1);
    view->setDebugMode(DebugMode::On);
    EXPECT_DEATH(fail(), "a faulty callback");
}

TEST_F(CallsTest, ThePageAsksForNativeMethods)
{
    const auto sync = [] {};
    const auto async = [](const NSCompletion&) {};
    const auto service
        = nativeFunctions({ { "both:", sync }, { "both::", async }, { "one:", sync }, { "later:done:", async } });
    view->addJavascriptObject(service, "a.b");
    view->addJavascriptObject(service, std::nullopt);
    load();
    struct {
        const char* arguments;
        const char* data;
    } const cases[] = {
        { R"({"name":"a.b.both","type":"all"})", "1" },
        { R"({"name":" \ta.b.one ","type":" syn\t"})", "1" },
        { R"({"name":"a.b.one","type":"asyn"})", "0" },
        { R"({"name":"later","type":"syn"})", "0" },
        { R"({"name":"_dsb.dsinit","type":"syn"})", "1" },
        { R"({"name":"_dsb.dsinit","type":"ALL"})", "0" },
        { R"({"name":"a.b.one:","type":"all"})", "0" },
        { R"({"name":"a.b.none","type":"all"})", "0" },
        { R"({"name":"a.b.isEqual","type":"all"})", "0" },
        { R"({"type":"all"})", "0" },
        { R"({"name":"a.b.one"})", "0" },
        { R"(null)", "0" },
    };
    for (const auto& [arguments, data] : cases)
        EXPECT_EQ(resultOf("_dsb.hasNativeMethod", arguments), std::string(R"({"code":0,"data":)") + data + "}")
            << arguments;
    const std::string refused = R"({"code":-1,"data":""})";
    EXPECT_EQ(call("_dsb.dsinit", R"({"_dscbstub":"f"})"), OptionalValue(refused)) << "none of them is asynchronous";
    view->removeJavascriptObject("_dsb");
    EXPECT_EQ(call("_dsb.dsinit", "{}"), OptionalValue(refused)) << "an application may take them away";
}

TEST_P(AnswersTest, TypedCallsBringAnswersOfThatType)
{
    ready();
    const auto before = reports->values.size();
    std::vector<std::optional<int>> sums;
    Texts errors;
    view->callHandler<int>(
        "sum",
        [&](const Answer<int>& sum) {
            sums.push_back(sum.value);
            errors.push_back(sum.error);
        },
        3, "vier", std::vector{ 0.5 }, OptionalValue());
    waitForReports(before + 1);
    EXPECT_EQ(messages(before), Texts{ R"(["sum",0,"[3,\"vier\",[0.5],null]"])" });
    for (const char* data : { "7", "\"secret\"", "2147483648", "null", "8" })
        answer(std::string(R"({"id":0,"data":)") + data + "}");
    EXPECT_EQ(sums, (std::vector<std::optional<int>>{ 7, std::nullopt, std::nullopt, std::nullopt, 8 }));
    EXPECT_EQ(errors,
        (Texts{ "", "sum: the answer is not an integer", "sum: the answer is out of range",
            "sum: the answer is missing", "" }));
}

INSTANTIATE_TEST_SUITE_P(
    , AnswersTest, testing::Values(Way::Messages, Way::Prompts), testing::PrintToStringParamName());

} // namespace
} // namespace tq::test
