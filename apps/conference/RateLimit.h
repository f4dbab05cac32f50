#pragma once

#include <chrono>

namespace tq::conference {

/// A bound on how often something may happen: `perSecond` on average, `burst` at once.
class RateLimit {
public:
    using Clock = std::chrono::steady_clock;

    RateLimit(double perSecond, double burst, Clock::time_point now);

    /// Counts one; false when there were too many.
    bool take(Clock::time_point now);

private:
    double m_perSecond;
    double m_burst;
    double m_left;
    Clock::time_point m_last;
};

} // namespace tq::conference
