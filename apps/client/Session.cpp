#include "Session.h"

#include "AppObject.h"
#include "CommandArguments.h"
#include "FailureWords.h"
#include "JsonLines.h"
#include "RoomEvents.h"
#include "TQWhiteBoardLib/TQWBPermission.h"
#include "TQWhiteBoardLib/TQWBRole.h"
#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "Text.h"
#include "Translation.h"

#include <utility>

namespace tqclient {

using State = tq::TQWBRoomState;

Session::Session(const Options& options, std::shared_ptr<JsonLines> lines)
    : m_frame{ 0, 0, static_cast<tq::CGFloat>(options.size.width), static_cast<tq::CGFloat>(options.size.height) }
    , m_debugMode(options.isDebug ? tq::DebugMode::On : tq::DebugMode::Off)
    , m_trustsAnyPage(options.trustsAnyPage)
    , m_lines(std::move(lines))
    , m_room(options)
    , m_recording(options)
{
}

Session::~Session() { closeBoard(); }

void Session::start(Operation operation)
{
    m_waiting.push_back(operation);
    runNext();
}

void Session::start(Operation operation, const Options& record)
{
    (operation == Operation::Join ? m_room : m_recording) = record;
    start(operation);
}

void Session::leave()
{
    const bool isEntering = m_running == Operation::Join || m_running == Operation::Play;
    if (!isEntering && m_wasJoined)
        return start(Operation::Quit);
    if (!m_shown)
        return;
    if (!isEntering)
        happened(_("replay closed"));
    m_shown->leave();
}

void Session::replay(const std::string& url)
{
    Options record = m_room;
    record.url = url;
    start(Operation::Play, record);
}

bool Session::callPage(PageCall call)
{
    const auto view = shownView();
    if (!view)
        return false;
    view->callHandler(call.name, std::move(call.arguments),
        [weakEvents = std::weak_ptr(m_events), name = call.name](tq::OptionalValue value) {
            if (auto events = weakEvents.lock())
                events->result(name, std::move(value));
        });
    return true;
}

bool Session::askPage(const std::string& function)
{
    const auto view = shownView();
    if (!view)
        return false;
    view->hasJavascriptMethod(function, [weakEvents = std::weak_ptr(m_events), function](bool exists) {
        if (auto events = weakEvents.lock())
            events->exists(function, exists);
    });
    return true;
}

void Session::setDialogLabels(std::map<std::string, std::string> labels)
{
    m_dialogLabels = std::move(labels);
    if (const auto view = m_shown ? m_shown->view() : nullptr)
        view->customJavascriptDialogLabelTitles(m_dialogLabels);
}

void Session::runNext()
{
    if (m_running || m_waiting.empty())
        return;
    if (m_waiting.front() != Operation::Quit && m_state.showsBoard && m_shown) {
        // What waits goes on when that is over.
        m_shown->leave();
        return;
    }
    m_running = m_waiting.front();
    m_waiting.pop_front();
    announce(*m_running);
    if (m_running == Operation::Quit)
        quit();
    else
        enter();
}

void Session::announce(Operation operation)
{
    if (operation != Operation::Quit) {
        m_entered = operation;
        const auto& record = operation == Operation::Join ? m_room : m_recording;
        m_state.room = displayText(record.room.value_or(""), 100);
        m_state.isPresenter = operation == Operation::Join && record.role == tq::TQWBRolePresenter;
        m_state.isRecording = false;
    }
    happened(nameOf(operation), m_state.room.empty() ? "" : formatted(_("room %s"), m_state.room.c_str()));
}

void Session::enter()
{
    const bool isJoin = m_running == Operation::Join;
    m_wasJoined = false;
    makeRoom();
    setPhase(isJoin ? Phase::Joining : Phase::OpeningReplay);
    if (isJoin)
        m_shown->enter(m_room.roomConfig());
    else
        m_shown->replay(m_recording.recordConfig());
}

void Session::quit()
{
    if (m_shown && m_wasJoined)
        m_shown->leave();
    else if (m_wasJoined)
        ended(tq::TQWBError{ tq::TQWBErrorCategory::Usage, tq::TQWBSessionCodeNotInitialized, "SDK not init" });
    else
        ended(tq::TQWBError{ tq::TQWBErrorCategory::Usage, tq::TQWBSessionCodeNotInRoom, "not in WhiteBoard" });
}

// The operation that is under way has ended. Whoever has read the line can rely on what it says.
void Session::ended(const std::optional<tq::TQWBError>& error)
{
    const auto operation = *std::exchange(m_running, std::nullopt);
    if (!error) {
        happened("success", nameOf(operation));
        m_lines->event("success", { { "operation", nameOf(operation) } });
    } else {
        happened("error",
            std::string(nameOf(operation)) + " " + describeFailure(std::to_string(error->code), error->text),
            Severity::Failure);
        if (error->category != tq::TQWBErrorCategory::Cancelled)
            tellFailure(failureTitle(operation), *error);
        const auto text = error->text.empty() ? std::nullopt : tq::OptionalText(error->text);
        m_lines->event("error",
            { { "operation", nameOf(operation) }, { "code", std::uint64_t{ error->code } },
                { "text", JsonLines::textOrNull(text) } });
    }
    runNext();
}

void Session::makeRoom()
{
    closeBoard();
    m_events = std::make_shared<RoomEvents>(m_lines, weak_from_this());
    m_shown.emplace(tq::TQWBRoomOptions{ .frame = m_frame,
        .acceptedCertificates = m_trustsAnyPage ? tq::AcceptedCertificates::Every : tq::AcceptedCertificates::Good });
    m_shown->setStateHandler([weakThis = weak_from_this()](State state, const tq::TQWBError* reason) {
        if (const auto self = weakThis.lock())
            self->roomBecame(state, reason);
    });
    m_shown->setRoomStatusDelegate(m_events);
    m_shown->setRecordDelegate(m_events);
    m_shown->setPermissionDelegate(m_events);
    if (const auto view = m_shown->view())
        show(view);
}

void Session::show(const std::shared_ptr<tq::TQWBWebView>& view)
{
    view->setDebugMode(m_debugMode);
    view->addJavascriptObject(makeAppObject(), "app");
    view->customJavascriptDialogLabelTitles(m_dialogLabels);
    view->setJavascriptCloseWindowListener([weakEvents = std::weak_ptr(m_events)] {
        if (auto events = weakEvents.lock())
            events->closePage();
    });
    if (auto observer = m_observer.lock())
        observer->sessionViewChanged(view);
}

void Session::closeBoard()
{
    if (auto observer = m_observer.lock())
        observer->sessionViewChanged(nullptr);
    m_events.reset();
    m_shown.reset();
    m_state.isRecording = false;
    m_state.showsBoard = false;
}

std::shared_ptr<tq::TQWBWebView> Session::shownView() const
{
    return m_shown && m_state.showsBoard ? m_shown->view() : nullptr;
}

void Session::roomBecame(State state, const tq::TQWBError* reason)
{
    switch (state) {
    case State::Loading:
        // The service has let the user in. A page says that it is there when it has been seen.
        m_state.showsBoard = true;
        m_wasJoined = m_running == Operation::Join;
        setPhase(Phase::Loading);
        m_lines->room(state, reason);
        ended();
        return;
    case State::Over:
        roomIsOver(reason ? std::optional(*reason) : std::nullopt);
        return;
    case State::Shown:
        setPhase(m_wasJoined ? Phase::InRoom : Phase::Replaying);
        break;
    case State::Reconnecting:
        happened("reconnecting", _("the page was lost"), Severity::Failure);
        setPhase(Phase::Reconnecting);
        break;
    case State::Leaving:
        setPhase(Phase::Leaving);
        break;
    default:
        break;
    }
    m_lines->room(state, reason);
}

void Session::roomIsOver(const std::optional<tq::TQWBError>& reason)
{
    const bool isWanted = m_running == Operation::Quit;
    const bool hasFailed = reason && !isWanted && reason->category != tq::TQWBErrorCategory::Cancelled;
    closeBoard();
    m_state.failure = hasFailed ? describeFailure(std::to_string(reason->code), reason->text) : "";
    setPhase(hasFailed ? Phase::Failed : m_wasJoined ? Phase::Left : Phase::NotJoined);
    m_lines->room(State::Over, reason ? &*reason : nullptr);
    if (m_running) {
        ended(reason);
        return;
    }
    if (hasFailed) {
        happened("over", std::string(nameOf(reason->category)) + " " + m_state.failure, Severity::Failure);
        tellFailure(endTitle(*reason), *reason);
    }
    runNext();
}

void Session::tellFailure(const std::string& title, const tq::TQWBError& error)
{
    if (auto observer = m_observer.lock())
        observer->sessionFailed(
            title, failureAdvice(error) + "\n" + describeFailure(std::to_string(error.code), error.text));
}

void Session::setPhase(Phase phase)
{
    m_state.phase = phase;
    if (auto observer = m_observer.lock())
        observer->sessionStateChanged(m_state);
}

void Session::happened(std::string_view name, std::string_view detail, Severity severity)
{
    if (auto observer = m_observer.lock())
        observer->sessionEvent(name, detail, severity);
}

void Session::recordingHasStarted()
{
    happened("onWBRecordStart");
    m_state.isRecording = true;
    setPhase(m_state.phase);
}

void Session::recordingHasEnded(const tq::OptionalText& url)
{
    happened("onWBRecordEnd", url ? *url : _("without an address"));
    m_state.isRecording = false;
    setPhase(m_state.phase);
    if (auto observer = m_observer.lock())
        observer->sessionRecorded(url);
}

void Session::permissionHasChanged(tq::NSInteger status)
{
    bool isKnown = status == tq::TQWBPermissionPresenter || status == tq::TQWBPermissionViewer;
    happened("onWBPermissionChange",
        isKnown ? status == tq::TQWBPermissionPresenter ? _("presenter") : _("viewer")
                : formatted(_("status %s"), std::to_string(status).c_str()));
    if (!isKnown)
        return;
    m_state.isPresenter = status == tq::TQWBPermissionPresenter;
    setPhase(m_state.phase);
}

void Session::boardWasCaptured(const std::shared_ptr<tq::UIImage>& image)
{
    happened("onWBCaptureEnd",
        image ? std::to_string(image->width()) + "×" + std::to_string(image->height()) : _("no usable picture"));
    if (auto observer = m_observer.lock(); observer && image)
        observer->sessionCaptured(*image);
}

} // namespace tqclient
