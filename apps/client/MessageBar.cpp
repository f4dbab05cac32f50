#include "MessageBar.h"

#include "Accessible.h"
#include "CloseButton.h"
#include "Translation.h"

namespace tqclient {

MessageBar::MessageBar(std::function<void()> leaving)
    : m_leaving(std::move(leaving))
    , m_bar(boxWithRole(GTK_ACCESSIBLE_ROLE_ALERT, GTK_ORIENTATION_HORIZONTAL, 12))
    , m_title(GTK_LABEL(gtk_label_new(nullptr)))
    , m_detail(GTK_LABEL(gtk_label_new(nullptr)))
{
    GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_hexpand(texts, TRUE);
    gtk_widget_add_css_class(GTK_WIDGET(m_title), "title");
    for (GtkLabel* label : { m_title, m_detail }) {
        gtk_label_set_xalign(label, 0);
        gtk_label_set_wrap(label, TRUE);
        gtk_label_set_wrap_mode(label, PANGO_WRAP_WORD_CHAR);
        gtk_label_set_selectable(label, TRUE);
        // Selectable, but not the place where the keyboard's focus lands first.
        gtk_widget_set_focusable(GTK_WIDGET(label), FALSE);
        gtk_box_append(GTK_BOX(texts), GTK_WIDGET(label));
    }
    // The rest of a long text is in the log.
    gtk_label_set_lines(m_detail, 3);
    gtk_label_set_ellipsize(m_detail, PANGO_ELLIPSIZE_END);
    GtkWidget* close = closeButton();
    m_signals.connect(close, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<MessageBar*>(self)->dismiss(); }), this);

    gtk_widget_set_visible(m_bar, FALSE);
    gtk_widget_add_css_class(m_bar, "message-bar");
    setAccessibleName(m_bar, _("Message"));
    gtk_box_append(GTK_BOX(m_bar), texts);
    gtk_box_append(GTK_BOX(m_bar), close);
}

void MessageBar::show(const std::string& title, const std::string& detail)
{
    gtk_label_set_text(m_title, title.c_str());
    gtk_label_set_text(m_detail, detail.c_str());
    setAccessibleName(m_bar, title + ": " + detail);
    gtk_widget_set_visible(m_bar, TRUE);
}

void MessageBar::dismiss()
{
    m_leaving();
    gtk_widget_set_visible(m_bar, FALSE);
}

} // namespace tqclient
