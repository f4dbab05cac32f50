#include "PagePort.h"

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/Random.h"

#include <utility>

namespace tq {

namespace {

// What a call that has failed comes to, where others have a map.
constexpr std::string_view kFailure = "null";

// As an expression it would mean something else than as JSON.
constexpr std::string_view kPrototype = "__proto__";

} // namespace

PagePort::PagePort(const std::string& receiver, Evaluate evaluate)
    : m_head("window." + receiver + "?.(")
    , m_evaluate(std::move(evaluate))
{
}

std::shared_ptr<PagePort::Result> PagePort::makeResult(std::int64_t call)
{
    return std::make_shared<Result>(shared_from_this(), call);
}

void PagePort::add(std::int64_t call, std::string_view resultMessage) { append(call, Complete::Yes, resultMessage); }

void PagePort::append(std::int64_t call, Complete complete, std::string_view resultMessage)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed)
        return;
    // What else is written is short; a large script is not to be moved for it.
    m_script.reserve(m_script.size() + m_head.size() + resultMessage.size() + 128);
    if (m_script.empty())
        m_script.append(m_head).append("[").append(std::to_string(m_batches)).append(",[");
    else
        m_script += ',';
    m_script.append("[").append(std::to_string(call)).append(complete == Complete::Yes ? ",true," : ",false,");
    m_script.append(resultMessage).append("]");
}

void PagePort::flushSoon()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed || std::exchange(m_isFlushDue, true))
            return;
    }
    dispatchToMain([self = shared_from_this()] {
        {
            const std::lock_guard lock(self->m_mutex);
            self->m_isFlushDue = false;
        }
        self->flush();
    });
}

void PagePort::flush()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isEvaluating || m_isClosed || m_script.empty())
            return;
    }
    auto script = takeBatch({}, std::string::npos);
    if (script.find(kPrototype) != script.npos) {
        std::string asText = m_head;
        NSJSONSerialization::appendText(asText, std::string_view(script).substr(m_head.size()));
        script = std::move(asText);
    }
    script += ')';
    m_isEvaluating = true;
    m_evaluate(script, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->m_isEvaluating = false;
            self->flush();
        }
    });
}

const std::string& PagePort::newMark() { return m_mark = std::to_string(arc4random()); }

// The page counts batches, since an evaluation may overtake an answer. One that would be longer is left, for an empty
// one.
std::string PagePort::takeBatch(std::string_view mark, std::size_t limit)
{
    const std::lock_guard lock(m_mutex);
    std::string batch;
    if (m_script.size() <= limit)
        batch = std::exchange(m_script, {});
    if (!batch.empty())
        batch += "],";
    else if (m_script.empty())
        batch.append(m_head).append("[").append(std::to_string(m_batches)).append(",[],");
    else
        batch.append(m_head).append("[null,[],");
    m_batches += m_script.empty() ? 1 : 0;
    return batch.append("\"").append(mark).append("\"]");
}

void PagePort::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    m_script.clear();
}

PagePort::Result::Result(std::shared_ptr<PagePort> port, std::int64_t call)
    : AsyncResult(true)
    , m_port(std::move(port))
    , m_call(call)
{
}

void PagePort::Result::send(std::string&& resultMessage, Complete complete)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::BeingCalled)
            m_early.emplace_back(complete, std::move(resultMessage));
        if (m_state != State::Called)
            return;
    }
    m_port->append(m_call, complete, resultMessage);
    m_port->flushSoon();
}

void PagePort::Result::hasBeenCalled()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Called;
    for (const auto& [complete, message] : std::exchange(m_early, {}))
        m_port->append(m_call, complete, message);
}

void PagePort::Result::hasFailed()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Failed;
    m_early.clear();
    m_port->add(m_call, kFailure);
}

} // namespace tq
