#include "MainLoop.h"

#include <algorithm>
#include <iostream>

namespace tq::test {

StallMeter::Milliseconds StallMeter::longest(const std::string& what)
{
    tick();
    std::cout << what << ": the main loop's longest stall was " << m_longest.count() << " ms\n";
    return m_longest;
}

void StallMeter::tick()
{
    const auto now = std::chrono::steady_clock::now();
    m_longest = std::max(m_longest, Milliseconds(now - m_last));
    m_last = now;
}

} // namespace tq::test
