#pragma once

#include <algorithm>
#include <chrono>

namespace tq::conference {

/// A bound on how often something may happen: `perSecond` on average, `burst` at once.
class RateLimit {
public:
    RateLimit(double perSecond, double burst)
        : m_perSecond(perSecond)
        , m_burst(burst)
    {
    }

    /// Counts one; false when there were too many.
    bool take()
    {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double> passed = now - m_last;
        m_last = now;
        m_left = std::min(m_burst, m_left + passed.count() * m_perSecond);
        const bool isAllowed = m_left >= 1;
        m_left -= isAllowed ? 1 : 0;
        return isAllowed;
    }

private:
    double m_perSecond;
    double m_burst;
    double m_left = m_burst;
    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
};

} // namespace tq::conference
