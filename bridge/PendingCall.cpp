#include "PendingCall.h"

#include "platform/Foundation/Dispatch.h"

#include <algorithm>

namespace tq {

void CallDeadlines::add(std::int32_t call, std::chrono::milliseconds limit)
{
    // Longer than anybody waits, and short enough to be added to a time.
    constexpr std::chrono::milliseconds kMost = std::chrono::hours(24 * 365);
    m_places[call] = m_calls.emplace(Clock::now() + std::clamp(limit, limit.zero(), kMost), call);
    schedule();
}

void CallDeadlines::remove(std::int32_t call)
{
    if (const auto place = m_places.extract(call))
        m_calls.erase(place.mapped());
}

void CallDeadlines::schedule()
{
    if (m_calls.empty() || (m_timer && *m_timer <= m_calls.begin()->first))
        return;
    const auto time = m_calls.begin()->first;
    m_timer = time;
    const auto delay = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
    dispatchToMainAfter(std::max(delay, delay.zero()), [weak = weak_from_this(), time] {
        const auto self = weak.lock();
        // A timer that was followed by an earlier one is void.
        if (!self || self->m_timer != time)
            return;
        self->m_timer.reset();
        while (!self->m_calls.empty() && self->m_calls.begin()->first <= time) {
            const auto call = self->m_calls.begin()->second;
            self->remove(call);
            self->m_due(call);
        }
        self->schedule();
    });
}

} // namespace tq
