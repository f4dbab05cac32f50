// The page's process is killed in the middle of whatever a page and the application do together.

#include "tests/support/Dialogs.h"
#include "tests/support/Engine.h"
#include "tests/support/PageWindowTest.h"

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>

namespace tq::test {
namespace {

// Those of the process's descendants that show pages: the engine may put another process between.
void findPages(const std::string& process, std::vector<pid_t>& found)
{
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task")) {
        std::ifstream children(thread.path() / "children");
        for (std::string child; children >> child;) {
            std::string name;
            std::ifstream("/proc/" + child + "/comm") >> name;
            // The kernel keeps fifteen letters of a name.
            if (name == "WebKitWebProces")
                found.push_back(std::stoi(child));
            else
                findPages(child, found);
        }
    }
}

// Returns when they are gone.
void killWebProcesses()
{
    std::vector<pid_t> pages;
    findPages("self", pages);
    int count = 0;
    for (const auto page : pages) {
        pollfd end{ static_cast<int>(syscall(SYS_pidfd_open, page, 0)), POLLIN, 0 };
        if (poll(&end, 1, 0) == 0) {
            kill(page, SIGKILL);
            EXPECT_EQ(poll(&end, 1, 10000), 1) << "a killed process stays";
            ++count;
        }
        close(end.fd);
    }
    EXPECT_GT(count, 0) << "there is no process to kill";
}

// What the page calls, with whatever the test wants to happen in the middle of it.
class Service final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table(
            "Service", &NSObject::staticClass(), { { "sync:", &Service::sync }, { "stream::", &Service::stream } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue sync(OptionalValue value)
    {
        ++calls;
        if (const auto now = std::exchange(inTheMiddle, nullptr))
            now();
        return value;
    }
    void stream(OptionalValue, NSCompletion completion) { kept = std::move(completion); }

    std::function<void()> inTheMiddle;
    NSCompletion kept;
    int calls = 0;
};

// Asks its user later, or never.
class Delegate final : public WKUIDelegate {
public:
    void runJavaScriptAlertPanelWithMessage(
        WKWebView&, std::string_view, const WKFrameInfo&, std::function<void()> completion) override
    {
        pending = std::move(completion);
    }
    void runJavaScriptConfirmPanelWithMessage(
        WKWebView&, std::string_view, const WKFrameInfo&, std::function<void(bool)> completion) override
    {
        pending = [completion = std::move(completion)] { completion(true); };
    }
    void runJavaScriptTextInputPanelWithPrompt(WKWebView&, std::string_view, std::optional<std::string_view>,
        const WKFrameInfo&, std::function<void(OptionalText)> completion) override
    {
        pending = [completion = std::move(completion)] { completion("entered"); };
    }
    std::function<void()> pending;
};

class WebProcessFaultTest : public PageWindowTest {
protected:
    void SetUp() override
    {
        PageWindowTest::SetUp();
        m_ends.emplace(EngineEvents::Crashes);
        view->addJavascriptObject(service, "service");
    }
    void TearDown() override
    {
        service->kept = nullptr;
        PageWindowTest::TearDown();
        EXPECT_EQ(dialogs().size(), 0U);
    }
    // Nothing runs on the main loop meanwhile: the view has not heard of it yet.
    void killPage()
    {
        m_endsBefore = m_ends->count();
        killWebProcesses();
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
        ASSERT_TRUE(service->kept);
        auto count = reports->values.size();
        std::exchange(service->kept, nullptr)("streamed", Complete::Yes);
        waitForReports(count + 1);
        EXPECT_EQ(reports->values.back(), OptionalValue("streamed"));
        view->callHandler("called", boost::json::array{});
        waitForReports(count + 2);
        EXPECT_EQ(reports->values.back(), OptionalValue("called"));
    }

    const std::shared_ptr<Service> service = std::make_shared<Service>();

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
                waitForTheEnd();
            } },
        { "the method loads another page",
            [this] {
                killPage();
                view->loadUrl(pageWith("another"));
            } },
    } };
    for (const auto& [name, inTheMiddle] : rows) {
        SCOPED_TRACE(name);
        load();
        const int calls = service->calls;
        const auto count = reports->values.size();
        service->inTheMiddle = inTheMiddle;
        view->evaluateJavaScript(kCall);
        runUntil([&] { return service->calls > calls; }, "the method is called");
        waitForTheEnd();
        runPending();
        EXPECT_EQ(service->calls, calls + 1);
        EXPECT_EQ(reports->values.size(), count);
        expectWorks();
    }
}

TEST_F(WebProcessFaultTest, InTheMiddleOfACallThatDropsTheView)
{
    load();
    service->inTheMiddle = [this] {
        killPage();
        view.reset();
    };
    view->evaluateJavaScript(kCall);
    runUntil([this] { return !view; }, "the view is dropped");
}

TEST_F(WebProcessFaultTest, InTheMiddleOfAStream)
{
    for (const bool hasNewPage : { true, false }) {
        SCOPED_TRACE(hasNewPage);
        load("<script>var n = 0; window.cb = v => { if (++n === 50) report('some'); }</script>");
        call("service.stream", R"({"_dscbstub":"cb"})");
        const auto count = reports->values.size();
        std::atomic<int> sent = 0;
        {
            std::jthread worker([&, completion = std::exchange(service->kept, nullptr)](const std::stop_token& stop) {
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
            if (hasNewPage)
                expectWorks();
        }
        expectWorks();
    }
}

TEST_F(WebProcessFaultTest, InTheMiddleOfADialog)
{
    const auto delegate = std::make_shared<Delegate>();
    for (const char* question : { "alert('a')", "confirm('b')", "prompt('c')" }) {
        for (const bool hasDelegate : { false, true }) {
            SCOPED_TRACE(question + std::string(hasDelegate ? " by delegate" : " by window"));
            const auto given = hasDelegate ? delegate : nullptr;
            view->setDSUIDelegate(given);
            load();
            const auto count = reports->values.size();
            view->evaluateJavaScript("report([" + std::string(question) + "])");
            runUntil(
                [&] { return hasDelegate ? delegate->pending != nullptr : dialogs().size() == 1; }, "a user is asked");
            killPage();
            if (hasDelegate && question[0] == 'c')
                delegate->pending(); // before the view has heard
            waitForTheEnd();
            runUntil([] { return dialogs().empty(); }, "the dialog is gone");
            if (hasDelegate)
                std::exchange(delegate->pending, nullptr)();
            EXPECT_EQ(reports->values.size(), count);
            expectWorks();
        }
    }
    // One on the screen and others behind it, of a page that does not wait for them.
    const std::shared_ptr<Delegate> none;
    view->setDSUIDelegate(none);
    load();
    call("_dsb.disableJavascriptDialogBlock", R"({"data":{"disable":true}})");
    ask("[1, 2, 3].map(i => confirm(i)).length");
    EXPECT_EQ(dialogs().size(), 1U);
    killPage();
    waitForTheEnd();
    EXPECT_EQ(dialogs().size(), 0U);
    expectWorks();
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
