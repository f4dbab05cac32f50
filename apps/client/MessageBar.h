#pragma once

#include "GLibTypes.h"
#include "Signals.h"

#include <functional>
#include <string>

namespace tqclient {

/// Tells of a failure above the board, until it is dismissed.
class MessageBar {
public:
    /// @param leaving runs before the bar goes, while what is in it may have the focus.
    explicit MessageBar(std::function<void()> leaving);

    GtkWidget* widget() const { return m_bar; }
    void show(const std::string& title, const std::string& detail);
    bool isShown() const { return gtk_widget_get_visible(m_bar); }
    void dismiss();

private:
    std::function<void()> m_leaving;
    GtkWidget* m_bar;
    GtkLabel* m_title;
    GtkLabel* m_detail;
    Signals m_signals;
};

} // namespace tqclient
