#include "NativeObjects.h"

#include "AsyncResult.h"
#include "CallMessage.h"
#include "JSBUtil.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

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

// The answer to a call whose argument the method cannot take.
std::string mismatchMessage(std::string_view fullName, std::string_view mismatch)
{
    const auto text = std::string(fullName).append(": ").append(mismatch);
    NSLog(TQWBLogLevel::Warning, "Js bridge: " + text);
    return resultMessage(-1, boost::json::value(text));
}

// The answer to an asynchronous call that nothing has come of yet. A page that asks for more is told whether there will
// be something.
enum class IsPending : bool { No, Yes };
std::string emptyMessage(const CallMessage& message, IsPending isPending)
{
    if (!message.callbackName || !message.asksForMore)
        return NativeObjects::kRefused;
    return isPending == IsPending::Yes ? R"({"code":-1,"data":"","pending":true})"
                                       : R"({"code":-1,"data":"","pending":false})";
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

std::shared_ptr<NSObject> NativeObjects::objectForNamespace(std::string_view nameSpace) const
{
    const std::lock_guard lock(m_registryMutex);
    auto found = m_objects.find(nameSpace);
    return found == m_objects.end() ? nullptr : found->second;
}

std::string NativeObjects::call(std::string_view methodName, std::optional<std::string_view> argumentMessage,
    const MakeResult& makeResult, const MethodMissing& methodMissing, std::optional<std::string_view> secret) const
{
    const auto fullName = JSBUtil::trimmed(methodName);
    const auto [nameSpace, method] = JSBUtil::parseNamespace(fullName);
    const auto object = objectForNamespace(nameSpace);
    auto read = CallMessage::readPlain(argumentMessage, secret.value_or(""));
    if (!read && secret)
        read = CallMessage::readAny(argumentMessage, *secret);
    if (secret && !read->hasSecret) {
        NSLog(TQWBLogLevel::Warning, "Js bridge: refused for a frame that is not the main one of an allowed page");
        return kRefused;
    }
    if (!object) {
        NSLog(TQWBLogLevel::Error,
            "Js bridge  called, but can't find a corresponded JavascriptObject , please check your code!");
        return read ? emptyMessage(*read, IsPending::No) : kRefused;
    }
    const auto candidates = object->objectClass().candidates(method);
    auto message = read ? std::move(*read) : CallMessage::readAny(argumentMessage);
    std::string mismatch;
    if (message.callbackName) {
        if (candidates.async) {
            const auto result = makeResult({ std::move(*message.callbackName), message.asksForMore });
            candidates.async->invoke(*object, std::move(message.data), result, mismatch);
            if (!mismatch.empty())
                return mismatchMessage(fullName, mismatch);
            return result->hasBegun() ? result->message() : emptyMessage(message, IsPending::Yes);
        }
    } else if (candidates.sync) {
        const auto value = candidates.sync->invoke(*object, std::move(message.data), mismatch);
        return mismatch.empty() ? resultMessage(0, value) : mismatchMessage(fullName, mismatch);
    }
    methodMissing(methodName);
    return emptyMessage(message, IsPending::No);
}

bool NativeObjects::hasMethod(const OptionalValue& question) const
{
    const auto name = textValue(memberOf(question, "name"));
    const auto kind = textValue(memberOf(question, "type"));
    if (!name || !kind)
        return false;
    const auto [nameSpace, method] = JSBUtil::parseNamespace(JSBUtil::trimmed(*name));
    const auto object = objectForNamespace(nameSpace);
    if (!object)
        return false;
    const auto candidates = object->objectClass().candidates(method);
    const auto type = JSBUtil::trimmed(*kind);
    if (type == "all")
        return candidates.sync || candidates.async;
    return (type == "asyn" && candidates.async) || (type == "syn" && candidates.sync);
}

} // namespace tq
