#include "../Foundation/Dispatch.h"

#include "../Foundation/NSLog.h"
#include "GLibPointers.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>

namespace tq {

namespace {

using Task = std::function<void()>;

void attach(GSource* source, Task task)
{
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            runGuarded(*static_cast<Task*>(data));
            return G_SOURCE_REMOVE;
        },
        std::make_unique<Task>(std::move(task)).release(),
        [](gpointer data) { const std::unique_ptr<Task> owned(static_cast<Task*>(data)); });
    g_source_attach(source, nullptr);
    g_source_unref(source);
}

} // namespace

void dispatchToMain(Task task) { attach(g_idle_source_new(), std::move(task)); }

void dispatchToMainAfter(std::chrono::milliseconds delay, Task task)
{
    const auto limit = std::chrono::milliseconds(std::numeric_limits<gint>::max());
    attach(g_timeout_source_new(static_cast<guint>(std::clamp(delay, delay.zero(), limit).count())), std::move(task));
}

bool isMainThread()
{
    // Outside a running loop nobody owns the context; then it is the thread that the process began with.
    return g_main_context_is_owner(nullptr) || syscall(SYS_gettid) == getpid();
}

void runGuarded(const Task& task)
{
    try {
        task();
    } catch (const std::exception& exception) {
        NSLog(exception.what());
    } catch (...) {
        NSLog("a callback raised an exception of unknown type");
    }
}

} // namespace tq
