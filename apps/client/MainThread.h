#pragma once

#include <functional>

namespace tqclient {

/// Runs the task on the main thread at a later turn of its loop. Any thread; tasks run in the order of the calls. An
/// exception that leaves the task is logged and goes no further.
void postToMain(std::function<void()> task);

} // namespace tqclient
