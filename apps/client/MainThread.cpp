#include "MainThread.h"

#include <exception>
#include <glib.h>
#include <memory>

namespace tqclient {

void postToMain(std::function<void()> task)
{
    using Task = std::function<void()>;
    auto run = [](gpointer data) -> gboolean {
        try {
            (*static_cast<Task*>(data))();
        } catch (const std::exception& exception) {
            g_warning("%s", exception.what());
        }
        return G_SOURCE_REMOVE;
    };
    auto destroy = [](gpointer data) { std::unique_ptr<Task>(static_cast<Task*>(data)).reset(); };
    g_idle_add_full(G_PRIORITY_DEFAULT, run, std::make_unique<Task>(std::move(task)).release(), destroy);
}

} // namespace tqclient
