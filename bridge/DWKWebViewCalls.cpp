// Native code calls the page.

#include "CallMessage.h"
#include "JSBUtil.h"
#include "PageAnswer.h"
#include "PendingCall.h"
#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace tq {

namespace {
constexpr const char* kViewHasEnded = "the view has ended";
}

void DWKWebView::callHandler(std::string_view handlerName, JSArguments arguments, JSCallback completionHandler)
{
    std::shared_ptr<PendingCall> pending;
    if (completionHandler)
        pending = std::make_shared<PendingCall>(PendingCall{ .callback
            = [callback = std::move(completionHandler)](PageReply reply) { callback(std::move(reply.value)); } });
    startCall(handlerName, std::move(arguments).takeList(), std::move(pending));
}

void DWKWebView::callPageFunction(PageFunction function, boost::json::array arguments, PageReplyCallback callback)
{
    const auto id = m_callId;
    startCall(function.name, std::move(arguments),
        std::make_shared<PendingCall>(PendingCall{ .callback = std::move(callback), .settles = true }));
    if (function.timeLimit)
        m_deadlines->add(id, *function.timeLimit);
}

void DWKWebView::startCall(
    std::string_view handlerName, boost::json::array&& arguments, std::shared_ptr<PendingCall> pending)
{
    assert(isMainThread());
    DSCallInfo info{ std::string(handlerName), m_callId, std::move(arguments) };
    // After the last number there is the least one.
    m_callId = static_cast<std::int32_t>(static_cast<std::uint32_t>(m_callId) + 1U);
    if (pending && (pending->settles || !hasEnded()))
        m_handerMap[info.id] = std::move(pending);
    // Nobody would answer.
    if (hasEnded())
        failCallSoon(info.id, kViewHasEnded);
    else if (m_callInfoList)
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
        return failCallSoon(info.id, std::string(kNotAllowed));
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
    const auto pending = m_handerMap.find(info.id);
    if (pending == m_handerMap.end())
        return evaluateJavaScript(script);
    pending->second->isSent = true;
    evaluateJavaScript(script,
        [weak = std::weak_ptr(self()), id = info.id](const OptionalText& value, const std::optional<NSError>& error) {
            const auto view = weak.lock();
            if (view && error)
                view->failCallSoon(id, error->localizedDescription);
            else if (view && value && view->isPageAllowed())
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
    const auto found = answer ? m_handerMap.find(answer->id) : m_handerMap.end();
    if (found == m_handerMap.end())
        return std::nullopt;
    // The callback may call the page, or take its last answer meanwhile.
    const auto pending = found->second;
    m_deadlines->remove(answer->id);
    if (answer->isLast)
        m_handerMap.erase(found);
    reply(*pending, { std::move(answer->data), std::move(answer->failure) });
    return std::nullopt;
}

void DWKWebView::reply(const PendingCall& pending, PageReply&& reply)
{
    guard([&] { pending.callback(std::move(reply)); });
}

void DWKWebView::failCall(std::int32_t id, std::string_view reason)
{
    const auto found = m_handerMap.find(id);
    if (found == m_handerMap.end() || !found->second->settles)
        return;
    const auto pending = std::move(found->second);
    m_handerMap.erase(found);
    m_deadlines->remove(id);
    if (m_callInfoList)
        std::erase_if(*m_callInfoList, [&](const DSCallInfo& info) { return info.id == id; });
    reply(*pending, { std::nullopt, std::string(reason) });
}

void DWKWebView::failCallSoon(std::int32_t id, std::string reason)
{
    dispatchToMain([weak = std::weak_ptr(self()), id, reason = std::move(reason)] {
        if (const auto view = weak.lock())
            view->failCall(id, reason);
    });
}

// Whoever lets go of the view itself hears nothing more: what a callback knows is often what the view belonged to.
void DWKWebView::letGoOfCalls()
{
    for (const auto& [id, pending] : std::exchange(m_handerMap, {})) {
        if (pending->settles)
            dispatchToMain([weak = std::weak_ptr(self()), callback = pending->callback] {
                if (weak.lock())
                    callback({ std::nullopt, kViewHasEnded });
            });
    }
}

// Those that a page could have answered that is no more.
void DWKWebView::failCalls(std::string_view reason)
{
    std::vector<std::int32_t> sent;
    for (const auto& [id, pending] : m_handerMap) {
        if (pending->isSent)
            sent.push_back(id);
    }
    std::ranges::sort(sent);
    for (const auto id : sent)
        failCall(id, reason);
}

void DWKWebView::hasJavascriptMethod(std::string_view handlerName, std::function<void(bool)> methodExistCallback)
{
    callHandler("_hasJavascriptMethod", { handlerName }, [callback = std::move(methodExistCallback)](auto value) {
        if (callback)
            callback(boolValue(value ? &*value : nullptr));
    });
}

} // namespace tq
