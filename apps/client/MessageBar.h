#pragma once

#include "GLibTypes.h"
#include "Signals.h"

#include <string>

namespace tqclient {

/// Tells of a failure above the board, until it is dismissed.
class MessageBar {
public:
    MessageBar();

    GtkWidget* widget() const { return GTK_WIDGET(m_revealer); }
    void show(const std::string& title, const std::string& detail);
    bool isShown() const { return gtk_revealer_get_reveal_child(m_revealer); }
    void dismiss();

private:
    GtkRevealer* m_revealer;
    GtkWidget* m_bar;
    GtkLabel* m_title;
    GtkLabel* m_detail;
    Signals m_signals;
};

} // namespace tqclient
