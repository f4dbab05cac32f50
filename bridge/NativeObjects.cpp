#include "NativeObjects.h"

#include "AsyncResult.h"
#include "CallMessage.h"
#include "JSBUtil.h"
#include "ResultMessage.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

namespace {

// The answer to a call whose argument the method cannot take.
std::string mismatchMessage(std::string_view fullName, std::string_view mismatch)
{
    const auto text = std::string(fullName).append(": ").append(mismatch);
    NSLog(TQWBLogLevel::Warning, "Js bridge: " + text);
    return resultMessage(ResultCode::NotInvoked, boost::json::value(text));
}

// The answer to a call that nothing will come of. A page that asks for more is told so.
std::string emptyMessage(const CallMessage& message)
{
    const bool isTold = message.callbackName && message.asksForMore;
    return resultMessage(ResultCode::NotInvoked, std::nullopt, isTold ? kNonePending : std::string_view());
}

} // namespace

void NativeObjects::add(std::shared_ptr<NSObject> object, const OptionalText& nameSpace)
{
    const auto& table = object->objectClass();
    if (const auto* foreign = table.foreignMethod(*object)) {
        NSLog(TQWBLogLevel::Error,
            "Js bridge: an object of " + table.name() + " is refused, since \"" + std::string(foreign->name())
                + "\" of its table is a method of another class");
        return;
    }
    // The object that is replaced is destroyed after the lock has been released: it may call back.
    const std::lock_guard lock(m_registryMutex);
    m_objects[nameSpace.value_or("")].swap(object);
}

void NativeObjects::remove(const OptionalText& nameSpace)
{
    std::shared_ptr<NSObject> removed;
    const std::lock_guard lock(m_registryMutex);
    if (auto found = m_objects.find(nameSpace.value_or("")); found != m_objects.end()) {
        removed = std::move(found->second);
        m_objects.erase(found);
    }
}

void NativeObjects::setOwn(std::string nameSpace, std::shared_ptr<NSObject> object)
{
    const std::lock_guard lock(m_registryMutex);
    m_own = { std::move(nameSpace), std::move(object) };
}

NativeObjects::Found NativeObjects::find(std::string_view fullName) const
{
    const auto [nameSpace, method] = JSBUtil::parseNamespace(fullName);
    Found found;
    {
        const std::lock_guard lock(m_registryMutex);
        if (const auto entry = m_objects.find(nameSpace); entry != m_objects.end())
            found.object = entry->second;
        else if (nameSpace == m_own.first)
            found.object = m_own.second;
    }
    if (found.object)
        found.candidates = found.object->objectClass().candidates(method);
    return found;
}

std::string NativeObjects::refusal() { return resultMessage(ResultCode::NotInvoked, std::nullopt); }

std::string NativeObjects::call(std::string_view methodName, std::optional<std::string_view> argumentMessage,
    const MakeResult& makeResult, const MethodMissing& methodMissing, std::optional<std::string_view> secret) const
{
    const auto found = find(JSBUtil::trimmed(methodName));
    auto message = CallMessage::readPlain(argumentMessage, secret.value_or(""));
    // A text that is no message is complained of only where there is somebody whom it is for, or a secret to find.
    if (!message && (found.object || secret))
        message = CallMessage::readAny(argumentMessage, secret.value_or(""));
    if (secret && !message->hasSecret) {
        NSLog(TQWBLogLevel::Warning, "Js bridge: refused for a frame that is not the main one of an allowed page");
        return refusal();
    }
    auto outcome = perform(found, methodName, message ? std::move(*message) : CallMessage(), makeResult, methodMissing);
    return outcome.result ? outcome.result->message() : std::move(outcome.message);
}

CallOutcome NativeObjects::perform(std::string_view methodName, CallMessage&& message, const MakeResult& makeResult,
    const MethodMissing& methodMissing) const
{
    return perform(find(JSBUtil::trimmed(methodName)), methodName, std::move(message), makeResult, methodMissing);
}

CallOutcome NativeObjects::perform(const Found& found, std::string_view methodName, CallMessage&& message,
    const MakeResult& makeResult, const MethodMissing& methodMissing) const
{
    const auto& [object, candidates] = found;
    if (!object) {
        NSLog(TQWBLogLevel::Error,
            "Js bridge  called, but can't find a corresponded JavascriptObject , please check your code!");
        return { emptyMessage(message), nullptr };
    }
    std::string mismatch;
    if (message.callbackName && candidates.async) {
        const auto result = makeResult({ std::move(*message.callbackName), message.asksForMore });
        candidates.async->invoke(*object, std::move(message.data), result, mismatch);
        if (!mismatch.empty())
            return { mismatchMessage(JSBUtil::trimmed(methodName), mismatch), nullptr };
        return { {}, result };
    }
    // A page that asks for more is told that the result is there.
    if (candidates.sync && (!message.callbackName || message.asksForMore)) {
        const auto value = candidates.sync->invoke(*object, std::move(message.data), mismatch);
        const auto more = message.callbackName ? kSettled : std::string_view();
        return { mismatch.empty() ? resultMessage(ResultCode::Invoked, value, more)
                                  : mismatchMessage(JSBUtil::trimmed(methodName), mismatch),
            nullptr };
    }
    methodMissing(methodName);
    return { emptyMessage(message), nullptr };
}

bool NativeObjects::hasMethod(const OptionalValue& question) const
{
    const auto name = textValue(memberOf(question, "name"));
    const auto kind = textValue(memberOf(question, "type"));
    if (!name || !kind)
        return false;
    const auto candidates = find(JSBUtil::trimmed(*name)).candidates;
    const auto type = JSBUtil::trimmed(*kind);
    return (candidates.sync && (type == "all" || type == "syn"))
        || (candidates.async && (type == "all" || type == "asyn"));
}

} // namespace tq
