#pragma once

#include "GLibTypes.h"

#include <string>

namespace tqclient {

/// What a screen reader calls the widget.
void setAccessibleName(GtkWidget* widget, const std::string& name);

/// A new box that a screen reader takes for what the role says.
GtkWidget* boxWithRole(GtkAccessibleRole role, GtkOrientation orientation, int spacing);

/// A new widget of that type that a screen reader takes for a group. Only then has it a name everywhere: newer toolkits
/// take widgets that are there for their layout for nothing in particular.
GtkWidget* newGroup(GType type);

/// The label without the mark of its mnemonic key.
std::string withoutMnemonic(std::string label);

/// Labels a button with its mnemonic key, which is no part of what it is called.
void setMnemonicLabel(GtkWidget* button, const char* label);
GtkWidget* mnemonicButton(const char* label);

} // namespace tqclient
