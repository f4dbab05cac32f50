#include "ScriptBatch.h"

#include "platform/Foundation/NSDate.h"

namespace tq {

namespace {
constexpr std::uint64_t kInterval = 50;
}

void ScriptBatch::append(std::string_view script, std::uint64_t now, const RequestFlush& requestFlush)
{
    const std::lock_guard lock(m_mutex);
    m_jsCache += script;
    // Unsigned: a clock that was set back makes the difference huge, and the flush due at once.
    if (now - m_lastCallTime >= kInterval) {
        if (!m_isDue)
            requestFlush(0);
        m_isDue = true;
    } else if (!m_isPending) {
        requestFlush(kInterval);
        m_isPending = true;
    }
}

void ScriptBatch::flush(std::uint64_t now, const Evaluate& evaluate)
{
    const std::lock_guard lock(m_mutex);
    if (m_jsCache.empty())
        return;
    evaluate(m_jsCache);
    m_isPending = false;
    m_isDue = false;
    m_jsCache.clear();
    m_lastCallTime = now;
}

std::uint64_t ScriptBatch::milliseconds() { return static_cast<std::uint64_t>(timeIntervalSince1970() * 1000.0); }

} // namespace tq
