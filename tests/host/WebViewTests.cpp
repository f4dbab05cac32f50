#include "tests/support/Content.h"
#include "tests/support/Engine.h"
#include "tests/support/HttpsServer.h"
#include "tests/support/PageTest.h"
#include "tests/support/TestWindow.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "host/TQWBBridge.h"
#include "platform/Foundation/NSURLSessionConfiguration.h"
#include "platform/UIKit/UIImage.h"
#include "platform/UIKit/UIScreen.h"

#include <algorithm>
#include <boost/json/serialize.hpp>
#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

using Events = std::vector<std::string>;

// Has every delegate method and writes down what it is told.
class Listener final : public TQWBRoomStatusProtocol, public TQWBRecordProtocol, public TQWBPermissionProtocol {
public:
    void onWBRoomQuit() override { events.emplace_back("quit"); }
    void onWBRoomException(const TQWBException& exception) override
    {
        events.push_back("exception " + std::to_string(exception.code) + " " + exception.msg.value_or("(absent)"));
    }
    void onWBCaptureEnd(const std::shared_ptr<UIImage>& image) override
    {
        events.push_back(
            image ? "capture " + std::to_string(image->width()) + "x" + std::to_string(image->height()) : "no capture");
    }
    void onWBRecordStart() override { events.emplace_back("start"); }
    void onWBRecordEnd(const OptionalText& url) override { events.push_back("end " + url.value_or("(absent)")); }
    void onWBPermissionChange(NSInteger status) override { events.push_back("permission " + std::to_string(status)); }

    Events events;
};

// Has one method of three.
class QuitListener final : public TQWBRoomStatusProtocol {
public:
    void onWBRoomQuit() override { ++quits; }
    int quits = 0;
};

// Overrides by way of a class between, and hides the method from everybody else.
class PrivateListener : public TQWBRecordProtocol {
    void onWBRecordStart() override { }
};
class InheritingListener final : public PrivateListener { };

template <class Delegate>
concept Settable = requires(TQWBWebView& view, std::shared_ptr<Delegate> delegate)
{
    view.setRecordDelegate(delegate);
};
static_assert(!Settable<TQWBRecordProtocol>, "a bare protocol says nothing of what its object has");
static_assert(!Settable<QuitListener>);
template <class Given>
concept IsTaken = requires(TQWBWebView& view, Given&& all)
{
    view.setRoomStatusDelegate(std::forward<Given>(all));
}
|| requires(TQWBWebView& view, Given&& all) { view.setRecordDelegate(std::forward<Given>(all)); }
|| requires(TQWBWebView& view, Given&& all) { view.setPermisssionDelegate(std::forward<Given>(all)); }
|| requires(TQWBWebView& view, Given&& all) { view.setUIDelegate(std::forward<Given>(all)); }
|| requires(TQWBWebView& view, Given&& all) { view.setDSUIDelegate(std::forward<Given>(all)); }
|| requires(TQWBWebView& view, Given&& all) { view.setNavigationDelegate(std::forward<Given>(all)); };
static_assert(IsTaken<const std::shared_ptr<Listener>&> && IsTaken<std::shared_ptr<TQWBWebView>&>);
static_assert(!IsTaken<std::shared_ptr<
                  Listener>> && !IsTaken<const std::shared_ptr<Listener>> && !IsTaken<std::shared_ptr<TQWBWebView>>,
    "nobody would hold a temporary");
static_assert(TQWBRoomStatusProtocol::methodsOf<QuitListener>().onWBRoomQuit);
static_assert(!TQWBRoomStatusProtocol::methodsOf<QuitListener>().onWBCaptureEnd);
static_assert(TQWBRecordProtocol::methodsOf<InheritingListener>().onWBRecordStart);
static_assert(!TQWBRecordProtocol::methodsOf<InheritingListener>().onWBRecordEnd);

// Two pixels by one.
constexpr const char* kImage
    = "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAIAAAB7QOjdAAAADUlEQVR4nGP4zwAE/wEHAAH/4iOeWQAAAABJRU5ErkJggg==";

// Pictures of three pixels by two; broken ones, and some that claim more than they have.
struct Change {
    std::size_t place;
    std::string bytes;
};
const struct {
    const char* name;
    const char* file;
    std::vector<Change> changes;
    bool arrives = false;
} kPictures[] = {
    { "GIF", "colour.gif", {}, true },
    { "BMP", "colour.bmp", {}, true },
    { "BMP from the top", "colour.bmp", { { 22, "\xFE\xFF\xFF\xFF" } }, true },
    { "BMP of old", "old.bmp", {}, true },
    { "TIFF", "gray.tif", {}, true },
    { "TIFF, big-endian", "big-endian.tif", {}, true },
    { "PNG that claims too much", "gray.png", { { 18, "\xFF\xFF" }, { 22, "\xFF\xFF" } } },
    { "GIF that claims too much", "colour.gif", { { 6, "\xFF\xFF\xFF\xFF" } } },
    { "GIF whose picture has no lines", "colour.gif", { { 34, std::string(1, '\0') } } },
    { "GIF whose picture claims more than it", "colour.gif", { { 32, "\xFF\xFF\xFF\xFF" } } },
    { "BMP with a huge head", "colour.bmp", { { 16, "\xCA\x18" } } },
    { "BMP with its pixels far away", "colour.bmp", { { 12, "\xCA\x18" } } },
    { "BMP that claims too much", "colour.bmp", { { 18, "\x60\xEA" }, { 22, "\x60\xEA" } } },
    { "BMP from the top that claims too much", "colour.bmp", { { 18, "\x60\xEA" }, { 22, "\xA0\x15\xFF\xFF" } } },
    { "TIFF that claims too much", "gray.tif", { { 18, "\x60\xEA" }, { 30, "\x60\xEA" }, { 102, "\x60\xEA" } } },
    { "TIFF of many samples", "gray.tif", { { 90, "\x60\xEA" } } },
    { "TIFF of one huge tile", "one-tile.tif", {} },
};

class WebViewTest : public PageTest {
protected:
    void make(CGRect frame = { 3, 4, 320, 568 }, const std::shared_ptr<WKWebViewConfiguration>& configuration = nullptr)
    {
        room = TQWBWebView::initWithFrame(frame, configuration);
        use(room);
        room->setRoomStatusDelegate(listener);
        room->setRecordDelegate(listener);
        room->setPermisssionDelegate(listener);
    }
    void TearDown() override
    {
        // The room's page lets go of the view; without that it would live for ever.
        if (room)
            room->call("TQJSBridge.onRoomQuited", "{}");
        room.reset();
        PageTest::TearDown();
    }
    std::string event(const std::string& name, const std::string& data)
    {
        return room->call(name, R"({"data":)" + data + "}");
    }

    std::shared_ptr<TQWBWebView> room;
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(WebViewTest, ConfigurationIsAlteredInPlaceAndTheCallersScriptsAreGone)
{
    auto configuration = std::make_shared<WKWebViewConfiguration>();
    const auto earlier = configuration->userContentController;
    earlier->addUserScript({ "window.mine = 1;" });
    make({ 3, 4, 320, 568 }, configuration);
    EXPECT_EQ(room->configuration(), configuration);
    EXPECT_TRUE(configuration->allowsInlineMediaPlayback && configuration->allowUniversalAccessFromFileURLs
        && configuration->suppressesIncrementalRendering && configuration->preferences->allowFileAccessFromFileURLs
        && configuration->preferences->javaScriptCanOpenWindowsAutomatically);
    const std::vector<WKUserScript> expected{
        { " $('meta[name=description]').remove(); $('head').append( '' );", WKUserScriptInjectionTime::AtDocumentEnd,
            WKUserScriptFrames::All },
        { "window._dswk=true;", WKUserScriptInjectionTime::AtDocumentStart, WKUserScriptFrames::MainFrameOnly },
    };
    EXPECT_EQ(configuration->userContentController->userScripts(), expected);
    EXPECT_EQ(earlier->userScripts().size(), 1U);

    load("<meta name=description><script>window.selected = [];"
         "window.$ = s => ({remove() { selected.push(s); }, append(x) { selected.push(s + '+' + x); }});</script>");
    EXPECT_EQ(ask("navigator.userAgent"), OptionalValue("i"));
    EXPECT_EQ(ask("[typeof window.mine, window._dswk]"), OptionalValue(boost::json::array{ "undefined", true }));
    runUntil([this] { return ask("selected.length") == OptionalValue(2); }, "the page's selector has been used");
    EXPECT_EQ(ask("selected"), OptionalValue(boost::json::array{ "meta[name=description]", "head+" }));
}

TEST_F(WebViewTest, FramesAreMadeWiderThanTall)
{
    const std::vector<std::pair<CGRect, CGRect>> rows{ { { 3, 4, 320, 568 }, { 3, 4, 568, 320 } },
        { { 0, 0, 568, 320 }, { 0, 0, 568, 320 } }, { { 1, 1, 500, 500 }, { 1, 1, 500, 500 } } };
    for (const auto& [given, made] : rows) {
        auto one = TQWBWebView::initWithFrame(given, nullptr);
        EXPECT_EQ(one->frame(), made);
        one->call("TQJSBridge.onRoomQuited", "{}");
    }
}

TEST_F(WebViewTest, ThePageCannotScrollAndInnerAreasCan)
{
    make();
    const char* const kScrolled
        = "[document.body, document.getElementById('in')].map(part => { part.scrollTop = 50; return part.scrollTop; })";
    for (const std::string style :
        { "body{height:9000px}", "html,body{height:100%} body{overflow:auto}", "html,body{height:100%;overflow:scroll}",
            "html{overflow:auto} body{height:100vh;overflow-y:scroll!important}" }) {
        load("<style>" + style
            + "#in{width:50px;height:50px;overflow:auto} p{height:9000px}</style><div id=in><p></div><p>");
        EXPECT_EQ(ask(kScrolled), OptionalValue(boost::json::array{ 0, 50 })) << style;
    }
    EXPECT_EQ(room->scrollView(), (UIScrollView{ false, false, false }));
    EXPECT_EQ(room->tintColor(), UIColor::clearColor());
}

TEST_F(WebViewTest, TheBarFollowsTheLoadAndHidesAfterIt)
{
    make();
    const auto bar = room->progressView();
    const auto screen = UIScreen::mainScreen();
    ASSERT_TRUE(screen);
    EXPECT_EQ(bar->frame(), (CGRect{ 0, 20, std::max(screen->bounds.width, screen->bounds.height), 1 }));
    EXPECT_EQ(bar->tintColor(), UIColor::systemBlueColor());
    EXPECT_EQ(bar->progress(), 0.0F);
    EXPECT_FALSE(bar->hidden());
    room->setNavigationDelegate(room);
    load();
    runUntil([&] { return bar->hidden(); }, "the bar is hidden");
    EXPECT_EQ(bar->progress(), 1.0F);
    room->loadUrl(pageWith("again"));
    runUntil([&] { return !bar->hidden(); }, "the bar is back");
    runUntil([&] { return bar->hidden(); }, "the bar is hidden again");

    // Whoever waits to hide the bar does not hold the view for it.
    auto one = TQWBWebView::initWithFrame({ 0, 0, 100, 50 }, nullptr);
    one->call("TQJSBridge.onRoomQuited", "{}");
    const std::weak_ptr<TQWBWebView> watched = one;
    one->loadUrl("about:blank");
    runUntil([&] { return one->estimatedProgress() == 1.0; }, "the blank page is there");
    one.reset();
    EXPECT_TRUE(watched.expired());

    // Other observations are the base's, which ignores them.
    bar->setHidden(false);
    room->observeValueForKeyPath("title", room.get(), {}, nullptr);
    EXPECT_FALSE(bar->hidden());
}

TEST_F(WebViewTest, EventsReachTheDelegatesUnderBothNames)
{
    struct Row {
        const char* method;
        std::string argument;
        Events events;
        const char* logLine;
    };
    const std::string image = std::string(R"({"data":")") + kImage + R"("})";
    const std::vector<Row> rows{
        { "onRecordStart", "1", { "start" }, "[TQ:Log] onRecordStart" },
        { "onRecordEnd", R"({"url":"u"})", { "end u" }, R"([TQ:Log] onRecordEnd：{"url":"u"})" },
        { "onRecordEnd", R"({"url":5})", { "end (absent)" }, R"([TQ:Log] onRecordEnd：{"url":5})" },
        { "onRecordEnd", "null", { "end (absent)" }, "[TQ:Log] onRecordEnd：(null)" },
        { "onStatusChange", R"({"status":2})", { "permission 2" }, R"([TQ:Log] onStatusChange：{"status":2})" },
        { "onStatusChange", R"({"status":"3"})", { "permission 3" }, R"([TQ:Log] onStatusChange：{"status":"3"})" },
        { "onStatusChange", "{}", { "permission 0" }, "[TQ:Log] onStatusChange：{}" },
        { "onStatusChange", R"("text")", { "permission 0" }, "[TQ:Log] onStatusChange：text" },
        { "onLoadStart", "{}", {}, "[TQ:Log] onLoadStart" },
        { "onLoadEnd", "{}", {}, "[TQ:Log] onLoadEnd" },
        { "onCaptureEnd", image, { "capture 2x1" }, "[TQ:Log] onCaptureEnd" },
        { "onCaptureEnd", R"({"data":"bm8gcGljdHVyZQ=="})", { "no capture" }, "[TQ:Log] onCaptureEnd" },
        { "onCaptureEnd", R"({"data":""})", {}, "[TQ:Log] onCaptureEnd Error, base64String is nil" },
        { "onCaptureEnd", "null", {}, "[TQ:Log] onCaptureEnd Error, base64String is nil" },
    };
    make();
    for (const char* nameSpace : { "TQJSBridge.", "TQNativeBridge." }) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.method + row.argument.substr(0, 40));
            clearLog();
            listener->events.clear();
            EXPECT_EQ(event(std::string(nameSpace) + row.method, row.argument),
                std::string(R"({"code":0,"data":")") + row.method + R"("})");
            EXPECT_EQ(listener->events, row.events);
            EXPECT_TRUE(hasLineBeginning(row.logLine));
        }
    }
}

TEST_F(WebViewTest, TheViewIsWhiteBeforeItsFirstPage)
{
    make();
    TestWindow window(*room, 300, 200);
    EXPECT_EQ(window.colorInTheMiddle(), (std::array{ 255, 255, 255, 255 }));
    window.clear();
}

TEST(Pictures, OfEveryUsualFormatAreReadAndNoneThatClaimsTooMuch)
{
    for (const auto& row : kPictures) {
        auto bytes = contentOf(std::filesystem::path(TQWB_PICTURES_FOLDER) / row.file);
        for (const auto& [place, text] : row.changes)
            bytes.replace(place, text.size(), text);
        const auto picture = UIImage::imageWithData(bytes);
        const bool isRead = row.arrives && (readsTiff() || !std::string_view(row.name).starts_with("TIFF"));
        EXPECT_EQ(picture != nullptr, isRead) << row.name;
        EXPECT_TRUE(!picture || (picture->width() == 3 && picture->height() == 2)) << row.name;
    }
}

TEST_F(WebViewTest, MissingDelegatesAndMethodsOnlyLog)
{
    make();
    const auto quitOnly = std::make_shared<QuitListener>();
    room->setRoomStatusDelegate(quitOnly);
    const std::shared_ptr<Listener> none;
    room->setRecordDelegate(none);
    clearLog();
    EXPECT_EQ(event("TQJSBridge.onCaptureEnd", R"({"data":""})"), R"({"code":0,"data":"onCaptureEnd"})");
    EXPECT_EQ(logLines(), (Events{ "[TQ:Log] onCaptureEnd" }));
    event("TQJSBridge.onRecordStart", "{}");
    listener.reset();
    EXPECT_EQ(room->permisssionDelegate(), nullptr);
    event("TQJSBridge.onStatusChange", R"({"status":1})");
    event("TQJSBridge.onRoomQuited", "{}");
    EXPECT_EQ(quitOnly->quits, 1);
}

TEST_F(WebViewTest, RoomFailuresUnlinkTheBridgeEvenWhenTheyAreEmpty)
{
    for (const auto& [argument, expected] :
        std::vector<std::pair<std::string, Events>>{ { R"({"code":1001,"msg":"gone"})", { "exception 1001 gone" } },
            { R"({"code":"7"})", { "exception 7 (absent)" } },
            { R"({"code":-3,"msg":{}})", { "exception -3 (absent)" } }, { "{}", {} }, { "null", {} }, { "[1]", {} } }) {
        SCOPED_TRACE(argument);
        auto one = TQWBWebView::initWithFrame({ 0, 0, 100, 50 }, nullptr);
        one->setRoomStatusDelegate(listener);
        one->setRecordDelegate(listener);
        listener->events.clear();
        const auto message = R"({"data":)" + argument + "}";
        EXPECT_EQ(one->call("TQNativeBridge.onRoomException", message), R"({"code":0,"data":"onRoomException"})");
        EXPECT_EQ(listener->events, expected);
        // Later events are answered and reach nobody.
        EXPECT_EQ(one->call("TQJSBridge.onRecordEnd", R"({"data":{"url":"u"}})"), R"({"code":0,"data":"onRecordEnd"})");
        EXPECT_EQ(listener->events, expected);
        const std::weak_ptr<TQWBWebView> watched = one;
        one.reset();
        EXPECT_TRUE(watched.expired());
    }
}

TEST_F(WebViewTest, ADelegateThatThrowsDoesNotKeepTheView)
{
    struct Thrower final : TQWBRoomStatusProtocol {
        void onWBRoomQuit() override { throw std::runtime_error("thrown by the delegate"); }
    };
    const auto thrower = std::make_shared<Thrower>();
    make();
    room->setRoomStatusDelegate(thrower);
    load();
    EXPECT_EQ(PageTest::call("TQJSBridge.onRoomQuited", "{}"), std::nullopt);
    EXPECT_EQ(countOfLine("thrown by the delegate"), 1);
    const std::weak_ptr<TQWBWebView> watched = std::exchange(room, nullptr);
    view.reset();
    runUntil([&] { return watched.expired(); }, "the view is destroyed");
}

TEST_F(WebViewTest, TheViewOutlivesItsApplicationUntilThePageQuits)
{
    make();
    load("<script>setTimeout(() => prompt('_dsbridge=TQJSBridge.onRoomQuited', '{}'), 300);</script>");
    const std::weak_ptr<TQWBWebView> watched = room;
    room.reset();
    view.reset();
    runPending();
    EXPECT_FALSE(watched.expired());
    clearLog();
    runUntil([&] { return countOfLine("[TQ:Log] -[TQWBWebView dealloc]") == 1; }, "the view is destroyed");
    EXPECT_EQ(listener->events, (Events{ "quit" }));
    EXPECT_EQ(logLines(), (Events{ "[TQ:Log] onRoomQuited", "[TQ:Log] -[TQWBWebView dealloc]" }));
}

// A successful quit drops the view on the request's thread while the page may be loading.
TEST_F(WebViewTest, TheLastReferenceMayBeDroppedAnywhere)
{
    for (int round = 0; round < 5; ++round) {
        std::thread::id destroyedOn;
        auto one = TQWBWebView::initWithFrame({ 0, 0, 100, 50 }, nullptr);
        one->setNavigationDelegate(one);
        one->addJavascriptObject(witness(destroyedOn), "witness");
        one->call("TQJSBridge.onRoomQuited", "{}");
        one->loadUrl(pageWith("<p>loading"));
        EngineWatch engine(*one);
        // Nothing of the load has been heard of yet: all of it comes after the drop and before the destruction.
        std::thread([held = std::move(one)]() mutable { held.reset(); }).join();
        engine.repeatProgress();
        EXPECT_EQ(destroyedOn, std::thread::id());
        runUntil([&] { return destroyedOn != std::thread::id(); }, "the view is destroyed");
        EXPECT_EQ(destroyedOn, std::this_thread::get_id());
    }
}

TEST_F(WebViewTest, NoViewIsDestroyedInTheMiddleOfAnEnginesCall)
{
    bool wasDestroyedInside = false;
    std::thread::id destroyedOn;
    auto one = TQWBWebView::initWithFrame({ 0, 0, 100, 50 }, nullptr);
    one->addJavascriptObject(witness(destroyedOn), "witness");
    EngineWatch engine(*one);
    engine.afterProgress([&] { wasDestroyedInside = wasDestroyedInside || destroyedOn != std::thread::id(); });
    // The application's observer drops the last reference when it is told.
    struct Dropper final : NSObject {
        void observeValueForKeyPath(std::string_view, NSObject*, const boost::json::object&, void*) override
        {
            held->call("TQJSBridge.onRoomQuited", "{}");
            held.reset();
            ++calls;
        }
        std::shared_ptr<TQWBWebView> held;
        int calls = 0;
    } dropper;
    one->addObserver(&dropper, "estimatedProgress", nullptr);
    dropper.held = std::move(one);
    engine.repeatProgress();
    EXPECT_EQ(dropper.calls, 1);
    EXPECT_FALSE(wasDestroyedInside);
    EXPECT_EQ(destroyedOn, std::thread::id());
    runUntil([&] { return destroyedOn != std::thread::id(); }, "the view is destroyed");
}

class TrustTest : public WebViewTest { };

// What the page of one server asks another: by a script, a frame, a fetch and a WebSocket, each of them once.
constexpr const char* kAskingPage = R"(<script>
const other = location.hash.slice(1);
window.results = [];
const end = (what) => results.push(what) === 4 && prompt("_dsbridge=report", JSON.stringify({ data: results.sort() }));
const element = (name, onerror) => Object.assign(document.createElement(name), { src: `https://${other}/${name}` });
addEventListener("message", ({ data }) => end(data));
onload = () => {
    document.head.append(Object.assign(element("script"), { onload: () => end("script"), onerror: () => end("no script") }));
    document.body.append(element("iframe"));
    fetch(`https://${other}/fetch`).then(() => end("fetch"), () => end("no fetch"));
    const socket = new WebSocket(`wss://${other}/socket`);
    socket.onclose = () => end("socket");
    setTimeout(() => end("late"), 10000);
};
</script><body>)";

std::string answerOfEither(const ReceivedRequest& request)
{
    const auto path = request.path();
    if (path == "/iframe")
        return HttpsServer::pageOf("<script>parent.postMessage('frame', '*')</script>");
    if (path == "/script" || path == "/fetch" || path == "/socket")
        return HttpsServer::answerWith(200, "", "Access-Control-Allow-Origin: *\r\n");
    return HttpsServer::pageOf(kAskingPage);
}

TEST_F(TrustTest, WhatThePageAsksOfAnotherServerIsTrustedAtTheFirstTry)
{
    make();
    HttpsServer page(answerOfEither);
    HttpsServer lease(answerOfEither);
    // Certificates are accepted for each host.
    const auto leaseHost = "127.0.0.1" + lease.host().substr(lease.host().find(':'));
    const auto results = std::make_shared<Reports>();
    room->addJavascriptObject(results, std::nullopt);
    const auto ask = [&](const char* way) {
        SCOPED_TRACE(way);
        results->values.clear();
        const auto before = lease.requests("/socket").size();
        room->loadUrl("https://" + page.host() + "/page#" + leaseHost);
        runUntil([&] { return !results->values.empty(); }, "the page has asked for everything");
        EXPECT_EQ(results->values[0], OptionalValue(boost::json::array{ "fetch", "frame", "script", "socket" }));
        EXPECT_EQ(lease.requests("/socket").size(), before + 1);
    };
    auto& configuration = NSURLSessionConfiguration::defaultSessionConfiguration();
    configuration.setExtraTrustAnchors(HttpsServer::authority());
    room->expectServers({ "https://" + leaseHost });
    ask("extra anchors");
    configuration.setExtraTrustAnchors(std::nullopt);
    room->setAcceptedCertificates(AcceptedCertificates::Every);
    ask("a view that accepts everything");
    room->setAcceptedCertificates(AcceptedCertificates::Good);
    room->setNavigationDelegate(room);
    ask("a view that is its own delegate");
}

} // namespace
} // namespace tq::test
