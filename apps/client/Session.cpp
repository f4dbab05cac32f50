#include "Session.h"

#include "AppObject.h"
#include "CommandArguments.h"
#include "JsonLines.h"
#include "MainThread.h"
#include "Options.h"
#include "PageWatch.h"
#include "RoomEvents.h"
#include "Text.h"
#include "Translation.h"

#include <glib.h>

namespace tqclient {

namespace {

std::string failureTitle(Operation operation)
{
    switch (operation) {
    case Operation::Join:
        return _("The room could not be joined");
    case Operation::Play:
        return _("The recording could not be opened");
    case Operation::Quit:
        return _("The room could not be left");
    }
    return {};
}

} // namespace

Session::Session(const Options& options, std::shared_ptr<JsonLines> lines)
    : m_frame{ 0, 0, static_cast<tq::CGFloat>(options.size.width), static_cast<tq::CGFloat>(options.size.height) }
    , m_debugMode(options.isDebug ? tq::DebugMode::On : tq::DebugMode::Off)
    , m_trustsAnyPage(options.trustsAnyPage)
    , m_lines(std::move(lines))
    , m_roomConfig(options.roomConfig())
    , m_recordConfig(options.recordConfig())
{
}

Session::~Session() { dropView(); }

void Session::start(Operation operation)
{
    m_waiting.push_back({ operation, AfterFailure::Stay });
    runNext();
}

void Session::leave()
{
    bool isInRoom = m_facade && m_facade->roomConfig();
    if (isInRoom || m_isRunning) {
        m_waiting.push_back({ Operation::Quit, AfterFailure::LeaveAnyway });
        return runNext();
    }
    logEvent(_("replay closed"));
    closeBoard();
    setPhase(Phase::NotJoined);
}

void Session::replay(const std::string& url)
{
    const auto& room = *m_roomConfig;
    m_recordConfig = std::make_shared<tq::TQWBRecordConfig>(tq::TQWBRecordConfig{
        .appKey = room.appKey,
        .token = room.token,
        .roomId = room.roomId,
        .userId = room.userId,
        .userName = room.userName,
        .url = url,
    });
    if (m_state.showsBoard)
        leave();
    start(Operation::Play);
}

bool Session::callPage(PageCall call)
{
    if (!m_view || !m_state.showsBoard)
        return false;
    m_view->callHandler(call.name, std::move(call.arguments),
        [weakEvents = std::weak_ptr(m_events), name = call.name](tq::OptionalValue value) {
            if (auto events = weakEvents.lock())
                events->result(name, std::move(value));
        });
    return true;
}

bool Session::askPage(const std::string& function)
{
    if (!m_view || !m_state.showsBoard)
        return false;
    m_view->hasJavascriptMethod(function, [weakEvents = std::weak_ptr(m_events), function](bool exists) {
        if (auto events = weakEvents.lock())
            events->exists(function, exists);
    });
    return true;
}

void Session::setDialogLabels(std::map<std::string, std::string> labels)
{
    m_dialogLabels = std::move(labels);
    if (m_view)
        m_view->customJavascriptDialogLabelTitles(m_dialogLabels);
}

void Session::closeBoard()
{
    dropView();
    m_facade.reset();
    m_state.isRecording = false;
    m_state.showsBoard = false;
}

void Session::runNext()
{
    if (m_isRunning || m_waiting.empty())
        return;
    auto request = m_waiting.front();
    m_waiting.pop_front();
    run(request);
}

void Session::run(Request request)
{
    auto operation = request.operation;
    m_isRunning = true;
    m_request = request;
    m_stateBefore = m_state;
    announce(operation);
    ensureUsableFacade(operation);

    // Whoever has read the line can rely on what it says: what follows from it is done before.
    auto success = [run = ++m_run, lines = m_lines, operation, weakThis = weak_from_this()] {
        postToMain([=] {
            if (auto self = weakThis.lock())
                self->finished(run, Outcome::Success, {});
            lines->success(operation);
        });
    };
    auto error = [run = m_run, lines = m_lines, operation, weakThis = weak_from_this()](
                     tq::NSUInteger code, const tq::OptionalText& text) {
        postToMain([=] {
            if (auto self = weakThis.lock())
                self->finished(run, Outcome::Failure, describeFailure(code, text));
            lines->error(operation, code, text);
        });
    };
    switch (operation) {
    case Operation::Join:
        return m_facade->joinWithConfig(m_roomConfig, success, error);
    case Operation::Play:
        return m_facade->playWithConfig(m_recordConfig, success, error);
    case Operation::Quit:
        return m_facade->quitWhiteBoard(success, error);
    }
}

void Session::announce(Operation operation)
{
    if (operation != Operation::Quit) {
        const auto& room = operation == Operation::Join ? m_roomConfig->roomId : m_recordConfig->roomId;
        m_state.room = displayText(room.value_or(""), 100);
        m_state.isPresenter = operation == Operation::Join && m_roomConfig->roleType == tq::TQWBRolePresenter;
        m_state.isRecording = false;
    }
    logEvent(nameOf(operation), m_state.room.empty() ? "" : formatted(_("room %s"), m_state.room.c_str()));
    setPhase(operation == Operation::Join  ? Phase::Joining
            : operation == Operation::Play ? Phase::OpeningReplay
                                           : Phase::Leaving);
}

void Session::finished(std::uint64_t run, Outcome outcome, const std::string& failure)
{
    if (run != m_run || !m_isRunning)
        return;
    m_isRunning = false;
    if (outcome == Outcome::Success)
        succeeded();
    else
        failed(failure);
    runNext();
}

void Session::succeeded()
{
    auto operation = m_request.operation;
    logEvent("success", nameOf(operation));
    if (operation == Operation::Quit) {
        // The facade stays, spent as it is, and answers a second quit.
        dropView();
        m_state.isRecording = false;
        m_state.showsBoard = false;
        return setPhase(Phase::Left);
    }
    m_state.showsBoard = true;
    setPhase(operation == Operation::Join ? Phase::InRoom : Phase::Replaying);
}

void Session::failed(const std::string& failure)
{
    auto operation = m_request.operation;
    logEvent("error", std::string(nameOf(operation)) + " " + failure, Severity::Failure);
    // What was on the screen before is still there.
    m_state = m_stateBefore;
    if (m_request.afterFailure == AfterFailure::LeaveAnyway && m_state.showsBoard) {
        closeBoard();
        setPhase(Phase::Left);
        return tellFailure(_("The service does not know that you have left"), failure);
    }
    if (!m_state.showsBoard && operation != Operation::Quit) {
        m_state.failure = failure;
        m_state.phase = Phase::Failed;
    }
    setPhase(m_state.phase);
    tellFailure(failureTitle(operation), failure);
}

void Session::tellFailure(std::string_view title, std::string_view detail)
{
    if (auto observer = m_observer.lock())
        observer->sessionFailed(title, detail);
}

void Session::ensureUsableFacade(Operation operation)
{
    bool isSpent = !m_facade || m_roomHasEnded || !m_facade->webView();
    // A quit goes to whatever facade there is, so that it gets that facade's answer.
    if (operation == Operation::Quit ? !m_facade : isSpent)
        makeFacade();
}

void Session::makeFacade()
{
    dropView();
    m_roomHasEnded = false;
    m_events = std::make_shared<RoomEvents>(m_lines, weak_from_this());
    m_view = tq::TQWBWebView::initWithFrame(m_frame, nullptr);
    m_view->setRoomStatusDelegate(m_events);
    m_view->setRecordDelegate(m_events);
    m_view->setPermisssionDelegate(m_events);
    m_view->setDebugMode(m_debugMode);
    m_view->addJavascriptObject(std::make_shared<AppObject>(), "app");
    m_view->customJavascriptDialogLabelTitles(m_dialogLabels);
    m_view->setJavascriptCloseWindowListener([weakEvents = std::weak_ptr(m_events)] {
        if (auto events = weakEvents.lock())
            events->closePage();
    });
    m_pageWatch = std::make_shared<PageWatch>(weak_from_this());
    m_view->setNavigationDelegate(m_pageWatch);
    if (m_trustsAnyPage)
        m_view->setAcceptedCertificates(tq::AcceptedCertificates::Every);
    m_facade = tq::TQWhiteBoard::initWithWebView(m_view);
    if (auto observer = m_observer.lock())
        observer->sessionViewChanged(m_view);
}

void Session::dropView()
{
    if (!m_view)
        return;
    if (auto observer = m_observer.lock())
        observer->sessionViewChanged(nullptr);
    m_events.reset();
    m_pageWatch.reset();
    // A page that has not reported the end of its room would keep its view alive for ever.
    m_view->removeJavascriptObject("TQJSBridge");
    m_view->removeJavascriptObject("TQNativeBridge");
    m_view.reset();
}

void Session::setPhase(Phase phase)
{
    m_state.phase = phase;
    if (auto observer = m_observer.lock())
        observer->sessionStateChanged(m_state);
}

void Session::logEvent(std::string_view name, std::string_view detail, Severity severity)
{
    if (auto observer = m_observer.lock())
        observer->sessionEvent(name, detail, severity);
}

void Session::roomHasEnded(Phase phase, const std::string& failure)
{
    m_roomHasEnded = true;
    // An operation that is under way says itself how it ends; only its failure comes back to what was before.
    for (SessionState* state : { &m_state, &m_stateBefore }) {
        state->isRecording = false;
        state->showsBoard = false;
        if (state->isBusy())
            continue;
        state->phase = phase;
        state->failure = failure;
    }
    setPhase(m_state.phase);
}

void Session::setRecording(Recording recording)
{
    m_state.isRecording = recording == Recording::Yes;
    m_stateBefore.isRecording = m_state.isRecording;
    setPhase(m_state.phase);
}

void Session::roomWasQuit()
{
    logEvent("onWBRoomQuit");
    roomHasEnded(Phase::Left, {});
}

void Session::roomHasFailed(const tq::TQWBException& exception)
{
    std::string failure = std::to_string(exception.code);
    if (exception.msg && !exception.msg->empty())
        failure += ": " + displayText(*exception.msg, 500);
    logEvent("onWBRoomException", failure, Severity::Failure);
    roomHasEnded(Phase::Failed, failure);
    tellFailure(_("The room has failed"), failure);
}

void Session::recordingHasStarted()
{
    logEvent("onWBRecordStart");
    setRecording(Recording::Yes);
}

void Session::recordingHasEnded(const tq::OptionalText& url)
{
    logEvent("onWBRecordEnd", url ? *url : _("without an address"));
    setRecording(Recording::No);
    if (auto observer = m_observer.lock())
        observer->sessionRecorded(url);
}

void Session::permissionHasChanged(tq::NSInteger status)
{
    bool isKnown = status == tq::TQWBPermissionPresenter || status == tq::TQWBPermissionViewer;
    logEvent("onWBPermissionChange",
        isKnown ? status == tq::TQWBPermissionPresenter ? _("presenter") : _("viewer")
                : formatted(_("status %s"), std::to_string(status).c_str()));
    if (!isKnown)
        return;
    m_state.isPresenter = status == tq::TQWBPermissionPresenter;
    m_stateBefore.isPresenter = m_state.isPresenter;
    setPhase(m_state.phase);
}

void Session::boardWasCaptured(const std::shared_ptr<tq::UIImage>& image)
{
    logEvent("onWBCaptureEnd",
        image ? std::to_string(image->width()) + "×" + std::to_string(image->height()) : _("no usable picture"));
    if (auto observer = m_observer.lock(); observer && image)
        observer->sessionCaptured(*image);
}

void Session::pageWantsToBeClosed() { logEvent("closePage", _("the page asks to be closed")); }

void Session::pageHasDied()
{
    // The page of a room that has ended already is missed by nobody.
    if (!m_state.showsBoard)
        return;
    const std::string failure = _("the process of the page has ended");
    const bool isReplay = m_state.phase == Phase::Replaying;
    logEvent("webViewWebContentProcessDidTerminate", failure, Severity::Failure);
    roomHasEnded(Phase::Failed, failure);
    tellFailure(_("The page has stopped working"),
        isReplay ? _("Open the recording again to go on.") : _("Enter the room again to go on."));
}

void Session::pageHasAnswered(std::string_view question, std::string_view answer) { logEvent(question, answer); }

} // namespace tqclient
