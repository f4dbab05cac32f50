#include "TQWhiteBoardLib/TQWBLog.h"
#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "tests/support/Dialogs.h"
#include "tests/support/PageTest.h"

#include <algorithm>
#include <cstdlib>
#include <gtk/gtk.h>
#include <iostream>

namespace tq::test {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// The longest time for which the main loop had no turn for its drawing, while one of these exists.
class StallMeter {
public:
    StallMeter()
        : m_source(g_timeout_add_full(GDK_PRIORITY_REDRAW, 1, tick, this, nullptr))
    {
    }
    ~StallMeter() { g_source_remove(m_source); }
    StallMeter(const StallMeter&) = delete;
    StallMeter& operator=(const StallMeter&) = delete;

    // Reported, since a reader wants to know more than that it is below the limit.
    Milliseconds longest(const std::string& what)
    {
        tick(this);
        std::cout << what << ": the main loop's longest stall was " << m_longest.count() << " ms\n";
        return m_longest;
    }

private:
    static gboolean tick(gpointer self)
    {
        auto& meter = *static_cast<StallMeter*>(self);
        const auto now = Clock::now();
        meter.m_longest = std::max(meter.m_longest, Milliseconds(now - meter.m_last));
        meter.m_last = now;
        return G_SOURCE_CONTINUE;
    }

    Clock::time_point m_last = Clock::now();
    Milliseconds m_longest{};
    guint m_source;
};

// What a user takes for an application that hangs; the sanitizers' slowness and a machine with other work allowed for.
constexpr Milliseconds kLongestStall = std::chrono::milliseconds(2000);

// How often the page calls; TQWB_FLOOD_CALLS asks for more than a quick run makes.
long calls()
{
    const char* text = std::getenv("TQWB_FLOOD_CALLS");
    return text ? std::strtol(text, nullptr, 10) : 20000;
}

// Keeps what it should answer, and never does.
class Silent final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Silent", &NSObject::staticClass(), { { "wait::", &Silent::wait } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    void wait(OptionalValue, NSCompletion completion) { kept.push_back(std::move(completion)); }
    std::vector<NSCompletion> kept;
};

class FloodTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 300, 200 }, nullptr));
        // As in an application: shown, and over with what the first window of a process takes.
        m_window = GTK_WINDOW(gtk_window_new());
        gtk_window_set_child(m_window, nativeView(*view));
        gtk_window_present(m_window);
        load("<script>const show = () => { document.title = performance.now(); requestAnimationFrame(show); };"
             "show()</script><p>flooded");
        waitUntilDrawn(m_window);
    }
    void TearDown() override
    {
        gtk_window_destroy(m_window);
        PageTest::TearDown();
    }
    static void waitUntilDrawn(GtkWindow* window)
    {
        int frames = 0;
        auto* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window));
        const auto painted = g_signal_connect(clock, "after-paint",
            G_CALLBACK(+[](GdkFrameClock*, gpointer count) { ++*static_cast<int*>(count); }), &frames);
        gtk_widget_queue_draw(GTK_WIDGET(window));
        runUntil([&] { return frames > 0; }, "the window is drawn");
        g_signal_handler_disconnect(clock, painted);
    }
    // Has the page run a script to its end.
    void flood(const std::string& script)
    {
        const auto count = reports->values.size();
        view->evaluateJavaScript(script + "; report('done')");
        runUntil([&] { return reports->values.size() > count; }, "the flood is over",
            std::chrono::seconds(100 + calls() / 2000));
    }

private:
    GtkWindow* m_window = nullptr;
};

TEST_F(FloodTest, SynchronousCallsLeaveTheMainLoopItsTurns)
{
    StallMeter meter;
    flood("for (let i = 0; i < " + std::to_string(calls()) + "; ++i) prompt('_dsbridge=_dsb.hasNativeMethod', '{}')");
    EXPECT_LT(meter.longest(std::to_string(calls()) + " synchronous calls"), kLongestStall);
}

TEST_F(FloodTest, CallsThatAreNeverAnsweredLeaveTheMainLoopItsTurns)
{
    const auto silent = std::make_shared<Silent>();
    view->addJavascriptObject(silent, "silent");
    const auto count = calls() / 10;
    StallMeter meter;
    flood("for (let i = 0; i < " + std::to_string(count)
        + "; ++i) prompt('_dsbridge=silent.wait', '{\"data\":1,\"_dscbstub\":\"f' + i + '\"}')");
    EXPECT_LT(meter.longest(std::to_string(count) + " calls without an answer"), kLongestStall);
    EXPECT_EQ(static_cast<long>(silent->kept.size()), count);
    EXPECT_EQ(ask("1 + 1"), OptionalValue(2));
    silent->kept.clear();
}

// What a page writes to its console in debug mode: in number, lines in the log and lines that the log says are missing.
TEST_F(FloodTest, AConsoleWithoutEndFillsNoLogAndLeavesTheMainLoopItsTurns)
{
    constexpr std::string_view kLeftOut = "Js console: ";
    view->setDebugMode(DebugMode::On);
    load();
    struct Row {
        const char* name;
        const char* call;
    };
    for (const auto& [name, call] : { Row{ "lines of the console", "console.log('flood')" },
             Row{ "events in its place",
                 "dispatchEvent(new CustomEvent('_tqconsole', { detail: ['log', 'flood', ''] }))" } }) {
        long written = 0;
        long leftOut = 0;
        setLogHandler([&](TQWBLogLevel, std::string_view line) {
            if (line.starts_with(kLeftOut))
                leftOut += std::atol(line.data() + kLeftOut.size());
            else
                ++written;
        });
        const auto begin = Clock::now();
        StallMeter meter;
        flood("for (let i = 0; i < " + std::to_string(calls()) + "; ++i) " + call);
        runUntil([&] { return written + leftOut == calls(); }, "every line is written or counted",
            std::chrono::seconds(100));
        EXPECT_LT(meter.longest(std::to_string(calls()) + " " + name), kLongestStall);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count();
        EXPECT_LE(written, 100 * (seconds + 2)) << name;
        setLogHandler(nullptr);
    }
}

TEST_F(FloodTest, AlertsInALoopLeaveTheMainLoopItsTurns)
{
    view->disableJavascriptDialogBlock(true);
    // The toolkit takes its time for the first one of a process.
    view->evaluateJavaScript("alert('the first')");
    auto* first = dialog();
    ASSERT_TRUE(first);
    waitUntilDrawn(first);
    gtk_window_close(first);
    StallMeter meter;
    flood("for (let i = 0; i < 2000; ++i) alert('again ' + i)");
    EXPECT_LT(meter.longest("2000 alerts"), kLongestStall);
    EXPECT_GT(countOfLine("an alert is cancelled unseen, since too many are waiting already"), 1900);
}

} // namespace
} // namespace tq::test
