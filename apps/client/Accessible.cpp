#include "Accessible.h"

namespace tqclient {

void setAccessibleName(GtkWidget* widget, const std::string& name)
{
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

GtkWidget* boxWithRole(GtkAccessibleRole role, GtkOrientation orientation, int spacing)
{
    return GTK_WIDGET(
        g_object_new(GTK_TYPE_BOX, "accessible-role", role, "orientation", orientation, "spacing", spacing, nullptr));
}

GtkWidget* newGroup(GType type)
{
    return GTK_WIDGET(g_object_new(type, "accessible-role", GTK_ACCESSIBLE_ROLE_GROUP, nullptr));
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

void setMnemonicLabel(GtkWidget* button, const char* label)
{
    gtk_button_set_label(GTK_BUTTON(button), label);
    gtk_button_set_use_underline(GTK_BUTTON(button), TRUE);
    // The toolkit takes the mark for a letter of the name.
    setAccessibleName(button, withoutMnemonic(label));
    gtk_accessible_reset_relation(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
}

GtkWidget* mnemonicButton(const char* label)
{
    GtkWidget* button = gtk_button_new();
    setMnemonicLabel(button, label);
    return button;
}

} // namespace tqclient
