#pragma once

#include "JoinForm.h"
#include "Layout.h"
#include "ReplayForm.h"
#include "SessionState.h"
#include "Signals.h"

#include <memory>
#include <vector>

namespace tqclient {

/// What the window shows while there is no board: the forms for joining and replaying.
class StartPage {
public:
    StartPage(const Options& options, JoinForm::Submit join, ReplayForm::Submit replay);

    GtkWidget* widget() const { return m_scroller; }
    /// Keeps the forms from being sent while an operation is under way.
    void show(const SessionState& state);
    void setReplayUrl(const std::string& url) { m_replay.setUrl(url); }
    /// Gives the forms the space that there is.
    void setLayout(Layout layout);
    void focus();

private:
    bool showsReplay() const;
    void formSwitched();
    void heightChanged();
    /// A screen keyboard, or a message, takes its space from below or above.
    void keepFocusInSight();

    JoinForm m_join;
    ReplayForm m_replay;
    GtkWidget* m_scroller;
    GtkWidget* m_column;
    // What a low window has no room for.
    std::vector<GtkWidget*> m_introduction;
    GtkStack* m_forms;
    GtkSpinner* m_spinner;
    std::shared_ptr<StartPage*> m_self;
    Signals m_signals;
};

} // namespace tqclient
