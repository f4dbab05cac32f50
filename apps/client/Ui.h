#pragma once

#include "GLibTypes.h"

#include <functional>
#include <string>

namespace tqclient {

/// What one of the program's .ui files describes, by the names that it gives. Main thread.
class Ui {
public:
    explicit Ui(const char* file);

    /// The object of that name; the program ends when there is none.
    template <class T = GtkWidget> T* get(const char* name) const { return static_cast<T*>(object(name)); }

private:
    gpointer object(const char* name) const;

    UniqueObject<GtkBuilder> m_builder;
};

/// Adds an action of that name. @param run must not outlive what it refers to.
void addAction(GActionMap* actions, const char* name, std::function<void()> run);

/// What a screen reader calls the widget.
void setAccessibleName(GtkWidget* widget, const std::string& name);

/// The label without the mark of its mnemonic key.
std::string withoutMnemonic(std::string label);

/// Has a screen reader call the buttons and the rows below the widget what is written on them. The toolkit takes the
/// marks of mnemonic keys for letters, and what is typed into a row for something without a name.
void nameControls(GtkWidget* widget);

} // namespace tqclient
