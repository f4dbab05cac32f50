#include "Ui.h"

#include "Translation.h"

#include <adwaita.h>
#include <memory>

namespace tqclient {

Ui::Ui(const char* file)
    : m_builder(gtk_builder_new_from_resource(("/tqwhiteboard/" + std::string(file)).c_str()))
{
}

gpointer Ui::object(const char* name) const
{
    GObject* object = gtk_builder_get_object(m_builder.get(), name);
    if (!object)
        g_error("nothing is called %s", name);
    return object;
}

void addAction(GActionMap* actions, const char* name, std::function<void()> run)
{
    using Run = std::function<void()>;
    UniqueObject<GSimpleAction> action(g_simple_action_new(name, nullptr));
    auto activated = +[](GSimpleAction*, GVariant*, gpointer data) { (*static_cast<Run*>(data))(); };
    auto destroy = +[](gpointer data, GClosure*) { std::unique_ptr<Run>(static_cast<Run*>(data)).reset(); };
    g_signal_connect_data(action.get(), "activate", G_CALLBACK(activated),
        std::make_unique<Run>(std::move(run)).release(), destroy, GConnectFlags{});
    g_action_map_add_action(actions, G_ACTION(action.get()));
}

void setAccessibleName(GtkWidget* widget, const std::string& name)
{
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
    gtk_accessible_reset_relation(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
}

std::string withoutMnemonic(std::string label)
{
    const auto mark = label.find('_');
    if (mark == label.npos)
        return label;
    // Where letters have no keys the key follows in brackets: "文(_X)".
    const bool isInBrackets = mark > 0 && label[mark - 1] == '(' && label.size() > mark + 2 && label[mark + 2] == ')';
    return isInBrackets ? label.erase(mark - 1, 4) : label.erase(mark, 1);
}

void nameControls(GtkWidget* widget)
{
    if (GTK_IS_BUTTON(widget) && gtk_button_get_label(GTK_BUTTON(widget)))
        setAccessibleName(widget, withoutMnemonic(gtk_button_get_label(GTK_BUTTON(widget))));
    else if (GTK_IS_BUTTON(widget) && !GTK_IS_TOGGLE_BUTTON(widget) && gtk_widget_get_tooltip_text(widget))
        setAccessibleName(widget, gtk_widget_get_tooltip_text(widget));
    else if (GTK_IS_BUTTON(widget)
        && g_strcmp0(gtk_button_get_icon_name(GTK_BUTTON(widget)), "window-close-symbolic") == 0)
        setAccessibleName(widget, _("Dismiss"));
    if (ADW_IS_PREFERENCES_ROW(widget))
        setAccessibleName(widget, withoutMnemonic(adw_preferences_row_get_title(ADW_PREFERENCES_ROW(widget))));
    auto* field = ADW_IS_ENTRY_ROW(widget) ? gtk_editable_get_delegate(GTK_EDITABLE(widget)) : nullptr;
    if (field && gtk_accessible_get_accessible_role(GTK_ACCESSIBLE(field)) != GTK_ACCESSIBLE_ROLE_TEXT_BOX) {
        // The row does not say that it has the focus: what is in it does.
        g_object_set(widget, "accessible-role", GTK_ACCESSIBLE_ROLE_GROUP, nullptr);
        g_object_set(field, "accessible-role", GTK_ACCESSIBLE_ROLE_TEXT_BOX, nullptr);
        setAccessibleName(
            GTK_WIDGET(field), withoutMnemonic(adw_preferences_row_get_title(ADW_PREFERENCES_ROW(widget))));
    }
    for (auto* child = gtk_widget_get_first_child(widget); child; child = gtk_widget_get_next_sibling(child))
        nameControls(child);
}

} // namespace tqclient
