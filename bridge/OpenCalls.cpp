#include "OpenCalls.h"

#include "AsyncResult.h"

#include <utility>

namespace tq {

void OpenCalls::add(std::int64_t call, const std::shared_ptr<AsyncResult>& result)
{
    if (m_results.size() >= m_most) {
        std::erase_if(m_results, [](const auto& entry) { return entry.second.expired(); });
        m_most = 2 * m_results.size() + 64;
    }
    m_results.insert_or_assign(call, result);
}

void OpenCalls::giveUp(std::int64_t call)
{
    const auto found = m_results.find(call);
    if (found == m_results.end())
        return;
    if (const auto result = found->second.lock())
        result->giveUp();
    m_results.erase(found);
}

void OpenCalls::giveUpAll()
{
    for (const auto& [call, weak] : std::exchange(m_results, {})) {
        if (const auto result = weak.lock())
            result->giveUp();
    }
}

} // namespace tq
