#pragma once

#include "Operation.h"
#include "SessionObserver.h"
#include "SessionState.h"
#include "TQWhiteBoardLib/TQWBException.h"
#include "TQWhiteBoardLib/TQWBPermission.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tqclient {

class JsonLines;
class PageWatch;
class RoomEvents;
struct Options;
struct PageCall;

/// The room on the screen: owns its view, its facade and the records, and runs one operation after the other. Main
/// thread.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(const Options& options, std::shared_ptr<JsonLines> lines);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    void setObserver(std::weak_ptr<SessionObserver> observer) { m_observer = std::move(observer); }
    const SessionState& state() const { return m_state; }

    /// The records of the operations to come.
    void setRoomConfig(std::shared_ptr<tq::TQWBRoomConfig> config) { m_roomConfig = std::move(config); }
    void setRecordConfig(std::shared_ptr<tq::TQWBRecordConfig> config) { m_recordConfig = std::move(config); }

    /// Runs the operation, after those that wait already.
    void start(Operation operation);
    /// Takes the board off the screen: quits a joined room first, and goes even when the service cannot be told.
    void leave();
    /// Watches a recording of the room that was joined last, after leaving what is on the screen.
    void replay(const std::string& url);

    // What the room's page is asked. They answer false when there is no board on the screen; otherwise the page's
    // answers are printed as they come, and those of a page that goes do not come.
    bool callPage(PageCall call);
    bool askPage(const std::string& function);
    /// The texts of the page's dialogs, now and in the rooms to come.
    void setDialogLabels(std::map<std::string, std::string> labels);

    // What the room's page reports.
    void roomWasQuit();
    void roomHasFailed(const tq::TQWBException& exception);
    void recordingHasStarted();
    void recordingHasEnded(const tq::OptionalText& url);
    void permissionHasChanged(tq::NSInteger status);
    void boardWasCaptured(const std::shared_ptr<tq::UIImage>& image);
    void pageWantsToBeClosed();
    void pageHasAnswered(std::string_view question, std::string_view answer);
    /// It has crashed, was killed, or took too much memory.
    void pageHasDied();

private:
    enum class Outcome { Success, Failure };
    enum class Recording : bool { No, Yes };
    /// What becomes of the board when a quit fails.
    enum class AfterFailure { Stay, LeaveAnyway };
    struct Request {
        Operation operation;
        AfterFailure afterFailure;
    };

    void runNext();
    void run(Request request);
    void announce(Operation operation);
    void finished(std::uint64_t run, Outcome outcome, const std::string& failure);
    void succeeded();
    void failed(const std::string& failure);
    void closeBoard();
    void tellFailure(std::string_view title, std::string_view detail);

    void ensureUsableFacade(Operation operation);
    void makeFacade();
    void dropView();
    void roomHasEnded(Phase phase, const std::string& failure);
    void setRecording(Recording recording);
    void setPhase(Phase phase);
    void logEvent(std::string_view name, std::string_view detail = {}, Severity severity = Severity::Plain);

    tq::CGRect m_frame;
    tq::DebugMode m_debugMode;
    bool m_trustsAnyPage;
    std::shared_ptr<JsonLines> m_lines;
    std::weak_ptr<SessionObserver> m_observer;

    std::shared_ptr<tq::TQWBRoomConfig> m_roomConfig;
    std::shared_ptr<tq::TQWBRecordConfig> m_recordConfig;
    std::optional<std::map<std::string, std::string>> m_dialogLabels;
    std::shared_ptr<RoomEvents> m_events;
    std::shared_ptr<PageWatch> m_pageWatch;
    std::shared_ptr<tq::TQWBWebView> m_view;
    std::shared_ptr<tq::TQWhiteBoard> m_facade;
    // The view's page has reported the end of its room, and will report nothing more.
    bool m_roomHasEnded = false;

    std::deque<Request> m_waiting;
    Request m_request{};
    std::uint64_t m_run = 0;
    bool m_isRunning = false;
    SessionState m_state;
    SessionState m_stateBefore;
};

} // namespace tqclient
