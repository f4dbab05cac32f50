#pragma once

#include <chrono>
#include <cstdint>
#include <utility>

namespace tq {

/// How many lines may be written in a second, and how many were left out.
class LineLimit {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr int kMostInASecond = 100;

    /// Whether one more line may be written now; if not, it counts as left out.
    bool admit(Time now);
    /// Counts lines that somebody else has left out.
    void leaveOut(std::uint32_t lines) { m_leftOut += lines; }
    /// How many lines were left out since the last time.
    std::uint64_t takeLeftOut() { return std::exchange(m_leftOut, 0); }

private:
    Time m_begin{};
    int m_written = 0;
    std::uint64_t m_leftOut = 0;
};

} // namespace tq
