#include "TQWhiteBoardLib/DWKWebView.h"

#include "AsyncResult.h"
#include "CallMessage.h"
#include "InternalApis.h"
#include "JSBUtil.h"
#include "PercentEncoding.h"
#include "ScriptBatch.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"

namespace tq {

namespace {

// A message of this length is written without asking for memory a second time.
constexpr std::size_t kUsualResult = 256;

std::string resultMessage(std::int32_t code, const OptionalValue& data)
{
    // As objToJsonString writes the map of the two, without making it first.
    std::string message;
    message.reserve(kUsualResult);
    message = code == 0 ? R"({"code":0,"data":)" : R"({"code":-1,"data":)";
    if (!data)
        message += "\"\"";
    else if (!NSJSONSerialization::appendJSON(message, *data))
        return "{}";
    message += '}';
    return message;
}

} // namespace

std::shared_ptr<DWKWebView> DWKWebView::initWithFrame(
    CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    return make<DWKWebView>(frame, std::move(configuration));
}

DWKWebView::DWKWebView(Token token)
    : WKWebView(token)
    , m_batch(std::make_unique<ScriptBatch>())
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
    const auto self = std::static_pointer_cast<DWKWebView>(shared_from_this());
    setUIDelegate(self);
    auto internalApis = std::make_shared<InternalApis>();
    internalApis->setWebview(self);
    addJavascriptObject(std::move(internalApis), "_dsb");
}

void DWKWebView::addJavascriptObject(std::shared_ptr<NSObject> object, const OptionalText& nameSpace)
{
    if (!object)
        return;
    // The object that is replaced is destroyed after the lock has been released: it may call back.
    const std::lock_guard lock(m_registryMutex);
    m_javaScriptNamespaceInterfaces[nameSpace.value_or("")].swap(object);
}

void DWKWebView::removeJavascriptObject(const OptionalText& nameSpace)
{
    std::shared_ptr<NSObject> removed;
    const std::lock_guard lock(m_registryMutex);
    if (auto found = m_javaScriptNamespaceInterfaces.find(nameSpace.value_or(""));
        found != m_javaScriptNamespaceInterfaces.end()) {
        removed = std::move(found->second);
        m_javaScriptNamespaceInterfaces.erase(found);
    }
}

std::shared_ptr<NSObject> DWKWebView::objectForNamespace(std::string_view nameSpace) const
{
    const std::lock_guard lock(m_registryMutex);
    auto found = m_javaScriptNamespaceInterfaces.find(nameSpace);
    return found == m_javaScriptNamespaceInterfaces.end() ? nullptr : found->second;
}

void DWKWebView::loadUrl(std::string_view url) { loadRequest({ .URL = NSURL::URLWithString(url) }); }

std::string DWKWebView::call(std::string_view methodName, std::optional<std::string_view> argumentMessage)
{
    const auto [nameSpace, method] = JSBUtil::parseNamespace(JSBUtil::trimmed(methodName));
    const auto object = objectForNamespace(nameSpace);
    if (!object) {
        NSLog("Js bridge  called, but can't find a corresponded JavascriptObject , please check your code!");
        return resultMessage(-1, std::nullopt);
    }
    const auto candidates = object->objectClass().candidates(method);
    auto message = CallMessage::read(argumentMessage);
    if (message.callbackName) {
        if (candidates.async) {
            auto result = std::make_shared<AsyncResult>(
                std::static_pointer_cast<DWKWebView>(shared_from_this()), std::move(*message.callbackName));
            candidates.async->invoke(*object, std::move(message.data),
                [result](OptionalValue value, Complete complete) { result->deliver(std::move(value), complete); });
            return result->message();
        }
    } else if (candidates.sync) {
        return resultMessage(0, candidates.sync->invoke(*object, std::move(message.data)));
    }
    reportMissingMethod(methodName);
    return resultMessage(-1, std::nullopt);
}

void DWKWebView::reportMissingMethod(std::string_view methodName)
{
    const auto error
        = "Error! \n Method " + std::string(methodName) + " is not invoked, since there is not a implementation for it";
    if (m_isDebug)
        evaluateJavaScript("window.alert(decodeURIComponent(\"" + percentEncoded(error) + "\"));");
    NSLog(error);
}

void DWKWebView::queueScript(std::string_view script)
{
    m_batch->append(script, ScriptBatch::milliseconds(),
        [this](std::int32_t delay, ScriptBatch::Ticket ticket) { scheduleFlush(delay, ticket); });
}

void DWKWebView::evalJavascript(std::int32_t delay) { scheduleFlush(delay, std::nullopt); }

void DWKWebView::scheduleFlush(std::int32_t delay, std::optional<std::uint64_t> ticket)
{
    auto flush = [self = std::static_pointer_cast<DWKWebView>(shared_from_this()), ticket] {
        self->m_batch->flush(ScriptBatch::milliseconds(), ticket, [&](std::string_view script) {
            if (self->isPageAllowed())
                self->evaluateJavaScript(script);
        });
    };
    if (delay > 0)
        dispatchToMainAfter(std::chrono::milliseconds(delay), std::move(flush));
    else
        dispatchToMain(std::move(flush));
}

OptionalText DWKWebView::answer(std::string_view methodName, std::optional<std::string_view> argumentMessage)
{
    // In debug mode nothing is caught: the program ends where the fault is.
    if (m_isDebug)
        return [&]() noexcept { return call(methodName, argumentMessage); }();
    try {
        return call(methodName, argumentMessage);
    } catch (...) {
        logCurrentException();
    }
    return std::nullopt;
}

} // namespace tq
