#include "AsyncResult.h"

#include "CallbackName.h"
#include "PercentEncoding.h"
#include "ResultMessage.h"
#include "platform/Foundation/NSLog.h"

#include <utility>

namespace tq {

namespace {
constexpr std::string_view kUnreadable = "unreadable";
constexpr std::string_view kFailed = "failed";
} // namespace

void AsyncResult::deliver(OptionalValue value, Complete complete)
{
    std::string message;
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
        ++m_results;
        m_isLast = complete == Complete::Yes;
        if (value)
            m_data = std::move(value);
        message = resultMessage(ResultCode::Invoked, m_data);
    }
    const auto reason = message == kUnwritableResult ? kUnreadable : std::string_view();
    send(std::move(message), reason, complete);
}

void AsyncResult::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
    }
    send(std::string(kEndResult), {}, Complete::Yes);
}

void AsyncResult::abandon()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_hasBegun && !m_takesReasons)
            return;
    }
    send(std::string(kEndResult), {}, Complete::Yes);
}

void AsyncResult::fail(std::string reason)
{
    if (!m_takesReasons)
        return end();
    std::string message;
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
        m_failure = std::move(reason);
        message = failureMessage(*m_failure);
    }
    send(std::move(message), kFailed, Complete::Yes);
}

std::string AsyncResult::message() const
{
    const std::lock_guard lock(m_mutex);
    if (m_failure && !m_results)
        return failureMessage(*m_failure);
    if (!m_hasBegun)
        return resultMessage(ResultCode::NotInvoked, std::nullopt, m_takesReasons ? kPending : std::string_view());
    // It has ended without any.
    if (m_takesReasons && !m_results)
        return R"({"code":0,"complete":true})";
    const bool isSettled = m_takesReasons && m_results == 1 && m_isLast;
    return resultMessage(ResultCode::Invoked, m_data, isSettled ? kSettled : std::string_view());
}

ScriptResult::ScriptResult(PageCallback callback)
    : AsyncResult(callback.takesReasons)
    , m_callback(std::move(callback.name))
    , m_isCallable(isCallable(m_callback))
{
}

void ScriptResult::send(std::string&& resultMessage, std::string_view reason, Complete complete)
{
    if (!m_isCallable) {
        NSLog(TQWBLogLevel::Warning,
            "Js bridge: a result is dropped, since the page's callback name is none that a script may call");
        return;
    }
    std::string script = "try {" + m_callback + "(JSON.parse(decodeURIComponent(\"";
    script += percentEncoded(resultMessage);
    script += "\")).data";
    if (takesReasons() && !reason.empty())
        script.append(",\"").append(reason).append("\"");
    script += ");";
    if (complete == Complete::Yes)
        script += "delete window." + m_callback;
    script += "; } catch(e){};";
    queueScript(script);
}

} // namespace tq
