#pragma once

#include "GLibTypes.h"
#include "Signals.h"

#include <functional>
#include <string>

namespace tqclient {

/// A form: labelled fields one below the other, a line for what is wrong with them, and a button. Enter in any field
/// does what the button does.
class FormGrid {
public:
    /// How a text field shows what is typed.
    enum class Echo { Plain, Hidden };
    enum class Required : bool { No, Yes };
    enum class Busy : bool { No, Yes };

    /// @param action what the button says, with its mnemonic key. @param submit runs when every required field is
    /// filled.
    FormGrid(const char* action, std::function<void()> submit);

    GtkWidget* widget() const { return GTK_WIDGET(m_grid); }

    /// @param label with its mnemonic key.
    GtkEditable* addText(
        const char* label, const char* placeholder, Echo echo = Echo::Plain, Required required = Required::Yes);
    void addField(const char* label, GtkWidget* field);
    /// Adds the hint and the button; after the fields.
    void addButton();

    /// Says what is wrong with a field and puts the focus there.
    void complain(GtkEditable* field, const std::string& hint);
    /// A busy form can be filled in, but not sent.
    void setBusy(Busy busy);
    /// Moves the focus to the first field that is still empty, or else to the button.
    void focusFirstGap();

    static std::string textOf(GtkEditable* field);
    static void setText(GtkEditable* field, const std::string& text);

private:
    struct Field {
        GtkEditable* editable;
        std::string name;
        Required required;
    };

    void submit();
    void clearComplaint();

    GtkGrid* m_grid;
    GtkLabel* m_hint;
    GtkWidget* m_button;
    std::vector<Field> m_fields;
    std::function<void()> m_submit;
    int m_row = 0;
    bool m_isBusy = false;
    Signals m_signals;
};

} // namespace tqclient
