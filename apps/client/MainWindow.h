#pragma once

#include "EventLog.h"
#include "GLibTypes.h"
#include "Layout.h"
#include "MessageBar.h"
#include "RecordingBar.h"
#include "SessionObserver.h"
#include "Signals.h"
#include "StartPage.h"
#include "StatusPill.h"
#include "ViewCapture.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tqclient {

/// The program's window: the board, or the start page while there is none; the room's state; the event log. Main
/// thread.
class MainWindow final : public SessionObserver {
public:
    /// What a person does in the window.
    struct Actions {
        JoinForm::Submit join;
        ReplayForm::Submit replay;
        std::function<void(const std::string& url)> replayRecorded;
        std::function<void()> leave;
        std::function<void()> closed;
    };

    MainWindow(const Options& options, Actions actions);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;
    ~MainWindow() override;

    void present();
    void capture(std::string path, ViewCapture::Done done) { m_capture->capture(std::move(path), std::move(done)); }

    void sessionStateChanged(const SessionState& state) override;
    void sessionViewChanged(const std::shared_ptr<tq::TQWBWebView>& view) override;
    void sessionEvent(std::string_view name, std::string_view detail, Severity severity) override;
    void sessionFailed(std::string_view title, std::string_view detail) override;
    void sessionRecorded(const tq::OptionalText& url) override;
    void sessionCaptured(const tq::UIImage& image) override;

private:
    void buildHeader();
    void buildBody();
    void addShortcuts();
    template <auto method> void addShortcut(const char* trigger, GtkPropagationPhase phase);
    bool toggleLog();
    bool showHelp();
    bool close();
    bool closeWhatIsOpen();
    template <GtkDirectionType direction> bool goToNextPart();
    void focusContent();
    void leavePart(GtkWidget* part);
    bool hasFocus(GtkWidget* part) const;
    void followSize();
    void resized(Layout layout);
    void applyLayout(Layout layout);
    void showTitle();
    void setBoardVisible(bool isVisible);

    GtkWindow* m_window;
    Actions m_actions;
    GtkHeaderBar* m_header = nullptr;
    GtkLabel* m_title = nullptr;
    GtkWidget* m_leaveButton = nullptr;
    GtkToggleButton* m_logButton = nullptr;
    GtkBox* m_headerPlace = nullptr;
    GtkBox* m_stripPlace = nullptr;
    GtkPaned* m_paned = nullptr;
    GtkStack* m_pages = nullptr;
    GtkBox* m_board = nullptr;
    std::optional<ViewCapture> m_capture;
    StatusPill m_pill;
    MessageBar m_message;
    RecordingBar m_recording;
    EventLog m_log;
    StartPage m_start;
    // Keeps the widget that it owns, which is in the window.
    std::shared_ptr<tq::TQWBWebView> m_view;
    Layout m_layout = Layout::Unknown;
    bool m_wasBusy = false;
    std::shared_ptr<MainWindow*> m_self;
    Signals m_signals;
};

} // namespace tqclient
