#pragma once

#include "Operation.h"
#include "Options.h"
#include "SessionObserver.h"
#include "SessionState.h"
#include "TQWhiteBoardLib/TQWBRoom.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tqclient {

class JsonLines;
class RoomEvents;
struct PageCall;

/// The room on the screen, the records of those to come, and one operation after the other. Main thread.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(const Options& options, std::shared_ptr<JsonLines> lines);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    void setObserver(std::weak_ptr<SessionObserver> observer) { m_observer = std::move(observer); }

    /// Runs the operation, after those that wait already. Joining and replaying leave what is on the screen first.
    void start(Operation operation);
    /// The same with a new record, which the operations of that kind to come have too that bring none.
    void start(Operation operation, const Options& record);
    /// Enters once more what was entered last.
    void retry() { start(m_entered); }
    /// Takes the board off the screen, or gives up an operation that is under way.
    void leave();
    /// Watches a recording of the room that was joined last, after leaving what is on the screen.
    void replay(const std::string& url);

    // What the room's page is asked. They answer false when there is no board on the screen; otherwise the page's
    // answers are printed as they come, and those of a page that goes do not come.
    bool callPage(PageCall call);
    bool askPage(const std::string& function);
    /// The texts of the page's dialogs, now and in the rooms to come.
    void setDialogLabels(std::map<std::string, std::string> labels);

    // What the room's page reports; what becomes of the room then, the room itself says.
    void happened(std::string_view name, std::string_view detail = {}, Severity severity = Severity::Plain);
    void recordingHasStarted();
    void recordingHasEnded(const tq::OptionalText& url);
    void permissionHasChanged(tq::NSInteger status);
    void boardWasCaptured(const std::shared_ptr<tq::UIImage>& image);

private:
    void runNext();
    void announce(Operation operation);
    void enter();
    void quit();
    void ended(const std::optional<tq::TQWBError>& error = std::nullopt);

    void makeRoom();
    void show(const std::shared_ptr<tq::TQWBWebView>& view);
    void closeBoard();
    std::shared_ptr<tq::TQWBWebView> shownView() const;
    void roomBecame(tq::TQWBRoomState state, const tq::TQWBError* reason);
    void roomIsOver(const std::optional<tq::TQWBError>& reason);
    void tellFailure(const std::string& title, const tq::TQWBError& error);
    void setPhase(Phase phase);

    tq::CGRect m_frame;
    tq::DebugMode m_debugMode;
    bool m_trustsAnyPage;
    std::shared_ptr<JsonLines> m_lines;
    std::weak_ptr<SessionObserver> m_observer;

    // What is joined, and what is replayed.
    Options m_room;
    Options m_recording;
    std::optional<std::map<std::string, std::string>> m_dialogLabels;
    std::shared_ptr<RoomEvents> m_events;
    std::optional<tq::TQWBRoom> m_shown;
    // The service has let the user into the room that was entered last.
    bool m_wasJoined = false;

    std::deque<Operation> m_waiting;
    // The operation that is under way.
    std::optional<Operation> m_running;
    Operation m_entered = Operation::Join;
    SessionState m_state;
};

} // namespace tqclient
