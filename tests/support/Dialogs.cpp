#include "Dialogs.h"

#include "MainLoop.h"

namespace tq::test {

std::vector<GtkWindow*> dialogs()
{
    std::vector<GtkWindow*> found;
    auto* windows = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
        auto* window = static_cast<GtkWindow*>(g_list_model_get_item(windows, i));
        g_object_unref(window);
        if (gtk_widget_has_css_class(GTK_WIDGET(window), "message") && gtk_widget_get_visible(GTK_WIDGET(window)))
            found.push_back(window);
    }
    return found;
}

GtkWindow* dialog()
{
    const bool isAlone = runUntil([] { return dialogs().size() == 1; }, "a dialog is on the screen");
    return isAlone ? dialogs().front() : nullptr;
}

} // namespace tq::test
