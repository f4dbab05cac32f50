#include "StartPage.h"

#include "Translation.h"

#include <string_view>

namespace tqclient {

namespace {

constexpr std::int32_t kMostMinutes = 10000;
constexpr guint kPresenter = 0;
constexpr guint kViewer = 1;

struct Field {
    const char* row;
    tq::OptionalText Options::*value;
};

constexpr Field kFields[] = {
    { "app-key", &Options::appKey },
    { "token", &Options::token },
    { "room", &Options::room },
    { "user", &Options::user },
    { "name", &Options::name },
    { "address", &Options::url },
};

std::string textOf(AdwEntryRow* row) { return gtk_editable_get_text(GTK_EDITABLE(row)); }
void setText(AdwEntryRow* row, const std::string& text) { gtk_editable_set_text(GTK_EDITABLE(row), text.c_str()); }
GtkWidget* fieldOf(AdwEntryRow* row) { return GTK_WIDGET(gtk_editable_get_delegate(GTK_EDITABLE(row))); }

/// Scrolls to what has the focus.
gboolean keepFocusInSight(gpointer data)
{
    auto* scroller = GTK_SCROLLED_WINDOW(data);
    GtkWidget* viewport = gtk_scrolled_window_get_child(scroller);
    GtkRoot* root = viewport ? gtk_widget_get_root(viewport) : nullptr;
    GtkWidget* focus = root ? gtk_root_get_focus(root) : nullptr;
    graphene_rect_t place;
    if (focus && gtk_widget_is_ancestor(focus, viewport)
        && gtk_widget_compute_bounds(focus, gtk_widget_get_first_child(viewport), &place))
        gtk_adjustment_clamp_page(
            gtk_scrolled_window_get_vadjustment(scroller), place.origin.y, place.origin.y + place.size.height);
    return G_SOURCE_REMOVE;
}

} // namespace

StartPage::StartPage(const Options& options, Submit submit)
    : m_options(options)
    , m_submit(std::move(submit))
{
    for (const auto& field : kFields)
        setText(m_ui.get<AdwEntryRow>(field.row), (options.*field.value).value_or(""));
    setText(m_minutes, options.minutes ? std::to_string(options.minutes) : "");
    adw_combo_row_set_selected(m_ui.get<AdwComboRow>("role"), options.role ? kViewer : kPresenter);
    forEachRow([this](AdwEntryRow* row) {
        g_signal_connect_swapped(row, "changed", G_CALLBACK(+[](StartPage* self) { self->clearComplaint(); }), this);
        g_signal_connect_swapped(row, "entry-activated", G_CALLBACK(+[](StartPage* self) { self->submit(); }), this);
    });
    g_signal_connect_swapped(
        m_forms, "notify::visible-child", G_CALLBACK(+[](StartPage* self) { self->formSwitched(); }), this);
    auto* scroller = gtk_widget_get_ancestor(m_ui.get("submit"), GTK_TYPE_SCROLLED_WINDOW);
    // A screen keyboard, or a message, takes its space from below or above. Not in the middle of the layout that says
    // so.
    auto resized = +[](GtkWidget* resizedScroller) {
        g_idle_add_full(G_PRIORITY_DEFAULT, keepFocusInSight, g_object_ref(resizedScroller), g_object_unref);
    };
    g_signal_connect_swapped(gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller)), "notify::page-size",
        G_CALLBACK(resized), scroller);
    adw_view_stack_set_visible_child_name(m_forms, options.command == StartCommand::Play ? "replay" : "join");
    formSwitched();
    nameControls(widget());
}

void StartPage::forEachRow(const std::function<void(AdwEntryRow*)>& act)
{
    for (const auto& field : kFields)
        act(m_ui.get<AdwEntryRow>(field.row));
    act(m_minutes);
}

bool StartPage::showsReplay() const
{
    // None is visible while the window goes.
    const char* name = adw_view_stack_get_visible_child_name(m_forms);
    return name && std::string_view(name) == "replay";
}

void StartPage::formSwitched()
{
    auto* button = m_ui.get<GtkButton>("submit");
    gtk_button_set_label(button, showsReplay() ? _("Open the recordin_g") : _("Jo_in the room"));
    nameControls(GTK_WIDGET(button));
    clearComplaint();
}

void StartPage::setReplayUrl(const std::string& url) { setText(m_address, url); }

AdwEntryRow* StartPage::firstGap() const
{
    for (const auto& field : kFields) {
        auto* row = m_ui.get<AdwEntryRow>(field.row);
        if (isAsked(row) && textOf(row).empty())
            return row;
    }
    return nullptr;
}

void StartPage::submit()
{
    clearComplaint();
    if (auto* gap = firstGap()) {
        const auto name = withoutMnemonic(adw_preferences_row_get_title(ADW_PREFERENCES_ROW(gap)));
        return complain(gap, formatted(_("“%s” is missing."), name.c_str()));
    }
    Options options = m_options;
    for (const auto& field : kFields)
        options.*field.value = textOf(m_ui.get<AdwEntryRow>(field.row));
    if (showsReplay())
        return m_submit(Operation::Play, options);
    const auto text = textOf(m_minutes);
    const auto minutes = text.empty() ? 0 : parseNumber<std::int32_t>(text);
    if (!minutes || *minutes < 0 || *minutes > kMostMinutes)
        return complain(m_minutes, _("Minutes are a whole number from 0 to 10000."));
    options.minutes = *minutes;
    if (adw_combo_row_get_selected(m_ui.get<AdwComboRow>("role")) == kPresenter)
        options.role = tq::TQWBRolePresenter;
    else if (!options.role)
        options.role = tq::TQWBRoleViewer;
    m_submit(Operation::Join, options);
}

void StartPage::complain(AdwEntryRow* row, const std::string& hint)
{
    gtk_widget_add_css_class(GTK_WIDGET(row), "error");
    // Whoever does not see the hint hears it with the field.
    auto* field = GTK_ACCESSIBLE(fieldOf(row));
    gtk_accessible_update_property(field, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, hint.c_str(), -1);
    gtk_accessible_update_state(field, GTK_ACCESSIBLE_STATE_INVALID, GTK_ACCESSIBLE_INVALID_TRUE, -1);
    gtk_label_set_text(m_ui.get<GtkLabel>("hint"), hint.c_str());
    gtk_widget_set_visible(m_ui.get("hint"), TRUE);
    gtk_widget_grab_focus(fieldOf(row));
}

void StartPage::clearComplaint()
{
    forEachRow([](AdwEntryRow* row) {
        gtk_widget_remove_css_class(GTK_WIDGET(row), "error");
        gtk_accessible_reset_property(GTK_ACCESSIBLE(fieldOf(row)), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION);
        gtk_accessible_reset_state(GTK_ACCESSIBLE(fieldOf(row)), GTK_ACCESSIBLE_STATE_INVALID);
    });
    gtk_widget_set_visible(m_ui.get("hint"), FALSE);
}

void StartPage::focus()
{
    auto* gap = firstGap();
    gtk_widget_grab_focus(gap ? fieldOf(gap) : m_ui.get("submit"));
}

} // namespace tqclient
