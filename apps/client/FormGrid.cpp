#include "FormGrid.h"

#include "Accessible.h"
#include "Translation.h"

namespace tqclient {

namespace {

void showPeekIcon(GtkWidget* field)
{
    gtk_password_entry_set_show_peek_icon(GTK_PASSWORD_ENTRY(field), TRUE);
    setAccessibleName(gtk_widget_get_last_child(field), _("Show what is typed"));
}

} // namespace

FormGrid::FormGrid(const char* action, std::function<void()> submit)
    : m_grid(GTK_GRID(gtk_grid_new()))
    , m_hint(GTK_LABEL(gtk_label_new(nullptr)))
    , m_button(mnemonicButton(action))
    , m_submit(std::move(submit))
{
    gtk_grid_set_row_spacing(m_grid, 6);
    gtk_grid_set_column_spacing(m_grid, 12);
    gtk_label_set_xalign(m_hint, 0);
    gtk_label_set_wrap(m_hint, TRUE);
    gtk_label_set_max_width_chars(m_hint, 30);
    gtk_widget_set_visible(GTK_WIDGET(m_hint), FALSE);
    gtk_widget_add_css_class(GTK_WIDGET(m_hint), "form-hint");
    gtk_widget_add_css_class(m_button, "suggested-action");
    m_signals.connect(m_button, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<FormGrid*>(self)->submit(); }), this);
}

void FormGrid::addField(const char* label, GtkWidget* field)
{
    GtkWidget* name = gtk_label_new_with_mnemonic(label);
    gtk_label_set_xalign(GTK_LABEL(name), 1);
    gtk_label_set_mnemonic_widget(GTK_LABEL(name), field);
    gtk_widget_set_hexpand(field, TRUE);
    gtk_grid_attach(m_grid, name, 0, m_row, 1, 1);
    gtk_grid_attach(m_grid, field, 1, m_row, 1, 1);
    ++m_row;
}

GtkEditable* FormGrid::addText(const char* label, const char* placeholder, Echo echo, Required required)
{
    GtkWidget* field = echo == Echo::Hidden ? gtk_password_entry_new() : gtk_entry_new();
    g_object_set(field, "placeholder-text", placeholder, nullptr);
    if (echo == Echo::Hidden)
        showPeekIcon(field);
    gtk_editable_set_width_chars(GTK_EDITABLE(field), 14);
    gtk_editable_set_max_width_chars(GTK_EDITABLE(field), 34);
    m_signals.connect(field, "activate",
        G_CALLBACK(+[](GtkWidget*, gpointer self) { static_cast<FormGrid*>(self)->submit(); }), this);
    m_signals.connect(field, "changed",
        G_CALLBACK(+[](GtkEditable*, gpointer self) { static_cast<FormGrid*>(self)->clearComplaint(); }), this);
    m_fields.push_back({ GTK_EDITABLE(field), withoutMnemonic(label), required });
    addField(label, field);
    return GTK_EDITABLE(field);
}

void FormGrid::addButton()
{
    gtk_grid_attach(m_grid, GTK_WIDGET(m_hint), 1, m_row++, 1, 1);
    gtk_grid_attach(m_grid, m_button, 1, m_row++, 1, 1);
}

void FormGrid::setBusy(Busy busy)
{
    m_isBusy = busy == Busy::Yes;
    gtk_widget_set_sensitive(m_button, !m_isBusy);
}

void FormGrid::submit()
{
    if (m_isBusy)
        return;
    clearComplaint();
    for (const Field& field : m_fields) {
        if (field.required == Required::Yes && textOf(field.editable).empty())
            return complain(field.editable, formatted(_("“%s” is missing."), field.name.c_str()));
    }
    m_submit();
}

void FormGrid::complain(GtkEditable* field, const std::string& hint)
{
    gtk_widget_add_css_class(GTK_WIDGET(field), "error");
    // Whoever does not see the hint hears it with the field.
    gtk_accessible_update_property(GTK_ACCESSIBLE(field), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, hint.c_str(), -1);
    gtk_accessible_update_state(GTK_ACCESSIBLE(field), GTK_ACCESSIBLE_STATE_INVALID, GTK_ACCESSIBLE_INVALID_TRUE, -1);
    gtk_label_set_text(m_hint, hint.c_str());
    gtk_widget_set_visible(GTK_WIDGET(m_hint), TRUE);
    gtk_widget_grab_focus(GTK_WIDGET(field));
}

void FormGrid::clearComplaint()
{
    for (const Field& field : m_fields) {
        gtk_widget_remove_css_class(GTK_WIDGET(field.editable), "error");
        gtk_accessible_reset_property(GTK_ACCESSIBLE(field.editable), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION);
        gtk_accessible_reset_state(GTK_ACCESSIBLE(field.editable), GTK_ACCESSIBLE_STATE_INVALID);
    }
    gtk_widget_set_visible(GTK_WIDGET(m_hint), FALSE);
}

void FormGrid::focusFirstGap()
{
    for (const Field& field : m_fields) {
        if (field.required == Required::Yes && textOf(field.editable).empty()) {
            gtk_widget_grab_focus(GTK_WIDGET(field.editable));
            return;
        }
    }
    gtk_widget_grab_focus(m_button);
}

std::string FormGrid::textOf(GtkEditable* field) { return gtk_editable_get_text(field); }

void FormGrid::setText(GtkEditable* field, const std::string& text) { gtk_editable_set_text(field, text.c_str()); }

} // namespace tqclient
