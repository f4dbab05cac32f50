#include "RateLimit.h"

#include <algorithm>

namespace tq::conference {

RateLimit::RateLimit(double perSecond, double burst, Clock::time_point now)
    : m_perSecond(perSecond)
    , m_burst(burst)
    , m_left(burst)
    , m_last(now)
{
}

bool RateLimit::take(Clock::time_point now)
{
    const std::chrono::duration<double> passed = now - m_last;
    m_last = now;
    m_left = std::min(m_burst, m_left + passed.count() * m_perSecond);
    if (m_left < 1)
        return false;
    m_left -= 1;
    return true;
}

} // namespace tq::conference
