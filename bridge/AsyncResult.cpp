#include "AsyncResult.h"

#include "JSBUtil.h"
#include "PercentEncoding.h"
#include "platform/Foundation/NSLog.h"

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <utility>

namespace tq {

namespace {

// No function can have these names, and a script that calls one is no script: it would spoil all others of its batch.
constexpr std::array<std::string_view, 36> kReservedWords{ "break", "case", "catch", "class", "const", "continue",
    "debugger", "default", "delete", "do", "else", "enum", "export", "extends", "false", "finally", "for", "function",
    "if", "import", "in", "instanceof", "new", "null", "return", "super", "switch", "this", "throw", "true", "try",
    "typeof", "var", "void", "while", "with" };

} // namespace

AsyncResult::AsyncResult(std::string callbackName)
    : m_callbackName(std::move(callbackName))
    , m_result(boost::json::object{ { "code", -1 }, { "data", "" } })
{
}

void AsyncResult::deliver(OptionalValue value, Complete complete)
{
    {
        const std::lock_guard lock(m_mutex);
        auto& result = m_result.get_object();
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
        m_result.get_object()["code"] = 0;
    }
    queue(R"({"code":0})", Complete::Yes);
}

void AsyncResult::queue(std::string_view resultMessage, Complete complete)
{
    if (!isCallable(m_callbackName)) {
        NSLog("Js bridge: a result is dropped, since the page's callback name is not an identifier");
        return;
    }
    std::string script = "try {" + m_callbackName + "(JSON.parse(decodeURIComponent(\"";
    script += percentEncoded(resultMessage);
    script += "\")).data);";
    if (complete == Complete::Yes)
        script += "delete window." + m_callbackName;
    script += "; } catch(e){};";
    queueScript(script);
}

std::string AsyncResult::message() const
{
    const std::lock_guard lock(m_mutex);
    return JSBUtil::objToJsonString(m_result);
}

bool AsyncResult::isCallable(std::string_view callbackName)
{
    if (std::ranges::find(kReservedWords, callbackName.substr(0, callbackName.find('.'))) != kReservedWords.end())
        return false;
    bool atStart = true;
    for (const char character : callbackName) {
        if (character == '.' && !atStart) {
            atStart = true;
            continue;
        }
        const bool isLetter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
            || character == '_' || character == '$';
        const bool isDigit = character >= '0' && character <= '9';
        if (!isLetter && (!isDigit || atStart))
            return false;
        atStart = false;
    }
    return !atStart;
}

} // namespace tq
