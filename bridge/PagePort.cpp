#include "PagePort.h"

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/Random.h"

#include <utility>

namespace tq {

namespace {

// As an expression it would mean something else than as JSON.
constexpr std::string_view kPrototype = "__proto__";

// Stands for a result that is to be fetched.
constexpr std::string_view kFetch = R"({"fetch":true})";

} // namespace

PagePort::PagePort(const std::string& receiver, Evaluate evaluate, std::function<void()> isFull)
    : m_head("window." + receiver + "?.(")
    , m_evaluate(std::move(evaluate))
    , m_isFull(std::move(isFull))
{
}

std::shared_ptr<PagePort::Result> PagePort::makeResult(std::int64_t call)
{
    auto result = std::make_shared<Result>(shared_from_this(), call);
    m_calls.add(call, result);
    return result;
}

void PagePort::giveUp(std::int64_t call)
{
    m_calls.giveUp(call);
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_large.find(call); found != m_large.end()) {
        for (const auto& message : found->second)
            m_largeSize -= message.size();
        m_large.erase(found);
    }
}

OptionalText PagePort::fetch(std::int64_t call)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_large.find(call);
    if (found == m_large.end())
        return std::nullopt;
    auto message = std::move(found->second.front());
    found->second.pop_front();
    m_largeSize -= message.size();
    if (found->second.empty())
        m_large.erase(found);
    return message;
}

void PagePort::add(std::int64_t call, Complete complete, std::string&& resultMessage)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed)
        return;
    if (m_script.size() + m_largeSize > kMostUnsent) {
        forget();
        dispatchToMain(m_isFull);
        return;
    }
    std::string_view message = resultMessage;
    if (resultMessage.size() > kLarge) {
        m_largeSize += resultMessage.size();
        m_large[call].push_back(std::move(resultMessage));
        message = kFetch;
    }
    if (m_script.empty())
        m_script.append(m_head).append("[").append(std::to_string(m_batches)).append(",[");
    else
        m_script += ',';
    m_script.append("[").append(std::to_string(call)).append(complete == Complete::Yes ? ",true," : ",false,");
    m_script.append(message).append("]");
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
    auto script = takeBatch({});
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

// The page counts batches, since an evaluation may overtake an answer.
std::string PagePort::takeBatch(std::string_view mark)
{
    const std::lock_guard lock(m_mutex);
    auto batch = std::exchange(m_script, {});
    if (batch.empty())
        batch.append(m_head).append("[").append(std::to_string(m_batches)).append(",[");
    ++m_batches;
    return batch.append("],\"").append(mark).append("\"]");
}

void PagePort::close()
{
    m_calls.giveUpAll();
    const std::lock_guard lock(m_mutex);
    forget();
}

void PagePort::forget()
{
    m_isClosed = true;
    m_script = {};
    m_large.clear();
    m_largeSize = 0;
}

PagePort::Result::Result(std::shared_ptr<PagePort> port, std::int64_t call)
    : AsyncResult(true)
    , m_port(std::move(port))
    , m_call(call)
{
}

// The message itself says what the reason does.
void PagePort::Result::send(std::string&& resultMessage, std::string_view, Complete complete)
{
    if (isAbandoned())
        return;
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::BeingCalled) {
            m_early.emplace_back(complete, std::move(resultMessage));
            return;
        }
        if (m_state == State::Failed)
            return;
    }
    m_port->add(m_call, complete, std::move(resultMessage));
    m_port->flushSoon();
}

void PagePort::Result::hasBeenCalled()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Called;
    for (auto& [complete, message] : m_early)
        m_port->add(m_call, complete, std::move(message));
    m_early.clear();
}

void PagePort::Result::hasFailed()
{
    const std::lock_guard lock(m_mutex);
    m_state = State::Failed;
    m_early.clear();
    m_port->add(m_call, Complete::Yes, std::string(kFailure));
}

} // namespace tq
