#include "TQWhiteBoardLib/DWKWebView.h"

#include "AsyncResult.h"
#include "CallMessage.h"
#include "InternalApis.h"
#include "NativeObjects.h"
#include "OpenCalls.h"
#include "PageConsole.h"
#include "PagePorts.h"
#include "PendingCall.h"
#include "PercentEncoding.h"
#include "ScriptBatch.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"

#include <cassert>
#include <utility>

namespace tq {

/// A result on its way to the page of a view.
class ViewResult final : public ScriptResult {
public:
    ViewResult(std::shared_ptr<DWKWebView> view, PageCallback callback)
        : ScriptResult(std::move(callback))
        , m_view(std::move(view))
    {
    }

private:
    void queueScript(std::string_view script) override { m_view->queueScript(script); }

    // Held until the last completion is dropped, so that a result always finds the view's lock.
    const std::shared_ptr<DWKWebView> m_view;
};

std::shared_ptr<DWKWebView> DWKWebView::initWithFrame(
    CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    return make<DWKWebView>(frame, std::move(configuration));
}

DWKWebView::DWKWebView(Token token)
    : WKWebView(token)
    , m_javaScriptNamespaceInterfaces(std::make_unique<NativeObjects>())
    , m_batch(std::make_unique<ScriptBatch>())
    , m_openCalls(std::make_unique<OpenCalls>())
{
}

DWKWebView::~DWKWebView() { DWKWebView::pageDialogsAreVoid(); }

void DWKWebView::initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    if (!configuration->userContentController)
        configuration->userContentController = std::make_shared<WKUserContentController>();
    configuration->userContentController->addUserScript(
        { "window._dswk=true;", WKUserScriptInjectionTime::AtDocumentStart, WKUserScriptFrames::MainFrameOnly });
    WKWebView::initialize(frame, std::move(configuration));
    const auto self = this->self();
    setUIDelegate(self);
    auto internalApis = std::make_shared<InternalApis>();
    internalApis->setWebview(self);
    addJavascriptObject(std::move(internalApis), "_dsb");
    m_deadlines = std::make_shared<CallDeadlines>([weak = std::weak_ptr(self)](std::int32_t id) {
        if (const auto view = weak.lock())
            view->failCall(id, "no answer came in time");
    });
    m_ports = std::make_shared<PagePorts>(self);
    m_javaScriptNamespaceInterfaces->setOwn(PagePorts::kNamespace, m_ports);
    giveUserContent();
}

void DWKWebView::pageHasGone(PageEnd end)
{
    endCalls(end == PageEnd::Replaced ? "another page has come" : "the page's process has ended");
}

void DWKWebView::endCalls(std::string_view reason)
{
    m_ports->close();
    m_openCalls->giveUpAll();
    failCalls(reason);
}

void DWKWebView::end()
{
    WKWebView::end();
    m_ports->close();
    m_openCalls->giveUpAll();
    m_dsUIDelegate.clear();
    // What is let go of may call the view once more.
    m_callInfoList.reset();
    const auto listener = std::exchange(m_javascriptCloseWindowListener, nullptr);
    letGoOfCalls();
}

void DWKWebView::addJavascriptObject(std::shared_ptr<NSObject> object, const OptionalText& nameSpace)
{
    if (!object)
        return;
    m_javaScriptNamespaceInterfaces->add(std::move(object), nameSpace);
}

void DWKWebView::removeJavascriptObject(const OptionalText& nameSpace)
{
    m_javaScriptNamespaceInterfaces->remove(nameSpace);
}

void DWKWebView::setDebugMode(DebugMode mode)
{
    assert(isMainThread());
    m_isDebug = mode == DebugMode::On;
    if (!m_isDebug)
        m_console.reset();
    else if (!m_console)
        m_console = std::make_shared<PageConsole>();
    setInspectable(m_isDebug);
    giveUserContent();
}

// What the view gives to pages of its own accord, beside what its configuration holds.
void DWKWebView::giveUserContent()
{
    WKUserContentController content;
    addSecrets(content);
    m_ports->addTo(content);
    if (m_console)
        m_console->addTo(content);
    setOwnUserContent(content);
}

void DWKWebView::loadUrl(std::string_view url) { loadRequest({ .URL = NSURL::URLWithString(url) }); }

std::string DWKWebView::call(std::string_view methodName, std::optional<std::string_view> argumentMessage)
{
    return callFromPage(methodName, argumentMessage, std::nullopt);
}

std::string DWKWebView::callFromPage(std::string_view methodName, std::optional<std::string_view> argumentMessage,
    std::optional<std::string_view> secret)
{
    return m_javaScriptNamespaceInterfaces->call(
        methodName, argumentMessage,
        [this](PageCallback callback) {
            auto result = std::make_shared<ViewResult>(self(), std::move(callback));
            m_openCalls->add(++m_lastOpenCall, result);
            return result;
        },
        [this](std::string_view name) { reportMissingMethod(name); }, secret);
}

void DWKWebView::reportMissingMethod(std::string_view methodName)
{
    constexpr std::string_view kBefore = "Error! \n Method ";
    constexpr std::string_view kAfter = " is not invoked, since there is not a implementation for it";
    if (m_isDebug) {
        const auto error = std::string(kBefore).append(methodName).append(kAfter);
        evaluateJavaScript("window.alert(decodeURIComponent(\"" + percentEncoded(error) + "\"));");
    }
    NSLog(TQWBLogLevel::Error, kBefore, methodName, kAfter);
}

void DWKWebView::queueScript(std::string_view script)
{
    m_batch->append(script, ScriptBatch::milliseconds(), [this](std::int32_t delay) { evalJavascript(delay); });
}

void DWKWebView::evalJavascript(std::int32_t delay)
{
    auto flush = [self = self()] {
        self->m_batch->flush(ScriptBatch::milliseconds(), [&](std::string_view script) {
            if (self->isPageAllowed())
                self->evaluateJavaScript(script);
        });
    };
    if (delay > 0)
        dispatchToMainAfter(std::chrono::milliseconds(delay), std::move(flush));
    else
        dispatchToMain(std::move(flush));
}

// Prompts with this before their text are calls, and no dialogs.
void DWKWebView::runJavaScriptTextInputPanelWithPrompt(WKWebView& webView, std::string_view prompt,
    std::optional<std::string_view> defaultText, const WKFrameInfo& frame, std::function<void(OptionalText)> completion)
{
    constexpr std::string_view kCallPrefix = "_dsbridge=";
    if (!prompt.starts_with(kCallPrefix))
        return showPrompt(webView, prompt, defaultText, frame, std::move(completion));
    const auto reply = [this, isFrameAllowed = isFrameAllowed(frame.origin())](
                           std::string_view methodName, std::optional<std::string_view> message, const auto& done) {
        done(isFrameAllowed && isPageAllowed() ? answer(methodName, message) : NativeObjects::refusal());
    };
    const auto methodName = prompt.substr(kCallPrefix.size());
    if (m_ports->catchUp())
        return reply(methodName, defaultText, completion);
    m_ports->answerLater(
        [reply, name = std::string(methodName), message = defaultText ? OptionalText(*defaultText) : std::nullopt,
            done = std::move(completion)] { reply(name, message, done); });
}

// Runs code of the application. In debug mode nothing is caught, by no caller either: the program ends where the fault
// is.
void DWKWebView::guard(const std::function<void()>& run) const
{
    if (m_isDebug)
        [&]() noexcept { run(); }();
    else
        runGuarded(run);
}

// What a call from the page comes to; absent where it has failed.
template <class Call> auto DWKWebView::guarded(const Call& call)
{
    std::optional<decltype(call())> result;
    guard([&] { result = call(); });
    return result;
}

OptionalText DWKWebView::answer(std::string_view methodName, std::optional<std::string_view> argumentMessage)
{
    if (methodName == PagePorts::kFetch)
        return m_ports->fetch(argumentMessage);
    return guarded([&] { return callFromPage(methodName, argumentMessage, requiredSecret()); });
}

std::optional<CallOutcome> DWKWebView::performGuarded(std::string_view methodName, CallMessage&& message,
    const std::function<std::shared_ptr<AsyncResult>(PageCallback)>& makeResult)
{
    return guarded([&] {
        return m_javaScriptNamespaceInterfaces->perform(
            methodName, std::move(message), makeResult, [this](std::string_view name) { reportMissingMethod(name); });
    });
}

} // namespace tq
