#include "tests/support/MainLoop.h"

#include <algorithm>
#include <glib.h>
#include <gtest/gtest.h>
#include <iostream>

namespace tq::test {

bool runUntil(const std::function<bool()>& condition, std::string_view what, std::chrono::seconds bound)
{
    const auto deadline = std::chrono::steady_clock::now() + bound;
    // Conditions may come true on another thread, which wakes nobody: look again every few milliseconds at least.
    const auto tick = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < deadline) {
        g_main_context_iteration(nullptr, TRUE);
        holds = condition();
    }
    g_source_remove(tick);
    EXPECT_TRUE(holds) << "waited in vain until " << what;
    return holds;
}

void runPending()
{
    while (g_main_context_iteration(nullptr, FALSE)) { }
}

void runTurn(Waiting waiting) { g_main_context_iteration(nullptr, waiting == Waiting::Yes); }

StallMeter::StallMeter()
    // The priority at which the toolkit draws.
    : m_source(g_timeout_add_full(
        G_PRIORITY_HIGH_IDLE + 20, 1,
        [](gpointer self) -> gboolean {
            static_cast<StallMeter*>(self)->tick();
            return G_SOURCE_CONTINUE;
        },
        this, nullptr))
{
}

StallMeter::~StallMeter() { g_source_remove(m_source); }

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
