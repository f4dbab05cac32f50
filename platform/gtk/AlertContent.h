#pragma once

#include <gtk/gtk.h>
#include <string>
#include <vector>

namespace tq {

/// What an alert's window holds, from the top: title, message, a field, and buttons side by side or, with long labels,
/// above each other. It is as wide as any telephone held upright, and no higher than it is told: texts and buttons that
/// are higher scroll, with a bar that stays.
class AlertContent {
public:
    /// @param field null: there is none.
    AlertContent(const std::string& title, const std::string& message, GtkWidget* field);

    /// Adds a button below, or to the right of, those that are there.
    GtkWidget* addButton(const std::string& label);
    /// Puts everything into the window, which is not on the screen yet.
    /// @param height of the window, at most.
    void putInto(GtkWindow* window, int height);

private:
    void arrangeButtons();

    GtkWidget* m_box;
    GtkWidget* m_texts;
    GtkWidget* m_field;
    GtkWidget* m_buttons;
    std::vector<GtkWidget*> m_labels;
};

} // namespace tq
