#pragma once

#include "Export.h"

#include <chrono>
#include <functional>

namespace tq {

/// Runs the task on the main thread at a later turn of its loop, never inside the caller. Any thread. An exception that
/// leaves the task is logged and goes no further.
TQWB_EXPORT void dispatchToMain(std::function<void()> task);

/// The same, not before the delay has passed.
TQWB_EXPORT void dispatchToMainAfter(std::chrono::milliseconds delay, std::function<void()> task);

/// Runs what is due on the main thread's loop, without waiting. Main thread, outside its loop.
TQWB_EXPORT void runDueOnMain();

/// Whether the caller is on the thread that runs the main loop.
TQWB_EXPORT bool isMainThread();

/// Writes the exception that is being handled to the log.
TQWB_EXPORT void logCurrentException();

/// Runs the task; an exception that leaves it is logged and goes no further.
template <class Task> void runGuarded(const Task& task)
{
    try {
        task();
    } catch (...) {
        logCurrentException();
    }
}

} // namespace tq
