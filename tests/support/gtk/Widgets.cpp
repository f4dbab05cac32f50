#include "Widgets.h"

#include "tests/support/MainLoop.h"

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

void waitForFrame(GtkWindow* window)
{
    int frames = 0;
    auto* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window));
    const auto painted = g_signal_connect(clock, "after-paint",
        G_CALLBACK(+[](GdkFrameClock*, gpointer count) { ++*static_cast<int*>(count); }), &frames);
    gtk_widget_queue_draw(GTK_WIDGET(window));
    runUntil([&] { return frames > 0; }, "the window is drawn");
    g_signal_handler_disconnect(clock, painted);
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
