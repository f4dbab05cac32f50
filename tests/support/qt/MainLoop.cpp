#include "tests/support/MainLoop.h"
#include "tests/support/Toolkit.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QTimer>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tq::test {

namespace {

// What is to be deleted later waits for a loop that is run by its own function.
void turn(QEventLoop::ProcessEventsFlags flags)
{
    QCoreApplication::processEvents(flags);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

Toolkit::Toolkit(int& argc, char** argv)
{
    // The engine's sandbox wants another user than the one that tests run as in a container.
    if (geteuid() == 0)
        setenv("QTWEBENGINE_DISABLE_SANDBOX", "1", 1);
    new QApplication(argc, argv);
}

Toolkit::~Toolkit() { delete qApp; }

bool runUntil(const std::function<bool()>& condition, std::string_view what, std::chrono::seconds bound)
{
    const auto deadline = std::chrono::steady_clock::now() + bound;
    // Conditions may come true on another thread, which wakes nobody: look again every few milliseconds at least.
    QTimer tick;
    tick.start(std::chrono::milliseconds(5));
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < deadline) {
        turn(QEventLoop::WaitForMoreEvents);
        holds = condition();
    }
    EXPECT_TRUE(holds) << "waited in vain until " << what;
    return holds;
}

void runPending()
{
    for (int turns = 0; turns < 100; ++turns)
        turn(QEventLoop::AllEvents);
}

void runTurn(Waiting waiting) { turn(waiting == Waiting::Yes ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents); }

StallMeter::StallMeter()
{
    const auto timer = std::make_shared<QTimer>();
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(), [this] { tick(); });
    timer->start(std::chrono::milliseconds(1));
    m_ticks = timer;
}

} // namespace tq::test
