#include "CloseButton.h"

#include "Accessible.h"
#include "Translation.h"

namespace tqclient {

GtkWidget* closeButton()
{
    GtkWidget* button = gtk_button_new_from_icon_name("window-close-symbolic");
    gtk_widget_add_css_class(button, "flat");
    gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
    gtk_widget_set_tooltip_text(button, _("Dismiss (Esc)"));
    setAccessibleName(button, _("Dismiss"));
    return button;
}

} // namespace tqclient
