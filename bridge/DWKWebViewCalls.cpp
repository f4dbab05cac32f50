// Native code calls the page.

#include "CallMessage.h"
#include "JSBUtil.h"
#include "PageAnswer.h"
#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"

#include <cassert>
#include <utility>

namespace tq {

void DWKWebView::callHandler(std::string_view handlerName, JSArguments arguments, JSCallback completionHandler)
{
    assert(isMainThread());
    // Nobody would answer.
    if (hasEnded())
        return;
    DSCallInfo info{ std::string(handlerName), m_callId, std::move(arguments).takeList() };
    // After the last number there is the least one.
    m_callId = static_cast<std::int32_t>(static_cast<std::uint32_t>(m_callId) + 1U);
    if (completionHandler)
        m_handerMap[info.id] = std::make_shared<const JSCallback>(std::move(completionHandler));
    if (m_callInfoList)
        m_callInfoList->push_back(std::move(info));
    else
        dispatchJavascriptCall(info);
}

void DWKWebView::callHandler(std::string_view handlerName, JSArguments arguments)
{
    callHandler(handlerName, std::move(arguments), nullptr);
}

void DWKWebView::callHandler(std::string_view handlerName, JSCallback completionHandler)
{
    callHandler(handlerName, {}, std::move(completionHandler));
}

void DWKWebView::dispatchJavascriptCall(const DSCallInfo& info)
{
    assert(isMainThread());
    if (!isPageAllowed())
        return;
    // As objToJsonString writes the map of the three, without making it first.
    std::string script = R"(window._handleMessageFromNative({"method":)";
    if (NSJSONSerialization::appendText(script, info.method)) {
        script += R"(,"callbackId":)" + std::to_string(info.id) + R"(,"data":)";
        NSJSONSerialization::appendText(script, JSBUtil::objToJsonString(info.args));
        script += "})";
    } else {
        script = "window._handleMessageFromNative({})";
    }
    // A page half may give its answer as the value of the script.
    if (!m_handerMap.contains(info.id))
        return evaluateJavaScript(script);
    const auto self = std::static_pointer_cast<DWKWebView>(shared_from_this());
    evaluateJavaScript(script, [weak = std::weak_ptr(self), id = info.id](const OptionalText& value, auto&&) {
        if (const auto view = weak.lock(); view && value && view->isPageAllowed())
            view->takeAnswer(id, *value);
    });
}

// The value is the message that a call of "returnValue" would have, or means nothing.
void DWKWebView::takeAnswer(std::int32_t id, std::string_view value)
{
    auto message = CallMessage::readPlain(value);
    const auto* given = message ? memberOf(message->data, "id") : nullptr;
    if (given && wholeNumber(given) == id)
        returnValue(std::move(message->data));
}

void DWKWebView::dispatchStartupQueue()
{
    assert(isMainThread());
    if (!m_callInfoList)
        return;
    const auto queued = std::exchange(m_callInfoList, std::nullopt);
    for (const auto& info : *queued)
        dispatchJavascriptCall(info);
}

OptionalValue DWKWebView::returnValue(OptionalValue result)
{
    assert(isMainThread());
    auto answer = PageAnswer::read(std::move(result));
    const auto pending = answer ? m_handerMap.find(answer->id) : m_handerMap.end();
    if (pending == m_handerMap.end())
        return std::nullopt;
    const auto callback = pending->second;
    if (answer->isLast)
        m_handerMap.erase(pending);
    if (m_isDebug)
        (*callback)(std::move(answer->data));
    else
        runGuarded([&] { (*callback)(std::move(answer->data)); });
    return std::nullopt;
}

void DWKWebView::hasJavascriptMethod(std::string_view handlerName, std::function<void(bool)> methodExistCallback)
{
    callHandler("_hasJavascriptMethod", { handlerName }, [callback = std::move(methodExistCallback)](auto value) {
        if (callback)
            callback(boolValue(value ? &*value : nullptr));
    });
}

} // namespace tq
