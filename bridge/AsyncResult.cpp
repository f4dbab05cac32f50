#include "AsyncResult.h"

#include "CallbackName.h"
#include "PercentEncoding.h"
#include "ResultMessage.h"
#include "platform/Foundation/NSLog.h"

#include <utility>

namespace tq {

AsyncResult::AsyncResult(PageCallback callback)
    : m_callback(std::move(callback))
    , m_isCallable(isCallable(m_callback.name))
{
}

void AsyncResult::deliver(OptionalValue value, Complete complete)
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
        if (value)
            m_data = std::move(value);
    }
    queue(message(), complete);
}

void AsyncResult::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
    }
    queue(kEndResult, Complete::Yes);
}

void AsyncResult::abandon()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_hasBegun && !m_callback.takesReasons)
            return;
    }
    queue(kEndResult, Complete::Yes);
}

void AsyncResult::queue(std::string_view resultMessage, Complete complete)
{
    if (!m_isCallable) {
        NSLog(TQWBLogLevel::Warning,
            "Js bridge: a result is dropped, since the page's callback name is none that a script may call");
        return;
    }
    std::string script = "try {" + m_callback.name + "(JSON.parse(decodeURIComponent(\"";
    script += percentEncoded(resultMessage);
    script
        += m_callback.takesReasons && resultMessage == kUnwritableResult ? "\")).data,\"unreadable\");" : "\")).data);";
    if (complete == Complete::Yes)
        script += "delete window." + m_callback.name;
    script += "; } catch(e){};";
    queueScript(script);
}

bool AsyncResult::hasBegun() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasBegun;
}

std::string AsyncResult::message() const
{
    const std::lock_guard lock(m_mutex);
    return resultMessage(m_hasBegun ? ResultCode::Invoked : ResultCode::NotInvoked, m_data);
}

} // namespace tq
