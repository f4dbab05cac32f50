#include "Signals.h"

namespace tqclient {

Signals::~Signals()
{
    for (const auto& [instance, handler] : m_handlers) {
        // A widget that is being destroyed disconnects its handlers itself.
        if (g_signal_handler_is_connected(instance.get(), handler))
            g_signal_handler_disconnect(instance.get(), handler);
    }
}

void Signals::connect(gpointer instance, const char* signal, GCallback handler, gpointer data)
{
    gulong id = g_signal_connect(instance, signal, handler, data);
    m_handlers.emplace_back(UniqueObject<GObject>(G_OBJECT(g_object_ref(instance))), id);
}

} // namespace tqclient
