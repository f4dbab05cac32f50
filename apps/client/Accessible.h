#pragma once

#include "GLibTypes.h"

#include <string>

namespace tqclient {

/// What a screen reader calls the widget.
inline void setAccessibleName(GtkWidget* widget, const std::string& name)
{
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

/// A new box that a screen reader takes for what the role says.
inline GtkWidget* boxWithRole(GtkAccessibleRole role, GtkOrientation orientation, int spacing)
{
    return GTK_WIDGET(
        g_object_new(GTK_TYPE_BOX, "accessible-role", role, "orientation", orientation, "spacing", spacing, nullptr));
}

} // namespace tqclient
