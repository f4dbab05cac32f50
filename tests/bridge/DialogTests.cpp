#include "tests/support/Dialogs.h"
#include "tests/support/Engine.h"
#include "tests/support/HttpsServer.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PageWindowTest.h"

#include "TQWhiteBoardLib/DialogLabels.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <stdexcept>

namespace tq::test {
namespace {

using Texts = std::vector<std::string>;

// Answers every kind, as the test says.
class AllDialogs final : public WKUIDelegate {
public:
    void runJavaScriptAlertPanelWithMessage(
        WKWebView&, std::string_view message, const WKFrameInfo&, std::function<void()> completion) override
    {
        asked = "alert " + std::string(message);
        pending = [completion = std::move(completion)](Answer) { completion(); };
    }
    void runJavaScriptConfirmPanelWithMessage(
        WKWebView&, std::string_view message, const WKFrameInfo&, std::function<void(bool)> completion) override
    {
        asked = "confirm " + std::string(message);
        pending = [completion = std::move(completion)](Answer answer) { completion(answer == Answer::Ok); };
    }
    void runJavaScriptTextInputPanelWithPrompt(WKWebView&, std::string_view prompt,
        std::optional<std::string_view> defaultText, const WKFrameInfo&,
        std::function<void(OptionalText)> completion) override
    {
        asked = "prompt " + std::string(prompt);
        pending = [completion = std::move(completion), text = std::string(defaultText.value_or("none"))](
                      Answer answer) { completion(answer == Answer::Ok ? text : ""); };
    }

    std::string asked;
    std::function<void(Answer)> pending;
};

// Answers alerts alone, as the test says.
class AlertsOnly final : public WKUIDelegate {
public:
    using Answering = std::function<void(WKWebView&, std::function<void()> completion)>;
    explicit AlertsOnly(Answering newAnswer)
        : answer(std::move(newAnswer))
    {
    }
    void runJavaScriptAlertPanelWithMessage(
        WKWebView& webView, std::string_view, const WKFrameInfo&, std::function<void()> completion) override
    {
        answer(webView, std::move(completion));
    }
    Answering answer;
};

class DialogTest : public PageWindowTest {
protected:
    // Whether the page that asks for a window gets none, or one that closes soon.
    bool refuses(const std::string& address)
    {
        const auto opening = "window.open('" + address + "')";
        if (kEngine.refusesWindowsByNull)
            return ask(opening + " === null") == OptionalValue(true);
        view->evaluateJavaScript("{ const refused = " + opening
            + "; const watch = setInterval(() => {"
              "if (refused.closed) { clearInterval(watch); report(true); } }); }");
        const auto before = reports->values.size();
        waitForReports(before + 1);
        return reports->values.size() > before;
    }
    void TearDown() override
    {
        PageWindowTest::TearDown();
        EXPECT_TRUE(dialogs().empty()) << "a dialog outlives its view";
    }
    // Lets the page ask; the answer arrives as a report.
    void begin(const std::string& expression) { view->evaluateJavaScript("report([" + expression + "])"); }
    /// What the page gets for a question that its dialog answers, once the test has looked at the dialog.
    std::string answered(
        const std::string& expression, Answer answer, const std::function<void(const Dialog&)>& look = nullptr)
    {
        const auto report = reports->values.size();
        begin(expression);
        const auto shown = dialog();
        if (!shown)
            return "no dialog";
        if (look)
            look(shown);
        shown.press(answer);
        return answerFrom(report);
    }
    void blockScript(bool isBlocking)
    {
        call("_dsb.disableJavascriptDialogBlock", isBlocking ? R"({"data":{}})" : R"({"data":{"disable":true}})");
    }
};

struct Kind {
    const char* expression;
    const char* asked;
    Texts texts; // of the view's own dialog
    const char* ok; // what the page gets
    const char* cancel;
    const char* unblocked;
};

const std::array<Kind, 3> kKinds{ {
    { "alert('Ünter\\n<b>&_') === undefined", "alert Ünter\n<b>&_", { "提示", "Ünter\n<b>&_", "确定" }, "[true]",
        "[true]", "[true]" },
    { "confirm('sure?')", "confirm sure?", { "提示", "sure?", "取消", "确定" }, "[true]", "[false]", "[true]" },
    { "prompt('name?', 'nöbody')", "prompt name?", { "name?", "取消", "确定" }, R"(["nöbody"])", R"([""])", "[null]" },
} };

TEST_F(DialogTest, EveryKindIsAnsweredByItsWindowOrByTheDelegate)
{
    load();
    const auto delegate = std::make_shared<AllDialogs>();
    for (const auto& kind : kKinds) {
        for (const bool hasDelegate : { false, true }) {
            const auto given = hasDelegate ? delegate : nullptr;
            view->setDSUIDelegate(given);
            for (const bool isBlocking : { true, false }) {
                blockScript(isBlocking);
                for (const auto answer : { Answer::Ok, Answer::Cancel }) {
                    SCOPED_TRACE(std::string(kind.asked) + (hasDelegate ? " by delegate" : " by window")
                        + (isBlocking ? " blocking" : "") + (answer == Answer::Ok ? " ok" : " cancel"));
                    const auto report = reports->values.size();
                    begin(kind.expression);
                    if (hasDelegate) {
                        runUntil([&] { return delegate->pending != nullptr; }, "the delegate is asked");
                        EXPECT_EQ(delegate->asked, kind.asked);
                        EXPECT_TRUE(dialogs().empty());
                        std::exchange(delegate->pending, nullptr)(answer);
                    } else {
                        const auto shown = dialog();
                        ASSERT_TRUE(shown);
                        EXPECT_EQ(shown.texts(), kind.texts);
                        EXPECT_TRUE(shown.isOver(*window) && shown.isModal());
                        if (isBlocking) {
                            EXPECT_EQ(reports->values.size(), report) << "the script waits";
                        }
                        shown.press(answer);
                    }
                    EXPECT_EQ(answerFrom(report),
                        !isBlocking                ? kind.unblocked
                            : answer == Answer::Ok ? kind.ok
                                                   : kind.cancel);
                    EXPECT_TRUE(dialogs().empty());
                }
            }
        }
    }
    EXPECT_EQ(ask("'still alive'"), OptionalValue("still alive"));
}

TEST_F(DialogTest, LabelsAreReplacedAsAWhole)
{
    load();
    const auto shown = [&](const std::string& expression) {
        Texts texts;
        answered(expression, Answer::Cancel, [&](const Dialog& dialog) { texts = dialog.texts(); });
        return texts;
    };
    view->customJavascriptDialogLabelTitles({ { { "alertBtn", "Fine" }, { "promptOkBtn", "_Go" } } });
    EXPECT_EQ(shown("alert('a')"), (Texts{ "提示", "a", "Fine" }));
    EXPECT_EQ(shown("prompt('a')"), (Texts{ "a", "取消", "_Go" }));
    view->customJavascriptDialogLabelTitles(std::nullopt);
    EXPECT_EQ(shown("alert('a')"), (Texts{ "提示", "a", "Fine" })) << "an absent map changes nothing";
    view->customJavascriptDialogLabelTitles({ { { "alertTitle", "\xFF" }, { "confirmCancelBtn", "No" },
        { "confirmOkBtn", "Yes" }, { "promptCancelBtn", "" } } });
    EXPECT_EQ(shown("alert('a')"), (Texts{ "\xEF\xBF\xBD", "a", "确定" }));
    EXPECT_EQ(shown("confirm('a')"), (Texts{ "提示", "a", "No", "Yes" }));
    view->customJavascriptDialogLabelTitles(englishDialogLabels());
    EXPECT_EQ(shown("alert('a')"), (Texts{ "Notice", "a", "OK" }));
}

TEST_F(DialogTest, PromptsGiveBackWhatTheirFieldHolds)
{
    load();
    // What is shown of a default text is what the page gets, unless the user writes something else.
    const struct {
        const char* arguments;
        std::string field;
        std::optional<std::string> written;
    } rows[] = {
        { "'name?'", "", "漢字 \"quoted\"" },
        { "'name?', 'y'.repeat(300000)", std::string(1000, 'y'), std::nullopt },
        { "'name?', 'one\\r\\ntwo'", "one two", "" },
    };
    for (const auto& row : rows) {
        const auto answer
            = answered(std::string("prompt(") + row.arguments + ")", Answer::Ok, [&](const Dialog& dialog) {
                  EXPECT_EQ(dialog.field(), row.field);
                  if (row.written)
                      dialog.setField(*row.written);
              });
        EXPECT_EQ(answer, boost::json::serialize(boost::json::array{ row.written.value_or(row.field) }));
    }
}

TEST_F(DialogTest, NoTextHoldsUpTheMainLoopOrIsTooWide)
{
    load();
    blockScript(false);
    const auto longestTurnOf = [&](const std::string& question) {
        const auto asked = reports->values.size();
        begin(question);
        // Of this process: others may keep the machine busy.
        std::clock_t longest = 0;
        int turnsAfter = 0;
        runUntil(
            [&] {
                const auto before = std::clock();
                runTurn(Waiting::Yes);
                longest = std::max(longest, std::clock() - before);
                return reports->values.size() > asked && dialogs().size() == 1 && dialogs().front().width() > 0
                    && ++turnsAfter > 20;
            },
            "the dialog has been drawn");
        return double(longest) * 1000 / CLOCKS_PER_SEC;
    };
    // What a program's first window takes is not the text's.
    longestTurnOf("alert('first')");
    dialog().press(Answer::Ok);
    // 100 at most on a machine of its own; a busy one takes longer, and sanitizers many times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr double kMostMilliseconds = 5000;
#else
    constexpr double kMostMilliseconds = 500;
#endif
    for (const std::string text : { "'\\t'.repeat(9999)", "'a' + '\\u0301'.repeat(10000)",
             "('a' + '\\u0301'.repeat(8)).repeat(2000)", "'\\n'.repeat(10000)", "'W'.repeat(300000)",
             "'\\u200B'.repeat(100000)", "'\\u{1F469}\\u200D'.repeat(10000)",
             "'a\\u05D0\\u6F22\\u0E01\\u{1F600}'.repeat(4000)", "'\\u202Ea'.repeat(10000)",
             "'\\u0915\\u094D'.repeat(10000)", "'\\uFDFD'.repeat(10000)", "'\\uFFFC\\u0001'.repeat(10000)" }) {
        for (const std::string& question : { "alert(" + text + ")", "prompt(" + text + ", " + text + ")" }) {
            SCOPED_TRACE(question);
            EXPECT_LT(longestTurnOf(question), kMostMilliseconds);
            EXPECT_LE(dialog().width(), 360);
            EXPECT_LE(dialog().height(), 400);
            dialog().press(Answer::Ok);
        }
    }
}

TEST_F(DialogTest, TextsReadAsTheyAreWrittenAndBreakWithoutHyphens)
{
    load();
    answered("alert('https://' + 'wide'.repeat(10) + '\\u202E\\u0000b')", Answer::Ok, [](const Dialog& dialog) {
        const auto extent = dialog.messageExtent();
        EXPECT_GT(extent.lines, 1);
        EXPECT_EQ(extent.glyphs, kEngine.cutsTextsAtZero ? 48 : 50);
    });
}

TEST_F(DialogTest, DialogsFitSmallScreens)
{
    load();
    const std::string sentence = "A label that says a lot more than fits beside another one. ";
    const std::string longest = sentence + sentence + sentence;
    for (const auto& [width, height] : { std::pair(360, 720), std::pair(720, 360) }) {
        window->resize(width, height);
        for (const std::string& label : { std::string("OK"), longest }) {
            view->customJavascriptDialogLabelTitles({ { { "alertTitle", "A title of thirty-one letters !" },
                { "alertBtn", label }, { "confirmTitle", longest }, { "confirmCancelBtn", label },
                { "confirmOkBtn", label }, { "promptCancelBtn", label }, { "promptOkBtn", label } } });
            for (const std::string question : { "alert('x')", "confirm('漢字 and so on. '.repeat(99))",
                     "prompt('what it is for?' + ' and so on'.repeat(99), 'x'.repeat(5000))",
                     "prompt('what it is for?')" }) {
                SCOPED_TRACE(std::to_string(width) + " " + question + " " + label);
                answered(question, Answer::Cancel, [&, height = height](const Dialog& dialog) {
                    dialog.waitForPlace();
                    EXPECT_LE(dialog.width(), 360);
                    EXPECT_LE(dialog.height(), height);
                    EXPECT_GE(dialog.leastButtonHeight(), 44);
                    EXPECT_TRUE(dialog.scrollsWhatDoesNotFit());
                    EXPECT_TRUE(!dialog.field() || dialog.isFieldNamed(dialog.texts()[0]));
                });
            }
        }
    }
}

TEST_F(DialogTest, ADialogOfAViewInNoWindowHoldsUpNoWindow)
{
    load();
    window->clear();
    EXPECT_EQ(answered("confirm('sure?')", Answer::Ok, [](const Dialog& dialog) { EXPECT_FALSE(dialog.isModal()); }),
        "[true]");
}

TEST_F(DialogTest, WithoutBlockingAPageIsAnsweredAlsoWhileAnotherIsComing)
{
    load();
    blockScript(false);
    // A server that never answers.
    const HttpsServer server(
        [](const ReceivedRequest&, Wire& wire) { wire.waitForEnd(); }, HttpsServer::Transport::Plain);
    view->loadUrl("http://" + server.host() + "/");
    EXPECT_EQ(ask("[confirm('sure?'), prompt('name?'), alert('x') === undefined]"),
        OptionalValue(boost::json::array{ true, nullptr, true }));
    EXPECT_TRUE(dialogs().empty()) << "whoever leaves a page is not asked";
}

TEST_F(DialogTest, KeyboardAloneAnswers)
{
    load();
    auto* screen = Screen::get();
    if (!screen)
        GTEST_SKIP() << "nobody has a keyboard for this screen";
    const struct {
        const char* expression;
        Texts keys;
        const char* answer;
    } cases[] = {
        { "confirm('\\n'.repeat(190))", { "Return" }, "[true]" },
        { "confirm('sure?')", { "Escape" }, "[false]" },
        { "prompt('keys 2', 'before ')", { "End", "a", "b", "Return" }, R"(["before ab"])" },
    };
    int number = 0;
    for (const auto& row : cases) {
        const std::string title = "keys " + std::to_string(number++);
        view->customJavascriptDialogLabelTitles({ { { "confirmTitle", title } } });
        const auto report = reports->values.size();
        begin(row.expression);
        const auto shown = dialog();
        ASSERT_TRUE(shown);
        EXPECT_LE(shown.height(), 600);
        shown.onScreen(*screen);
        screen->focus(title);
        for (const auto& key : row.keys)
            screen->key(key);
        EXPECT_EQ(answerFrom(report), row.answer) << row.expression;
    }
}

TEST_F(DialogTest, OneDialogIsShownAtATimeAndTheLastKindTakesTheAnswer)
{
    load();
    blockScript(false);
    auto report = reports->values.size();
    begin("alert('first')");
    answerFrom(report);
    blockScript(true);
    report = reports->values.size();
    {
        const EngineEvents questions(EngineEvents::ScriptDialogs);
        begin("confirm('second')");
        runUntil([&] { return questions.count() > 0; }, "the page asks its second question");
    }
    EXPECT_EQ(dialog().texts()[1], "first");
    dialog().press(Answer::Cancel);
    EXPECT_EQ(answerFrom(report), "[false]");
    EXPECT_EQ(dialog().texts()[1], "second") << "it is still shown, and its answer is nobody's";
    dialog().press(Answer::Ok);
    EXPECT_EQ(ask("'alive'"), OptionalValue("alive"));
}

TEST_F(DialogTest, APageThatAsksCanBeLeft)
{
    const auto delegate = std::make_shared<AllDialogs>();
    const auto waitForQuestion = [&] {
        if (view->DSUIDelegate())
            runUntil([&] { return delegate->pending != nullptr; }, "the delegate is asked");
        else
            dialog();
    };
    int number = 0;
    for (const bool hasDelegate : { false, true }) {
        const auto given = hasDelegate ? delegate : nullptr;
        view->setDSUIDelegate(given);
        load();
        // It asks again as soon as it is answered.
        view->evaluateJavaScript("prompt('blocked'); alert('again'); confirm('and again')");
        waitForQuestion();
        const auto page = "page " + std::to_string(++number);
        load("<script>window.page = '" + page + "'</script>");
        EXPECT_TRUE(dialogs().empty());
        EXPECT_EQ(ask("window.page"), OptionalValue(boost::json::string(page)));
        if (hasDelegate)
            std::exchange(delegate->pending, nullptr)(Answer::Ok); // too late, and harmless
        const auto report = reports->values.size();
        begin("confirm('on the new page')");
        waitForQuestion();
        if (hasDelegate)
            std::exchange(delegate->pending, nullptr)(Answer::Ok);
        else
            dialog().press(Answer::Ok);
        EXPECT_EQ(answerFrom(report), "[true]");
    }
}

// Each page that waits ends in another way, while others wait and one goes on.
TEST_F(DialogTest, PagesThatWaitHoldUpNoOtherAndEndInAnyOrder)
{
    struct Waiting {
        std::shared_ptr<DWKWebView> view = DWKWebView::initWithFrame({ 0, 0, 100, 100 }, nullptr);
        std::shared_ptr<AllDialogs> delegate = std::make_shared<AllDialogs>();
        std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    };
    constexpr const char* kReport = "<script>const report = (v) => prompt('_dsbridge=test.report',"
                                    " JSON.stringify({ data: v }));";
    const auto hasReported = [](const Waiting& waiting, const OptionalValue& value) {
        return runUntil([&] { return !waiting.reports->values.empty(); }, "the page goes on")
            && waiting.reports->values.back() == value;
    };
    using End = std::function<void(Waiting&)>;
    std::vector<End> ends{
        [&](Waiting& answered) {
            answered.delegate->pending(Answer::Ok);
            EXPECT_TRUE(hasReported(answered, true));
        },
        [&](Waiting& left) {
            left.view->loadUrl(pageWith(std::string(kReport) + "report('next')</script>"));
            runUntil([&] { return left.reports->values.size() == 2; }, "the next page is there");
            EXPECT_EQ(left.reports->values, (std::vector<OptionalValue>{ false, "next" }));
        },
        [&](Waiting& dead) {
            const EngineEvents crashes(EngineEvents::Crashes);
            crashPage(*dead.view);
            runUntil([&] { return crashes.count() == 1; }, "the view has heard of it");
            dead.view->loadUrl(pageWith(std::string(kReport) + "report('again')</script>"));
            EXPECT_TRUE(hasReported(dead, "again"));
        },
        [](Waiting& gone) {
            const std::weak_ptr<DWKWebView> watched = gone.view;
            gone.view.reset();
            runUntil([&] { return watched.expired(); }, "the view is destroyed");
        },
    };
    for (int order = 0; order < 4; ++order) {
        SCOPED_TRACE(order);
        std::vector<Waiting> waiting(ends.size());
        for (auto& one : waiting) {
            one.view->addJavascriptObject(one.reports, "test");
            one.view->setDSUIDelegate(one.delegate);
            one.view->loadUrl(pageWith(std::string(kReport) + "report(confirm('?'))</script>"));
            runUntil([&] { return one.delegate->pending != nullptr; }, "a page asks while others wait");
        }
        for (std::size_t i = 0; i < ends.size(); ++i) {
            load();
            EXPECT_EQ(ask("1 + 1"), OptionalValue(2)) << "another view goes on";
            ends[i](waiting[i]);
        }
        for (auto& one : waiting)
            one.delegate->pending(Answer::Ok); // too late, and harmless
        std::rotate(ends.begin(), ends.begin() + 1, ends.end());
    }
}

TEST_F(DialogTest, APageThatMayNotWaitIsAnsweredAsCancelled)
{
    const auto answer = HttpsServer::answerWith(200,
        "<script>function report(v) { prompt('_dsbridge=test.report', JSON.stringify({data: v})); }"
        "report('loaded')</script>",
        "Content-Type: text/html\r\nPermissions-Policy: sync-xhr=()\r\n");
    const HttpsServer server(
        [&](const ReceivedRequest&, Wire& wire) { wire.send(answer); }, HttpsServer::Transport::Plain);
    const auto delegate = std::make_shared<AllDialogs>();
    for (const bool hasDelegate : { false, true }) {
        const auto given = hasDelegate ? delegate : nullptr;
        view->setDSUIDelegate(given);
        const auto report = reports->values.size();
        view->loadUrl("http://" + server.host() + "/");
        waitForReports(report + 1);
        begin("confirm('?'), prompt('name?', 'nobody')");
        for (const auto* kind : { "confirm", "prompt" }) {
            if (!kEngine.waitsWithoutRequests)
                break;
            SCOPED_TRACE(kind);
            runUntil([&] { return hasDelegate ? delegate->asked.starts_with(kind) : !dialogs().empty(); }, "it asks");
            if (hasDelegate)
                std::exchange(delegate->pending, nullptr)(Answer::Cancel);
            else
                dialog().press(Answer::Cancel);
        }
        EXPECT_EQ(answerFrom(report + 1), kEngine.waitsWithoutRequests ? R"([false,""])" : "[false,null]");
        EXPECT_TRUE(dialogs().empty());
        if (auto late = std::exchange(delegate->pending, nullptr))
            late(Answer::Ok);
    }
}

TEST_F(DialogTest, DelegatesAnswerWhatTheyImplementAndMayForgetFailOrLeave)
{
    load();
    std::function<void()> kept;
    const auto alerts = std::make_shared<AlertsOnly>([](auto&, const auto& completion) { completion(); });
    view->setDSUIDelegate(alerts);
    EXPECT_EQ(ask("alert('x') === undefined"), OptionalValue(true));
    EXPECT_EQ(answered("confirm('sure?')", Answer::Ok), "[true]");
    alerts->answer = [](auto&, const auto&) {};
    EXPECT_EQ(ask("alert('forgotten') === undefined"), OptionalValue(true));
    alerts->answer = [](auto&, const auto&) { throw std::runtime_error("a faulty delegate"); };
    EXPECT_EQ(ask("alert('x') === undefined"), OptionalValue(true));
    EXPECT_EQ(countOfLine("a faulty delegate"), 1);
    alerts->answer = [&kept](auto& webView, auto completion) {
        kept = std::move(completion);
        webView.loadRequest({ .URL = NSURL::URLWithString(pageWith(
                                  "<script>prompt('_dsbridge=test.report', '{\"data\":\"left\"}')</script>")) });
    };
    const auto report = reports->values.size();
    view->evaluateJavaScript("alert('stay')");
    EXPECT_EQ(answerFrom(report), "\"left\"");

    view->setDSUIDelegate(view);
    load();
    EXPECT_EQ(answered("confirm('of itself')", Answer::Ok), "[true]") << "a view that is its own delegate has none";
}

TEST_F(DialogTest, DialogsGoWithTheirPageTheirWindowAndTheirView)
{
    load();
    blockScript(false);
    const auto report = reports->values.size();
    begin("alert('one'), alert('two')");
    answerFrom(report);
    dialog();
    view->evaluateJavaScript("location.href = 'about:blank'");
    runUntil([] { return dialogs().empty(); }, "the dialogs of a page that has left are gone");

    load();
    blockScript(true);
    const auto next = reports->values.size();
    begin("confirm('sure?')");
    dialog();
    window->clear();
    window.reset();
    EXPECT_EQ(answerFrom(next), "[false]");
    EXPECT_TRUE(dialogs().empty());

    view->evaluateJavaScript("confirm('the last')");
    dialog();
    const EngineWatch engine(*view);
    view.reset();
    runUntil([] { return dialogs().empty(); }, "the dialog goes with its view");
}

// Is told when a page's process has ended, and asks for the next page at once.
class Mourner final : public WKNavigationDelegate {
public:
    void webViewWebContentProcessDidTerminate(WKWebView& webView) override
    {
        ++deaths;
        dialogsLeft = dialogs().size();
        webView.loadRequest({ .URL = NSURL::URLWithString(pageWith(
                                  "<script>prompt('_dsbridge=test.report', '{\"data\":\"again\"}')</script>")) });
        throw std::runtime_error("a faulty delegate");
    }
    int deaths = 0;
    std::size_t dialogsLeft = 0;
};

TEST_F(DialogTest, ADeadPageIsNoticedAndItsViewWorksOn)
{
    const auto delegate = std::make_shared<Mourner>();
    view->setNavigationDelegate(delegate);
    load();
    const auto report = reports->values.size();
    view->evaluateJavaScript("alert('stay')");
    dialog();
    crashPage(*view);
    EXPECT_EQ(answerFrom(report), "\"again\"");
    EXPECT_EQ(delegate->deaths, 1);
    EXPECT_EQ(delegate->dialogsLeft, 0U);
}

// Opens windows.
class Opener final : public WKUIDelegate {
public:
    std::shared_ptr<WKWebView> createWebViewWithConfiguration(WKWebView&,
        const std::shared_ptr<WKWebViewConfiguration>& configuration, const WKNavigationAction& action,
        const WKWindowFeatures&) override
    {
        urls.push_back(action.request.URL ? action.request.URL->absoluteString() : "none");
        if (urls.size() == 1)
            opened = DWKWebView::initWithFrame({}, configuration);
        return urls.size() == 1 ? opened : DWKWebView::initWithFrame({}, nullptr);
    }
    void webViewDidClose(WKWebView& webView) override { hasClosed = &webView == opened.get(); }

    std::vector<std::string> urls;
    std::shared_ptr<DWKWebView> opened;
    bool hasClosed = false;
};

TEST_F(DialogTest, NewWindowsAreTheDelegatesToMake)
{
    auto configuration = std::make_shared<WKWebViewConfiguration>();
    configuration->preferences->javaScriptCanOpenWindowsAutomatically = true;
    window->clear();
    view.reset();
    use(DWKWebView::initWithFrame({}, configuration));
    load();
    EXPECT_TRUE(refuses("data:text/html,x")) << "nobody opens it";
    const auto opener = std::make_shared<Opener>();
    view->setDSUIDelegate(opener);
    EXPECT_EQ(ask("!!(window.opened = window.open('about:blank#first'))"), OptionalValue(true));
    ASSERT_NE(opener->opened, nullptr);
    opener->opened->setDSUIDelegate(opener);
    EXPECT_EQ(ask("opened._dswk"), OptionalValue(true)) << "the new page is in a bridge view as well";
    EXPECT_TRUE(refuses("about:blank#second")) << "a view of no relation";
    EXPECT_EQ(opener->urls, (Texts{ "about:blank#first", "about:blank#second" }));
    EXPECT_EQ(countOfLine("a view for a new window is not made with the configuration given for it, and no window is "
                          "opened"),
        1);
    view->evaluateJavaScript("opened.close()");
    runUntil([&] { return opener->hasClosed; }, "the window is closed");
    const std::weak_ptr<WKWebView> watched = opener->opened;
    const EngineWatch engine(*opener->opened);
    opener->opened.reset();
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace tq::test
