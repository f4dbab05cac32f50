#include "../Foundation/Dispatch.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <utility>

namespace tq {

namespace {

// What tasks are posted to. Made when the library is loaded, on the thread that the program begins with; never
// destroyed, since tasks may be posted until the process ends.
QObject* const s_main = new QObject;

} // namespace

void dispatchToMain(std::function<void()> task)
{
    QMetaObject::invokeMethod(
        s_main, [task = std::move(task)] { runGuarded(task); }, Qt::QueuedConnection);
}

void dispatchToMainAfter(std::chrono::milliseconds delay, std::function<void()> task)
{
    const auto limit = std::chrono::milliseconds(std::numeric_limits<int>::max());
    // Timers belong to the thread that starts them.
    dispatchToMain([delay = std::clamp(delay, delay.zero(), limit), task = std::move(task)]() mutable {
        QTimer::singleShot(delay, Qt::PreciseTimer, s_main, [task = std::move(task)] { runGuarded(task); });
    });
}

void runDueOnMain()
{
    QCoreApplication::sendPostedEvents(s_main);
    QCoreApplication::processEvents();
}

bool isMainThread() { return QThread::currentThread() == s_main->thread(); }

} // namespace tq
