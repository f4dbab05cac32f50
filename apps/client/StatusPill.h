#pragma once

#include "GLibTypes.h"
#include "SessionState.h"

namespace tqclient {

/// The state of the room at a glance: a coloured pill, with a dot before it while the room is recorded.
class StatusPill {
public:
    StatusPill();

    GtkWidget* widget() const { return GTK_WIDGET(m_box.get()); }
    void show(const SessionState& state);

private:
    UniqueObject<GtkBox> m_box;
    GtkWidget* m_dot;
    GtkLabel* m_label;
};

} // namespace tqclient
