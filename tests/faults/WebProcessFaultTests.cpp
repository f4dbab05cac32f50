// The page's process is killed in the middle of whatever a page and the application do together.

#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "tests/support/Dialogs.h"
#include "tests/support/PageTest.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtk/gtk.h>
#include <optional>
#include <stdexcept>
#include <unistd.h>
#include <webkit/webkit.h>

namespace tq::test {
namespace {

struct Process {
    std::string name;
    char state;
    pid_t parent;
};

// Absent when it is gone.
std::optional<Process> process(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const auto begin = text.find('(');
    const auto end = text.rfind(") ");
    if (begin == std::string::npos || end == std::string::npos)
        return std::nullopt;
    return Process{ text.substr(begin + 1, end - begin - 1), text[end + 2],
        static_cast<pid_t>(std::atoi(text.c_str() + end + 4)) };
}

bool isRunning(pid_t pid)
{
    const auto found = process(pid);
    return found && found->state != 'Z' && found->state != 'X';
}

bool isOurs(pid_t pid)
{
    for (auto found = process(pid); found; found = process(pid)) {
        pid = found->parent;
        if (pid == getpid())
            return true;
    }
    return false;
}

// The engine's processes for pages that this test has begun.
std::vector<pid_t> webProcesses()
{
    std::vector<pid_t> pids;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const auto name = entry.path().filename().string();
        pid_t pid = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), pid).ptr != name.data() + name.size())
            continue;
        // The kernel keeps fifteen letters of a name.
        if (const auto found = process(pid); found && found->name == "WebKitWebProces" && isOurs(pid) && isRunning(pid))
            pids.push_back(pid);
    }
    return pids;
}

// Returns when they are gone. Nothing runs on the main loop meanwhile: the view has not heard of it yet.
void killPages()
{
    const auto pids = webProcesses();
    ASSERT_FALSE(pids.empty()) << "there is no process to kill";
    for (const auto pid : pids)
        kill(pid, SIGKILL);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::ranges::any_of(pids, isRunning)) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "a killed process stays";
        std::this_thread::yield();
    }
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

class WebProcessFaultTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        view->addJavascriptObject(service, "service");
        m_window = GTK_WINDOW(gtk_window_new());
        gtk_window_set_default_size(m_window, 500, 400);
        gtk_window_set_child(m_window, nativeView(*view));
        gtk_window_present(m_window);
        m_hook = g_signal_add_emission_hook(
            g_signal_lookup("web-process-terminated", WEBKIT_TYPE_WEB_VIEW), 0,
            [](GSignalInvocationHint*, guint, const GValue*, gpointer count) -> gboolean {
                ++*static_cast<int*>(count);
                return TRUE;
            },
            &m_ends, nullptr);
    }
    void TearDown() override
    {
        service->kept = nullptr;
        PageTest::TearDown();
        g_signal_remove_emission_hook(g_signal_lookup("web-process-terminated", WEBKIT_TYPE_WEB_VIEW), m_hook);
        gtk_window_destroy(m_window);
        EXPECT_EQ(dialogs().size(), 0U);
    }
    void waitForTheEnd(int endsBefore)
    {
        runUntil([&] { return m_ends > endsBefore; }, "the view has heard of the end of its page's process");
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
    int m_ends = 0;

private:
    GtkWindow* m_window = nullptr;
    gulong m_hook = 0;
};

constexpr const char* kCall = "prompt('_dsbridge=service.sync', '{}'); report('ran on')";

TEST_F(WebProcessFaultTest, InTheMiddleOfASynchronousCall)
{
    const std::array<std::pair<const char*, std::function<void()>>, 5> rows{ {
        { "the method returns", killPages },
        { "the method throws",
            [] {
                killPages();
                throw std::runtime_error("a faulty method");
            } },
        { "the method calls the page",
            [this] {
                killPages();
                view->callHandler("nobody", boost::json::array{});
                view->evaluateJavaScript("report('nobody')");
            } },
        // As one does that shows a dialog of the toolkit.
        { "the method runs the main loop",
            [this] {
                const int ends = m_ends;
                killPages();
                waitForTheEnd(ends);
            } },
        { "the method loads another page",
            [this] {
                killPages();
                view->loadUrl(pageWith("another"));
            } },
    } };
    for (const auto& [name, inTheMiddle] : rows) {
        SCOPED_TRACE(name);
        load();
        const int ends = m_ends;
        const int calls = service->calls;
        const auto count = reports->values.size();
        service->inTheMiddle = inTheMiddle;
        view->evaluateJavaScript(kCall);
        waitForTheEnd(ends);
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
        killPages();
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
        const int ends = m_ends;
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
            killPages();
            waitForTheEnd(ends);
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
            const int ends = m_ends;
            const auto count = reports->values.size();
            view->evaluateJavaScript("report([" + std::string(question) + "])");
            runUntil(
                [&] { return hasDelegate ? delegate->pending != nullptr : dialogs().size() == 1; }, "a user is asked");
            killPages();
            if (hasDelegate && question[0] == 'c')
                delegate->pending(); // before the view has heard
            waitForTheEnd(ends);
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
    const int ends = m_ends;
    EXPECT_EQ(dialogs().size(), 1U);
    killPages();
    waitForTheEnd(ends);
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
    const int ends = m_ends;
    // Two more are on their way when it dies, and one is made before the view has heard of it.
    view->callHandler("on its way", take);
    view->hasJavascriptMethod("on its way", [&](bool) { ++answers; });
    killPages();
    view->callHandler("too late", take);
    waitForTheEnd(ends);
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
    for (int round = 0; round < 5; ++round) {
        load();
        const int ends = m_ends;
        view->loadUrl(pageWith("another"));
        // From nothing being under way yet to a page that is there.
        for (int turn = 0; turn < round * 10; ++turn)
            g_main_context_iteration(nullptr, FALSE);
        killPages();
        waitForTheEnd(ends);
        expectWorks();
    }
    // The next page is asked for before the view has heard of the end.
    killPages();
    expectWorks();
    // Nor does a view have to hear of it at all.
    killPages();
}

} // namespace
} // namespace tq::test
