// The page's process is killed in the middle of whatever a page and the application do together.

#include "tests/support/Engine.h"
#include "tests/support/PageWindowTest.h"
#include "tests/support/Processes.h"

#include "TQWhiteBoardLib/NativeFunctions.h"

#include <array>
#include <atomic>
#include <stdexcept>
#include <unistd.h>

namespace tq::test {
namespace {

// Asks its user later, or never.
class Delegate final : public WKUIDelegate {
public:
    void runJavaScriptConfirmPanelWithMessage(
        WKWebView&, std::string_view, const WKFrameInfo&, std::function<void(bool)> completion) override
    {
        pending = std::move(completion);
    }
    std::function<void(bool)> pending;
};

class WebProcessFaultTest : public PageWindowTest {
protected:
    void SetUp() override
    {
        PageWindowTest::SetUp();
        m_ends.emplace(EngineEvents::Crashes);
        view->addJavascriptObject(
            nativeFunctions({ { "sync:",
                                  [this](OptionalValue value) {
                                      ++calls;
                                      if (const auto now = std::exchange(inTheMiddle, nullptr))
                                          now();
                                      return value;
                                  } },
                { "stream::", [this](OptionalValue, NSCompletion completion) { kept = std::move(completion); } } }),
            "service");
    }
    void TearDown() override
    {
        kept = nullptr;
        PageWindowTest::TearDown();
    }
    // Nothing runs on the main loop meanwhile: the view has not heard of it yet.
    void killPage()
    {
        m_endsBefore = m_ends->count();
        killPages(getpid());
    }
    void waitForTheEnd()
    {
        runUntil([&] { return m_ends->count() > m_endsBefore; }, "the view has heard of the end of its page's process");
    }
    // The next page is there, and calls go both ways.
    void expectWorks()
    {
        load("<script>window.works = v => report(v); window._handleMessageFromNative = m => report(m.method)</script>");
        EXPECT_EQ(call("service.sync", R"({"data":7})"), OptionalValue(R"({"code":0,"data":7})"));
        EXPECT_EQ(ask("1 + 1"), OptionalValue(2));
        call("_dsb.dsinit", "{}");
        call("service.stream", R"({"_dscbstub":"works"})");
        ASSERT_TRUE(kept);
        auto count = reports->values.size();
        std::exchange(kept, nullptr)("streamed", Complete::Yes);
        waitForReports(count + 1);
        EXPECT_EQ(reports->values.back(), OptionalValue("streamed"));
        view->callHandler("called", boost::json::array{});
        waitForReports(count + 2);
        EXPECT_EQ(reports->values.back(), OptionalValue("called"));
    }

    // What happens in the middle of the next call.
    std::function<void()> inTheMiddle;
    NSCompletion kept;
    int calls = 0;

private:
    std::optional<EngineEvents> m_ends;
    int m_endsBefore = 0;
};

constexpr const char* kCall = "prompt('_dsbridge=service.sync', '{}'); report('ran on')";

TEST_F(WebProcessFaultTest, InTheMiddleOfASynchronousCall)
{
    const std::array<std::pair<const char*, std::function<void()>>, 5> rows{ {
        { "the method returns", [this] { killPage(); } },
        { "the method throws",
            [this] {
                killPage();
                throw std::runtime_error("a faulty method");
            } },
        { "the method calls the page",
            [this] {
                killPage();
                view->callHandler("nobody", boost::json::array{});
                view->evaluateJavaScript("report('nobody')");
            } },
        // As one does that shows a dialog of the toolkit.
        { "the method runs the main loop",
            [this] {
                killPage();
                if (kEngine.goesOnWithinCalls)
                    waitForTheEnd();
                else
                    runPending();
            } },
        { "the method loads another page",
            [this] {
                killPage();
                view->loadUrl(pageWith("another"));
            } },
    } };
    for (const auto& [name, happens] : rows) {
        SCOPED_TRACE(name);
        load();
        const int before = calls;
        const auto count = reports->values.size();
        inTheMiddle = happens;
        view->evaluateJavaScript(kCall);
        runUntil([&] { return calls > before; }, "the method is called");
        waitForTheEnd();
        runPending();
        EXPECT_EQ(calls, before + 1);
        EXPECT_EQ(reports->values.size(), count);
        expectWorks();
    }
}

TEST_F(WebProcessFaultTest, InTheMiddleOfACallThatDropsTheView)
{
    load();
    inTheMiddle = [this] {
        killPage();
        view.reset();
    };
    view->evaluateJavaScript(kCall);
    runUntil([this] { return !view; }, "the view is dropped");
}

TEST_F(WebProcessFaultTest, InTheMiddleOfAStream)
{
    load("<script>var n = 0; window.cb = v => { if (++n === 50) report('some'); }</script>");
    call("service.stream", R"({"_dscbstub":"cb"})");
    const auto count = reports->values.size();
    std::atomic<int> sent = 0;
    {
        std::jthread worker([&, completion = std::exchange(kept, nullptr)](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                completion(++sent, Complete::No);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            completion("last", Complete::Yes);
        });
        waitForReports(count + 1);
        killPage();
        waitForTheEnd();
        const int before = sent;
        runUntil([&] { return sent > before + 100; }, "results go on to nowhere");
        // Those of the old page still come while the new one has begun.
        expectWorks();
    }
    expectWorks();
}

TEST_F(WebProcessFaultTest, InTheMiddleOfADialog)
{
    const auto delegate = std::make_shared<Delegate>();
    view->setDSUIDelegate(delegate);
    for (const bool isAnsweredBefore : { true, false }) {
        load();
        const auto count = reports->values.size();
        view->evaluateJavaScript("report(confirm('stay'))");
        runUntil([&] { return delegate->pending != nullptr; }, "a user is asked");
        killPage();
        if (isAnsweredBefore)
            delegate->pending(true); // before the view has heard
        waitForTheEnd();
        std::exchange(delegate->pending, nullptr)(true);
        EXPECT_EQ(reports->values.size(), count);
        expectWorks();
    }
}

TEST_F(WebProcessFaultTest, InTheMiddleOfACallOfThePage)
{
    load("<script>window._handleMessageFromNative = m => report(m.callbackId)</script>");
    call("_dsb.dsinit", "{}");
    int answers = 0;
    const auto take = [&](const OptionalValue&) { ++answers; };
    const auto count = reports->values.size();
    view->callHandler("silent", take);
    waitForReports(count + 1);
    const auto id = reports->values.back().value().as_int64();
    // Two more are on their way when it dies, and one is made before the view has heard of it.
    view->callHandler("on its way", take);
    view->hasJavascriptMethod("on its way", [&](bool) { ++answers; });
    killPage();
    view->callHandler("too late", take);
    waitForTheEnd();
    view->callHandler("later still", take);
    runPending();
    expectWorks();
    EXPECT_EQ(answers, 0);
    // A page that answers for the one before it is heard once.
    const auto answer = R"({"data":{"id":)" + std::to_string(id) + R"(,"data":1,"complete":true}})";
    call("_dsb.returnValue", answer);
    call("_dsb.returnValue", answer);
    EXPECT_EQ(answers, 1);
}

TEST_F(WebProcessFaultTest, InTheMiddleOfALoad)
{
    for (const int turns : { 0, 10, 20, 40 }) {
        load();
        view->loadUrl(pageWith("another"));
        // From nothing being under way yet to a page that is there.
        for (int turn = 0; turn < turns; ++turn)
            runTurn(Waiting::No);
        killPage();
        waitForTheEnd();
        expectWorks();
    }
    // The next page is asked for before the view has heard of the end.
    killPage();
    expectWorks();
    // Nor does a view have to hear of it at all.
    killPage();
}

} // namespace
} // namespace tq::test
