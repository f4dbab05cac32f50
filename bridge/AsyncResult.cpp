#include "AsyncResult.h"

#include "CallbackName.h"
#include "JSBUtil.h"
#include "PercentEncoding.h"
#include "platform/Foundation/NSLog.h"

#include <boost/json/object.hpp>
#include <utility>

namespace tq {

namespace {

// What stands for a result that JSON cannot hold.
constexpr std::string_view kUnwritable = "{}";

} // namespace

AsyncResult::AsyncResult(PageCallback callback)
    : m_callback(std::move(callback))
    , m_isCallable(isCallable(m_callback.name))
    , m_result(boost::json::object{ { "code", -1 }, { "data", "" } })
{
}

void AsyncResult::deliver(OptionalValue value, Complete complete)
{
    {
        const std::lock_guard lock(m_mutex);
        auto& result = m_result.get_object();
        m_hasBegun = true;
        result["code"] = 0;
        if (value)
            result["data"] = std::move(*value);
    }
    queue(message(), complete);
}

void AsyncResult::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasBegun = true;
        m_result.get_object()["code"] = 0;
    }
    queue(R"({"code":0})", Complete::Yes);
}

void AsyncResult::abandon()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_hasBegun && !m_callback.takesReasons)
            return;
    }
    queue(R"({"code":0})", Complete::Yes);
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
    script += m_callback.takesReasons && resultMessage == kUnwritable ? "\")).data,\"unreadable\");" : "\")).data);";
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
    return JSBUtil::objToJsonString(m_result);
}

} // namespace tq
