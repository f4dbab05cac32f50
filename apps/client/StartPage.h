#pragma once

#include "Operation.h"
#include "Options.h"
#include "Ui.h"

#include <adwaita.h>
#include <functional>

namespace tqclient {

/// What the window shows while there is no room: a form for joining one, or for replaying a recording.
class StartPage {
public:
    /// Joins or plays what was filled in.
    using Submit = std::function<void(Operation operation, const Options& record)>;

    StartPage(const Options& options, Submit submit);
    StartPage(const StartPage&) = delete;
    StartPage& operator=(const StartPage&) = delete;

    GtkWidget* widget() const { return m_ui.get("start-page"); }
    AdwViewStack* forms() const { return m_forms; }
    GtkWidget* bar() const { return m_ui.get("bar"); }

    void setReplayUrl(const std::string& url);
    /// Sends the form, or says what is missing in it.
    void submit();
    /// Moves the focus to the first field that is still empty, or else to the button.
    void focus();

private:
    bool showsReplay() const;
    void formSwitched();
    bool isAsked(const AdwEntryRow* row) const { return row != m_address || showsReplay(); }
    void forEachRow(const std::function<void(AdwEntryRow*)>& act);
    AdwEntryRow* firstGap() const;
    void complain(AdwEntryRow* row, const std::string& hint);
    void clearComplaint();

    Ui m_ui{ "start-page.ui" };
    AdwViewStack* m_forms = m_ui.get<AdwViewStack>("forms");
    AdwEntryRow* m_minutes = m_ui.get<AdwEntryRow>("minutes");
    AdwEntryRow* m_address = m_ui.get<AdwEntryRow>("address");
    // What the form was filled in with at first.
    Options m_options;
    Submit m_submit;
};

} // namespace tqclient
