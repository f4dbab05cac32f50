#include "ShortcutsHelp.h"

#include "Accessible.h"
#include "Translation.h"

#include <algorithm>

namespace tqclient {

namespace {

constexpr int kWidth = 480;
constexpr int kBarHeight = 50;

struct Row {
    const char* keys;
    const char* meaning;
};

constexpr Row kRows[] = {
    { "F6", N_("Go to the next part of the window: board, header bar, messages, events") },
    { "Shift+F6", N_("Go to the part before") },
    { "Tab", N_("Go to the next control of the part") },
    { "Enter", N_("Send the form that is filled in") },
    { "Alt+L", N_("Leave the room") },
    { "F9", N_("Show or hide the events") },
    { "Esc", N_("Close what has opened: a message, the offer of a recording, the events") },
    { "Ctrl+Q", N_("End the program") },
    { "Ctrl+Z", N_("On the board: undo your last stroke") },
    { "E", N_("On the board: take the eraser") },
    { "F1", N_("Show these keys") },
};

GtkWidget* rowLabel(const char* text, const char* style)
{
    GtkWidget* label = gtk_label_new(text);
    gtk_widget_add_css_class(label, style);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_yalign(GTK_LABEL(label), 0);
    return label;
}

GtkWidget* table()
{
    GtkWidget* grid = gtk_grid_new();
    gtk_widget_add_css_class(grid, "shortcuts");
    gtk_grid_set_row_spacing(GTK_GRID(grid), 8);
    gtk_grid_set_column_spacing(GTK_GRID(grid), 18);
    int line = 0;
    for (const Row& row : kRows) {
        GtkWidget* meaning = rowLabel(_(row.meaning), "body");
        gtk_label_set_wrap(GTK_LABEL(meaning), TRUE);
        gtk_widget_set_hexpand(meaning, TRUE);
        gtk_grid_attach(GTK_GRID(grid), rowLabel(row.keys, "heading"), 0, line, 1, 1);
        gtk_grid_attach(GTK_GRID(grid), meaning, 1, line++, 1, 1);
    }
    return grid;
}

} // namespace

void showShortcutsHelp(GtkWindow* parent)
{
    GtkWidget* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), _("Keys"));
    gtk_window_set_transient_for(GTK_WINDOW(window), parent);
    gtk_window_set_modal(GTK_WINDOW(window), TRUE);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(window), TRUE);

    GtkWidget* keys = table();
    GtkWidget* scroller = newGroup(GTK_TYPE_SCROLLED_WINDOW);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), keys);
    gtk_widget_set_focusable(scroller, TRUE);
    setAccessibleName(scroller, _("Keys"));
    gtk_window_set_child(GTK_WINDOW(window), scroller);
    // No larger than the window that it explains, whose screen may be small.
    const int width = std::min(kWidth, gtk_widget_get_width(GTK_WIDGET(parent)));
    int height = 0;
    gtk_widget_measure(keys, GTK_ORIENTATION_VERTICAL, width, nullptr, &height, nullptr, nullptr);
    gtk_window_set_default_size(
        GTK_WINDOW(window), width, std::min(height, gtk_widget_get_height(GTK_WIDGET(parent)) - kBarHeight));

    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    auto close = [](GtkWidget* widget, GVariant*, gpointer) -> gboolean {
        gtk_window_close(GTK_WINDOW(widget));
        return TRUE;
    };
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(
            gtk_shortcut_trigger_parse_string("Escape|F1"), gtk_callback_action_new(close, nullptr, nullptr)));
    gtk_widget_add_controller(window, shortcuts);
    gtk_window_present(GTK_WINDOW(window));
}

} // namespace tqclient
