#include "tests/support/MainLoop.h"
#include "tests/support/Toolkit.h"

#include <cstdlib>
#include <glib.h>
#include <gtest/gtest.h>

namespace tq::test {

Toolkit::Toolkit(int&, char**) { setenv("GTK_A11Y", "test", 1); }
Toolkit::~Toolkit() = default;

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
{
    // The priority at which the toolkit draws.
    const auto source = g_timeout_add_full(
        G_PRIORITY_HIGH_IDLE + 20, 1,
        [](gpointer self) -> gboolean {
            static_cast<StallMeter*>(self)->tick();
            return G_SOURCE_CONTINUE;
        },
        this, nullptr);
    m_ticks = { nullptr, [source](void*) { g_source_remove(source); } };
}

} // namespace tq::test
