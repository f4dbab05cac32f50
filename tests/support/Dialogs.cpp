#include "Dialogs.h"

#include "MainLoop.h"

#include <gtest/gtest.h>

namespace tq::test {
namespace {

void collect(GtkWidget* widget, GType type, std::vector<GtkWidget*>& found)
{
    if (G_TYPE_CHECK_INSTANCE_TYPE(widget, type) && gtk_widget_get_visible(widget))
        found.push_back(widget);
    for (auto* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child))
        collect(child, type, found);
}

} // namespace

std::vector<GtkWidget*> widgetsIn(GtkWindow* window, GType type)
{
    std::vector<GtkWidget*> found;
    collect(GTK_WIDGET(window), type, found);
    return found;
}

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

Screen::Window onScreen(Screen& screen, GtkWindow* window)
{
    const std::string title = gtk_window_get_title(window);
    std::optional<Screen::Window> found;
    runUntil(
        [&] {
            if (gtk_widget_get_width(GTK_WIDGET(window)) > 0)
                found = screen.window(title);
            return found.has_value();
        },
        "the window \"" + title + "\" is on the screen");
    return found.value_or(Screen::Window{});
}

Screen::Point middleOf(Screen& screen, GtkWidget* widget)
{
    auto* native = gtk_widget_get_native(widget);
    const auto surface = onScreen(screen, GTK_WINDOW(native)).surface;
    double left = 0;
    double top = 0;
    gtk_native_get_surface_transform(native, &left, &top);
    const graphene_point_t middle{ float(gtk_widget_get_width(widget)) / 2, float(gtk_widget_get_height(widget)) / 2 };
    graphene_point_t inWindow{};
    EXPECT_TRUE(gtk_widget_compute_point(widget, GTK_WIDGET(native), &middle, &inWindow));
    return { surface.x + left + double(inWindow.x), surface.y + top + double(inWindow.y) };
}

} // namespace tq::test
