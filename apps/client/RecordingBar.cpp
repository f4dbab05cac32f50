#include "RecordingBar.h"

#include "Accessible.h"
#include "CloseButton.h"
#include "Text.h"
#include "Translation.h"

namespace tqclient {

namespace {

constexpr std::size_t kLongestAddress = 500;

} // namespace

template <void (RecordingBar::*method)()> GCallback RecordingBar::handler()
{
    return G_CALLBACK(+[](GtkButton*, gpointer self) { (static_cast<RecordingBar*>(self)->*method)(); });
}

RecordingBar::RecordingBar(std::function<void(const std::string& url)> replay, std::function<void()> leaving)
    : m_replay(std::move(replay))
    , m_leaving(std::move(leaving))
    , m_bar(boxWithRole(GTK_ACCESSIBLE_ROLE_STATUS, GTK_ORIENTATION_HORIZONTAL, 12))
    , m_content(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6))
    , m_address(GTK_LABEL(gtk_label_new(nullptr)))
    , m_replayButton(mnemonicButton(_("Re_play")))
{
    GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 2);
    gtk_widget_set_hexpand(texts, TRUE);
    gtk_widget_set_valign(texts, GTK_ALIGN_CENTER);
    GtkWidget* title = gtk_label_new(_("The recording is saved"));
    gtk_widget_add_css_class(title, "title");
    for (GtkLabel* label : { GTK_LABEL(title), m_address }) {
        gtk_label_set_xalign(label, 0);
        gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_MIDDLE);
        gtk_box_append(GTK_BOX(texts), GTK_WIDGET(label));
    }
    gtk_widget_add_css_class(GTK_WIDGET(m_address), "dim-label");

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    gtk_widget_set_valign(buttons, GTK_ALIGN_CENTER);
    GtkWidget* copyButton = gtk_button_new_with_label(_("Copy address"));
    GtkWidget* dismissButton = closeButton();
    gtk_box_append(GTK_BOX(buttons), m_replayButton);
    gtk_box_append(GTK_BOX(buttons), copyButton);
    m_signals.connect(m_replayButton, "clicked", handler<&RecordingBar::replay>(), this);
    m_signals.connect(copyButton, "clicked", handler<&RecordingBar::copyAddress>(), this);
    m_signals.connect(dismissButton, "clicked", handler<&RecordingBar::dismiss>(), this);

    gtk_widget_add_css_class(m_bar, "recording-bar");
    setAccessibleName(m_bar, _("The recording is saved"));
    gtk_widget_set_hexpand(m_content, TRUE);
    gtk_box_append(GTK_BOX(m_content), texts);
    gtk_box_append(GTK_BOX(m_content), buttons);
    gtk_box_append(GTK_BOX(m_bar), m_content);
    gtk_box_append(GTK_BOX(m_bar), dismissButton);
    gtk_widget_set_visible(m_bar, FALSE);
}

void RecordingBar::offer(const std::string& url)
{
    m_url = url;
    auto shown = displayText(url, kLongestAddress);
    gtk_label_set_text(m_address, shown.c_str());
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_address), shown.c_str());
    gtk_widget_set_visible(m_bar, TRUE);
}

void RecordingBar::show(const SessionState& state)
{
    setMnemonicLabel(m_replayButton, state.phase == Phase::InRoom ? _("Leave and re_play") : _("Re_play"));
    gtk_widget_set_sensitive(m_replayButton, !state.isBusy());
}

void RecordingBar::setOrientation(GtkOrientation orientation)
{
    gtk_orientable_set_orientation(GTK_ORIENTABLE(m_content), orientation);
}

void RecordingBar::replay()
{
    dismiss();
    m_replay(m_url);
}

void RecordingBar::copyAddress() { gdk_clipboard_set_text(gtk_widget_get_clipboard(m_bar), m_url.c_str()); }

void RecordingBar::dismiss()
{
    m_leaving();
    gtk_widget_set_visible(m_bar, FALSE);
}

} // namespace tqclient
