#include "StatusPill.h"

#include "Accessible.h"
#include "Translation.h"

namespace tqclient {

namespace {

const char* styleOf(Phase phase)
{
    switch (phase) {
    case Phase::Joining:
    case Phase::OpeningReplay:
    case Phase::Loading:
    case Phase::Reconnecting:
    case Phase::Leaving:
        return "busy";
    case Phase::InRoom:
    case Phase::Replaying:
        return "live";
    case Phase::Failed:
        return "failed";
    case Phase::NotJoined:
    case Phase::Left:
        break;
    }
    return "idle";
}

} // namespace

StatusPill::StatusPill()
    : m_box(sinkRef(GTK_BOX(boxWithRole(GTK_ACCESSIBLE_ROLE_STATUS, GTK_ORIENTATION_HORIZONTAL, 6))))
    , m_dot(GTK_WIDGET(
          g_object_new(GTK_TYPE_LABEL, "accessible-role", GTK_ACCESSIBLE_ROLE_PRESENTATION, "label", "●", nullptr)))
    , m_label(GTK_LABEL(gtk_label_new(nullptr)))
{
    gtk_widget_set_halign(widget(), GTK_ALIGN_CENTER);
    gtk_widget_set_valign(widget(), GTK_ALIGN_CENTER);
    gtk_widget_add_css_class(m_dot, "recording-dot");
    gtk_widget_set_tooltip_text(m_dot, _("The room is being recorded"));
    gtk_label_set_ellipsize(m_label, PANGO_ELLIPSIZE_END);
    gtk_box_append(m_box.get(), m_dot);
    gtk_box_append(m_box.get(), GTK_WIDGET(m_label));
    show({});
}

void StatusPill::show(const SessionState& state)
{
    const char* classes[] = { "status-pill", styleOf(state.phase), nullptr };
    gtk_widget_set_css_classes(widget(), classes);
    auto summary = state.summary();
    gtk_label_set_text(m_label, summary.c_str());
    gtk_widget_set_tooltip_text(widget(), summary.c_str());
    setAccessibleName(widget(), summary);
    gtk_widget_set_visible(m_dot, state.isRecording);
}

} // namespace tqclient
