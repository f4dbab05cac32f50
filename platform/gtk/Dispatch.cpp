#include "../Foundation/Dispatch.h"

#include "GLibPointers.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>

namespace tq {

namespace {

using Task = std::function<void()>;

// A task on its way to the main thread. GLib hands it over safely, but by means that ThreadSanitizer cannot see: the
// flag says the same in a way that it can.
struct PostedTask {
    explicit PostedTask(Task&& task)
        : task(std::move(task))
    {
        isReady.store(true, std::memory_order_release);
    }
    ~PostedTask() { static_cast<void>(isReady.load(std::memory_order_acquire)); }
    PostedTask(const PostedTask&) = delete;
    PostedTask& operator=(const PostedTask&) = delete;

    const Task task;
    std::atomic<bool> isReady = false;
};

gboolean run(gpointer data)
{
    const auto& posted = *static_cast<PostedTask*>(data);
    if (posted.isReady.load(std::memory_order_acquire))
        runGuarded(posted.task);
    return G_SOURCE_REMOVE;
}

void attach(GSource* source, Task task)
{
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, run, std::make_unique<PostedTask>(std::move(task)).release(),
        [](gpointer data) { const std::unique_ptr<PostedTask> owned(static_cast<PostedTask*>(data)); });
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

void runDueOnMain()
{
    while (g_main_context_iteration(nullptr, FALSE)) { }
}

bool isMainThread()
{
    // Outside a running loop nobody owns the context; then it is the thread that the process began with.
    return g_main_context_is_owner(nullptr) || syscall(SYS_gettid) == getpid();
}

} // namespace tq
